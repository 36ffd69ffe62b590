// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#include "UTIL_CST.h"

#include "OrmuGlobal.h"
#include "OrmuPushButton.h"
#include "OrmuStyle.h"

#include <QKeyEvent>
#include <QPainter>

UTIL_CST::UTIL_CST(QWidget* owner, const QString& middle, const QString& left, const QString& right)
    : QWidget(owner), left_(new OrmuPushButton(this, "left")), middle_(new OrmuPushButton(this, "middle")),
      right_(new OrmuPushButton(this, "right"))
{
    const auto label = [](OrmuPushButton* key, const QString& text) {
        key->setText(text);
        key->setResourceID(text);
    };
    label(left_, left);
    label(middle_, middle);
    label(right_, right);
    setGeometry(OrmuGlobal::getCstR());
}

void UTIL_CST::replace(QPointer<UTIL_CST>& current, UTIL_CST* bar, QWidget* owner)
{
    if (bar == current || bar == nullptr)
        return;
    delete current;
    current = bar;
    bar->setParent(owner);
    bar->setGeometry(OrmuGlobal::getCstR());
    bar->show();
}

bool UTIL_CST::pressFor(const QKeyEvent* event)
{
    OrmuPushButton* key = nullptr;
    switch (event->key()) {
    case Qt::Key_F1:
        key = left_;
        break;
    case Qt::Key_F2:
        key = middle_;
        break;
    case Qt::Key_F3:
    case Qt::Key_Escape:
        key = right_;
        break;
    default:
        return false;
    }
    key->click();
    return true;
}

void UTIL_CST::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    OrmuStyle::drawSoftKeyBar(&painter, rect());
}

void UTIL_CST::resizeEvent(QResizeEvent*)
{
    // The middle key has the longest texts.
    const int side = width() * 7 / 24;
    left_->setGeometry(0, 0, side, height());
    middle_->setGeometry(side, 0, width() - 2 * side, height());
    right_->setGeometry(width() - side, 0, side, height());
}

#include "moc_UTIL_CST.cpp"
