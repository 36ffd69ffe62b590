// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#ifndef ORMUMESSAGEBOX_H
#define ORMUMESSAGEBOX_H

#include "OrmuBaseDialog.h"
#include "OrmuPlatformExport.h"

#include <QPixmap>
#include <QStringList>

class OrmuPushButton;
class QTextEdit;

// A dialog with an icon, a text and up to three buttons. The text is plain; "\n" begins a new line. Up and
// Down scroll a text that is higher than the screen.
//
// One button: every soft key, Escape and the centre key press it. Two buttons: F1 and the centre key press
// the first, F3 and Escape the second. Three buttons: F1, F2 and F3 press one each, the centre key the
// first, Escape the third.
class ORMU_PLATFORM_EXPORT OrmuMessageBox : public OrmuBaseDialog
{
    Q_OBJECT

public:
    // The time of a notice without and with a button.
    static constexpr int NOTICE_MS = 2500;
    static constexpr int BUTTON_NOTICE_MS = 5000;

    // The buttons end before the first empty text. The int has no effect; the phone's toolkit has it.
    OrmuMessageBox(QWidget* parent, const QPixmap& icon, const QString& text, const QString& button0,
                   const QString& button1, const QString& button2, int);

    // Waits for the user. Returns the index of the pressed button, or -1 when the box was hidden or deleted
    // or the program ends.
    int exec() override;

    QString text() const;
    QPixmap iconPixmap() const { return icon_; }
    QString buttonText(int index) const;
    // The arguments as the caller passed them: the three button texts, and the ints in their order.
    const QStringList& buttonArguments() const { return buttonArguments_; }
    const QList<int>& intArguments() const { return intArguments_; }

    // Runs a box and returns the result of exec().
    static int information(QWidget* parent, const QPixmap& icon, const QString& text, const QString& button0,
                           const QString& button1, const QString& button2, int);
    // Notices: run a box until the user presses a key, taps, or its time has passed. timerInformation()
    // returns the index of the pressed button, otherwise -1. The ints have no effect; the phone's toolkit
    // has them.
    static void timerMessage(QWidget* parent, const QPixmap& icon, const QString& text, int, int);
    static int timerInformation(QWidget* parent, const QPixmap& icon, const QString& text, int,
                                const QString& button0, const QString& button1, const QString& button2, int);

protected:
    void keyPressEvent(QKeyEvent* event) override;

    QList<int> intArguments_;

private:
    void makeKeys();
    void layOut();
    void pressFirst();

    const QPixmap icon_;
    const QStringList buttonArguments_;
    const QStringList buttons_;
    QList<OrmuPushButton*> keys_; // one for each button
    QTextEdit* text_;
    int pressed_ = -1;
};

#endif
