#ifndef UTIL_DIALOG_H
#define UTIL_DIALOG_H

#include "OrmuBaseDialog.h"

// A dialog with a title strip, a content and a bar of soft keys.
class UTIL_Dialog : public OrmuBaseDialog
{
    Q_OBJECT

public:
    enum DialogType { LARGE = 0 };

    // The stand-in has large dialogs only. The boolean, the int and flags are kept for the phone's sake;
    // false, 1 and 0 are the values in use.
    UTIL_Dialog(DialogType type, bool, QWidget* parent, const char* name, int, unsigned int flags);
    // type, the boolean, the int and flags as the caller passed them.
    const QList<int>& arguments() const { return arguments_; }

    // As large as OrmuGlobal::getDlgLargeR(), with the title strip at its upper edge as high as
    // OrmuGlobal::getDlgTitleLR().
    QWidget* getDlgContent() const { return panel(); }

    // Puts bar, a UTIL_DlgCST, at the bottom in place of the one that was there. The dialog owns it.
    void setDlgCst(QWidget* bar);

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    const QList<int> arguments_;
};

#endif
