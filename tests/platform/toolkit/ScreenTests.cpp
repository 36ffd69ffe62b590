#include "OrmuGlobal.h"
#include "OrmuMainWidget.h"
#include "OrmuPhoneWindow.h"
#include "OrmuPushButton.h"
#include "ScreenDriver.h"
#include "UTIL_CST.h"
#include "qpopupmenu.h"

#include <QDir>
#include <QKeyEvent>
#include <QPointer>
#include <QSignalSpy>

#include <gtest/gtest.h>

#include <unistd.h>

using ScreenDriver::click;
using ScreenDriver::open;
using ScreenDriver::press;
using ScreenDriver::savePicture;

namespace {

struct Screen
{
    QPointer<OrmuMainWidget> widget = new OrmuMainWidget;
    UTIL_CST* bar = new UTIL_CST(widget, "OK", "CST_Menu", "CST_Back");

    Screen()
    {
        widget->setCSTWidget(bar);
        widget->show();
    }
    ~Screen() { delete widget; }

    // The soft key deletes the screen, like an opener in the slot of a result.
    void deleteBy(OrmuPushButton* key)
    {
        QObject::connect(key, &QPushButton::clicked, [this] { delete widget; });
    }
};

} // namespace

TEST(Screen, OpensInThePhonesWindowAndGetsTheKeys)
{
    const Screen first;
    EXPECT_EQ(first.widget->window(), OrmuPhoneWindow::instance());
    EXPECT_EQ(first.widget->size(), OrmuGlobal::getScreenSize());
    {
        const Screen second;
        EXPECT_EQ(open<OrmuMainWidget>(), second.widget);
    }
    EXPECT_EQ(open<OrmuMainWidget>(), first.widget);
}

TEST(Screen, PressesItsSoftKeysByFunctionKeys)
{
    const Screen screen;
    const QSignalSpy left(screen.bar->getLeftBtn(), &QPushButton::clicked);
    const QSignalSpy middle(screen.bar->getMidBtn(), &QPushButton::clicked);
    const QSignalSpy right(screen.bar->getRightBtn(), &QPushButton::clicked);
    press(Qt::Key_F1);
    EXPECT_EQ(left.size(), 1);
    press(Qt::Key_F2);
    EXPECT_EQ(middle.size(), 1);
    press(Qt::Key_F3);
    press(Qt::Key_Escape);
    EXPECT_EQ(right.size(), 2);
    click(screen.bar->getMidBtn());
    EXPECT_EQ(middle.size(), 2);
    EXPECT_EQ(left.size(), 1);
}

TEST(Screen, SurvivesItsDeletionByItsOwnSoftKey)
{
    for (const Qt::Key key : {Qt::Key_F3, Qt::Key_Escape}) {
        Screen screen;
        screen.deleteBy(screen.bar->getRightBtn());
        press(key);
        EXPECT_TRUE(screen.widget.isNull());
    }
    Screen screen;
    screen.deleteBy(screen.bar->getMidBtn());
    click(screen.bar->getMidBtn());
    EXPECT_TRUE(screen.widget.isNull());
}

TEST(Screen, IgnoresTheRepeatsOfASoftKey)
{
    const Screen screen;
    const QSignalSpy right(screen.bar->getRightBtn(), &QPushButton::clicked);
    QKeyEvent repeat(QEvent::KeyPress, Qt::Key_F3, Qt::NoModifier, QString(), true);
    QApplication::sendEvent(screen.widget, &repeat);
    EXPECT_EQ(right.size(), 0);
}

TEST(Screen, DoesNotPressADisabledSoftKey)
{
    const Screen screen;
    screen.bar->getLeftBtn()->setEnabled(false);
    const QSignalSpy left(screen.bar->getLeftBtn(), &QPushButton::clicked);
    press(Qt::Key_F1);
    click(screen.bar->getLeftBtn());
    EXPECT_EQ(left.size(), 0);
}

TEST(Screen, NamesItsSoftKeysByTheSkin)
{
    const Screen screen;
    EXPECT_EQ(screen.bar->getLeftBtn()->text(), "Menu");
    EXPECT_EQ(screen.bar->getRightBtn()->text(), "Back");
    EXPECT_EQ(screen.bar->getMidBtn()->text(), "OK");
    EXPECT_EQ(screen.widget->getCSTWidget(), screen.bar);
    EXPECT_EQ(screen.bar->geometry(), OrmuGlobal::getCstR());
}

TEST(Screen, ReplacesItsSoftKeyBar)
{
    const Screen screen;
    const QPointer<UTIL_CST> first = screen.bar;
    auto* second = new UTIL_CST(screen.widget, "", "", "CST_Back");
    screen.widget->setCSTWidget(second);
    EXPECT_TRUE(first.isNull());
    const QSignalSpy right(second->getRightBtn(), &QPushButton::clicked);
    press(Qt::Key_F3);
    EXPECT_EQ(right.size(), 1);
}

TEST(Screen, PlacesItsChildrenAndScrollsToTheLast)
{
    const Screen screen;
    QScrollView* content = screen.widget->getContentWidget();
    EXPECT_EQ(content->geometry(), OrmuGlobal::getContentR());
    auto* low = new QWidget(content);
    low->setGeometry(0, 0, 50, 30);
    content->addChild(low, 10, 500);
    EXPECT_EQ(low->geometry(), QRect(10, 500, 50, 30));
    EXPECT_TRUE(low->isVisible());
    for (int i = 0; i < 100; ++i)
        press(Qt::Key_Down);
    EXPECT_EQ(low->mapTo(screen.widget, QPoint(0, 29)).y(), OrmuGlobal::getContentR().bottom());
    for (int i = 0; i < 100; ++i)
        press(Qt::Key_Up);
    EXPECT_EQ(low->mapTo(screen.widget, QPoint()).y(), 500);
}

TEST(Screen, GetsNoKeysAndClicksThroughTheScreenAbove)
{
    const Screen below;
    const QSignalSpy belowRight(below.bar->getRightBtn(), &QPushButton::clicked);
    {
        const Screen above;
        press(Qt::Key_F3);
        click(above.bar->getRightBtn());
    }
    EXPECT_EQ(belowRight.size(), 0);
    press(Qt::Key_F3);
    EXPECT_EQ(belowRight.size(), 1);
}

TEST(Screen, MayBeDeletedUnderAnotherScreen)
{
    auto below = std::make_unique<Screen>();
    const Screen above;
    below.reset();
    EXPECT_EQ(open<OrmuMainWidget>(), above.widget);
    const QSignalSpy right(above.bar->getRightBtn(), &QPushButton::clicked);
    press(Qt::Key_F3);
    EXPECT_EQ(right.size(), 1);
}

TEST(Screen, PassesCustomEventsToItsHandler)
{
    class Listener : public OrmuMainWidget
    {
    public:
        QList<int> types;

    protected:
        void customEvent(QCustomEvent* event) override { types += event->type(); }
    };
    Listener listener;
    QApplication::postEvent(&listener, new QCustomEvent(1000));
    QApplication::postEvent(&listener, new QEvent(static_cast<QEvent::Type>(1001)));
    QCoreApplication::sendPostedEvents();
    EXPECT_EQ(listener.types, (QList<int>{1000, 1001}));
}

TEST(Screen, SavesAPictureOfThePhone)
{
    const Screen screen;
    const QString path = QDir::temp().filePath(QStringLiteral("ormu-screen-%1.png").arg(getpid()));
    ASSERT_TRUE(savePicture(path));
    const QImage picture(path);
    EXPECT_EQ(picture.size(), OrmuGlobal::getScreenSize());
    EXPECT_NE(picture.pixelColor(120, 150), picture.pixelColor(120, 310));
    QFile::remove(path);
}
