#include "OrmuGlobal.h"
#include "OrmuPushButton.h"
#include "ProfileScreenTest.h"
#include "SETUP_SIP_ProfileListBase.h"
#include "SETUP_SIP_ProfileSelectDlg.h"
#include "UTIL_DlgCST.h"
#include "UTIL_ListBox.h"
#include "qpopupmenu.h"

#include <QLabel>

using namespace ScreenDriver;

namespace {

// Uses the library as another program does.
class ProfileSelectDlg : public ProfileScreenTest
{
protected:
    void makeDialog(const QString& profile)
    {
        dialog.reset();
        QString given = profile;
        dialog.reset(new SETUP_SIP_ProfileSelectDlg(given, nullptr, nullptr));
        EXPECT_EQ(given, profile);
        list = dialog->findChild<UTIL_ListBox*>();
        softKeys = dialog->findChild<UTIL_DlgCST*>();
    }

    // Runs the dialog and has act done once it has the keys; act ends it.
    template <class Act>
    int run(Act act)
    {
        const auto answer =
            onceOpen<SETUP_SIP_ProfileSelectDlg>([act](SETUP_SIP_ProfileSelectDlg&) { act(); });
        return dialog->exec();
    }

    QStringList rows() const
    {
        QStringList names;
        for (int i = 0; i < list->count(); ++i)
            names += static_cast<UTIL_ListBoxItem*>(list->item(i))->getString(1);
        return names;
    }

    QList<int> checkedRows() const
    {
        QList<int> checked;
        for (int i = 0; i < list->count(); ++i)
            if (list->itemChecked(i))
                checked += i;
        return checked;
    }

    std::unique_ptr<SETUP_SIP_ProfileSelectDlg> dialog;
    UTIL_ListBox* list = nullptr;
    UTIL_DlgCST* softKeys = nullptr;
};

TEST_F(ProfileSelectDlg, LaysOutItsTitleAndItsList)
{
    makeDialog("");
    const QRect titleStrip = OrmuGlobal::getDlgTitleLR();
    const QWidget* content = dialog->getDlgContent();
    const auto* title = content->findChild<QLabel*>();
    ASSERT_NE(title, nullptr);
    EXPECT_EQ(title->text(), "Select Profile");
    EXPECT_EQ(title->indent(), 5);
    EXPECT_EQ(title->geometry(), OrmuGlobal::diffRect(OrmuGlobal::getDlgLargeR(), titleStrip));
    EXPECT_EQ(list->geometry(),
              QRect(0, titleStrip.height(), content->width(), content->height() - titleStrip.height()));
    EXPECT_EQ(list->parentWidget(), content);
}

TEST_F(ProfileSelectDlg, HasOkAndCancelOnItsSoftKeys)
{
    makeDialog("");
    EXPECT_EQ(softKeys->getBtn1()->text(), "OK");
    EXPECT_EQ(softKeys->getBtn2()->text(), "Cancel");
}

TEST_F(ProfileSelectDlg, TakesTheParentAndTheNameItIsGiven)
{
    QWidget parent;
    QString profile;
    const SETUP_SIP_ProfileSelectDlg child(profile, &parent, "chooser");
    EXPECT_EQ(child.parentWidget(), &parent);
    EXPECT_EQ(child.objectName(), "chooser");
}

TEST_F(ProfileSelectDlg, ShowsEveryProfileInTheStoresOrder)
{
    for (const char* name : {"Zoe", "anna", "Mike"})
        storeProfile(name);
    makeDialog("");
    EXPECT_EQ(rows(), QStringList({"Zoe", "anna", "Mike"}));
    EXPECT_EQ(static_cast<UTIL_ListBoxItem*>(list->item(0))->columns(), "RT");
}

TEST_F(ProfileSelectDlg, MarksTheProfileOfTheGroupItIsGiven)
{
    for (const char* name : {"A", "B", "C"})
        storeProfile(name);
    makeDialog("Profile1");
    EXPECT_EQ(checkedRows(), QList<int>({1}));
    EXPECT_EQ(dialog->getSelectedProfile(), "Profile1");
}

TEST_F(ProfileSelectDlg, MarksNothingForAnUnknownOrEmptyNameAndGivesItBack)
{
    storeProfile("A");
    storeProfile("B");
    for (const char* name : {"", "Profile7", "A", "profile0", "SystemDefault", "true"}) {
        makeDialog(name);
        EXPECT_EQ(checkedRows(), QList<int>()) << name;
        EXPECT_EQ(dialog->getSelectedProfile(), name);
        EXPECT_EQ(run([] { press(Qt::Key_F1); }), QDialog::Accepted);
        EXPECT_EQ(dialog->getSelectedProfile(), name);
    }
}

TEST_F(ProfileSelectDlg, IsEmptyWithoutProfilesAndStillAccepts)
{
    makeDialog("Profile3");
    EXPECT_EQ(list->count(), 0);
    EXPECT_EQ(run([] { press(Qt::Key_F1); }), QDialog::Accepted);
    EXPECT_EQ(dialog->getSelectedProfile(), "Profile3");
}

TEST_F(ProfileSelectDlg, IsEmptyWhileTheCountIsNothingOrLess)
{
    for (const int total : {-1, -2}) {
        dialog.reset();
        SETUP_SIP_Agent::cleanup();
        writeFile("[ProfileSummary]\nTotalProfile=" + QByteArray::number(total) + "\n");
        storeProfile("A");
        ASSERT_EQ(profileNames(), QStringList({"A"}));
        makeDialog("Profile0");
        EXPECT_EQ(rows(), QStringList()) << total;
        EXPECT_EQ(dialog->getSelectedProfile(), "Profile0");
    }
}

TEST_F(ProfileSelectDlg, GivesTheGroupOfTheProfileChosenByKeysAlone)
{
    for (const char* name : {"A", "B", "C"})
        storeProfile(name);
    makeDialog("Profile0");
    EXPECT_EQ(run([] {
                  press(Qt::Key_Down);
                  press(Qt::Key_Down);
                  press(Qt::Key_Return);
                  press(Qt::Key_F1);
              }),
              QDialog::Accepted);
    EXPECT_EQ(dialog->getSelectedProfile(), "Profile2");
    EXPECT_EQ(dialog->getSelectedProfile(), "Profile2");
    list->checkItem(2, false);
    EXPECT_EQ(dialog->getSelectedProfile(), "Profile2") << "it keeps what it gave last";
}

TEST_F(ProfileSelectDlg, GivesTheLastOfSeveralMarkedProfiles)
{
    storeProfile("A");
    storeProfile("B");
    makeDialog("");
    list->clear();
    for (const char* name : {"A", "B"}) {
        auto* row = new UTIL_ListBoxItem(list, "%R%T", true);
        row->setString(1, name);
        list->insertItem(row, -1);
    }
    ASSERT_EQ(checkedRows(), QList<int>({0, 1}));
    EXPECT_EQ(dialog->getSelectedProfile(), "Profile1");
}

TEST_F(ProfileSelectDlg, GivesTheGroupAndNotTheNumberOfTheRow)
{
    storeProfile("A");
    storeProfile("B");
    SETUP_SIP_Agent::instance()->deleteProfile("A");
    storeProfile("C"); // in Profile0, which is free again
    makeDialog("Profile1");
    EXPECT_EQ(rows(), QStringList({"B", "C"}));
    EXPECT_EQ(checkedRows(), QList<int>({0}));
    run([this] {
        clickRow(list, 1);
        press(Qt::Key_F1);
    });
    EXPECT_EQ(dialog->getSelectedProfile(), "Profile0");
}

TEST_F(ProfileSelectDlg, NeedsAMarkNotJustACurrentRow)
{
    storeProfiles(2);
    makeDialog("Profile0");
    run([] {
        press(Qt::Key_Down);
        press(Qt::Key_F1);
    });
    EXPECT_EQ(list->currentItem(), 1);
    EXPECT_EQ(dialog->getSelectedProfile(), "Profile0");
}

TEST_F(ProfileSelectDlg, LooksAtAsManyRowsAsTheStoreCounts)
{
    for (const char* name : {"A", "B", "C"})
        storeProfile(name);
    makeDialog("Profile0");
    list->checkItem(2, true);
    SETUP_SIP_Agent::instance()->deleteProfile("A");
    EXPECT_EQ(dialog->getSelectedProfile(), "Profile0") << "the third row is out of its sight";
    storeProfile("D");
    storeProfile("E"); // more than there are rows
    EXPECT_EQ(dialog->getSelectedProfile(), "Profile2");
}

TEST_F(ProfileSelectDlg, KeepsOneMarkAtATime)
{
    storeProfiles(10);
    makeDialog("Profile2");
    EXPECT_EQ(run([this] {
                  clickRow(list, 5);
                  EXPECT_EQ(checkedRows(), QList<int>({5}));
                  clickRow(list, 9);
                  EXPECT_EQ(checkedRows(), QList<int>({9}));
                  clickRow(list, 9);
                  EXPECT_EQ(checkedRows(), QList<int>({9}));
                  click(softKeys->getBtn1());
              }),
              QDialog::Accepted);
    EXPECT_EQ(dialog->getSelectedProfile(), "Profile9");
}

TEST_F(ProfileSelectDlg, OpensWithTheKeysOnTheMarkedRowAndShowsIt)
{
    storeProfiles(10);
    makeDialog("Profile9");
    run([this] {
        EXPECT_TRUE(list->hasFocus());
        EXPECT_EQ(list->currentItem(), 9);
        EXPECT_TRUE(waitFor(
            [this] { return list->viewport()->rect().contains(list->visualItemRect(list->item(9))); }));
        press(Qt::Key_F3);
    });
}

TEST_F(ProfileSelectDlg, OpensWithTheKeysOnTheFirstRowWhenNoneIsMarked)
{
    storeProfiles(2);
    makeDialog("");
    run([this] {
        EXPECT_TRUE(list->hasFocus());
        EXPECT_EQ(list->currentItem(), 0);
        press(Qt::Key_F3);
    });
}

TEST_F(ProfileSelectDlg, IsRejectedByCancel)
{
    storeProfiles(2);
    for (const auto cancel :
         {+[](UTIL_DlgCST*) { press(Qt::Key_F3); }, +[](UTIL_DlgCST*) { press(Qt::Key_Escape); },
          +[](UTIL_DlgCST* keys) { click(keys->getBtn2()); }}) {
        makeDialog("Profile0");
        EXPECT_EQ(run([this, cancel] { cancel(softKeys); }), QDialog::Rejected);
        EXPECT_EQ(dialog->getSelectedProfile(), "Profile0");
    }
}

TEST_F(ProfileSelectDlg, LeavesTheMarkOfOnlyTheLastOfTwoProfilesOfOneName)
{
    writeFile("[ProfileSummary]\nTotalProfile=2\n"
              "[Profile0]\nDisplayName=same\n[Profile1]\nDisplayName=same\n");
    makeDialog("Profile0");
    EXPECT_EQ(checkedRows(), QList<int>({1}));
    // A name stands for the first profile that has it.
    EXPECT_EQ(dialog->getSelectedProfile(), "Profile0");
    dialog.reset();
    makeDialog("Profile1");
    EXPECT_EQ(checkedRows(), QList<int>({1}));
    EXPECT_EQ(dialog->getSelectedProfile(), "Profile0");
}

TEST_F(ProfileSelectDlg, ShowsNamesOfEveryScript)
{
    storeProfile(QStringLiteral("שלום 電話 😀 &<b>"));
    makeDialog("Profile0");
    EXPECT_EQ(rows(), QStringList({QStringLiteral("שלום 電話 😀 &<b>")}));
    EXPECT_EQ(checkedRows(), QList<int>({0}));
    EXPECT_EQ(dialog->getSelectedProfile(), "Profile0");
}

TEST_F(ProfileSelectDlg, DropsTheStoreWhenItIsDeleted)
{
    storeProfile("A");
    makeDialog("");
    writeFile("[ProfileSummary]\nTotalProfile=1\n[Profile0]\nDisplayName=changed\n");
    EXPECT_EQ(profileNames(), QStringList({"A"}));
    dialog.reset();
    EXPECT_EQ(profileNames(), QStringList({"changed"}));
}

TEST_F(ProfileSelectDlg, LeavesAnOpenListScreenInWorkingOrder)
{
    storeProfiles(2);
    const std::unique_ptr<SETUP_SIP_ProfileListBase> screen(SETUP_SIP_CreateProfileList(nullptr));
    screen->createScreen();
    screen->show();
    makeDialog("Profile0");
    run([] { press(Qt::Key_F1); });
    dialog.reset();
    ASSERT_EQ(open<SETUP_SIP_ProfileListBase>(), screen.get());
    const auto remove = onceOpen<UTIL_Dialog>([](UTIL_Dialog&) {
        press(Qt::Key_Return);
        press(Qt::Key_F1);
    });
    press(Qt::Key_F1);
    press(Qt::Key_Down);
    press(Qt::Key_Return);
    ASSERT_TRUE(waitFor([] { return open<SETUP_SIP_ProfileListBase>() != nullptr; }));
    EXPECT_EQ(screen->findChild<UTIL_ListBox*>()->count(), 1);
    EXPECT_EQ(namesInFile(), QStringList({"Profile number 1"}));
}

TEST_F(ProfileSelectDlg, MayBeDeletedOnceExecReturnedOrWhileItRuns)
{
    storeProfiles(2);
    for (const auto end :
         {+[](UTIL_DlgCST*) { press(Qt::Key_F1); }, +[](UTIL_DlgCST* keys) { click(keys->getBtn1()); },
          +[](UTIL_DlgCST*) { press(Qt::Key_Escape); }, +[](UTIL_DlgCST* keys) { click(keys->getBtn2()); }}) {
        makeDialog("");
        run([this, end] {
            clickRow(list, 1);
            end(softKeys);
        });
        dialog.reset();
        EXPECT_EQ(open<QWidget>(), nullptr);
    }
    makeDialog("");
    EXPECT_EQ(run([this] { dialog.reset(); }), QDialog::Rejected);
}

} // namespace
