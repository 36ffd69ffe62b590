#ifndef ORMUBASEDIALOG_H
#define ORMUBASEDIALOG_H

#include "OrmuMainWidget.h"
#include "UTIL_CST.h"

#include <QDialog>

// A dialog: a panel over whatever the phone shows, which is dimmed once, however many dialogs lie over it,
// and gets neither keys nor clicks meanwhile.
//
// By keys: the function keys and Escape press the soft keys, Up and Down move the focus from widget to
// widget, the centre key acts on the one that has it. accept() and reject() end exec(). A dialog without a
// parent opens in the phone's window, and stays its maker's to delete. It may be deleted at any time, also
// inside a slot that one of its own children called and while exec() runs, which then gives Rejected.
class OrmuBaseDialog : public QDialog
{
    Q_OBJECT

public:
    // flags are kept for the phone's sake; 0 is the one value in use.
    explicit OrmuBaseDialog(QWidget* parent = nullptr, const char* name = nullptr, WFlags flags = 0);
    ~OrmuBaseDialog() override;

    void setVisible(bool visible) override;

protected:
    // The panel: where the dialog's contents stand, a widget of its own.
    QWidget* panel() const { return panel_; }
    // Puts bar at the bottom in place of the one that was there. The dialog owns it.
    void setSoftKeys(UTIL_CST* bar);
    UTIL_CST* softKeys() const { return bar_; }

    void keyPressEvent(QKeyEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

private:
    QWidget* panel_;
    QPointer<UTIL_CST> bar_;
};

#endif
