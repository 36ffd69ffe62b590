#include "OrmuMainWidget.h"

#include "OrmuGlobal.h"
#include "OrmuPhoneWindow.h"
#include "OrmuStyle.h"
#include "UTIL_CST.h"

#include <QAbstractButton>
#include <QChildEvent>
#include <QComboBox>
#include <QKeyEvent>
#include <QLabel>
#include <QPainter>
#include <QScrollBar>

namespace {
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
    setFocusPolicy(Qt::StrongFocus);
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
        if (event->type() == QEvent::ChildAdded && form_)
            static_cast<QChildEvent*>(event)->child()->installEventFilter(this);
    } else if (event->type() == QEvent::KeyPress && moveInForm(static_cast<QKeyEvent*>(event))) {
        return true;
    }
    return QWidget::eventFilter(watched, event);
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
        content_->ensureWidgetVisible(focusWidget());
        return true;
    case Qt::Key_Return:
    case Qt::Key_Enter:
    case Qt::Key_Select:
        if (auto* combo = qobject_cast<QComboBox*>(entry))
            combo->showPopup();
        else if (auto* button = qobject_cast<QAbstractButton*>(entry))
            button->click();
        return true;
    default:
        return false;
    }
}
