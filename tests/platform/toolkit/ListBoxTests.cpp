// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#include "ToolkitTest.h"

#include <QScrollBar>
#include <QStyleOptionSlider>
#include <QTest>
#include <QTimer>
#include <QWindow>

using ScreenDriver::clickRow;
using ScreenDriver::longPress;

namespace {

struct ListScreen : TestScreen
{
    explicit ListScreen(const QString& format, int rows = 3) : list(addList(format, rows)) { show(); }

    QPointer<UTIL_ListBox> list;
};

// A user's actions on a row.
struct Action
{
    const char* name;
    std::function<void(const ListScreen&)> act;
};
const std::vector<Action> CLICKS = {
    {"pointer", [](const ListScreen& screen) { clickRow(screen.list, 1); }},
    {"centre key", [](const ListScreen&) { press(Qt::Key_Return); }},
};
const std::vector<Action> RIGHT_PRESSES = {
    {"right button", [](const ListScreen& screen) { clickRow(screen.list, 1, Qt::RightButton); }},
    {"menu key", [](const ListScreen&) { press(Qt::Key_Menu); }},
    {"F4", [](const ListScreen&) { press(Qt::Key_F4); }},
    {"Shift+F10", [](const ListScreen&) { press(Qt::Key_F10, Qt::ShiftModifier); }},
    {"long press", [](const ListScreen& screen) { longPress(screen.list, 1); }},
};

// The list survives each action when a slot of the signal clears it, deletes it, or deletes its screen.
template <class Signal>
void expectToSurvive(const std::vector<Action>& actions, Signal signal)
{
    for (const auto& [name, act] : actions) {
        for (const char* format : {"%I%T", "%C%T", "%R%T"}) {
            SCOPED_TRACE(std::string(name) + format);
            const ListScreen cleared(format);
            QObject::connect(cleared.list, signal, cleared.list, &QListBox::clear);
            act(cleared);
            EXPECT_EQ(cleared.list->count(), 0);
            const ListScreen deleted(format);
            QObject::connect(deleted.list, signal, [&] { delete deleted.list; });
            act(deleted);
            EXPECT_TRUE(deleted.list.isNull());
            const ListScreen gone(format);
            QObject::connect(gone.list, signal, [&] { delete gone.widget; });
            act(gone);
            EXPECT_TRUE(gone.widget.isNull());
        }
    }
}

// Presses a row for longer than a long press takes, moves the pointer along the row, and releases it.
void holdPress(const ListScreen& screen, int move)
{
    QWidget* viewport = screen.list->viewport();
    QWindow* window = viewport->window()->windowHandle();
    const QPoint place = viewport->mapTo(viewport->window(), QPoint(50, 10));
    bool over = false;
    QTimer::singleShot(QListBox::LONG_PRESS_MS + 50, [&over] { over = true; });
    QTest::mousePress(window, Qt::LeftButton, Qt::NoModifier, place);
    if (move != 0)
        QTest::mouseMove(window, place + QPoint(move, 0));
    EXPECT_TRUE(waitFor([&over] { return over; }));
    QTest::mouseRelease(window, Qt::LeftButton, Qt::NoModifier, place + QPoint(move, 0));
}

QString textOf(const QSignalSpy& spy, int itemArgument)
{
    auto* item = spy.last()[itemArgument].value<QListBoxItem*>();
    return item == nullptr ? QString() : item->text();
}

} // namespace

TEST(ListBox, FindsItsRowsByTheirIndex)
{
    const ListScreen screen("%I%T");
    EXPECT_EQ(screen.list->count(), 3);
    EXPECT_EQ(screen.list->item(1)->text(), "row 1");
    EXPECT_EQ(screen.list->item(3), nullptr);
    EXPECT_EQ(screen.list->item(-1), nullptr);
    auto* first = new UTIL_ListBoxItem(screen.list, "%I%T", false);
    screen.list->insertItem(first, 0);
    EXPECT_EQ(screen.list->item(0), first);
    screen.list->clear();
    EXPECT_EQ(screen.list->currentItem(), -1);
}

TEST(ListBox, ClicksTheRowThatIsPressedAndReleased)
{
    const ListScreen screen("%I%T");
    const QSignalSpy clicked(screen.list, &QListBox::mouseButtonClicked);
    clickRow(screen.list, 2);
    ASSERT_EQ(clicked.size(), 1);
    EXPECT_EQ(clicked[0][0], 1);
    EXPECT_EQ(textOf(clicked, 1), "row 2");
    EXPECT_EQ(screen.list->currentItem(), 2);
    press(Qt::Key_Up);
    press(Qt::Key_Return);
    ASSERT_EQ(clicked.size(), 2);
    EXPECT_EQ(textOf(clicked, 1), "row 1");
}

TEST(ListBox, ClicksNoRowBesideTheRows)
{
    const ListScreen screen("%I%T");
    const QSignalSpy clicked(screen.list, &QListBox::mouseButtonClicked);
    const QSignalSpy right(screen.list, &QListBox::rightButtonPressed);
    clickAt(screen.list->viewport(), QPoint(100, 250));
    clickAt(screen.list->viewport(), QPoint(100, 250), Qt::RightButton);
    ASSERT_EQ(clicked.size(), 1);
    EXPECT_EQ(clicked[0][1].value<QListBoxItem*>(), nullptr);
    ASSERT_EQ(right.size(), 1);
    EXPECT_EQ(right[0][0].value<QListBoxItem*>(), nullptr);
}

TEST(ListBox, DoesNotClickWhenThePointerLeavesTheRow)
{
    const ListScreen screen("%I%T");
    const QSignalSpy clicked(screen.list, &QListBox::mouseButtonClicked);
    QWidget* viewport = screen.list->viewport();
    QWindow* window = viewport->window()->windowHandle();
    const auto at = [viewport](int y) { return viewport->mapTo(viewport->window(), QPoint(50, y)); };
    QTest::mousePress(window, Qt::LeftButton, Qt::NoModifier, at(10));
    QTest::mouseMove(window, at(60));
    QTest::mouseRelease(window, Qt::LeftButton, Qt::NoModifier, at(60));
    EXPECT_EQ(clicked.size(), 0);
}

TEST(ListBox, TreatsALongPressAsARightClick)
{
    const ListScreen screen("%I%T");
    const QSignalSpy right(screen.list, &QListBox::rightButtonPressed);
    const QSignalSpy clicked(screen.list, &QListBox::mouseButtonClicked);
    longPress(screen.list, 1);
    ASSERT_EQ(right.size(), 1);
    EXPECT_EQ(textOf(right, 0), "row 1");
    EXPECT_EQ(screen.list->currentItem(), 1);
    EXPECT_EQ(clicked.size(), 0);
}

TEST(ListBox, TreatsAMovedPressAsAClick)
{
    const ListScreen screen("%I%T");
    const QSignalSpy right(screen.list, &QListBox::rightButtonPressed);
    const QSignalSpy clicked(screen.list, &QListBox::mouseButtonClicked);
    holdPress(screen, QApplication::startDragDistance());
    EXPECT_EQ(right.size(), 0);
    EXPECT_EQ(clicked.size(), 1);
}

TEST(ListBox, TreatsMenuKeysAsARightClick)
{
    const ListScreen screen("%I%T");
    const QSignalSpy right(screen.list, &QListBox::rightButtonPressed);
    press(Qt::Key_Down);
    press(Qt::Key_F10);
    EXPECT_EQ(right.size(), 0);
    press(Qt::Key_Menu);
    press(Qt::Key_F4);
    press(Qt::Key_F10, Qt::ShiftModifier);
    press(Qt::Key_F4);
    ASSERT_EQ(right.size(), 4);
    for (const QList<QVariant>& arguments : right) {
        EXPECT_EQ(arguments[0].value<QListBoxItem*>()->text(), "row 1");
        EXPECT_EQ(arguments[1].toPoint(), screen.list->viewport()->mapToGlobal(
                                              screen.list->visualItemRect(screen.list->item(1)).center()));
    }
}

TEST(ListBox, ShowsThatItHasNoEntries)
{
    const ListScreen screen("%I%T", 0);
    screen.list->clearFocus();
    const auto inked = [&screen] {
        const QImage picture = screen.list->viewport()->grab().toImage();
        return countPixels(picture, picture.rect(), [](const QColor& color) { return color != Qt::white; });
    };
    EXPECT_GT(inked(), 100);
    screen.list->insertItem(new UTIL_ListBoxItem(screen.list, "%I%T", false), -1);
    EXPECT_EQ(inked(), 0);
}

TEST(ListBox, DrawsTheThumbOfItsScrollBarDarkerThanTheGroove)
{
    const ListScreen screen("%I%T", 60);
    QScrollBar* bar = screen.list->verticalScrollBar();
    ASSERT_TRUE(bar->isVisible());
    QStyleOptionSlider option;
    option.initFrom(bar);
    option.orientation = Qt::Vertical;
    option.subControls = QStyle::SC_All;
    option.minimum = bar->minimum();
    option.maximum = bar->maximum();
    option.pageStep = bar->pageStep();
    const QImage picture = bar->grab().toImage();
    const auto lightnessOf = [&](QStyle::SubControl part) {
        const QRect place = bar->style()->subControlRect(QStyle::CC_ScrollBar, &option, part, bar);
        EXPECT_FALSE(place.isEmpty());
        return picture.pixelColor(place.center()).lightness();
    };
    EXPECT_LT(lightnessOf(QStyle::SC_ScrollBarSlider), lightnessOf(QStyle::SC_ScrollBarAddPage) - 40);
}

TEST(ListBox, HasNoLongPressAndNoMenuKeyInMouseMode0)
{
    const ListScreen screen("%I%T");
    OrmuApplication::setMouseMode(screen.list->viewport(), 0);
    const QSignalSpy right(screen.list, &QListBox::rightButtonPressed);
    const QSignalSpy clicked(screen.list, &QListBox::mouseButtonClicked);
    press(Qt::Key_Menu);
    press(Qt::Key_F4);
    holdPress(screen, 0);
    EXPECT_EQ(right.size(), 0);
    EXPECT_EQ(clicked.size(), 1);
}

TEST(ListBox, HasACurrentRowWhileItHasTheFocusAndRows)
{
    const ListScreen screen("%I%T");
    EXPECT_EQ(screen.list->currentItem(), 0);
    screen.list->clear();
    auto* item = new UTIL_ListBoxItem(screen.list, "%I%T", false);
    screen.list->insertItem(item, -1);
    EXPECT_EQ(screen.list->currentItem(), 0);
}

TEST(ListBox, SurvivesItsDeletionByAClick)
{
    expectToSurvive(CLICKS, &QListBox::mouseButtonClicked);
}

TEST(ListBox, SurvivesItsDeletionByARightPress)
{
    expectToSurvive(RIGHT_PRESSES, &QListBox::rightButtonPressed);
}

TEST(ListBox, SurvivesClearingByAMenuInsideARightPress)
{
    for (const auto& [name, act] : RIGHT_PRESSES) {
        SCOPED_TRACE(name);
        const ListScreen screen("%I%T");
        QObject::connect(screen.list, &QListBox::rightButtonPressed, [&](QListBoxItem*, const QPoint& pos) {
            auto* menu = new QPopupMenu(screen.list);
            menu->insertItem("Delete Profile", 2, -1);
            QObject::connect(menu, &QPopupMenu::activated, screen.list, &QListBox::clear);
            menu->exec(pos, 0);
        });
        const auto answer = onceOpen<QPopupMenu>([](QPopupMenu&) { press(Qt::Key_Return); });
        act(screen);
        EXPECT_EQ(screen.list->count(), 0);
    }
}

TEST(ListBox, LeavesTheKeysToItsScreenWhenDeleted)
{
    const ListScreen screen("%I%T");
    delete screen.list;
    press(Qt::Key_F3);
    EXPECT_EQ(screen.right.size(), 1);
}

TEST(ListBox, RowsHaveTheColumnsOfTheirFormat)
{
    UTIL_ListBoxItem row(nullptr, "%I%T", false);
    row.setString(1, "name");
    row.setString(0, "no text there");
    row.setString(2, "no such column");
    QPixmap icon(4, 4);
    row.setPixmap(0, icon);
    EXPECT_EQ(row.getString(1), "name");
    EXPECT_EQ(row.getString(0), QString());
    EXPECT_EQ(row.getString(2), QString());
    EXPECT_EQ(row.text(), "name");
    EXPECT_EQ(row.pixmap(0).cacheKey(), icon.cacheKey());
}

TEST(ListBox, ChangesACheckMarkByEachClick)
{
    const ListScreen screen("%C%T");
    clickRow(screen.list, 1);
    clickRow(screen.list, 2);
    EXPECT_FALSE(screen.list->itemChecked(0));
    EXPECT_TRUE(screen.list->itemChecked(1));
    EXPECT_TRUE(screen.list->itemChecked(2));
    clickRow(screen.list, 1);
    EXPECT_FALSE(screen.list->itemChecked(1));
    press(Qt::Key_Return);
    EXPECT_TRUE(screen.list->itemChecked(1));
}

TEST(ListBox, SetsOneRadioMarkAtATime)
{
    const ListScreen screen("%R%T");
    screen.list->checkItem(0, true);
    screen.list->checkItem(screen.list->item(2), true);
    EXPECT_FALSE(screen.list->itemChecked(0));
    EXPECT_TRUE(screen.list->itemChecked(2));
    clickRow(screen.list, 1);
    clickRow(screen.list, 1);
    EXPECT_TRUE(screen.list->itemChecked(1));
    EXPECT_FALSE(screen.list->itemChecked(2));
    screen.list->checkItem(1, false);
    EXPECT_FALSE(screen.list->itemChecked(1));
}

TEST(ListBox, TreatsMissingRowsAsUnmarked)
{
    const ListScreen screen("%C%T");
    screen.list->checkItem(3, true);
    screen.list->checkItem(-1, true);
    screen.list->checkItem(nullptr, true);
    EXPECT_FALSE(screen.list->itemChecked(3));
    EXPECT_FALSE(screen.list->itemChecked(-1));
}
