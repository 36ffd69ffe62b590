// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#include "OrmuPhoneWindow.h"

#include "OrmuGlobal.h"
#include "OrmuKeyFilter.h"
#include "OrmuPopupKeys.h"
#include "OrmuStyle.h"

#include <QApplication>
#include <QKeyEvent>
#include <QMoveEvent>
#include <QPainter>

#include <algorithm>

OrmuPhoneWindow* OrmuPhoneWindow::window_ = nullptr;

OrmuPhoneWindow* OrmuPhoneWindow::instance()
{
    if (window_ == nullptr) {
        OrmuStyle::install();
        window_ = new OrmuPhoneWindow;
        qAddPostRoutine([] { delete window_; });
    }
    return window_;
}

OrmuPhoneWindow::OrmuPhoneWindow()
    : keyFilter_(std::make_unique<OrmuKeyFilter>()), popupKeys_(std::make_unique<OrmuPopupKeys>(this))
{
    setFixedSize(OrmuGlobal::getScreenSize());
    setAttribute(Qt::WA_OpaquePaintEvent);
}

OrmuPhoneWindow::~OrmuPhoneWindow()
{
    window_ = nullptr;
    popupKeys_.reset();
    for (QObject* child : QObjectList(children()))
        if (auto* screen = qobject_cast<QWidget*>(child))
            screen->setParent(nullptr);
}

QRect OrmuPhoneWindow::fitPopup(const QRect& wanted)
{
    const OrmuPhoneWindow* phone = instance();
    const QRect content = OrmuGlobal::getContentR();
    const QRect room(phone->mapToGlobal(content.topLeft()), content.size());
    QRect fitted = wanted;
    fitted.moveLeft(qMax(room.left(), qMin(wanted.left(), room.right() - wanted.width() + 1)));
    fitted.moveTop(qMax(room.top(), qMin(wanted.top(), room.bottom() - wanted.height() + 1)));
    return fitted;
}

QWidgetList OrmuPhoneWindow::openPopups()
{
    QWidgetList popups = QApplication::topLevelWidgets();
    popups.removeIf([](const QWidget* top) { return !top->isVisible() || top->windowType() != Qt::Popup; });
    return popups;
}

QWidget* OrmuPhoneWindow::beneath(const QWidget* screen)
{
    const QList<OpenScreen>& screens = instance()->screens_;
    const auto found = std::find_if(screens.begin(), screens.end(),
                                    [screen](const OpenScreen& open) { return open.screen == screen; });
    return found == screens.begin() || found == screens.end() ? nullptr : std::prev(found)->screen;
}

void OrmuPhoneWindow::setScreenVisible(QWidget* screen, bool visible, const std::function<void()>& setVisible,
                                       const std::function<void()>& giveFocus)
{
    if (visible)
        instance()->place(screen);
    setVisible();
    if (!visible) {
        left(screen);
        return;
    }
    if (screen->focusWidget() == nullptr)
        giveFocus();
    instance()->entered(screen);
}

void OrmuPhoneWindow::place(QWidget* screen)
{
    if (screen->parentWidget() == nullptr)
        screen->setParent(this, Qt::SubWindow);
    QPoint corner;
    if (isAncestorOf(screen->parentWidget()))
        corner = screen->parentWidget()->mapFrom(this, corner);
    screen->setGeometry(QRect(corner, size()));
    if (!isVisible() && screen->window() == this)
        show();
    // Now: once a child of the top screen is shown, its focus counts as the top screen's.
    if (!screens_.isEmpty() && topScreen() != screen)
        screens_.last().focus = topScreen()->focusWidget();
}

void OrmuPhoneWindow::entered(QWidget* screen)
{
    forget(screen);
    screens_.append(OpenScreen{screen, screen->focusWidget()});
    screen->raise();
    popupKeys_->raise();
    giveFocusToTop();
}

void OrmuPhoneWindow::left(QWidget* screen)
{
    if (window_ != nullptr && window_->forget(screen))
        window_->giveFocusToTop();
}

bool OrmuPhoneWindow::forget(const QWidget* screen)
{
    return screens_.removeIf([screen](const OpenScreen& open) { return open.screen == screen; }) != 0;
}

void OrmuPhoneWindow::giveFocusToTop()
{
    if (screens_.isEmpty())
        return;
    const OpenScreen& top = screens_.last();
    (top.focus != nullptr ? top.focus.data() : top.screen)->setFocus(Qt::OtherFocusReason);
}

QWidget* OrmuPhoneWindow::topScreen() const
{
    return screens_.isEmpty() ? nullptr : screens_.last().screen;
}

QPixmap OrmuPhoneWindow::picture()
{
    QPixmap picture = grab();
    QPainter painter(&picture);
    for (QWidget* popup : openPopups())
        painter.drawPixmap(mapFromGlobal(popup->pos()), popup->grab());
    return picture;
}

void OrmuPhoneWindow::changeEvent(QEvent* event)
{
    QWidget::changeEvent(event);
    if (event->type() == QEvent::WindowStateChange && isMinimized())
        closePopups();
}

void OrmuPhoneWindow::hideEvent(QHideEvent* event)
{
    QWidget::hideEvent(event);
    closePopups();
}

void OrmuPhoneWindow::moveEvent(QMoveEvent* event)
{
    QWidget::moveEvent(event);
    for (QWidget* popup : openPopups())
        popup->move(popup->pos() + event->pos() - event->oldPos());
}

void OrmuPhoneWindow::closePopups()
{
    for (QWidget* popup : openPopups())
        popup->close();
}

void OrmuPhoneWindow::keyPressEvent(QKeyEvent* event)
{
    // Keys arrive here when the widget that had the focus no longer exists.
    QWidget* screen = topScreen();
    if (screen == nullptr || (focusWidget() != nullptr && focusWidget() != this)) {
        QWidget::keyPressEvent(event);
        return;
    }
    giveFocusToTop();
    QCoreApplication::sendEvent(screen, event);
}

void OrmuPhoneWindow::paintEvent(QPaintEvent*)
{
    QPainter(this).fillRect(rect(), OrmuStyle::screenColor());
}

#include "moc_OrmuPhoneWindow.cpp"
