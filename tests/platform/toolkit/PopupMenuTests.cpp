// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#include "OrmuStyle.h"
#include "ToolkitTest.h"

#include <QAbstractItemView>
#include <QComboBox>

using ScreenDriver::clickMenuEntry;

namespace {

// A screen whose left soft key opens a menu.
struct MenuScreen : TestScreen
{
    MenuScreen()
    {
        menu->insertItem("New Profile", 0, -1);
        menu->insertItem("Delete Profiles", 1, -1);
        bar->getLeftBtn()->setPopup(menu);
        show();
    }

    void deleteWhenActivated() const
    {
        QObject::connect(menu, &QPopupMenu::activated, [this] { delete widget; });
    }

    QPointer<QPopupMenu> menu = new QPopupMenu(widget);
    QSignalSpy activated{menu, &QPopupMenu::activated};
};

} // namespace

TEST(PopupMenu, TakesTheHighlightFromItsListWhileOpen)
{
    const MenuScreen screen;
    UTIL_ListBox* list = screen.addList("%T", 1);
    list->setFocus();
    const auto rowColor = [list] { return list->grab().toImage().pixelColor(200, 13); };
    const QColor highlight = list->palette().highlight().color();
    EXPECT_EQ(rowColor(), highlight);
    press(Qt::Key_F1);
    ASSERT_EQ(open<QPopupMenu>(), screen.menu);
    EXPECT_NE(rowColor(), highlight);
    press(Qt::Key_Escape);
    EXPECT_EQ(rowColor(), highlight);
}

TEST(PopupMenu, OpensOverTheSoftKeyByKeyAndPointer)
{
    const MenuScreen screen;
    press(Qt::Key_F1);
    ASSERT_EQ(open<QPopupMenu>(), screen.menu);
    const QRect phone(OrmuPhoneWindow::instance()->mapToGlobal(QPoint()),
                      OrmuPhoneWindow::instance()->size());
    EXPECT_TRUE(phone.contains(screen.menu->geometry()));
    press(Qt::Key_Escape);
    EXPECT_EQ(open<QPopupMenu>(), nullptr);
    click(screen.bar->getLeftBtn());
    EXPECT_EQ(open<QPopupMenu>(), screen.menu);
    press(Qt::Key_F3);
    EXPECT_EQ(open<QPopupMenu>(), nullptr);
    EXPECT_FALSE(screen.widget.isNull());
}

TEST(PopupMenu, EmitsTheIdOfTheChosenEntry)
{
    const MenuScreen screen;
    for (const Qt::Key choose : {Qt::Key_Return, Qt::Key_F1, Qt::Key_F2}) {
        press(Qt::Key_F1);
        press(Qt::Key_Down);
        press(choose);
        ASSERT_FALSE(screen.activated.isEmpty());
        EXPECT_EQ(screen.activated.last()[0], 1);
        EXPECT_EQ(open<QPopupMenu>(), nullptr);
    }
    EXPECT_EQ(screen.activated.size(), 3);
    press(Qt::Key_F1);
    clickMenuEntry("New Profile");
    EXPECT_EQ(screen.activated.size(), 4);
    EXPECT_EQ(screen.activated.last()[0], 0);
}

TEST(PopupMenu, ShowsItsSoftKeysWhileItIsOpen)
{
    const MenuScreen screen;
    const UTIL_CST* keys = popupSoftKeys();
    ASSERT_NE(keys, nullptr);
    EXPECT_FALSE(keys->isVisible());
    const QImage before = OrmuPhoneWindow::instance()->grab().toImage();
    press(Qt::Key_F1);
    ASSERT_TRUE(keys->isVisible());
    EXPECT_EQ(keys->getLeftBtn()->text(), "Select");
    EXPECT_EQ(keys->getMidBtn()->text(), "");
    EXPECT_EQ(keys->getRightBtn()->text(), "Cancel");
    EXPECT_NE(OrmuPhoneWindow::instance()->grab().toImage(), before);
    press(Qt::Key_F3);
    EXPECT_FALSE(keys->isVisible());
    EXPECT_EQ(OrmuPhoneWindow::instance()->grab().toImage(), before);
}

TEST(PopupMenu, ObeysTapsOnTheSoftKeys)
{
    const MenuScreen screen;
    press(Qt::Key_F1);
    click(screen.bar->getRightBtn());
    EXPECT_EQ(open<QPopupMenu>(), nullptr);
    EXPECT_EQ(screen.activated.size(), 0);
    EXPECT_EQ(screen.right.size(), 0);
    press(Qt::Key_F1);
    press(Qt::Key_Down);
    click(screen.bar->getLeftBtn());
    EXPECT_EQ(open<QPopupMenu>(), nullptr);
    ASSERT_EQ(screen.activated.size(), 1);
    EXPECT_EQ(screen.activated[0][0], 1);
    press(Qt::Key_F1);
    click(screen.bar->getMidBtn()); // it reads nothing: a tap beside the menu
    EXPECT_EQ(open<QPopupMenu>(), nullptr);
    EXPECT_EQ(screen.activated.size(), 1);
}

TEST(PopupMenu, MovesWithItsWindow)
{
    const MenuScreen screen;
    OrmuPhoneWindow* phone = OrmuPhoneWindow::instance();
    press(Qt::Key_F1);
    const QPoint before = screen.menu->pos() - phone->pos();
    phone->move(phone->pos() + QPoint(130, 70));
    EXPECT_TRUE(waitFor([&] { return screen.menu->pos() - phone->pos() == before; }));
    EXPECT_EQ(open<QPopupMenu>(), screen.menu);
    press(Qt::Key_Escape);
    phone->move(0, 0);
}

TEST(PopupMenu, ClosesWithItsWindow)
{
    const MenuScreen screen;
    OrmuPhoneWindow* phone = OrmuPhoneWindow::instance();
    const std::vector<std::function<void()>> ways = {[phone] { phone->hide(); }, [phone] { phone->close(); },
                                                     [phone] { phone->showMinimized(); }};
    for (const auto& way : ways) {
        press(Qt::Key_F1);
        ASSERT_EQ(open<QPopupMenu>(), screen.menu);
        way();
        EXPECT_TRUE(waitFor([&] { return open<QPopupMenu>() == nullptr; }));
        EXPECT_FALSE(screen.menu->isVisible());
        QCoreApplication::processEvents(); // the platform's own event
        phone->showNormal();
        phone->activateWindow();
        EXPECT_TRUE(waitFor([phone] { return phone->isActiveWindow(); }));
    }
}

TEST(PopupMenu, MarksItsEntryLikeListsAndComboBoxes)
{
    const MenuScreen screen;
    press(Qt::Key_F1);
    const QRect entry = screen.menu->actionGeometry(screen.menu->activeAction());
    const QImage picture = screen.menu->grab().toImage();
    for (const QPoint corner :
         {entry.topLeft(), entry.bottomRight(), QPoint(entry.right() - 4, entry.center().y())})
        EXPECT_EQ(picture.pixelColor(corner), OrmuStyle::focusColor());
    press(Qt::Key_Escape);

    QComboBox combo(screen.widget);
    combo.addItems({"one", "two"});
    combo.show();
    combo.showPopup();
    const QRect row = combo.view()->visualRect(combo.view()->currentIndex());
    EXPECT_EQ(combo.view()->viewport()->grab().toImage().pixelColor(row.right() - 4, row.center().y()),
              OrmuStyle::focusColor());
    combo.hidePopup();

    UTIL_ListBox* list = screen.addList("%T", 1);
    list->setFocus();
    EXPECT_EQ(list->viewport()->grab().toImage().pixelColor(150, 10), OrmuStyle::focusColor());
}

TEST(PopupMenu, DoesNotChooseADisabledEntry)
{
    const MenuScreen screen;
    screen.menu->setItemEnabled(0, false);
    EXPECT_FALSE(screen.menu->isItemEnabled(0));
    EXPECT_TRUE(screen.menu->isItemEnabled(1));
    press(Qt::Key_F1);
    clickMenuEntry("New Profile");
    EXPECT_EQ(screen.activated.size(), 0);
    press(Qt::Key_Escape);
    press(Qt::Key_F1);
    press(Qt::Key_Return); // the first entry that may be chosen has the mark
    ASSERT_EQ(screen.activated.size(), 1);
    EXPECT_EQ(screen.activated[0][0], 1);
}

TEST(PopupMenu, ChangesTheTextOfAnEntry)
{
    const MenuScreen screen;
    screen.menu->changeItem(0, "Disconnect & more");
    EXPECT_EQ(screen.menu->text(0), "Disconnect & more");
    screen.menu->changeItem(7, "nothing");
    EXPECT_EQ(screen.menu->text(7), QString());
    EXPECT_EQ(screen.menu->text(1), "Delete Profiles");
}

TEST(PopupMenu, InsertsAnEntryBeforeAnother)
{
    QPopupMenu menu;
    menu.insertItem("last", 1, -1);
    menu.insertItem("first", 2, 0);
    EXPECT_EQ(menu.actions().first()->text(), "first");
}

TEST(PopupMenu, ReturnsTheEmittedIdFromExec)
{
    const MenuScreen screen;
    {
        const auto answer = onceOpen<QPopupMenu>([](QPopupMenu&) {
            press(Qt::Key_Down);
            press(Qt::Key_Return);
        });
        EXPECT_EQ(screen.menu->exec(OrmuPhoneWindow::instance()->mapToGlobal(QPoint(50, 50)), 0), 1);
        EXPECT_EQ(screen.activated.size(), 1);
    }
    const auto answer = onceOpen<QPopupMenu>([](QPopupMenu&) { press(Qt::Key_F3); });
    EXPECT_EQ(screen.menu->exec(QPoint(), 0), -1);
    EXPECT_EQ(screen.activated.size(), 1);
}

TEST(PopupMenu, StaysAboveTheSoftKeysWhereverItOpens)
{
    const MenuScreen screen;
    const QRect content = OrmuGlobal::getContentR();
    const QRect room(OrmuPhoneWindow::instance()->mapToGlobal(content.topLeft()), content.size());
    for (const QPoint corner : {room.topLeft(), room.topRight(), room.bottomLeft(), room.bottomRight()}) {
        QRect place;
        const auto answer = onceOpen<QPopupMenu>([&place](QPopupMenu& menu) {
            place = menu.geometry();
            press(Qt::Key_Escape);
        });
        screen.menu->exec(corner, 0);
        EXPECT_TRUE(room.contains(place));
        EXPECT_EQ(place.bottom() == room.bottom(), corner.y() == room.bottom());
    }
}

TEST(PopupMenu, SurvivesTheDeletionOfItsScreenByAChoice)
{
    const std::function<void(const MenuScreen&)> choices[] = {
        [](const MenuScreen&) { press(Qt::Key_Return); },
        [](const MenuScreen&) { clickMenuEntry("Delete Profiles"); },
        [](const MenuScreen& screen) { click(screen.bar->getLeftBtn()); },
    };
    for (const auto& choose : choices) {
        MenuScreen screen;
        screen.deleteWhenActivated();
        press(Qt::Key_F1);
        choose(screen);
        EXPECT_TRUE(screen.widget.isNull());
    }
}

TEST(PopupMenu, SurvivesTheDeletionOfItsScreenWhileItRunsModally)
{
    const auto run = [](const std::function<void(MenuScreen&)>& act) {
        MenuScreen screen;
        screen.deleteWhenActivated();
        const auto answer = onceOpen<QPopupMenu>([&](QPopupMenu&) { act(screen); });
        EXPECT_EQ(screen.menu->exec(OrmuPhoneWindow::instance()->mapToGlobal(QPoint(20, 20)), 0), -1);
        EXPECT_TRUE(screen.widget.isNull());
        EXPECT_EQ(QApplication::activePopupWidget(), nullptr);
    };
    run([](MenuScreen&) { press(Qt::Key_Return); });
    run([](MenuScreen&) { clickMenuEntry("New Profile"); });
    run([](MenuScreen& screen) { delete screen.widget; });
}
