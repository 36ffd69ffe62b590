#ifndef UTIL_PROGRESSDIALOG_H
#define UTIL_PROGRESSDIALOG_H

#include "OrmuBaseDialog.h"

class QLabel;
class QProgressBar;

// A text and a progress bar over the screen that is its parent, with a soft key to cancel. It never hides or
// closes by itself.
class UTIL_ProgressDialog : public OrmuBaseDialog
{
    Q_OBJECT

public:
    // A dialog has the phone to itself whether modal or not; show() does not wait.
    UTIL_ProgressDialog(const QString& labelText, const QString& cancelButtonText, int totalSteps,
                        QWidget* parent = nullptr, const char* name = nullptr, bool modal = false,
                        WFlags flags = 0);

    // With auto-reset, progress starts again at 0 when it reaches the total; the bar is full till the next
    // step. Off at first.
    void setAutoReset(bool on) { autoReset_ = on; }

    void setLabelText(const QString& text);
    QString labelText() const;

    // From 0 to the total of steps.
    int progress() const { return progress_; }
    void setProgress(int progress);

signals:
    // The cancel key was pressed. The dialog may be deleted by whoever receives it.
    void cancelled();

private:
    QLabel* label_;
    QProgressBar* progressBar_;
    int progress_ = 0;
    bool autoReset_ = false;
};

#endif
