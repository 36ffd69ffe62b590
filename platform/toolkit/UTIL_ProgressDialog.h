// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#ifndef UTIL_PROGRESSDIALOG_H
#define UTIL_PROGRESSDIALOG_H

#include "OrmuBaseDialog.h"
#include "OrmuPlatformExport.h"

class QLabel;
class QProgressBar;

// A text and a progress bar over the parent, a screen, with a soft key to cancel. It neither hides nor
// closes by itself.
class ORMU_PLATFORM_EXPORT UTIL_ProgressDialog : public OrmuBaseDialog
{
    Q_OBJECT

public:
    // modal changes nothing that the user sees; show() does not wait.
    UTIL_ProgressDialog(const QString& labelText, const QString& cancelButtonText, int totalSteps,
                        QWidget* parent = nullptr, const char* name = nullptr, bool modal = false,
                        WFlags flags = 0);

    // With auto-reset, progress() becomes 0 when it reaches the total; the bar stays full until the next
    // step. Off at first.
    void setAutoReset(bool on) { autoReset_ = on; }

    void setLabelText(const QString& text);
    QString labelText() const;

    // From 0 to the number of steps.
    int progress() const { return progress_; }
    void setProgress(int progress);

signals:
    // The cancel key was pressed. The receiver may delete the dialog.
    void cancelled();

private:
    QLabel* label_;
    QProgressBar* progressBar_;
    int progress_ = 0;
    bool autoReset_ = false;
};

#endif
