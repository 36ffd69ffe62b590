#include "HomeScreen.h"
#include "LibraryFunction.h"
#include "OrmuMessageBox.h"
#include "ScreenDriver.h"
#include "SettingsFixture.h"
#include "UTIL_Dialog.h"
#include "UTIL_ListBox.h"

#include <iostream>
#include <link.h>

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

TEST_F(Phone, HasLoadedSixtyLibrariesAtMostWithAllItsScreens)
{
    press(Qt::Key_Return);
    press(Qt::Key_F3);
    press(Qt::Key_Down);
    const auto cancel = onceOpen<UTIL_Dialog>([](UTIL_Dialog&) { press(Qt::Key_F3); });
    press(Qt::Key_Return);
    QStringList loaded;
    dl_iterate_phdr(
        [](dl_phdr_info* object, size_t, void* names) {
            static_cast<QStringList*>(names)->append(QString::fromLocal8Bit(object->dlpi_name));
            return 0;
        },
        &loaded);
    const auto libraries = loaded.filter(QStringLiteral(".so"));
    std::cout << libraries.size() << " libraries\n";
    EXPECT_EQ(libraries.filter(QStringLiteral("libormusipsetup-xscale-r.so.1")).size(), 1);
    EXPECT_LE(libraries.size(), 60) << libraries.join('\n').toStdString();
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

TEST_F(Phone, ChoosesAProfileAndShowsItsGroupName)
{
    writeFile("[ProfileSummary]\nTotalProfile=2\n[Profile0]\nDisplayName=A\n[Profile1]\nDisplayName=B\n");
    const auto choose = onceOpen<UTIL_Dialog>([](UTIL_Dialog&) {
        press(Qt::Key_Down);
        press(Qt::Key_Return);
        press(Qt::Key_F1);
    });
    QString told;
    const auto dismiss = onceOpen<OrmuMessageBox>([&told](OrmuMessageBox& box) {
        told = box.text();
        press(Qt::Key_Return);
    });
    press(Qt::Key_Down);
    press(Qt::Key_Return);
    EXPECT_EQ(told, "Profile1");
    EXPECT_EQ(open<HomeScreen>(), &home);
}

TEST_F(Phone, MarksTheProfileThatWasChosenLast)
{
    writeFile("[ProfileSummary]\nTotalProfile=2\n[Profile0]\nDisplayName=A\n[Profile1]\nDisplayName=B\n");
    press(Qt::Key_Down);
    for (const bool marked : {false, true}) {
        const auto choose = onceOpen<UTIL_Dialog>([marked](UTIL_Dialog& dialog) {
            EXPECT_EQ(dialog.findChild<UTIL_ListBox*>()->itemChecked(1), marked);
            press(Qt::Key_Down);
            press(Qt::Key_Return);
            press(Qt::Key_F1);
        });
        const auto dismiss = onceOpen<OrmuMessageBox>([](OrmuMessageBox&) { press(Qt::Key_Return); });
        press(Qt::Key_Return);
    }
}

TEST_F(Phone, TellsNothingAfterAChoiceThatWasCancelled)
{
    press(Qt::Key_Down);
    const auto cancel = onceOpen<UTIL_Dialog>([](UTIL_Dialog&) { press(Qt::Key_F3); });
    press(Qt::Key_Return);
    EXPECT_EQ(open<HomeScreen>(), &home);
}

TEST_F(Phone, SaysWhyALibraryOrItsFunctionCannotBeHad)
{
    QString error;
    EXPECT_EQ(resolveLibraryFunction("libno-such-library.so.1", "function", error), nullptr);
    EXPECT_TRUE(error.contains("libno-such-library.so.1")) << qPrintable(error);
    error.clear();
    EXPECT_EQ(resolveLibraryFunction("libormusipsetup-xscale-r.so.1", "no_such_function", error), nullptr);
    EXPECT_TRUE(error.contains("no_such_function")) << qPrintable(error);
}

} // namespace
