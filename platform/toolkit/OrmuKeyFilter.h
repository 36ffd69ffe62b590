#ifndef ORMUKEYFILTER_H
#define ORMUKEYFILTER_H

#include <QHash>
#include <QObject>
#include <QPointer>
#include <QWidget>

class QKeyEvent;
class QWindow;

// What a key of the phone is before any widget sees it, in every window and popup of the program.
//
// A key that is held down acts once. Its repeats move the focus, scroll, and change what is typed into a text
// entry that has had the focus since the key went down; all others are dropped. Repeats are told by their
// flag, by a press without a release before it, and by a press at the very time of the release, which is how
// an X server repeats a key; widgets get them with the flag. The release of a key goes to what got its
// press, or to nothing: not to a dialog or menu that opened meanwhile.
//
// F4 and Shift+F10 are the Menu key.
class OrmuKeyFilter : public QObject
{
public:
    OrmuKeyFilter();

    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    using Receiver = QPointer<QWidget>;

    struct Release
    {
        int key = 0;
        quint64 time = 0;
        Receiver receiver;
    };

    bool filter(QWindow* window, QKeyEvent* event);
    bool filterPress(QWindow* window, QKeyEvent* event);
    bool filterRelease(const QKeyEvent* event);
    bool repeatsLastRelease(const QKeyEvent* event) const;

    QHash<int, Receiver> held_; // the keys that are down, and what got their presses
    Release lastRelease_;
};

#endif
