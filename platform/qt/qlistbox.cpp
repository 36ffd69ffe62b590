// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#include "qlistbox.h"

#include "OrmuApplication.h"

#include <QApplication>
#include <QContextMenuEvent>
#include <QMouseEvent>

QListBoxItem::QListBoxItem(const QString& text) : QListWidgetItem(text) {}

QListBoxItem::~QListBoxItem() = default;

QListBox::QListBox(QWidget* parent, const char* name) : QListWidget(parent)
{
    setObjectName(QString::fromLatin1(name));
    setSelectionMode(QAbstractItemView::SingleSelection);
    setEditTriggers(QAbstractItemView::NoEditTriggers);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    longPressTimer_.setSingleShot(true);
    connect(&longPressTimer_, &QTimer::timeout, this, &QListBox::longPress);
}

void QListBox::insertItem(QListBoxItem* item, int index)
{
    QListWidget::insertItem(index < 0 || index > count() ? count() : index, item);
    if (hasFocus() && currentRow() < 0)
        setCurrentRow(0);
}

QListBoxItem* QListBox::item(int index) const
{
    return static_cast<QListBoxItem*>(QListWidget::item(index));
}

QListBoxItem* QListBox::itemAtPoint(const QPoint& viewportPos) const
{
    return static_cast<QListBoxItem*>(itemAt(viewportPos));
}

QPoint QListBox::centreOf(const QListBoxItem* item) const
{
    return viewport()->mapToGlobal(visualItemRect(item).center());
}

void QListBox::clickItem(QListBoxItem*) {}

void QListBox::click(QListBoxItem* item, const QPoint& globalPos)
{
    if (item != nullptr)
        clickItem(item);
    emit mouseButtonClicked(Qt::LeftButton, item, globalPos);
}

void QListBox::mousePressEvent(QMouseEvent* event)
{
    QListWidget::mousePressEvent(event);
    event->accept();
    pressPos_ = event->position().toPoint();
    pressedItem_ = itemAtPoint(pressPos_);
    pressed_ = event->button() == Qt::LeftButton;
    if (pressed_ && OrmuApplication::mouseMode(viewport()) == 1)
        longPressTimer_.start(LONG_PRESS_MS);
}

void QListBox::contextMenuEvent(QContextMenuEvent* event)
{
    // A press of the right button. After this event Qt does not use the list any more, so that it may be
    // deleted.
    event->accept();
    if (event->reason() == QContextMenuEvent::Mouse)
        emit rightButtonPressed(itemAtPoint(event->pos()), event->globalPos());
}

void QListBox::mouseMoveEvent(QMouseEvent* event)
{
    QListWidget::mouseMoveEvent(event);
    const QPoint moved = event->position().toPoint() - pressPos_;
    if (moved.manhattanLength() >= QApplication::startDragDistance())
        longPressTimer_.stop();
}

void QListBox::mouseReleaseEvent(QMouseEvent* event)
{
    longPressTimer_.stop();
    QListWidget::mouseReleaseEvent(event);
    event->accept();
    QListBoxItem* released = itemAtPoint(event->position().toPoint());
    const bool isClick = pressed_ && event->button() == Qt::LeftButton && released == pressedItem_;
    pressed_ = false;
    if (isClick)
        click(released, event->globalPosition().toPoint());
}

void QListBox::mouseDoubleClickEvent(QMouseEvent* event)
{
    // The second press of a double click is an ordinary press.
    mousePressEvent(event);
}

void QListBox::longPress()
{
    QListBoxItem* item = itemAtPoint(pressPos_);
    if (!pressed_ || item != pressedItem_)
        return;
    pressed_ = false;
    emit rightButtonPressed(item, viewport()->mapToGlobal(pressPos_));
}

void QListBox::keyPressEvent(QKeyEvent* event)
{
    QListBoxItem* current = item(currentRow());
    switch (event->key()) {
    case Qt::Key_Return:
    case Qt::Key_Enter:
    case Qt::Key_Select:
        event->accept();
        if (current != nullptr)
            click(current, centreOf(current));
        break;
    case Qt::Key_Menu:
        event->accept();
        if (current != nullptr && OrmuApplication::mouseMode(viewport()) == 1)
            emit rightButtonPressed(current, centreOf(current));
        break;
    case Qt::Key_F1:
    case Qt::Key_F2:
    case Qt::Key_F3:
    case Qt::Key_Escape:
        event->ignore(); // the screen handles its soft keys
        break;
    default:
        QListWidget::keyPressEvent(event);
    }
}

void QListBox::focusInEvent(QFocusEvent* event)
{
    QListWidget::focusInEvent(event);
    if (currentRow() < 0 && count() > 0)
        setCurrentRow(0);
}

#include "moc_qlistbox.cpp"
