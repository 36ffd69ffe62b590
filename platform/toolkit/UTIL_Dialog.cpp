// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#include "UTIL_Dialog.h"

#include "OrmuGlobal.h"
#include "OrmuStyle.h"
#include "UTIL_DlgCST.h"

#include <QPainter>

UTIL_Dialog::UTIL_Dialog(DialogType type, bool first, QWidget* parent, const char* name, int second,
                         unsigned int flags)
    : OrmuBaseDialog(parent, name, flags), arguments_({type, first ? 1 : 0, second, static_cast<int>(flags)})
{
}

void UTIL_Dialog::setDlgCst(QWidget* bar)
{
    setSoftKeys(qobject_cast<UTIL_DlgCST*>(bar));
}

void UTIL_Dialog::paintEvent(QPaintEvent* event)
{
    OrmuBaseDialog::paintEvent(event);
    QPainter painter(this);
    OrmuStyle::drawTitleStrip(&painter, OrmuGlobal::getDlgTitleLR());
}

#include "moc_UTIL_Dialog.cpp"
