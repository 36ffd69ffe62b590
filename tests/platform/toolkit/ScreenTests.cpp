#include "OrmuGlobal.h"
#include "OrmuMainWidget.h"
#include "OrmuPhoneWindow.h"
#include "OrmuPushButton.h"
#include "ScreenDriver.h"
#include "UTIL_CST.h"
#include "qpopupmenu.h"

#include <QPointer>
#include <QSignalSpy>

#include <gtest/gtest.h>

using namespace ScreenDriver;

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

    // Makes the soft key delete the screen, as an opener does in the slot of a result.
    void deleteBy(OrmuPushButton* key)
    {
        QObject::connect(key, &QPushButton::clicked, [this] { delete widget; });
    }
};

} // namespace

TEST(Screen, OpensInThePhonesWindowAndHasTheKeys)
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

TEST(Screen, FunctionKeysPressTheSoftKeys)
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
