// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#include "UTIL_DlgCST.h"

#include "OrmuPushButton.h"

UTIL_DlgCST::UTIL_DlgCST(QWidget* parent, DlgCstType type)
    : UTIL_CST(parent, QString(), QString(), QString()), type_(type)
{
    getMidBtn()->setEnabled(false);
}

#include "moc_UTIL_DlgCST.cpp"
