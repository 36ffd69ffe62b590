#include "HomeScreen.h"
#include "ScreenDriver.h"
#include "ScreenTour.h"
#include "SettingsFixture.h"
#include "UTIL_ListBox.h"

#include <QDir>
#include <QImage>

using namespace ScreenDriver;

namespace {

// The library is the real one, loaded at run time.
class Phone : public SettingsTest
{
protected:
    Phone() { home.show(); }

    static bool profileListIsOpen()
    {
        return OrmuPhoneWindow::instance()->topScreen()->inherits("SETUP_SIP_ProfileListBase");
    }

    HomeScreen home;
};

TEST_F(Phone, OpensTheProfileListByEnterAndReturnsHomeByTheRightSoftKey)
{
    press(Qt::Key_Return);
    EXPECT_TRUE(profileListIsOpen());
    press(Qt::Key_F3);
    EXPECT_EQ(open<HomeScreen>(), &home);
    EXPECT_EQ(home.findChildren<OrmuMainWidget*>().size(), 0);
    EXPECT_TRUE(home.findChild<UTIL_ListBox*>()->hasFocus());
}

TEST_F(Phone, OpensTheProfileListByTheMiddleSoftKeyAndByPointer)
{
    press(Qt::Key_F2);
    EXPECT_TRUE(profileListIsOpen());
    press(Qt::Key_Escape);
    EXPECT_EQ(open<HomeScreen>(), &home);
    clickRow(home.findChild<UTIL_ListBox*>(), 0);
    EXPECT_TRUE(profileListIsOpen());
    press(Qt::Key_Escape);
}

TEST_F(Phone, OpensTheProfileListTimeAndAgain)
{
    for (int i = 0; i < 20; ++i) {
        press(Qt::Key_Return);
        ASSERT_TRUE(profileListIsOpen());
        press(Qt::Key_F3);
        ASSERT_EQ(open<HomeScreen>(), &home);
    }
}

TEST_F(Phone, ShowsTheProfilesOfTheSettingsFile)
{
    writeFile(
        "[ProfileSummary]\nTotalProfile=2\n[Profile0]\nDisplayName=Home\n[Profile1]\nDisplayName=Ёлка\n");
    press(Qt::Key_Return);
    ASSERT_TRUE(profileListIsOpen());
    const auto* list = open<QWidget>()->findChild<UTIL_ListBox*>();
    ASSERT_EQ(list->count(), 2);
    EXPECT_EQ(list->item(0)->text(), "Home");
    EXPECT_EQ(list->item(1)->text(), "Ёлка");
}

TEST_F(Phone, TakesPicturesOfItsScreensAtThePhonesSize)
{
    ASSERT_TRUE(takeScreenTour(directory() + "/pictures"));
    const QStringList pictures = QDir(directory() + "/pictures").entryList({"*.png"});
    EXPECT_TRUE(pictures.contains("profile-list-menu.png"));
    for (const QString& picture : pictures)
        EXPECT_EQ(QImage(directory() + "/pictures/" + picture).size(), QSize(240, 320))
            << qPrintable(picture);
}

TEST_F(Phone, SaysWhenAPictureCannotBeWritten)
{
    EXPECT_FALSE(takeScreenTour("/proc/no such folder"));
    EXPECT_EQ(open<HomeScreen>(), &home);
}

} // namespace
