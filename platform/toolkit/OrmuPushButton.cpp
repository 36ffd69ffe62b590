// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#include "OrmuPushButton.h"

#include "OrmuStyle.h"
#include "qpopupmenu.h"

#include <QPainter>

OrmuPushButton::OrmuPushButton(QWidget* parent, const char* name) : QPushButton(parent)
{
    setObjectName(QString::fromLatin1(name));
    setFocusPolicy(Qt::NoFocus);
    connect(this, &QPushButton::clicked, this, [this] {
        if (popup_ != nullptr)
            popup_->popupAbove(mapToGlobal(QPoint()));
    });
}

void OrmuPushButton::setResourceID(const QString& id)
{
    resourceID_ = id;
    if (id == QLatin1String("CST_Menu"))
        setText(tr("Menu", "3.3.1;CST_3BUTTON"));
    else if (id == QLatin1String("CST_Back"))
        setText(tr("Back", "3.3.1;CST_3BUTTON"));
}

void OrmuPushButton::setPopup(QPopupMenu* menu)
{
    popup_ = menu;
}

bool OrmuPushButton::hitButton(const QPoint& pos) const
{
    return !text().isEmpty() && QPushButton::hitButton(pos);
}

void OrmuPushButton::paintEvent(QPaintEvent*)
{
    if (text().isEmpty())
        return;
    QPainter painter(this);
    if (isDown())
        painter.fillRect(rect(), OrmuStyle::focusColor());
    painter.setPen(isEnabled() ? QColor(Qt::white) : QColor(0x7c, 0x8b, 0x9c));
    painter.drawText(rect().adjusted(2, 0, -2, 0), Qt::AlignCenter, text());
}

#include "moc_OrmuPushButton.cpp"
