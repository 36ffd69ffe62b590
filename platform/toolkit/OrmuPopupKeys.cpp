// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#include "OrmuPopupKeys.h"

#include "OrmuPhoneWindow.h"
#include "OrmuPushButton.h"
#include "UTIL_CST.h"

#include <QApplication>
#include <QKeyEvent>
#include <QMouseEvent>

#include <utility>

OrmuPopupKeys::OrmuPopupKeys(QWidget* phone)
    : bar_(new UTIL_CST(phone, QString(), tr("Select", "3.3.1;CST_3BUTTON"),
                        tr("Cancel", "3.3.1;CST_3BUTTON")))
{
    bar_->hide();
    qApp->installEventFilter(this);
}

OrmuPopupKeys::~OrmuPopupKeys() = default;

void OrmuPopupKeys::raise()
{
    bar_->raise();
}

bool OrmuPopupKeys::eventFilter(QObject* watched, QEvent* event)
{
    switch (event->type()) {
    case QEvent::Show:
    case QEvent::Hide:
        if (watched->isWidgetType() && static_cast<QWidget*>(watched)->windowType() == Qt::Popup) {
            bar_->setVisible(!OrmuPhoneWindow::openPopups().isEmpty());
            bar_->raise();
        }
        return false;
    case QEvent::MouseButtonPress:
    case QEvent::MouseButtonDblClick:
        return watched->isWindowType() && press(static_cast<QMouseEvent*>(event));
    case QEvent::MouseButtonRelease:
        return watched->isWindowType() && release(static_cast<QMouseEvent*>(event));
    default:
        return false;
    }
}

OrmuPushButton* OrmuPopupKeys::keyAt(const QMouseEvent* event) const
{
    auto* key =
        qobject_cast<OrmuPushButton*>(bar_->childAt(bar_->mapFromGlobal(event->globalPosition().toPoint())));
    return key != nullptr && !key->text().isEmpty() ? key : nullptr;
}

bool OrmuPopupKeys::press(const QMouseEvent* event)
{
    if (!bar_->isVisible())
        return false;
    pressed_ = keyAt(event);
    if (pressed_ != nullptr)
        pressed_->setDown(true);
    return pressed_ != nullptr;
}

bool OrmuPopupKeys::release(const QMouseEvent* event)
{
    OrmuPushButton* pressed = std::exchange(pressed_, nullptr);
    if (pressed == nullptr)
        return false;
    pressed->setDown(false);
    QWidget* popup = QApplication::activePopupWidget();
    if (keyAt(event) != pressed || popup == nullptr)
        return true;
    QWidget* receiver = popup->focusWidget() != nullptr ? popup->focusWidget() : popup;
    QKeyEvent key(QEvent::KeyPress, pressed == bar_->getLeftBtn() ? Qt::Key_F1 : Qt::Key_F3, Qt::NoModifier);
    QCoreApplication::sendEvent(receiver, &key);
    return true;
}
