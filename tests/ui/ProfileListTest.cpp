// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#include "EditForm.h"
#include "OrmuPushButton.h"
#include "SETUP_SIP_ProfileDelConfirmDlg.h"
#include "SETUP_SIP_ProfileEdit.h"
#include "SETUP_SIP_ProfileList.h"
#include "ScreenTest.h"
#include "UTIL_ListBox.h"
#include "qpopupmenu.h"

#include <QSignalSpy>

#include <tuple>

namespace {

// Other programs derive from it.
static_assert(sizeof(SETUP_SIP_ProfileListBase) == sizeof(OrmuMainWidget));

class ProfileList : public ScreenTest
{
protected:
    ~ProfileList() override { closeAll(); }

    // The entries of the main menu that are enabled.
    QString offered() const
    {
        const auto* menu = list->findChild<QPopupMenu*>();
        return QString(menu->isItemEnabled(0) ? "New" : "") + (menu->isItemEnabled(1) ? "Delete" : "");
    }

    void chooseByPointer(const QString& entry) const
    {
        press(SoftKey::LEFT_CLICK);
        clickMenuEntry(entry);
    }

    SETUP_SIP_ProfileEdit* openNewProfile()
    {
        openList();
        chooseInMenu("New Profile");
        return open<SETUP_SIP_ProfileEdit>();
    }

    static void saveAs(const QString& name)
    {
        EditForm(open<SETUP_SIP_ProfileEdit>()).enterAll(name);
        press(Qt::Key_F2);
    }

    static void deleteTheFirst()
    {
        inDeleteDialog([](QDialog&) {
            press(Qt::Key_Return);
            press(Qt::Key_F1);
        });
    }

    // Presses Save, and returns the text of the box that refuses it.
    static QString refusal()
    {
        const BoxAnswers answers({Qt::Key_F2});
        press(Qt::Key_F2);
        return answers.text();
    }
};

TEST_F(ProfileList, IsEmptyUntilCreateScreenAndItsBaseAlways)
{
    QWidget parent;
    SETUP_SIP_ProfileListBase base(nullptr, "base");
    base.createScreen();
    for (SETUP_SIP_ProfileListBase* screen : {&base, SETUP_SIP_CreateProfileList(&parent)}) {
        EXPECT_EQ(screen->parentWidget(), screen == &base ? nullptr : &parent);
        EXPECT_EQ(screen->objectName(), screen == &base ? "base" : "");
        EXPECT_EQ(screen->findChild<UTIL_ListBox*>(), nullptr);
        EXPECT_EQ(screen->getCSTWidget(), nullptr);
        EXPECT_FALSE(screen->isVisible());
    }
}

TEST_F(ProfileList, ShowsRowsInTheStoresOrder)
{
    storeProfiles({"Zoe", "anna", "Mike"});
    openList();
    EXPECT_EQ(rows(), QStringList({"Zoe", "anna", "Mike"}));
    EXPECT_TRUE(listBox->hasFocus());
    EXPECT_EQ(listBox->currentItem(), 0);
    EXPECT_EQ(listBox->item(0)->text(), "Zoe");
    EXPECT_EQ(row(listBox, 0)->columns(), "IT");
    EXPECT_FALSE(row(listBox, 0)->isChecked());
}

TEST_F(ProfileList, MarksTheDefaultProfileEvenWhenItIsLocked)
{
    store(record("plain"));
    store(lockedRecord("locked"));
    store(lockedRecord("default and locked"));
    profiles()->setDefaultProfile("default and locked");
    openList();
    EXPECT_TRUE(row(listBox, 0)->pixmap(0).isNull());
    EXPECT_EQ(row(listBox, 1)->pixmap(0).toImage(), iconOf("Network_Locked_Profile.gif"));
    EXPECT_EQ(row(listBox, 2)->pixmap(0).toImage(), iconOf("Network_Connection.gif"));
}

TEST_F(ProfileList, EnablesItsMenuByTheNumberOfProfiles)
{
    for (const auto& [count, expected] :
         {std::pair(0, "New"), std::pair(9, "NewDelete"), std::pair(10, "Delete"), std::pair(11, "Delete")}) {
        writeTotal(0);
        storeProfiles(count);
        openList();
        EXPECT_EQ(listBox->count(), count);
        EXPECT_EQ(offered(), expected) << count;
        if (count == 10) {
            EXPECT_TRUE(listBox->viewport()->rect().contains(listBox->visualItemRect(listBox->item(9))))
                << "ten rows fit without scrolling";
        }
    }
}

TEST_F(ProfileList, CountsProfilesByTheSummaryOfTheFile)
{
    // total: in the file; stored: profiles added; shown: rows then.
    for (const auto& [total, stored, shown, expected] :
         {std::tuple(-1, 0, 0, "NewDelete"), std::tuple(-1, 1, 0, "New"), std::tuple(-2, 1, 0, "NewDelete"),
          std::tuple(-1, 10, 10, "NewDelete")}) {
        SCOPED_TRACE(testing::Message() << total << " and " << stored);
        writeTotal(total);
        openList();
        storeProfiles(stored);
        EXPECT_EQ(names().size(), stored);
        inDeleteDialog([stored = stored, shown = shown](QDialog& dialog) {
            EXPECT_EQ(dialog.findChild<UTIL_ListBox*>()->count(), shown) << stored;
            press(Qt::Key_F1);
        });
        EXPECT_EQ(listBox->count(), shown);
        EXPECT_EQ(offered(), expected);
    }
}

TEST_F(ProfileList, ShowsTheSecondOfThreeTwiceOnceTheFirstIsDeleted)
{
    storeProfiles({"A", "B", "C"});
    profiles()->deleteProfile("A");
    openList();
    EXPECT_EQ(rows(), QStringList({"B", "B"}));
}

TEST_F(ProfileList, OpensItsMenuByTheLeftSoftKeyAndByPointer)
{
    openList();
    for (const SoftKey key : {SoftKey::LEFT, SoftKey::LEFT_CLICK}) {
        press(key);
        const auto* menu = open<QPopupMenu>();
        ASSERT_NE(menu, nullptr);
        EXPECT_EQ(menu->parent(), list.get());
        EXPECT_EQ(menu->actions().size(), 2);
        EXPECT_EQ(menu->text(0), "New Profile");
        EXPECT_EQ(menu->text(1), "Delete Profiles");
        press(Qt::Key_F3);
        EXPECT_EQ(open<QPopupMenu>(), nullptr);
    }
}

TEST_F(ProfileList, EmitsCloseAndStaysOpenOnTheRightSoftKey)
{
    const std::unique_ptr<SETUP_SIP_ProfileListBase> screen(SETUP_SIP_CreateProfileList(nullptr));
    screen->createScreen();
    screen->show();
    const QSignalSpy closed(screen.get(), SIGNAL(SIPClose()));
    for (const SoftKey key : RIGHT_KEYS)
        press(key);
    EXPECT_EQ(closed.count(), 3);
    EXPECT_TRUE(screen->isVisible());
}

TEST_F(ProfileList, LoadsTheStoreWhenMadeAndDropsItWhenDeleted)
{
    writeFile("[ProfileSummary]\nTotalProfile=1\n[Profile0]\nDisplayName=old\n");
    list.reset(SETUP_SIP_CreateProfileList(nullptr));
    // The store has read the file before this change.
    writeFile("[ProfileSummary]\nTotalProfile=1\n[Profile0]\nDisplayName=new\n");
    EXPECT_TRUE(exists("old"));
    list.reset();
    EXPECT_TRUE(exists("new"));
}

TEST_F(ProfileList, IgnoresCustomEventsThatAreNotItsOwn)
{
    storeProfiles(2);
    openList();
    const QObjectList before = list->children();
    for (const int type : {1000, 1001, 1999}) {
        QCustomEvent event(type);
        QApplication::sendEvent(list.get(), &event);
    }
    ASSERT_NE(list, nullptr);
    EXPECT_EQ(listBox->count(), 2);
    EXPECT_EQ(list->children(), before);
    EXPECT_TRUE(list->isVisible());
}

TEST_F(ProfileList, OpensAnEmptyEditScreenByKeysAndByPointer)
{
    storeProfiles({"A"});
    openList();
    for (const bool byPointer : {false, true}) {
        byPointer ? chooseByPointer("New Profile") : chooseInMenu("New Profile");
        const auto* edit = open<SETUP_SIP_ProfileEdit>();
        ASSERT_NE(edit, nullptr);
        EXPECT_EQ(EditForm(edit).name->text(), "");
        EXPECT_EQ(edit->objectName(), "");
        EXPECT_FALSE(list->isAncestorOf(edit));
        press(Qt::Key_F3);
    }
}

TEST_F(ProfileList, CreatesRefusesAndDeletesProfilesByKeysAlone)
{
    openNewProfile();
    saveAs("Home");
    EXPECT_EQ(rows(), QStringList({"Home"}));

    chooseInMenu("New Profile");
    const EditForm second(open<SETUP_SIP_ProfileEdit>());
    second.enterAll("Home");
    EXPECT_EQ(refusal(), "Profile name already existed, try again.");
    second.enter(second.name, "Work");
    second.enter(second.server, "");
    EXPECT_EQ(refusal(), "Some required value is not input, input again.");
    EXPECT_EQ(rows(), QStringList({"Home"}));
    second.enter(second.server, "sip.example.net");
    press(Qt::Key_F2);
    EXPECT_EQ(rows(), QStringList({"Home", "Work"}));
    EXPECT_TRUE(listBox->hasFocus());

    deleteTheFirst();
    EXPECT_EQ(rows(), QStringList({"Work"}));
    EXPECT_EQ(namesInFile(), QStringList({"Work"}));
}

TEST_F(ProfileList, RefreshesItsRowsOnlyAfterASave)
{
    openNewProfile();
    storeProfiles({"stored meanwhile"});
    press(Qt::Key_F3);
    EXPECT_EQ(top(), list.get());
    EXPECT_EQ(rows(), QStringList());
    chooseInMenu("New Profile");
    saveAs("Home");
    EXPECT_EQ(rows(), QStringList({"stored meanwhile", "Home"}));
}

TEST_F(ProfileList, RefreshesItsRowsBeforeItDeletesTheEditScreen)
{
    const QPointer<SETUP_SIP_ProfileEdit> edit = openNewProfile();
    QList<bool> editWasThere;
    QObject::connect(listBox->model(), &QAbstractItemModel::rowsInserted,
                     [&] { editWasThere += !edit.isNull(); });
    saveAs("Home");
    EXPECT_EQ(editWasThere, QList<bool>({true}));
    EXPECT_TRUE(edit.isNull());
}

TEST_F(ProfileList, DeletesTheEditScreenInsideItsSignal)
{
    for (const bool save : {true, false}) {
        const QPointer<SETUP_SIP_ProfileEdit> edit = openNewProfile();
        EditForm(edit).enterAll("Home");
        bool outlivesItsSignal = false;
        QObject::connect(edit, &SETUP_SIP_ProfileEdit::editDone, [&] { outlivesItsSignal = true; });
        if (save)
            press(Qt::Key_F2);
        else
            boxesOf({Qt::Key_F1}, [] { press(Qt::Key_F3); });
        EXPECT_TRUE(edit.isNull());
        EXPECT_FALSE(outlivesItsSignal);
        EXPECT_EQ(top(), list.get());
    }
}

TEST_F(ProfileList, OpensOneEditScreenAtATime)
{
    const auto* edit = openNewProfile();
    type("typed");
    invoke(list.get(), "menuItemActivated", 0);
    EXPECT_EQ(open<SETUP_SIP_ProfileEdit>(), edit);
    EXPECT_EQ(edit->parentWidget()->findChildren<SETUP_SIP_ProfileEdit*>().size(), 1);
    EXPECT_EQ(EditForm(edit).name->text(), "typed");
}

TEST_F(ProfileList, OffersNoNewProfileBetweenTheTenthAndADeletion)
{
    storeProfiles(9);
    openNewProfile();
    saveAs("The tenth");
    EXPECT_EQ(listBox->count(), 10);
    EXPECT_EQ(offered(), "Delete");
    press(Qt::Key_F1);
    clickMenuEntry("New Profile");
    EXPECT_EQ(open<SETUP_SIP_ProfileEdit>(), nullptr);
    press(Qt::Key_Escape);

    deleteTheFirst();
    EXPECT_EQ(listBox->count(), 9);
    EXPECT_EQ(offered(), "NewDelete");
    EXPECT_FALSE(rows().contains("Profile number 0"));
}

TEST_F(ProfileList, OffersNoDeletionOnceAllProfilesAreDeleted)
{
    storeProfiles(10);
    openList();
    const auto deletion = onceOpen<SETUP_SIP_ProfileDelConfirmDlg>([](QDialog& dialog) {
        click(dialog.findChild<QCheckBox*>());
        press(Qt::Key_F1);
    });
    chooseByPointer("Delete Profiles");
    EXPECT_EQ(rows(), QStringList());
    EXPECT_EQ(offered(), "New");
}

TEST_F(ProfileList, RefreshesItsRowsOnlyWhenTheDeleteDialogIsAccepted)
{
    storeProfiles(2);
    openList();
    for (const auto& [key, shown] :
         {std::pair(Qt::Key_F3, 2), std::pair(Qt::Key_Escape, 2), std::pair(Qt::Key_F1, 3)}) {
        QPointer<QDialog> seen;
        inDeleteDialog([&seen, this, end = key](QDialog& dialog) {
            seen = &dialog;
            EXPECT_FALSE(list->isAncestorOf(&dialog));
            EXPECT_EQ(dialog.objectName(), "");
            store(record("stored meanwhile"));
            press(end);
        });
        EXPECT_EQ(listBox->count(), shown);
        EXPECT_TRUE(seen.isNull());
    }
}

} // namespace
