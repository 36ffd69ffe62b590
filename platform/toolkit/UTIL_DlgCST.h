// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#ifndef UTIL_DLGCST_H
#define UTIL_DLGCST_H

#include "OrmuPlatformExport.h"
#include "UTIL_CST.h"

// The bar of two soft keys at the bottom of a dialog, which owns it.
class ORMU_PLATFORM_EXPORT UTIL_DlgCST : public UTIL_CST
{
    Q_OBJECT

public:
    enum DlgCstType { TWO_BUTTONS = 1 };

    // Every bar has two keys, at first without texts; type has no effect.
    UTIL_DlgCST(QWidget* parent, DlgCstType type);
    DlgCstType type() const { return type_; }

    // F1.
    OrmuPushButton* getBtn1() const { return getLeftBtn(); }
    // F3 and Escape.
    OrmuPushButton* getBtn2() const { return getRightBtn(); }

private:
    const DlgCstType type_;
};

#endif
