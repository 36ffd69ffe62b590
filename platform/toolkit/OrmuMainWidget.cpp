#include "OrmuMainWidget.h"

#include "OrmuGlobal.h"
#include "OrmuPhoneWindow.h"
#include "OrmuStyle.h"
#include "UTIL_CST.h"

#include <QAbstractButton>
#include <QAbstractItemView>
#include <QChildEvent>
#include <QComboBox>
#include <QCoreApplication>
#include <QKeyEvent>
#include <QLabel>
#include <QPainter>
#include <QScrollBar>
#include <QTimer>

namespace {
constexpr int TEXT_INDENT = 5;

// The content area of a screen. A label across its whole upper edge is the screen's title.
class Content : public QScrollView
{
public:
    explicit Content(QWidget* parent) : QScrollView(parent)
    {
        setFrameShape(QFrame::NoFrame);
        setFocusPolicy(Qt::NoFocus);
        setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
        widget()->installEventFilter(this);
    }

protected:
    bool eventFilter(QObject* watched, QEvent* event) override
    {
        if (watched == widget() && event->type() == QEvent::Paint)
            paintTitle();
        else if (watched == widget() && event->type() == QEvent::ChildPolished)
            indent(qobject_cast<QLabel*>(static_cast<QChildEvent*>(event)->child()));
        return QScrollView::eventFilter(watched, event);
    }

private:
    // Labels stand at the very edge of the screen; their texts do not.
    static void indent(QLabel* label)
    {
        if (label != nullptr && label->indent() < 0)
            label->setIndent(TEXT_INDENT);
    }

    void paintTitle()
    {
        const auto* title = qobject_cast<QLabel*>(widget()->childAt(0, 0));
        if (title == nullptr || title->width() < OrmuGlobal::getContentR().width())
            return;
        QPainter painter(widget());
        OrmuStyle::drawTitleStrip(&painter, title->geometry());
    }
};
// Makes the open list of a combo box a part of the phone: it opens inside the phone's window, the left and
// the middle soft key choose, the right one closes.
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
        if (event->type() == QEvent::Show && watched != combo_->view()) {
            auto* list = static_cast<QWidget*>(watched);
            list->move(OrmuPhoneWindow::fitPopup(list->geometry()).topLeft());
        }
        return event->type() == QEvent::KeyPress && watched == combo_->view() &&
               press(static_cast<QKeyEvent*>(event)->key());
    }

private:
    bool press(int key)
    {
        QKeyEvent choose(QEvent::KeyPress, Qt::Key_Return, Qt::NoModifier);
        switch (key) {
        case Qt::Key_F1:
        case Qt::Key_F2:
            QCoreApplication::sendEvent(combo_->view(), &choose);
            return true;
        case Qt::Key_F3:
            combo_->hidePopup();
            return true;
        default:
            return false;
        }
    }

    QComboBox* combo_;
};
} // namespace

OrmuMainWidget::OrmuMainWidget(QWidget* parent, const char* name, WFlags)
    : QWidget(parent, Qt::SubWindow), form_(false)
{
    build(name);
}

OrmuMainWidget::OrmuMainWidget(bool form, QWidget* parent, const char* name, WFlags)
    : QWidget(parent, Qt::SubWindow), form_(form)
{
    build(name);
}

void OrmuMainWidget::build(const char* name)
{
    setObjectName(QString::fromLatin1(name));
    setAutoFillBackground(true);
    resize(OrmuGlobal::getScreenSize());
    content_ = new Content(this);
    content_->setGeometry(OrmuGlobal::getContentR());
    content_->widget()->installEventFilter(this);
}

OrmuMainWidget::~OrmuMainWidget()
{
    OrmuPhoneWindow::left(this);
}

void OrmuMainWidget::setCSTWidget(QWidget* bar)
{
    delete bar_;
    bar_ = qobject_cast<UTIL_CST*>(bar);
    bar->setParent(this);
    bar->setGeometry(OrmuGlobal::getCstR());
    bar->show();
}

QWidget* OrmuMainWidget::getCSTWidget() const
{
    return bar_;
}

void OrmuMainWidget::setVisible(bool visible)
{
    if (visible)
        OrmuPhoneWindow::place(this);
    QWidget::setVisible(visible);
    if (!visible) {
        OrmuPhoneWindow::left(this);
        return;
    }
    if (focusWidget() == nullptr)
        focusNextChild();
    OrmuPhoneWindow::entered(this);
}

void OrmuMainWidget::customEvent(QCustomEvent*) {}

void OrmuMainWidget::customEvent(QEvent* event)
{
    if (auto* custom = dynamic_cast<QCustomEvent*>(event)) {
        customEvent(custom);
        return;
    }
    QCustomEvent plain(event->type());
    customEvent(&plain);
}

void OrmuMainWidget::keyPressEvent(QKeyEvent* event)
{
    event->accept(); // now: a soft key may delete the screen
    if (bar_ != nullptr && bar_->pressFor(event))
        return;
    if (event->key() == Qt::Key_Up)
        content_->verticalScrollBar()->triggerAction(QAbstractSlider::SliderSingleStepSub);
    else if (event->key() == Qt::Key_Down)
        content_->verticalScrollBar()->triggerAction(QAbstractSlider::SliderSingleStepAdd);
}

bool OrmuMainWidget::eventFilter(QObject* watched, QEvent* event)
{
    if (watched == content_->widget()) {
        if (form_ && event->type() == QEvent::ChildPolished)
            takeEntry(static_cast<QChildEvent*>(event)->child());
        return QWidget::eventFilter(watched, event);
    }
    switch (event->type()) {
    case QEvent::KeyPress:
        return moveInForm(static_cast<QKeyEvent*>(event));
    case QEvent::FocusIn:
        // Not under the pointer: it would miss what it is about to release.
        if (static_cast<QFocusEvent*>(event)->reason() != Qt::MouseFocusReason)
            content_->ensureWidgetVisible(static_cast<QWidget*>(watched));
        return false;
    case QEvent::MouseButtonRelease:
        QTimer::singleShot(
            0, watched, [this, watched] { content_->ensureWidgetVisible(static_cast<QWidget*>(watched)); });
        return false;
    default:
        return false;
    }
}

void OrmuMainWidget::takeEntry(QObject* entry)
{
    entry->installEventFilter(this);
    if (auto* combo = qobject_cast<QComboBox*>(entry))
        new ComboList(combo);
}

bool OrmuMainWidget::moveInForm(const QKeyEvent* event)
{
    QWidget* entry = focusWidget();
    switch (event->key()) {
    case Qt::Key_Up:
    case Qt::Key_Down:
        if (event->key() == Qt::Key_Up)
            focusPreviousChild();
        else
            focusNextChild();
        return true;
    case Qt::Key_Return:
    case Qt::Key_Enter:
    case Qt::Key_Select:
        if (event->isAutoRepeat())
            return true;
        if (auto* combo = qobject_cast<QComboBox*>(entry))
            combo->showPopup();
        else if (auto* button = qobject_cast<QAbstractButton*>(entry))
            button->click();
        return true;
    default:
        return false;
    }
}
