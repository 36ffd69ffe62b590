// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#include "OrmuBaseDialog.h"

#include "OrmuGlobal.h"
#include "OrmuPhoneWindow.h"
#include "OrmuStyle.h"
#include "UTIL_CST.h"
#include "qlistbox.h"

#include <QAbstractButton>
#include <QKeyEvent>
#include <QPainter>

OrmuBaseDialog::OrmuBaseDialog(QWidget* parent, const char* name, WFlags)
    : QDialog(parent, Qt::SubWindow), panel_(new QWidget(this))
{
    setObjectName(QString::fromLatin1(name));
    resize(OrmuGlobal::getScreenSize());
    panel_->setGeometry(OrmuGlobal::getDlgLargeR());
}

OrmuBaseDialog::~OrmuBaseDialog()
{
    OrmuPhoneWindow::left(this);
}

void OrmuBaseDialog::setVisible(bool visible)
{
    const auto giveFocus = [this] {
        if (auto* list = findChild<QListBox*>())
            list->setFocus();
        else
            focusNextChild();
    };
    OrmuPhoneWindow::setScreenVisible(
        this, visible, [this, visible] { QDialog::setVisible(visible); }, giveFocus);
}

void OrmuBaseDialog::setSoftKeys(UTIL_CST* bar)
{
    UTIL_CST::replace(bar_, bar, this);
}

void OrmuBaseDialog::keyPressEvent(QKeyEvent* event)
{
    event->accept(); // first, because a soft key may delete the dialog
    if (bar_ != nullptr && bar_->pressFor(event))
        return;
    switch (event->key()) {
    case Qt::Key_Up:
        focusPreviousChild();
        break;
    case Qt::Key_Down:
        focusNextChild();
        break;
    case Qt::Key_Return:
    case Qt::Key_Enter:
    case Qt::Key_Select:
        if (auto* button = qobject_cast<QAbstractButton*>(focusWidget()); button != nullptr)
            button->click();
        break;
    case Qt::Key_F3:
    case Qt::Key_Escape:
        reject();
        break;
    default:
        break;
    }
}

void OrmuBaseDialog::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    const auto* below = qobject_cast<OrmuBaseDialog*>(OrmuPhoneWindow::beneath(this));
    OrmuStyle::dim(&painter, below == nullptr ? rect() : OrmuStyle::framed(below->panel_->geometry()));
    OrmuStyle::drawPanel(&painter, panel_->geometry());
}

#include "moc_OrmuBaseDialog.cpp"
