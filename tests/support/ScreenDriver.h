#ifndef SCREENDRIVER_H
#define SCREENDRIVER_H

#include "OrmuPhoneWindow.h"

#include <QApplication>

#include <functional>
#include <memory>

class QListBox;
class QWindow;

// Drives the phone as a person does: keys and the pointer go to the phone's window, or to the menu that is
// open over it, and from there wherever the toolkit takes them. Every call may end with what it touched
// deleted.
namespace ScreenDriver {

constexpr int PATIENCE_MS = 10000;

// The phone's window, which has the keys unless a menu has them.
QWindow* phone();

// Presses and releases a key, which an outer call lets go first if it holds it down.
void press(Qt::Key key, Qt::KeyboardModifiers modifiers = Qt::NoModifier);
// Types a text, character by character.
void type(const QString& text);

// Presses and releases a button of the pointer in the middle of the widget, or at a point of it.
void click(QWidget* widget, Qt::MouseButton button = Qt::LeftButton);
void clickAt(QWidget* widget, const QPoint& point, Qt::MouseButton button = Qt::LeftButton);
void clickRow(QListBox* list, int row, Qt::MouseButton button = Qt::LeftButton);
// Holds the left button down on the row until the list takes it for the right one, and lets go.
void longPress(QListBox* list, int row);
// The entry of the open menu that reads so; a failure of the test when there is none.
void clickMenuEntry(const QString& text);

// Lets the program run until the condition holds. False when it did not in time.
bool waitFor(const std::function<bool()>& condition, int timeoutMs = PATIENCE_MS);

// What the user sees, written as a PNG file.
bool savePicture(const QString& path);

// The screen, dialog or menu that has the keys, if it is a T; otherwise null.
template <class T>
T* open()
{
    if (QWidget* popup = QApplication::activePopupWidget())
        return dynamic_cast<T*>(popup);
    return dynamic_cast<T*>(OrmuPhoneWindow::instance()->topScreen());
}

// What onceOpen() gives: the test fails if the action has not run by its end.
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

// Runs act on the T that has the keys, once one has: the way to answer what a call waits for.
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
