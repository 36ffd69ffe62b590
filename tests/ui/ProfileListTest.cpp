#include "OrmuGlobal.h"
#include "OrmuPushButton.h"
#include "ProfileScreenTest.h"
#include "RES_ICON_Reader.h"
#include "SETUP_SIP_ProfileList.h"
#include "UTIL_CST.h"
#include "UTIL_ListBox.h"
#include "qpopupmenu.h"

#include <QApplication>
#include <QLabel>
#include <QSignalSpy>

using namespace ScreenDriver;

namespace {
enum MenuId { NEW_PROFILE = 0, DELETE_PROFILES = 1 };

// Other programs derive from it.
static_assert(sizeof(SETUP_SIP_ProfileListBase) == sizeof(OrmuMainWidget));

class ProfileList : public ProfileScreenTest
{
protected:
    // Opens the screen as a host does. What the test stored before is read from the file.
    void openScreen()
    {
        SETUP_SIP_Agent::cleanup();
        screen.reset(SETUP_SIP_CreateProfileList(nullptr));
        screen->createScreen();
        screen->show();
        list = screen->findChild<UTIL_ListBox*>();
        menu = screen->findChild<QPopupMenu*>();
        softKeys = static_cast<UTIL_CST*>(screen->getCSTWidget());
    }

    UTIL_ListBoxItem* row(int index) const { return static_cast<UTIL_ListBoxItem*>(list->item(index)); }

    QStringList rows() const
    {
        QStringList names;
        for (int i = 0; i < list->count(); ++i)
            names.append(row(i)->getString(1));
        return names;
    }

    std::unique_ptr<SETUP_SIP_ProfileListBase> screen;
    UTIL_ListBox* list = nullptr;
    QPopupMenu* menu = nullptr;
    UTIL_CST* softKeys = nullptr;
};

void storeLockedProfile(const QString& name)
{
    SIP_PROFILE_CONTENT record = usableRecord(name);
    record.locked = true;
    store(record);
}

bool showsIcon(const UTIL_ListBoxItem* row, const char* fileName)
{
    const QPixmap icon = RES_ICON_Reader().getIcon(fileName);
    return !icon.isNull() && row->pixmap(0).toImage() == icon.toImage();
}

TEST_F(ProfileList, HasNoWidgetsBeforeCreateScreen)
{
    screen.reset(SETUP_SIP_CreateProfileList(nullptr));
    EXPECT_EQ(screen->findChild<UTIL_ListBox*>(), nullptr);
    EXPECT_EQ(screen->getCSTWidget(), nullptr);
    EXPECT_FALSE(screen->isVisible());
    EXPECT_EQ(screen->objectName(), "");
}

TEST_F(ProfileList, IsOwnedByTheParentItIsGiven)
{
    QWidget parent;
    EXPECT_EQ(SETUP_SIP_CreateProfileList(&parent)->parentWidget(), &parent);
}

TEST_F(ProfileList, TakesTheParentAndTheNameItIsGiven)
{
    QWidget parent;
    const SETUP_SIP_ProfileList child(&parent, "list");
    EXPECT_EQ(child.parentWidget(), &parent);
    EXPECT_EQ(child.objectName(), "list");
}

TEST_F(ProfileList, IsAScreenThatHasNothingToShowOfItsOwnInItsBaseClass)
{
    QWidget parent;
    SETUP_SIP_ProfileListBase base(&parent, "base");
    EXPECT_EQ(base.parentWidget(), &parent);
    EXPECT_EQ(base.objectName(), "base");
    const QList<QObject*> before = base.findChildren<QObject*>();
    base.createScreen();
    EXPECT_EQ(base.findChildren<QObject*>(), before);
    EXPECT_EQ(base.getCSTWidget(), nullptr);
}

TEST_F(ProfileList, ShowsItsTitleAsALabelAtTheTopOfTheContent)
{
    openScreen();
    const auto* title = screen->getContentWidget()->widget()->findChild<QLabel*>();
    ASSERT_NE(title, nullptr);
    EXPECT_EQ(title->text(), "SIP Profile");
    EXPECT_EQ(title->geometry(), QRect(0, 0, OrmuGlobal::getContentR().width(), 30));
    EXPECT_EQ(screen->windowTitle(), "");
}

TEST_F(ProfileList, FillsTheContentBelowTheTitleWithTheList)
{
    openScreen();
    const QRect content = OrmuGlobal::getContentR();
    EXPECT_EQ(list->geometry(), QRect(0, 30, content.width(), (content.bottom() - content.top()) - 29));
    EXPECT_TRUE(screen->getContentWidget()->isAncestorOf(list));
}

TEST_F(ProfileList, HasMenuAndBackOnItsSoftKeys)
{
    openScreen();
    EXPECT_EQ(softKeys->getLeftBtn()->resourceID(), "CST_Menu");
    EXPECT_EQ(softKeys->getRightBtn()->resourceID(), "CST_Back");
    EXPECT_EQ(softKeys->getMidBtn()->text(), "");
    EXPECT_FALSE(softKeys->getMidBtn()->isEnabled());
}

TEST_F(ProfileList, ShowsRowsInTheStoresOrder)
{
    for (const char* name : {"Zoe", "anna", "Mike"})
        storeProfile(name);
    openScreen();
    EXPECT_EQ(rows(), QStringList({"Zoe", "anna", "Mike"}));
    EXPECT_EQ(row(0)->text(), "Zoe");
    EXPECT_EQ(row(0)->columns(), "IT");
    EXPECT_FALSE(row(0)->isChecked());
}

TEST_F(ProfileList, MarksTheDefaultProfileEvenWhenItIsLocked)
{
    storeProfile("plain");
    storeLockedProfile("locked");
    storeLockedProfile("default and locked");
    SETUP_SIP_Agent::instance()->setDefaultProfile("default and locked");
    openScreen();
    EXPECT_TRUE(row(0)->pixmap(0).isNull());
    EXPECT_TRUE(showsIcon(row(1), "Network_Locked_Profile.gif"));
    EXPECT_TRUE(showsIcon(row(2), "Network_Connection.gif"));
}

TEST_F(ProfileList, OffersNoDeletionOfNoProfiles)
{
    openScreen();
    EXPECT_EQ(list->count(), 0);
    EXPECT_TRUE(menu->isItemEnabled(NEW_PROFILE));
    EXPECT_FALSE(menu->isItemEnabled(DELETE_PROFILES));
}

TEST_F(ProfileList, OffersANewProfileUpToNine)
{
    storeProfiles(9);
    openScreen();
    EXPECT_EQ(list->count(), 9);
    EXPECT_TRUE(menu->isItemEnabled(NEW_PROFILE));
    EXPECT_TRUE(menu->isItemEnabled(DELETE_PROFILES));
}

TEST_F(ProfileList, OffersNoNewProfileAtTen)
{
    storeProfiles(10);
    openScreen();
    EXPECT_EQ(list->count(), 10);
    EXPECT_FALSE(menu->isItemEnabled(NEW_PROFILE));
    EXPECT_TRUE(menu->isItemEnabled(DELETE_PROFILES));
}

TEST_F(ProfileList, OffersNoNewProfileBeyondTen)
{
    storeProfiles(11);
    openScreen();
    EXPECT_EQ(list->count(), 11);
    EXPECT_FALSE(menu->isItemEnabled(NEW_PROFILE));
}

TEST_F(ProfileList, ShowsTheSecondOfThreeTwiceOnceTheFirstIsDeletedAndTheListReopened)
{
    for (const char* name : {"A", "B", "C"})
        storeProfile(name);
    openScreen();
    SETUP_SIP_Agent::instance()->deleteProfile("A");
    openScreen();
    EXPECT_EQ(rows(), QStringList({"B", "B"}));
}

TEST_F(ProfileList, CountsBelowNothingAsNoProfilesButLetsThemBeDeleted)
{
    writeFile("[ProfileSummary]\nTotalProfile=-1\n");
    openScreen();
    EXPECT_EQ(list->count(), 0);
    EXPECT_TRUE(menu->isItemEnabled(NEW_PROFILE));
    EXPECT_TRUE(menu->isItemEnabled(DELETE_PROFILES));
}

TEST_F(ProfileList, ShowsTenRowsWithoutScrolling)
{
    storeProfiles(10);
    openScreen();
    EXPECT_TRUE(list->viewport()->rect().contains(list->visualItemRect(list->item(9))));
}

TEST_F(ProfileList, OpensItsMenuByTheLeftSoftKeyAndByPointer)
{
    openScreen();
    press(Qt::Key_F1);
    ASSERT_EQ(open<QPopupMenu>(), menu);
    EXPECT_EQ(menu->parent(), screen.get());
    EXPECT_EQ(menu->actions().size(), 2);
    EXPECT_EQ(menu->text(NEW_PROFILE), "New Profile");
    EXPECT_EQ(menu->text(DELETE_PROFILES), "Delete Profiles");
    press(Qt::Key_F3);
    EXPECT_EQ(open<QPopupMenu>(), nullptr);
    click(softKeys->getLeftBtn());
    EXPECT_EQ(open<QPopupMenu>(), menu);
    press(Qt::Key_Escape);
}

TEST_F(ProfileList, AsksTheHostToCloseItByTheRightSoftKeyAndDoesNothingElse)
{
    openScreen();
    const QSignalSpy closed(screen.get(), SIGNAL(SIPClose()));
    press(Qt::Key_F3);
    EXPECT_EQ(closed.count(), 1);
    press(Qt::Key_Escape);
    EXPECT_EQ(closed.count(), 2);
    click(softKeys->getRightBtn());
    EXPECT_EQ(closed.count(), 3);
    EXPECT_TRUE(screen->isVisible());
}

TEST_F(ProfileList, MayBeDeletedInTheSlotThatAnswersItsClose)
{
    for (const auto close : {+[](UTIL_CST*) { press(Qt::Key_F3); }, +[](UTIL_CST*) { press(Qt::Key_Escape); },
                             +[](UTIL_CST* keys) { click(keys->getRightBtn()); }}) {
        openScreen();
        QObject::connect(screen.get(), &SETUP_SIP_ProfileListBase::SIPClose, [this] { screen.reset(); });
        close(softKeys);
        EXPECT_EQ(screen, nullptr);
    }
}

TEST_F(ProfileList, ReadsTheFileAnewEachTimeItIsOpened)
{
    storeProfile("first");
    openScreen();
    EXPECT_EQ(rows(), QStringList({"first"}));
    screen.reset();
    writeFile("[ProfileSummary]\nTotalProfile=1\n[Profile4]\nDisplayName=other\n");
    screen.reset(SETUP_SIP_CreateProfileList(nullptr));
    EXPECT_TRUE(SETUP_SIP_Agent::instance()->isProfileExisted("other"));
}

TEST_F(ProfileList, LoadsTheStoreWhenItIsMadeAndDropsItWhenItIsDeleted)
{
    writeFile("[ProfileSummary]\nTotalProfile=1\n[Profile0]\nDisplayName=old\n");
    SETUP_SIP_Agent::cleanup();
    screen.reset(SETUP_SIP_CreateProfileList(nullptr));
    // Loaded before this change of the file, so that the store does not know of it.
    writeFile("[ProfileSummary]\nTotalProfile=1\n[Profile0]\nDisplayName=new\n");
    EXPECT_TRUE(SETUP_SIP_Agent::instance()->isProfileExisted("old"));
    screen.reset();
    EXPECT_TRUE(SETUP_SIP_Agent::instance()->isProfileExisted("new"));
}

TEST_F(ProfileList, IgnoresCustomEventsThatAreNotItsOwn)
{
    storeProfiles(2);
    openScreen();
    const QSignalSpy closed(screen.get(), SIGNAL(SIPClose()));
    const QObjectList before = screen->children();
    for (const int type : {1000, 1001, 1999}) {
        QCustomEvent event(type);
        QApplication::sendEvent(screen.get(), &event);
    }
    EXPECT_EQ(list->count(), 2);
    EXPECT_EQ(screen->children(), before);
    EXPECT_TRUE(screen->isVisible());
    EXPECT_EQ(closed.count(), 0);
}

TEST_F(ProfileList, HasTheKeysAndAVisibleCurrentRowOnceItIsShown)
{
    storeProfiles(2);
    openScreen();
    EXPECT_TRUE(list->hasFocus());
    EXPECT_EQ(list->currentItem(), 0);
    press(Qt::Key_Down);
    EXPECT_EQ(list->currentItem(), 1);
    press(Qt::Key_Up);
    EXPECT_EQ(list->currentItem(), 0);
}

} // namespace
