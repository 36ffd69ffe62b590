// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#include "qscrollview.h"

#include <QEvent>

QScrollView::QScrollView(QWidget* parent) : QScrollArea(parent)
{
    setWidget(new QWidget);
}

void QScrollView::addChild(QWidget* child, int x, int y)
{
    if (child->parentWidget() != widget())
        child->setParent(widget());
    child->move(x, y);
    child->installEventFilter(this);
    growToHold(child);
    child->show();
}

bool QScrollView::eventFilter(QObject* watched, QEvent* event)
{
    if (watched->parent() == widget() && (event->type() == QEvent::Resize || event->type() == QEvent::Move))
        growToHold(static_cast<QWidget*>(watched));
    return QScrollArea::eventFilter(watched, event);
}

void QScrollView::growToHold(const QWidget* child)
{
    const QRect needed = QRect(QPoint(), widget()->size()) | child->geometry();
    widget()->resize(needed.right() + 1, needed.bottom() + 1);
}

#include "moc_qscrollview.cpp"
