// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#ifndef SCREENDRIVER_H
#define SCREENDRIVER_H

#include "OrmuPhoneWindow.h"

#include <QApplication>

#include <functional>
#include <memory>

class QListBox;
class QWindow;

// Drives the phone as a person does: keys and the pointer go to the phone's window, or to the menu that is
// open over it. Every call may delete the widget that it acts on.
namespace ScreenDriver {

constexpr int TIMEOUT_MS = 120000;

// The phone's window, which has the keys unless a menu has them.
QWindow* phone();

// Presses and releases a key. If an outer call holds the key down, it is released first.
void press(Qt::Key key, Qt::KeyboardModifiers modifiers = Qt::NoModifier);
// Types a text, character by character.
void type(const QString& text);

// Presses and releases a button of the pointer in the middle of the widget, or at a point of it.
void click(QWidget* widget, Qt::MouseButton button = Qt::LeftButton);
void clickAt(QWidget* widget, const QPoint& point, Qt::MouseButton button = Qt::LeftButton);
void clickRow(QListBox* list, int row, Qt::MouseButton button = Qt::LeftButton);
// Holds the left button down on the row until the list emits rightButtonPressed(), and releases it.
void longPress(QListBox* list, int row);
// Clicks the entry of the open menu with that text. Without such an entry the test fails.
void clickMenuEntry(const QString& text);

// Lets the program run until the condition holds. False when it did not in time.
bool waitFor(const std::function<bool()>& condition, int timeoutMs = TIMEOUT_MS);

// Writes the phone's picture to a PNG file.
bool savePicture(const QString& path);

// The screen, dialog or menu that has the keys, if it is a T; otherwise null.
template <class T>
T* open()
{
    if (QWidget* popup = QApplication::activePopupWidget())
        return dynamic_cast<T*>(popup);
    return dynamic_cast<T*>(OrmuPhoneWindow::instance()->topScreen());
}

// The result of onceOpen(). The test fails if the action has not run when this object ends.
class Expected
{
public:
    // Runs act once, from the event loop, as soon as isOpen holds.
    Expected(std::function<bool()> isOpen, std::function<void()> act);
    ~Expected();
    Expected(const Expected&) = delete;
    Expected& operator=(const Expected&) = delete;

private:
    std::shared_ptr<bool> ran_;
    std::unique_ptr<QObject> poll_;
};

// Runs act on the T that has the keys, once one has. So a test answers a dialog that blocks its caller.
//
//     const auto answer = onceOpen<OrmuMessageBox>([](OrmuMessageBox&) { press(Qt::Key_F1); });
//     press(Qt::Key_F3);
template <class T, class Act>
[[nodiscard]] Expected onceOpen(Act act)
{
    return Expected([] { return open<T>() != nullptr; }, [act] { act(*open<T>()); });
}

} // namespace ScreenDriver

#endif
