// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#include "OrmuKeyFilter.h"

#include <QApplication>
#include <QKeyEvent>
#include <QLineEdit>
#include <QWindow>

namespace {

// The same number for press and release, even when Shift goes up or down in between.
int numberOf(const QKeyEvent* event)
{
    return event->nativeScanCode() != 0 ? -static_cast<int>(event->nativeScanCode()) : event->key();
}

QWidget* receiverOfKeys()
{
    QWidget* popup = QApplication::activePopupWidget();
    return popup != nullptr ? popup : QApplication::focusWidget();
}

bool mayRepeat(const QKeyEvent* event, const QWidget* receiver)
{
    switch (event->key()) {
    case Qt::Key_Left:
    case Qt::Key_Up:
    case Qt::Key_Right:
    case Qt::Key_Down:
    case Qt::Key_Home:
    case Qt::Key_End:
    case Qt::Key_PageUp:
    case Qt::Key_PageDown:
    case Qt::Key_Tab:
    case Qt::Key_Backtab:
    case Qt::Key_Backspace:
    case Qt::Key_Delete:
        return true;
    case Qt::Key_Return:
    case Qt::Key_Enter:
    case Qt::Key_Escape:
        return false;
    default:
        return !event->text().isEmpty() && qobject_cast<const QLineEdit*>(receiver) != nullptr;
    }
}

bool isMenuKey(const QKeyEvent* event)
{
    if (event->key() == Qt::Key_F4)
        return event->modifiers() == Qt::NoModifier;
    // Shift may be released first.
    return event->key() == Qt::Key_F10 &&
           (event->type() == QEvent::KeyRelease || event->modifiers() == Qt::ShiftModifier);
}

// Sends the window a copy of the event with that key and repeat flag.
void sendAs(QWindow* window, const QKeyEvent* event, int key, bool repeat)
{
    const bool same = key == event->key();
    QKeyEvent copy(event->type(), key, same ? event->modifiers() : Qt::NoModifier, event->nativeScanCode(),
                   event->nativeVirtualKey(), event->nativeModifiers(), event->text(), repeat,
                   static_cast<quint16>(event->count()), event->device());
    copy.setTimestamp(event->timestamp());
    QCoreApplication::sendEvent(window, &copy);
}

} // namespace

OrmuKeyFilter::OrmuKeyFilter()
{
    qApp->installEventFilter(this);
    qApp->installNativeEventFilter(this);
    // While another program is active it gets the releases.
    connect(qApp, &QGuiApplication::applicationStateChanged, this, [this] {
        held_.clear();
        undelivered_.clear();
    });
}

bool OrmuKeyFilter::eventFilter(QObject* watched, QEvent* event)
{
    if (event->type() != QEvent::KeyPress && event->type() != QEvent::KeyRelease)
        return false;
    auto* key = static_cast<QKeyEvent*>(event);
    if (auto* window = qobject_cast<QWindow*>(watched))
        return filter(window, key);
    return key->isAutoRepeat() && !mayRepeat(key, qobject_cast<QWidget*>(watched));
}

bool OrmuKeyFilter::filter(QWindow* window, QKeyEvent* event)
{
    if (isMenuKey(event)) {
        sendAs(window, event, Qt::Key_Menu, event->isAutoRepeat());
        return true;
    }
    return event->type() == QEvent::KeyPress ? filterPress(window, event) : filterRelease(event);
}

bool OrmuKeyFilter::filterPress(QWindow* window, QKeyEvent* event)
{
    const int key = numberOf(event);
    takeLostRelease(key);
    QWidget* receiver = receiverOfKeys();
    const bool repeatsRelease = repeatsLastRelease(event);
    if (!event->isAutoRepeat() && !repeatsRelease && !held_.contains(key)) {
        held_.insert(key, receiver);
        return false;
    }
    if (!held_.contains(key))
        held_.insert(key, repeatsRelease ? lastRelease_.receiver : nullptr);
    // A key that went down elsewhere types no text here.
    if (!mayRepeat(event, held_.value(key) == receiver ? receiver : nullptr))
        return true;
    if (event->isAutoRepeat())
        return false;
    sendAs(window, event, event->key(), true);
    return true;
}

bool OrmuKeyFilter::filterRelease(const QKeyEvent* event)
{
    QWidget* receiver = receiverOfKeys();
    const int key = numberOf(event);
    undelivered_.remove(key);
    if (event->isAutoRepeat())
        return !mayRepeat(event, receiver);
    lastRelease_ = {key, event->timestamp(), held_.take(key)};
    return lastRelease_.receiver != receiver;
}

bool OrmuKeyFilter::nativeEventFilter(const QByteArray& type, void* message, qintptr* /*result*/)
{
    // The beginning of the X protocol's KeyRelease.
    struct KeyEvent
    {
        quint8 type;
        quint8 keyCode;
        quint16 sequence;
        quint32 time;
    };
    constexpr unsigned KEY_RELEASE = 3;
    constexpr unsigned SENT_BY_A_PROGRAM = 0x80;
    if (type != "xcb_generic_event_t")
        return false;
    const auto* event = static_cast<const KeyEvent*>(message);
    if ((event->type & ~SENT_BY_A_PROGRAM) == KEY_RELEASE)
        undelivered_.insert(-static_cast<int>(event->keyCode), event->time);
    return false;
}

// The key was released, and Qt did not say so.
void OrmuKeyFilter::takeLostRelease(int key)
{
    const auto lost = undelivered_.constFind(key);
    if (lost == undelivered_.cend())
        return;
    lastRelease_ = {key, *lost, held_.take(key)};
    undelivered_.erase(lost);
}

bool OrmuKeyFilter::repeatsLastRelease(const QKeyEvent* event) const
{
    // A program may send two presses of one key within a millisecond (no scan code); a keyboard does not.
    return event->nativeScanCode() != 0 && numberOf(event) == lastRelease_.key &&
           event->timestamp() == lastRelease_.time;
}
