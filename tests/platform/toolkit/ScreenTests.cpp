// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#include "ToolkitTest.h"

#include <QDir>
#include <QKeyEvent>

#include <unistd.h>

namespace {

struct ShownScreen : TestScreen
{
    ShownScreen() { show(); }
};

} // namespace

TEST(Screen, OpensInThePhonesWindowAndGetsTheKeys)
{
    const ShownScreen first;
    EXPECT_EQ(first.widget->window(), OrmuPhoneWindow::instance());
    EXPECT_EQ(first.widget->size(), OrmuGlobal::getScreenSize());
    {
        const ShownScreen second;
        EXPECT_EQ(open<OrmuMainWidget>(), second.widget);
        press(Qt::Key_F3);
        click(second.bar->getRightBtn());
        EXPECT_EQ(second.right.size(), 2);
    }
    EXPECT_EQ(open<OrmuMainWidget>(), first.widget);
    EXPECT_EQ(first.right.size(), 0);
    press(Qt::Key_F3);
    EXPECT_EQ(first.right.size(), 1);
}

TEST(Screen, PressesItsSoftKeysByFunctionKeys)
{
    const ShownScreen screen;
    press(Qt::Key_F1);
    EXPECT_EQ(screen.left.size(), 1);
    press(Qt::Key_F2);
    EXPECT_EQ(screen.middle.size(), 1);
    press(Qt::Key_F3);
    press(Qt::Key_Escape);
    EXPECT_EQ(screen.right.size(), 2);
    click(screen.bar->getMidBtn());
    EXPECT_EQ(screen.middle.size(), 2);
    EXPECT_EQ(screen.left.size(), 1);
}

TEST(Screen, SurvivesItsDeletionByItsOwnSoftKey)
{
    const std::function<void(const TestScreen&)> presses[] = {
        [](const TestScreen&) { press(Qt::Key_F3); },
        [](const TestScreen&) { press(Qt::Key_Escape); },
        [](const TestScreen& screen) { click(screen.bar->getRightBtn()); },
        [](const TestScreen& screen) { click(screen.bar->getMidBtn()); },
    };
    for (const auto& pressKey : presses) {
        const ShownScreen screen;
        for (OrmuPushButton* key : {screen.bar->getMidBtn(), screen.bar->getRightBtn()})
            QObject::connect(key, &QPushButton::clicked, [&screen] { delete screen.widget; });
        pressKey(screen);
        EXPECT_TRUE(screen.widget.isNull());
    }
}

TEST(Screen, IgnoresTheRepeatsOfASoftKey)
{
    const ShownScreen screen;
    QKeyEvent repeat(QEvent::KeyPress, Qt::Key_F3, Qt::NoModifier, QString(), true);
    QApplication::sendEvent(screen.widget, &repeat);
    EXPECT_EQ(screen.right.size(), 0);
}

TEST(Screen, DoesNotPressADisabledSoftKey)
{
    const ShownScreen screen;
    screen.bar->getLeftBtn()->setEnabled(false);
    press(Qt::Key_F1);
    click(screen.bar->getLeftBtn());
    EXPECT_EQ(screen.left.size(), 0);
}

TEST(Screen, NamesItsSoftKeysByTheSkin)
{
    const ShownScreen screen;
    EXPECT_EQ(screen.bar->getLeftBtn()->text(), "Menu");
    EXPECT_EQ(screen.bar->getRightBtn()->text(), "Back");
    EXPECT_EQ(screen.bar->getMidBtn()->text(), "OK");
    EXPECT_EQ(screen.widget->getCSTWidget(), screen.bar);
    EXPECT_EQ(screen.bar->geometry(), OrmuGlobal::getCstR());
}

TEST(Screen, ReplacesItsSoftKeyBar)
{
    const ShownScreen screen;
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
    const ShownScreen screen;
    EXPECT_EQ(screen.content()->geometry(), OrmuGlobal::getContentR());
    auto* low = new QWidget(screen.content());
    low->setGeometry(0, 0, 50, 30);
    screen.content()->addChild(low, 10, 500);
    EXPECT_EQ(low->geometry(), QRect(10, 500, 50, 30));
    EXPECT_TRUE(low->isVisible());
    for (int i = 0; i < 100; ++i)
        press(Qt::Key_Down);
    EXPECT_EQ(low->mapTo(screen.widget, QPoint(0, 29)).y(), OrmuGlobal::getContentR().bottom());
    for (int i = 0; i < 100; ++i)
        press(Qt::Key_Up);
    EXPECT_EQ(low->mapTo(screen.widget, QPoint()).y(), 500);
}

TEST(Screen, MayBeDeletedUnderAnotherScreen)
{
    auto below = std::make_unique<ShownScreen>();
    const ShownScreen above;
    below.reset();
    EXPECT_EQ(open<OrmuMainWidget>(), above.widget);
    press(Qt::Key_F3);
    EXPECT_EQ(above.right.size(), 1);
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
    const ShownScreen screen;
    const QString path = QDir::temp().filePath(QStringLiteral("ormu-screen-%1.png").arg(getpid()));
    ASSERT_TRUE(ScreenDriver::savePicture(path));
    const QImage picture(path);
    EXPECT_EQ(picture.size(), OrmuGlobal::getScreenSize());
    EXPECT_NE(picture.pixelColor(120, 150), picture.pixelColor(120, 310));
    QFile::remove(path);
}
