// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#include "qpopupmenu.h"

#include "OrmuPhoneWindow.h"

#include <QKeyEvent>
#include <QMouseEvent>
#include <QPointer>
#include <QTimer>

#include <algorithm>
#include <utility>

namespace {

QPointer<QPopupMenu> pressedMenu; // where the button went down on an entry

} // namespace

QPopupMenu::QPopupMenu(QWidget* parent, const char* name) : QMenu(parent)
{
    setObjectName(QString::fromLatin1(name));
    // Not from here: the receiver may delete the menu, which Qt still uses.
    connect(this, &QMenu::triggered, this, [this](QAction* action) {
        chosen_ = action->data().toInt();
        QTimer::singleShot(0, this, &QPopupMenu::emitChosen);
    });
}

void QPopupMenu::emitChosen()
{
    if (const std::optional<int> id = std::exchange(chosen_, std::nullopt))
        emit activated(*id);
}

QAction* QPopupMenu::find(int id) const
{
    const QList<QAction*> entries = actions();
    const auto found = std::find_if(entries.begin(), entries.end(),
                                    [id](const QAction* action) { return action->data().toInt() == id; });
    return found == entries.end() ? nullptr : *found;
}

int QPopupMenu::insertItem(const QString& text, int id, int index)
{
    // An ampersand is a character, not a mnemonic.
    auto* action = new QAction(QString(text).replace(QLatin1Char('&'), QLatin1String("&&")), this);
    action->setData(id);
    const QList<QAction*> entries = actions();
    insertAction(index >= 0 && index < entries.size() ? entries.at(index) : nullptr, action);
    return id;
}

void QPopupMenu::changeItem(int id, const QString& text)
{
    if (QAction* action = find(id))
        action->setText(QString(text).replace(QLatin1Char('&'), QLatin1String("&&")));
}

void QPopupMenu::setItemEnabled(int id, bool enable)
{
    if (QAction* action = find(id))
        action->setEnabled(enable);
}

bool QPopupMenu::isItemEnabled(int id) const
{
    const QAction* action = find(id);
    return action != nullptr && action->isEnabled();
}

QString QPopupMenu::text(int id) const
{
    const QAction* action = find(id);
    return action == nullptr ? QString() : action->text().replace(QLatin1String("&&"), QLatin1String("&"));
}

int QPopupMenu::exec(const QPoint& pos, int indexAtPoint)
{
    const QList<QAction*> entries = actions();
    const QPointer<QPopupMenu> self(this);
    QAction* atPoint = indexAtPoint > 0 && indexAtPoint < entries.size() ? entries.at(indexAtPoint) : nullptr;
    const QPoint offset = atPoint == nullptr ? QPoint() : actionGeometry(atPoint).topLeft();
    const QRect fitted = OrmuPhoneWindow::fitPopup(QRect(pos - QPoint(0, offset.y()), sizeHint()));
    const QAction* chosen = QMenu::exec(fitted.topLeft());
    return self.isNull() || chosen == nullptr ? -1 : chosen->data().toInt();
}

void QPopupMenu::popupAbove(const QPoint& pos)
{
    QRect rect(QPoint(), sizeHint());
    rect.moveBottomLeft(pos - QPoint(0, 1));
    popup(OrmuPhoneWindow::fitPopup(rect).topLeft());
}

void QPopupMenu::showEvent(QShowEvent* event)
{
    QMenu::showEvent(event);
    const QList<QAction*> entries = actions();
    const auto first = std::find_if(entries.begin(), entries.end(),
                                    [](const QAction* action) { return action->isEnabled(); });
    if (first != entries.end())
        setActiveAction(*first);
}

void QPopupMenu::keyPressEvent(QKeyEvent* event)
{
    const auto actAs = [this, event](Qt::Key key) {
        QKeyEvent standIn(event->type(), key, Qt::NoModifier);
        event->accept(); // first, because the menu's action may delete it
        QMenu::keyPressEvent(&standIn);
    };
    const QPointer<QPopupMenu> self(this);
    switch (event->key()) {
    case Qt::Key_F1:
    case Qt::Key_F2:
        actAs(Qt::Key_Return);
        break;
    case Qt::Key_F3:
        actAs(Qt::Key_Escape);
        break;
    default:
        QMenu::keyPressEvent(event);
    }
    if (!self.isNull())
        emitChosen();
}

// The mark stays on its entry while the pointer moves to a soft key.
void QPopupMenu::leaveEvent(QEvent*) {}

void QPopupMenu::mouseMoveEvent(QMouseEvent* event)
{
    if (rect().contains(event->position().toPoint()))
        QMenu::mouseMoveEvent(event);
}

// A click chooses as Enter does. Qt 6.8 closes a menu that is clicked where the pointer was when it opened.
void QPopupMenu::mousePressEvent(QMouseEvent* event)
{
    QAction* const entry = actionAt(event->position().toPoint());
    pressedMenu = entry == nullptr ? nullptr : this;
    if (entry == nullptr)
        QMenu::mousePressEvent(event);
    else if (entry->isEnabled())
        setActiveAction(entry);
}

void QPopupMenu::mouseReleaseEvent(QMouseEvent* event)
{
    const QPointer<QPopupMenu> self(this);
    const QAction* const entry = actionAt(event->position().toPoint());
    if (std::exchange(pressedMenu, nullptr) != this)
        QMenu::mouseReleaseEvent(event);
    else if (entry == nullptr || (entry == activeAction() && entry->isEnabled())) {
        QKeyEvent choice(QEvent::KeyPress, entry == nullptr ? Qt::Key_Escape : Qt::Key_Return,
                         Qt::NoModifier);
        keyPressEvent(&choice);
    }
    if (!self.isNull())
        emitChosen();
}

#include "moc_qpopupmenu.cpp"
