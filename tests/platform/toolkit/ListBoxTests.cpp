#include "OrmuApplication.h"
#include "OrmuMainWidget.h"
#include "ScreenDriver.h"
#include "UTIL_ListBox.h"
#include "qpopupmenu.h"

#include <QPointer>
#include <QSignalSpy>

#include <gtest/gtest.h>

using namespace ScreenDriver;

namespace {

struct ListScreen
{
    QPointer<OrmuMainWidget> widget = new OrmuMainWidget;
    QPointer<UTIL_ListBox> list;

    explicit ListScreen(const QString& format, int rows = 3)
        : list(new UTIL_ListBox(format, widget->getContentWidget(), 0))
    {
        for (int i = 0; i < rows; ++i) {
            auto* item = new UTIL_ListBoxItem(list, format, false);
            item->setString(1, QString("row %1").arg(i));
            list->insertItem(item, -1);
        }
        list->setGeometry(0, 30, 240, 260);
        widget->getContentWidget()->addChild(list, 0, 30);
        OrmuApplication::setMouseMode(list->viewport(), 1);
        widget->show();
    }
    ~ListScreen() { delete widget; }
};

} // namespace

TEST(ListBox, TakesALongPressForTheRightButtonAndNotForAClick)
{
    const ListScreen screen("%I%T");
    const QSignalSpy right(screen.list, &QListBox::rightButtonPressed);
    const QSignalSpy clicked(screen.list, &QListBox::mouseButtonClicked);
    longPress(screen.list, 1);
    ASSERT_EQ(right.size(), 1);
    EXPECT_EQ(right[0][0].value<QListBoxItem*>(), screen.list->item(1));
    EXPECT_EQ(screen.list->currentItem(), 1);
    EXPECT_EQ(clicked.size(), 0);
}
