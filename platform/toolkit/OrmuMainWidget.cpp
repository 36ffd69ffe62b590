// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#include "OrmuMainWidget.h"

#include "OrmuGlobal.h"
#include "OrmuPhoneWindow.h"
#include "OrmuStyle.h"
#include "UTIL_CST.h"

#include <QAbstractButton>
#include <QAbstractItemView>
#include <QComboBox>
#include <QCoreApplication>
#include <QKeyEvent>
#include <QLabel>
#include <QPainter>
#include <QScrollBar>
#include <QTimer>

namespace {
constexpr int TEXT_INDENT = 5;
constexpr int ENTRY_SURROUNDINGS = 32;

// The list of a combo box: it opens inside the phone's window; the left, the middle and the centre key
// choose; the right one and Escape close.
class ComboList : public QObject
{
public:
    explicit ComboList(QComboBox* combo) : QObject(combo), combo_(combo)
    {
        combo->view()->installEventFilter(this);
        combo->view()->parentWidget()->installEventFilter(this);
    }

protected:
    bool eventFilter(QObject* watched, QEvent* event) override
    {
        if (watched != combo_->view()) {
            if (event->type() == QEvent::Show)
                fit(static_cast<QWidget*>(watched));
            return false;
        }
        // Otherwise the box would act on this event and the screen on the key press that follows.
        if (event->type() == QEvent::ShortcutOverride)
            return true;
        return event->type() == QEvent::KeyPress && press(static_cast<QKeyEvent*>(event)->key());
    }

private:
    // Below the box, or above it when the phone ends there.
    void fit(QWidget* list) const
    {
        QRect place(combo_->mapToGlobal(QPoint(0, combo_->height())), list->size());
        if (!OrmuPhoneWindow::fitPopup(place).contains(place))
            place.moveBottom(combo_->mapToGlobal(QPoint()).y() - 1);
        list->move(OrmuPhoneWindow::fitPopup(place).topLeft());
    }

    bool press(int key)
    {
        switch (key) {
        case Qt::Key_F1:
        case Qt::Key_F2:
        case Qt::Key_Return:
        case Qt::Key_Enter:
        case Qt::Key_Select:
            choose(combo_->view()->currentIndex().row());
            return true;
        case Qt::Key_F3:
        case Qt::Key_Escape:
            combo_->hidePopup();
            return true;
        default:
            return false;
        }
    }

    void choose(int row)
    {
        combo_->hidePopup();
        if (row < 0)
            return;
        combo_->setCurrentIndex(row);
        emit combo_->activated(row);
    }

    QComboBox* combo_;
};

// The content area of a screen. A label across its whole upper edge is the screen's title.
class Content : public QScrollView
{
public:
    Content(QWidget* parent, bool form) : QScrollView(parent), form_(form)
    {
        setFrameShape(QFrame::NoFrame);
        setFocusPolicy(Qt::NoFocus);
        setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
        widget()->installEventFilter(this);
    }

    void addChild(QWidget* child, int x, int y) override
    {
        QScrollView::addChild(child, x, y);
        if (auto* label = qobject_cast<QLabel*>(child)) {
            label->setWordWrap(true);
            // A label begins at the edge of the screen, its text does not.
            if (label->indent() < 0)
                label->setIndent(TEXT_INDENT);
        }
        if (auto* combo = qobject_cast<QComboBox*>(child))
            new ComboList(combo);
    }

protected:
    bool eventFilter(QObject* watched, QEvent* event) override
    {
        if (watched == widget() && event->type() == QEvent::Paint)
            paintTitle();
        else if (watched != widget() && form_ && filterEntry(static_cast<QWidget*>(watched), event))
            return true;
        return QScrollView::eventFilter(watched, event);
    }

private:
    void paintTitle()
    {
        const auto* title = qobject_cast<QLabel*>(widget()->childAt(0, 0));
        if (title == nullptr || title->width() < OrmuGlobal::getContentR().width())
            return;
        QPainter painter(widget());
        OrmuStyle::drawTitleStrip(&painter, title->geometry());
    }

    bool filterEntry(QWidget* entry, QEvent* event)
    {
        switch (event->type()) {
        case QEvent::KeyPress:
            return press(entry, static_cast<QKeyEvent*>(event));
        case QEvent::FocusIn:
            if (movesByKeys(static_cast<QFocusEvent*>(event)->reason()))
                showWhole(entry);
            return false;
        case QEvent::MouseButtonRelease:
            QTimer::singleShot(0, entry, [this, entry] { showWhole(entry); });
            return false;
        default:
            return false;
        }
    }

    // Shows the surroundings, too, so that the entry's label is visible.
    void showWhole(const QWidget* entry)
    {
        ensureVisible(0, entry->geometry().center().y(), 0, entry->height() / 2 + ENTRY_SURROUNDINGS);
    }

    // Nothing may move under the pointer before its button is released. When the phone's window becomes
    // active again or a menu closes, the focus is in the place that the user saw last.
    static bool movesByKeys(Qt::FocusReason reason)
    {
        return reason != Qt::MouseFocusReason && reason != Qt::ActiveWindowFocusReason &&
               reason != Qt::PopupFocusReason;
    }

    bool press(QWidget* entry, const QKeyEvent* event)
    {
        switch (event->key()) {
        case Qt::Key_Up:
            focusPreviousChild();
            return true;
        case Qt::Key_Down:
            focusNextChild();
            return true;
        case Qt::Key_Return:
        case Qt::Key_Enter:
        case Qt::Key_Select:
            activate(entry);
            return true;
        default:
            return false;
        }
    }

    static void activate(QWidget* entry)
    {
        if (auto* combo = qobject_cast<QComboBox*>(entry))
            combo->showPopup();
        else if (auto* button = qobject_cast<QAbstractButton*>(entry))
            button->click();
    }

    const bool form_;
};
} // namespace

OrmuMainWidget::OrmuMainWidget(QWidget* parent, const char* name, WFlags) : QWidget(parent, Qt::SubWindow)
{
    build(name, false);
}

OrmuMainWidget::OrmuMainWidget(bool form, QWidget* parent, const char* name, WFlags)
    : QWidget(parent, Qt::SubWindow)
{
    build(name, form);
}

void OrmuMainWidget::build(const char* name, bool form)
{
    setObjectName(QString::fromLatin1(name));
    setAutoFillBackground(true);
    resize(OrmuGlobal::getScreenSize());
    content_ = new Content(this, form);
    content_->setGeometry(OrmuGlobal::getContentR());
}

OrmuMainWidget::~OrmuMainWidget()
{
    OrmuPhoneWindow::left(this);
}

void OrmuMainWidget::setCSTWidget(QWidget* bar)
{
    UTIL_CST::replace(bar_, qobject_cast<UTIL_CST*>(bar), this);
}

QWidget* OrmuMainWidget::getCSTWidget() const
{
    return bar_;
}

void OrmuMainWidget::setVisible(bool visible)
{
    OrmuPhoneWindow::setScreenVisible(
        this, visible, [this, visible] { QWidget::setVisible(visible); }, [this] { focusNextChild(); });
}

void OrmuMainWidget::customEvent(QCustomEvent*) {}

void OrmuMainWidget::customEvent(QEvent* event)
{
    QCustomEvent plain(event->type()); // Qt passes events of any class with such a type
    auto* custom = dynamic_cast<QCustomEvent*>(event);
    customEvent(custom != nullptr ? custom : &plain);
}

void OrmuMainWidget::keyPressEvent(QKeyEvent* event)
{
    event->accept(); // first, because a soft key may delete the screen
    if (bar_ != nullptr && bar_->pressFor(event))
        return;
    if (event->key() == Qt::Key_Up)
        content_->verticalScrollBar()->triggerAction(QAbstractSlider::SliderSingleStepSub);
    else if (event->key() == Qt::Key_Down)
        content_->verticalScrollBar()->triggerAction(QAbstractSlider::SliderSingleStepAdd);
}

#include "moc_OrmuMainWidget.cpp"
