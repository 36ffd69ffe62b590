// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#ifndef UTIL_DIALOG_H
#define UTIL_DIALOG_H

#include "OrmuBaseDialog.h"
#include "OrmuPlatformExport.h"

// A dialog with a title strip, a content and a bar of soft keys.
class ORMU_PLATFORM_EXPORT UTIL_Dialog : public OrmuBaseDialog
{
    Q_OBJECT

public:
    enum DialogType { LARGE = 0 };

    // type, the boolean, the int and flags have no effect: every dialog is large. The phone's toolkit has
    // them.
    UTIL_Dialog(DialogType type, bool, QWidget* parent, const char* name, int, unsigned int flags);
    // type, the boolean, the int and flags as the caller passed them.
    const QList<int>& arguments() const { return arguments_; }

    // As large as OrmuGlobal::getDlgLargeR(); the title strip (OrmuGlobal::getDlgTitleLR()) is its upper
    // part.
    QWidget* getDlgContent() const { return panel(); }

    // Replaces the bar at the bottom by bar, a UTIL_DlgCST. The dialog owns it.
    void setDlgCst(QWidget* bar);

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    const QList<int> arguments_;
};

#endif
