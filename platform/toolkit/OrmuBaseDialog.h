// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#ifndef ORMUBASEDIALOG_H
#define ORMUBASEDIALOG_H

#include "OrmuMainWidget.h"
#include "OrmuPlatformExport.h"
#include "UTIL_CST.h"

#include <QDialog>

// A dialog: a panel over the open screens, which get neither keys nor clicks meanwhile. They are dimmed
// once, even when several dialogs are open.
//
// Keys: the function keys and Escape press the soft keys, Up and Down move the focus, the centre key acts
// on the widget with the focus. accept() and reject() end exec(). A dialog without a parent opens in the
// phone's window. Its creator owns it and may delete it at any time, also in a slot that one of its
// children called, and during exec(), which then returns Rejected.
class ORMU_PLATFORM_EXPORT OrmuBaseDialog : public QDialog
{
    Q_OBJECT

public:
    // flags has no effect; the phone's toolkit has it.
    explicit OrmuBaseDialog(QWidget* parent = nullptr, const char* name = nullptr, WFlags flags = 0);
    ~OrmuBaseDialog() override;

    void setVisible(bool visible) override;

protected:
    // The widget for the dialog's contents.
    QWidget* panel() const { return panel_; }
    // Replaces the bar at the bottom by bar; null changes nothing. The dialog owns it.
    void setSoftKeys(UTIL_CST* bar);
    UTIL_CST* softKeys() const { return bar_; }

    void keyPressEvent(QKeyEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

private:
    QWidget* panel_;
    QPointer<UTIL_CST> bar_;
};

#endif
