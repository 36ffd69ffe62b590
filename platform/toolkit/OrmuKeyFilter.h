// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#ifndef ORMUKEYFILTER_H
#define ORMUKEYFILTER_H

#include <QAbstractNativeEventFilter>
#include <QHash>
#include <QObject>
#include <QPointer>
#include <QWidget>

class QKeyEvent;
class QWindow;

// Filters the keys of the program, in every window and popup, before a widget gets them.
//
// A key that is held down acts once. Of its repeats those remain that move the focus, scroll, or edit a
// text entry that has had the focus since the key went down; the others are dropped. A repeat is a press
// with the repeat flag, a press without a release before it, or a press with the timestamp of the release
// (as an X server repeats a key). Widgets get it with the flag. The release of a key goes to the widget
// that got its press and to no other: not to a dialog or menu that opened meanwhile.
//
// F4 and Shift+F10 become the Menu key.
class OrmuKeyFilter : public QObject, public QAbstractNativeEventFilter
{
public:
    OrmuKeyFilter();

    bool eventFilter(QObject* watched, QEvent* event) override;
    // Notes the releases of an X server. Qt drops one that was sent to a window, such as a menu's, that is
    // gone.
    bool nativeEventFilter(const QByteArray& type, void* message, qintptr* result) override;

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
    void takeLostRelease(int key);
    bool repeatsLastRelease(const QKeyEvent* event) const;

    QHash<int, Receiver> held_; // the keys that are down, with the receivers of their presses
    Release lastRelease_;
    QHash<int, quint64> undelivered_; // times of the X server's releases that have not come as events of Qt
};

#endif
