#include "OrmuPushButton.h"
#include "ProfileScreenTest.h"
#include "SETUP_SIP_ProfileDelConfirmDlg.h"
#include "SETUP_SIP_ProfileEdit.h"
#include "SETUP_SIP_ProfileListBase.h"
#include "UTIL_DlgCST.h"
#include "UTIL_ListBox.h"
#include "qpopupmenu.h"

#include <QPointer>

#include <tuple>

using namespace ScreenDriver;

namespace {
enum MenuId { NEW_PROFILE = 0, DELETE_PROFILES = 1 };

class MainMenu : public ProfileScreenTest
{
protected:
    // Screens that outlive the list screen are whoever's finds them.
    ~MainMenu() override
    {
        screen.reset();
        for (QWidget* left = open<QWidget>(); left != nullptr; left = open<QWidget>())
            delete left;
    }

    // Opens the list screen as a host does. What the test stored before is read from the file.
    void openScreen()
    {
        SETUP_SIP_Agent::cleanup();
        screen.reset(SETUP_SIP_CreateProfileList(nullptr));
        screen->createScreen();
        screen->show();
        list = screen->findChild<UTIL_ListBox*>();
        menu = screen->findChild<QPopupMenu*>();
    }

    QStringList rows() const
    {
        QStringList names;
        for (int i = 0; i < list->count(); ++i)
            names += list->item(i)->text();
        return names;
    }

    // Chooses from the main menu, by keys or by pointer.
    static void choose(MenuId id)
    {
        press(Qt::Key_F1);
        if (id == DELETE_PROFILES && open<QPopupMenu>()->isItemEnabled(NEW_PROFILE))
            press(Qt::Key_Down);
        press(Qt::Key_Return);
    }
    void chooseByPointer(MenuId id) const
    {
        click(static_cast<UTIL_CST*>(screen->getCSTWidget())->getLeftBtn());
        clickMenuEntry(id == NEW_PROFILE ? "New Profile" : "Delete Profiles");
    }

    SETUP_SIP_ProfileEdit* openNewProfile()
    {
        openScreen();
        choose(NEW_PROFILE);
        return open<SETUP_SIP_ProfileEdit>();
    }

    std::unique_ptr<SETUP_SIP_ProfileListBase> screen;
    UTIL_ListBox* list = nullptr;
    QPopupMenu* menu = nullptr;
};

// Presses Save with the form as it is, and returns the text of the message that refuses it.
QString refusal()
{
    QString text;
    const auto answer = onceOpen<OrmuMessageBox>([&text](OrmuMessageBox& box) {
        text = box.text();
        press(Qt::Key_F2);
    });
    press(Qt::Key_F2);
    return text;
}

TEST_F(MainMenu, OpensAnEmptyEditScreenOfItsOwnForANewProfile)
{
    storeProfile("A");
    const SETUP_SIP_ProfileEdit* edit = openNewProfile();
    ASSERT_NE(edit, nullptr);
    EXPECT_EQ(EditForm(edit).name->text(), "");
    EXPECT_EQ(edit->objectName(), "");
    EXPECT_FALSE(screen->isAncestorOf(edit));
}

TEST_F(MainMenu, OpensTheEditScreenByPointer)
{
    openScreen();
    chooseByPointer(NEW_PROFILE);
    EXPECT_NE(open<SETUP_SIP_ProfileEdit>(), nullptr);
}

TEST_F(MainMenu, CreatesTwoProfilesRefusesTwoAndDeletesOneByKeysAlone)
{
    const QPointer<SETUP_SIP_ProfileEdit> first = openNewProfile();
    EditForm(first).enterAll("Home");
    press(Qt::Key_F2);
    EXPECT_TRUE(first.isNull());
    EXPECT_EQ(open<SETUP_SIP_ProfileListBase>(), screen.get());
    EXPECT_EQ(rows(), QStringList({"Home"}));

    choose(NEW_PROFILE);
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
    EXPECT_TRUE(list->hasFocus());

    {
        const auto remove = onceOpen<SETUP_SIP_ProfileDelConfirmDlg>([](SETUP_SIP_ProfileDelConfirmDlg&) {
            press(Qt::Key_Return);
            press(Qt::Key_F1);
        });
        choose(DELETE_PROFILES);
    }
    EXPECT_EQ(rows(), QStringList({"Work"}));
    EXPECT_EQ(namesInFile(), QStringList({"Work"}));
}

TEST_F(MainMenu, RefreshesTheListOnlyAfterASave)
{
    openNewProfile();
    storeProfile("behind its back");
    press(Qt::Key_F3);
    EXPECT_EQ(open<SETUP_SIP_ProfileListBase>(), screen.get());
    EXPECT_EQ(rows(), QStringList());
    choose(NEW_PROFILE);
    EditForm(open<SETUP_SIP_ProfileEdit>()).enterAll("Home");
    press(Qt::Key_F2);
    EXPECT_EQ(rows(), QStringList({"behind its back", "Home"}));
}

TEST_F(MainMenu, RefreshesTheListBeforeItDeletesTheEditScreen)
{
    const QPointer<SETUP_SIP_ProfileEdit> edit = openNewProfile();
    EditForm(edit).enterAll("Home");
    QList<bool> wasThere;
    QObject::connect(list->model(), &QAbstractItemModel::rowsInserted, [&] { wasThere += !edit.isNull(); });
    press(Qt::Key_F2);
    EXPECT_EQ(wasThere, QList<bool>({true}));
    EXPECT_TRUE(edit.isNull());
}

TEST_F(MainMenu, DeletesTheEditScreenAtOnceHoweverItEnds)
{
    openScreen();
    for (const auto end :
         {+[](UTIL_CST*) { press(Qt::Key_F2); }, +[](UTIL_CST* keys) { click(keys->getMidBtn()); }}) {
        choose(NEW_PROFILE);
        const QPointer<SETUP_SIP_ProfileEdit> edit = open<SETUP_SIP_ProfileEdit>();
        const EditForm form(edit);
        form.enterAll("Home " + QString::number(list->count()));
        bool outlivesItsSignal = false;
        QObject::connect(edit, &SETUP_SIP_ProfileEdit::editDone, [&] { outlivesItsSignal = true; });
        end(form.softKeys);
        EXPECT_TRUE(edit.isNull());
        EXPECT_FALSE(outlivesItsSignal);
    }
    EXPECT_EQ(list->count(), 2);
    for (const auto end : {+[](UTIL_CST*) { press(Qt::Key_F3); }, +[](UTIL_CST*) { press(Qt::Key_Escape); },
                           +[](UTIL_CST* keys) { click(keys->getRightBtn()); }}) {
        chooseByPointer(NEW_PROFILE);
        const QPointer<SETUP_SIP_ProfileEdit> edit = open<SETUP_SIP_ProfileEdit>();
        ASSERT_FALSE(edit.isNull());
        end(EditForm(edit).softKeys);
        EXPECT_TRUE(edit.isNull());

        choose(NEW_PROFILE);
        const QPointer<SETUP_SIP_ProfileEdit> changed = open<SETUP_SIP_ProfileEdit>();
        type("x");
        const auto yes = onceOpen<OrmuMessageBox>([](OrmuMessageBox&) { press(Qt::Key_F1); });
        end(EditForm(changed).softKeys);
        EXPECT_TRUE(changed.isNull());
        EXPECT_EQ(open<SETUP_SIP_ProfileListBase>(), screen.get());
    }
}

TEST_F(MainMenu, OpensOneEditScreenAtATime)
{
    const SETUP_SIP_ProfileEdit* edit = openNewProfile();
    type("typed");
    ASSERT_TRUE(QMetaObject::invokeMethod(screen.get(), "menuItemActivated", Q_ARG(int, NEW_PROFILE)));
    EXPECT_EQ(open<SETUP_SIP_ProfileEdit>(), edit);
    EXPECT_EQ(edit->parentWidget()->findChildren<SETUP_SIP_ProfileEdit*>().size(), 1);
    EXPECT_EQ(EditForm(edit).name->text(), "typed");
}

TEST_F(MainMenu, OffersNoNewProfileOnceTheTenthIsSavedAndAgainOnceOneIsDeleted)
{
    storeProfiles(9);
    openNewProfile();
    EditForm(open<SETUP_SIP_ProfileEdit>()).enterAll("The tenth");
    press(Qt::Key_F2);
    EXPECT_EQ(list->count(), 10);
    EXPECT_FALSE(menu->isItemEnabled(NEW_PROFILE));

    press(Qt::Key_F1);
    clickMenuEntry("New Profile");
    EXPECT_EQ(open<SETUP_SIP_ProfileEdit>(), nullptr);
    press(Qt::Key_Escape);
    {
        const auto remove = onceOpen<SETUP_SIP_ProfileDelConfirmDlg>([](SETUP_SIP_ProfileDelConfirmDlg&) {
            press(Qt::Key_Return);
            press(Qt::Key_F1);
        });
        choose(DELETE_PROFILES);
    }
    EXPECT_EQ(list->count(), 9);
    EXPECT_TRUE(menu->isItemEnabled(NEW_PROFILE));
    EXPECT_FALSE(rows().contains("Profile number 0"));
}

TEST_F(MainMenu, OffersNoDeletionOnceAllAreDeleted)
{
    storeProfiles(10);
    openScreen();
    {
        const auto remove =
            onceOpen<SETUP_SIP_ProfileDelConfirmDlg>([](SETUP_SIP_ProfileDelConfirmDlg& dialog) {
                click(dialog.findChild<QCheckBox*>());
                press(Qt::Key_F1);
            });
        chooseByPointer(DELETE_PROFILES);
    }
    EXPECT_EQ(rows(), QStringList());
    EXPECT_TRUE(menu->isItemEnabled(NEW_PROFILE));
    EXPECT_FALSE(menu->isItemEnabled(DELETE_PROFILES));
}

TEST_F(MainMenu, ShowsNoRowsAndOffersNoDeletionWhileTheCountIsNothing)
{
    writeFile("[ProfileSummary]\nTotalProfile=-1\n");
    openScreen();
    storeProfile("A");
    ASSERT_EQ(SETUP_SIP_Agent::instance()->profileCount(), 0);
    ASSERT_EQ(profileNames(), QStringList({"A"}));
    const auto look = onceOpen<SETUP_SIP_ProfileDelConfirmDlg>([](SETUP_SIP_ProfileDelConfirmDlg& dialog) {
        EXPECT_EQ(dialog.findChild<UTIL_ListBox*>()->count(), 0);
        press(Qt::Key_F1);
    });
    choose(DELETE_PROFILES);
    EXPECT_EQ(list->count(), 0);
    EXPECT_TRUE(menu->isItemEnabled(NEW_PROFILE));
    EXPECT_FALSE(menu->isItemEnabled(DELETE_PROFILES));
}

TEST_F(MainMenu, GoesByTheCountOfTheSummaryAndNotByTheNames)
{
    for (const auto& [total, stored, shown] : {std::tuple(-2, 1, 0), std::tuple(-1, 10, 10)}) {
        writeFile("[ProfileSummary]\nTotalProfile=" + QByteArray::number(total) + "\n");
        openScreen();
        storeProfiles(stored);
        const auto accept = onceOpen<SETUP_SIP_ProfileDelConfirmDlg>(
            [](SETUP_SIP_ProfileDelConfirmDlg&) { press(Qt::Key_F1); });
        choose(DELETE_PROFILES);
        EXPECT_EQ(list->count(), shown);
        EXPECT_TRUE(menu->isItemEnabled(NEW_PROFILE)) << total;
        EXPECT_TRUE(menu->isItemEnabled(DELETE_PROFILES)) << total;
        screen.reset();
    }
}

TEST_F(MainMenu, RefreshesTheListWhenTheDeleteDialogIsAcceptedOnly)
{
    storeProfiles(2);
    openScreen();
    for (const auto& [answerKey, shown] :
         {std::pair(Qt::Key_F3, 2), std::pair(Qt::Key_Escape, 2), std::pair(Qt::Key_F1, 3)}) {
        QPointer<SETUP_SIP_ProfileDelConfirmDlg> seen;
        {
            const auto answer =
                onceOpen<SETUP_SIP_ProfileDelConfirmDlg>([&](SETUP_SIP_ProfileDelConfirmDlg& dialog) {
                    seen = &dialog;
                    EXPECT_FALSE(screen->isAncestorOf(&dialog));
                    EXPECT_EQ(dialog.objectName(), "");
                    storeProfile("behind its back");
                    press(answerKey);
                });
            choose(DELETE_PROFILES);
        }
        EXPECT_EQ(list->count(), shown);
        EXPECT_TRUE(seen.isNull());
    }
}

TEST_F(MainMenu, DeathOfTheProcessAnswersAnUnknownMenuId)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    openScreen();
    for (const int id : {2, -1, 1000})
        EXPECT_EXIT(QMetaObject::invokeMethod(screen.get(), "menuItemActivated", Q_ARG(int, id)),
                    testing::KilledBySignal(SIGABRT),
                    testing::MatchesRegex(
                        ".*\\{1\\} SETUP_SIP_ProfileList\\.cpp:[0-9]+\tormu assert failed !\n\n.*"));
}

// What the host's deletion of the list screen leaves open still works, and touches nothing that is gone.

TEST_F(MainMenu, EditScreenOutlivesTheListScreenAndStillSaves)
{
    const QPointer<SETUP_SIP_ProfileEdit> edit = openNewProfile();
    screen.reset();
    ASSERT_FALSE(edit.isNull());
    ASSERT_EQ(open<SETUP_SIP_ProfileEdit>(), edit);
    EXPECT_EQ(refusal(), "Some required value is not input, input again.");
    const EditForm form(edit);
    form.enterAll("Home");
    {
        const auto no = onceOpen<OrmuMessageBox>([](OrmuMessageBox&) { press(Qt::Key_F3); });
        press(Qt::Key_F3);
    }
    click(form.softKeys->getMidBtn());
    EXPECT_EQ(namesInFile(), QStringList({"Home"}));
    // Nobody is left to delete it.
    EXPECT_FALSE(edit.isNull());
    const auto yes = onceOpen<OrmuMessageBox>([](OrmuMessageBox&) { press(Qt::Key_F1); });
    click(form.softKeys->getRightBtn());
}

TEST_F(MainMenu, NewListScreenWorksBesideAnEditScreenThatOutlivedTheFormer)
{
    const QPointer<SETUP_SIP_ProfileEdit> left = openNewProfile();
    openScreen();
    choose(NEW_PROFILE);
    const QPointer<SETUP_SIP_ProfileEdit> edit = open<SETUP_SIP_ProfileEdit>();
    EXPECT_NE(edit, left);
    EditForm(edit).enterAll("Home");
    press(Qt::Key_F2);
    EXPECT_TRUE(edit.isNull());
    EXPECT_FALSE(left.isNull());
    EXPECT_EQ(rows(), QStringList({"Home"}));
    delete left;
}

TEST_F(MainMenu, ListScreenMayBeDeletedWhileTheEditScreenAsksOrRefuses)
{
    for (const Qt::Key key : {Qt::Key_F2, Qt::Key_F3})
        for (const Qt::Key answerKey : {Qt::Key_F1, Qt::Key_F3}) {
            const QPointer<SETUP_SIP_ProfileEdit> edit = openNewProfile();
            type("x");
            {
                const auto answer = onceOpen<OrmuMessageBox>([&](OrmuMessageBox&) {
                    screen.reset();
                    press(answerKey);
                });
                press(key);
            }
            ASSERT_FALSE(edit.isNull());
            EXPECT_EQ(open<SETUP_SIP_ProfileEdit>(), edit);
            type("y");
            EXPECT_EQ(EditForm(edit).name->text(), "xy");
            delete edit;
        }
}

TEST_F(MainMenu, DeleteDialogOutlivesTheListScreenAndStillDeletes)
{
    for (const bool byPointer : {false, true}) {
        SETUP_SIP_Agent::cleanup();
        storeProfiles(2);
        openScreen();
        QPointer<SETUP_SIP_ProfileDelConfirmDlg> seen;
        {
            const auto remove =
                onceOpen<SETUP_SIP_ProfileDelConfirmDlg>([&](SETUP_SIP_ProfileDelConfirmDlg& dialog) {
                    seen = &dialog;
                    screen.reset();
                    press(Qt::Key_Return);
                    if (byPointer)
                        click(dialog.findChild<UTIL_DlgCST*>()->getBtn1());
                    else
                        press(Qt::Key_F1);
                });
            if (byPointer)
                chooseByPointer(DELETE_PROFILES);
            else
                choose(DELETE_PROFILES);
        }
        EXPECT_TRUE(seen.isNull());
        EXPECT_EQ(open<QWidget>(), nullptr);
        EXPECT_EQ(namesInFile(), QStringList({"Profile number 1"}));
    }
}

TEST_F(MainMenu, DeleteDialogOutlivesTheListScreenAndMayBeCancelled)
{
    for (const auto cancel :
         {+[](UTIL_DlgCST*) { press(Qt::Key_F3); }, +[](UTIL_DlgCST*) { press(Qt::Key_Escape); },
          +[](UTIL_DlgCST* keys) { click(keys->getBtn2()); }}) {
        SETUP_SIP_Agent::cleanup();
        storeProfiles(2);
        openScreen();
        const auto answer =
            onceOpen<SETUP_SIP_ProfileDelConfirmDlg>([&](SETUP_SIP_ProfileDelConfirmDlg& dialog) {
                screen.reset();
                click(dialog.findChild<QCheckBox*>());
                cancel(dialog.findChild<UTIL_DlgCST*>());
            });
        choose(DELETE_PROFILES);
        EXPECT_EQ(namesInFile().size(), 2);
    }
}

TEST_F(MainMenu, ListScreenMayBeDeletedWhileItsMenuIsOpen)
{
    openScreen();
    press(Qt::Key_F1);
    ASSERT_EQ(open<QPopupMenu>(), menu);
    screen.reset();
    EXPECT_EQ(open<QWidget>(), nullptr);
    press(Qt::Key_Return);
    press(Qt::Key_F1);
}

} // namespace
