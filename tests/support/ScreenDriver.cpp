// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#include "ScreenDriver.h"

#include "qlistbox.h"
#include "qpopupmenu.h"

#include <QPointer>
#include <QSet>
#include <QTest>
#include <QTimer>
#include <QWindow>

#include <gtest/gtest.h>

QWindow* ScreenDriver::phone()
{
    OrmuPhoneWindow* window = OrmuPhoneWindow::instance();
    if (QApplication::activePopupWidget() == nullptr && !window->isActiveWindow()) {
        window->show();
        window->activateWindow();
        EXPECT_TRUE(QTest::qWaitForWindowActive(window));
    }
    return window->windowHandle();
}

namespace {

// The keys that calls of press() hold down. A press may open a dialog that calls press() before it returns.
QSet<Qt::Key> heldKeys;

void release(Qt::Key key, Qt::KeyboardModifiers modifiers)
{
    if (heldKeys.remove(key))
        QTest::keyRelease(ScreenDriver::phone(), key, modifiers);
}

QPoint rowCentre(QListBox* list, int row)
{
    list->scrollToItem(list->item(row));
    return list->visualItemRect(list->item(row)).center();
}

QPoint toWindow(const QWidget* widget, const QPoint& point)
{
    return widget->mapTo(widget->window(), point);
}

} // namespace

void ScreenDriver::press(Qt::Key key, Qt::KeyboardModifiers modifiers)
{
    release(key, modifiers);
    heldKeys.insert(key);
    QTest::keyPress(phone(), key, modifiers);
    release(key, modifiers);
}

void ScreenDriver::type(const QString& text)
{
    QWindow* window = phone();
    for (const char32_t character : text.toUcs4())
        QTest::sendKeyEvent(QTest::Click, window, Qt::Key_unknown, QString::fromUcs4(&character, 1),
                            Qt::NoModifier);
}

void ScreenDriver::click(QWidget* widget, Qt::MouseButton button)
{
    clickAt(widget, widget->rect().center(), button);
}

void ScreenDriver::clickAt(QWidget* widget, const QPoint& point, Qt::MouseButton button)
{
    phone();
    QTest::mouseClick(widget->window()->windowHandle(), button, Qt::NoModifier, toWindow(widget, point));
}

void ScreenDriver::clickRow(QListBox* list, int row, Qt::MouseButton button)
{
    clickAt(list->viewport(), rowCentre(list, row), button);
}

void ScreenDriver::longPress(QListBox* list, int row)
{
    QWindow* window = phone();
    const QPoint place = toWindow(list->viewport(), rowCentre(list, row));
    bool taken = false;
    const auto heard =
        QObject::connect(list, &QListBox::rightButtonPressed, window, [&taken] { taken = true; });
    QTest::mousePress(window, Qt::LeftButton, Qt::NoModifier, place);
    const QPointer<QListBox> alive(list); // the first slot may delete the list
    EXPECT_TRUE(waitFor([&] { return taken || alive.isNull(); }));
    QObject::disconnect(heard);
    QTest::mouseRelease(window, Qt::LeftButton, Qt::NoModifier, place);
}

void ScreenDriver::clickMenuEntry(const QString& text)
{
    auto* menu = open<QPopupMenu>();
    ASSERT_NE(menu, nullptr);
    for (QAction* entry : menu->actions()) {
        if (menu->text(entry->data().toInt()) == text) {
            clickAt(menu, menu->actionGeometry(entry).center());
            return;
        }
    }
    FAIL() << "no entry " << text.toStdString();
}

bool ScreenDriver::waitFor(const std::function<bool()>& condition, int timeoutMs)
{
    return QTest::qWaitFor(condition, timeoutMs);
}

bool ScreenDriver::savePicture(const QString& path)
{
    return OrmuPhoneWindow::instance()->picture().save(path, "PNG");
}

ScreenDriver::Expected::Expected(std::function<bool()> isOpen, std::function<void()> act)
    : ran_(std::make_shared<bool>(false)), poll_(std::make_unique<QObject>())
{
    auto* timer = new QTimer(poll_.get());
    QObject::connect(timer, &QTimer::timeout, [timer, ran = ran_, isOpen, act] {
        if (!isOpen())
            return;
        timer->stop();
        *ran = true;
        act();
    });
    timer->start(1);
}

ScreenDriver::Expected::~Expected()
{
    EXPECT_TRUE(*ran_) << "the expected dialog never opened";
}
