// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#include "SETUP_SIP_Form.h"

#include "OrmuMainWidget.h"
#include "OrmuMultiLineEdit.h"

#include <QCheckBox>
#include <QLabel>

QLabel* SETUP_SIP_AddLabel(const OrmuMainWidget* screen, const QString& text, int y)
{
    auto* label = new QLabel(text, screen->getContentWidget());
    label->setTextFormat(Qt::PlainText);
    label->setGeometry(0, y, SETUP_SIP_LINE_WIDTH, SETUP_SIP_LINE_HEIGHT);
    screen->getContentWidget()->addChild(label, 0, y);
    return label;
}

OrmuMultiLineEdit* SETUP_SIP_NewEntry(const OrmuMainWidget* screen, const QString& text)
{
    auto* entry = new OrmuMultiLineEdit(screen->getContentWidget(), true, 1);
    entry->insertLine(text, -1);
    return entry;
}

QCheckBox* SETUP_SIP_NewCheckBox(const OrmuMainWidget* screen, const QString& text, bool checked, int y)
{
    auto* box = new QCheckBox(text, screen->getContentWidget());
    box->setGeometry(0, y, SETUP_SIP_LINE_WIDTH, 2 * SETUP_SIP_LINE_HEIGHT);
    box->setChecked(checked);
    return box;
}
