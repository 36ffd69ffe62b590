#ifndef ORMUMESSAGEBOX_H
#define ORMUMESSAGEBOX_H

#include "OrmuBaseDialog.h"

#include <QPixmap>
#include <QStringList>

class OrmuPushButton;
class QTextEdit;

// An icon, a text and up to three buttons, over whatever the phone shows. The text is plain; "\n" breaks its
// lines, and one that is longer than the screen scrolls by Up and Down.
//
// One button: every soft key, Escape and the centre key press it. Two: F1 and the centre key press the first,
// F3 and Escape the second. Three: F1, F2 and F3, the centre key the first and Escape the third.
class OrmuMessageBox : public OrmuBaseDialog
{
    Q_OBJECT

public:
    // How long a timed notice stays: without a button, and with one.
    static constexpr int NOTICE_MS = 2500;
    static constexpr int BUTTON_NOTICE_MS = 5000;

    // An empty button text means no such button, and none after it. The int is kept for the phone's sake; 1
    // is the value in use.
    OrmuMessageBox(QWidget* parent, const QPixmap& icon, const QString& text, const QString& button0,
                   const QString& button1, const QString& button2, int);

    // Waits for the user. Returns the index of the pressed button; -1 when the box ended in another way: it
    // was hidden or deleted, or the program ends.
    int exec() override;

    QString text() const;
    QPixmap iconPixmap() const { return icon_; }
    QString buttonText(int index) const;
    // The arguments as the caller passed them: the three button texts, and the ints in their order.
    const QStringList& buttonArguments() const { return buttonArguments_; }
    const QList<int>& intArguments() const { return intArguments_; }

    // Makes a box, waits for the user, and returns what exec() does.
    static int information(QWidget* parent, const QPixmap& icon, const QString& text, const QString& button0,
                           const QString& button1, const QString& button2, int);
    // Timed notices: they wait until the user dismisses the box with any key or a tap, or their
    // time has passed. The ints are kept for the phone's sake: they change nothing here. timerInformation()
    // returns the index of the button if one was pressed, otherwise -1.
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
    QList<OrmuPushButton*> keys_; // one to a button
    QTextEdit* text_;
    int pressed_ = -1;
};

#endif
