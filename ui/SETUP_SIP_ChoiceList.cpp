// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#include "SETUP_SIP_ChoiceList.h"

#include "OrmuGlobal.h"
#include "UTIL_Dialog.h"
#include "UTIL_ListBox.h"

#include <QLabel>

QLabel* SETUP_SIP_AddTitle(const UTIL_Dialog* dialog, const QString& text)
{
    constexpr int INDENT = 5;
    auto* title = new QLabel(text, dialog->getDlgContent());
    title->setIndent(INDENT);
    title->setGeometry(OrmuGlobal::diffRect(OrmuGlobal::getDlgLargeR(), OrmuGlobal::getDlgTitleLR()));
    return title;
}

UTIL_ListBox* SETUP_SIP_AddList(const UTIL_Dialog* dialog, const QString& rowFormat)
{
    QWidget* content = dialog->getDlgContent();
    const int titleHeight = OrmuGlobal::getDlgTitleLR().height();
    auto* list = new UTIL_ListBox(rowFormat, content, 0);
    list->setGeometry(0, titleHeight, content->width(), content->height() - titleHeight);
    return list;
}

UTIL_ListBoxItem* SETUP_SIP_NewRow(UTIL_ListBox* list, const QString& rowFormat, const QString& name)
{
    auto* row = new UTIL_ListBoxItem(list, rowFormat, false);
    row->setString(SETUP_SIP_NAME_COLUMN, name);
    return row;
}
