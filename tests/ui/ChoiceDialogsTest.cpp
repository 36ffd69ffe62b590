// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

// The dialogs in which the user ticks profiles to delete, or chooses one.
#include "Diagnostics.h"
#include "SETUP_SIP_ProfileDelConfirmDlg.h"
#include "SETUP_SIP_ProfileSelectDlg.h"
#include "ScreenTest.h"
#include "UTIL_DlgCST.h"
#include "UTIL_ListBox.h"

#include <QCheckBox>
#include <QLabel>

namespace {

// Runs the dialog, and act in it as soon as it has the focus; act closes it.
template <class Act>
int run(QDialog& dialog, Act act)
{
    const auto answer = onceOpen<QDialog>([act](QDialog&) { act(); });
    return dialog.exec();
}

bool isRowInSight(UTIL_ListBox* rows, int row)
{
    return rows->viewport()->rect().contains(rows->visualItemRect(rows->item(row)));
}

// Two groups of one name, and a third profile.
const char SAME_NAMES[] = "[ProfileSummary]\nTotalProfile=3\n[Profile0]\nDisplayName=S\n"
                          "[Profile1]\nDisplayName=S\n[Profile2]\nDisplayName=T\n";

class DeleteDialog : public ScreenTest
{
protected:
    // Makes the dialog over the file.
    void makeDialog()
    {
        SETUP_SIP_Agent::cleanup();
        dialog = std::make_unique<SETUP_SIP_ProfileDelConfirmDlg>();
        names = dialog->findChild<UTIL_ListBox*>();
        all = dialog->findChild<QCheckBox*>();
    }
    template <class Act>
    int runDialog(Act act)
    {
        makeDialog();
        return run(*dialog, act);
    }

    // Toggles the mark of a row by keys.
    void tick(int row) const
    {
        goToRow(names, row);
        press(Qt::Key_Return);
    }
    int checkedCount() const { return static_cast<int>(checkedRows(names).size()); }

    std::unique_ptr<SETUP_SIP_ProfileDelConfirmDlg> dialog;
    UTIL_ListBox* names = nullptr;
    QCheckBox* all = nullptr;
};

// Gives labels a colour of their own as soon as they have a sibling.
class LabelPainter : public QObject
{
public:
    LabelPainter() { qApp->installEventFilter(this); }

    bool eventFilter(QObject* watched, QEvent* event) override
    {
        if (event->type() == QEvent::ChildAdded)
            for (auto* label : watched->findChildren<QLabel*>(QString(), Qt::FindDirectChildrenOnly))
                label->setPalette(QPalette(Qt::darkCyan));
        return false;
    }
};

TEST_F(DeleteDialog, PaintsTheAllBoxInTheColoursOfTheTitle)
{
    const LabelPainter painter;
    makeDialog();
    const auto* title = dialog->getDlgContent()->findChild<QLabel*>();
    ASSERT_NE(title->palette(), dialog->palette());
    EXPECT_EQ(all->palette(), title->palette());
}

TEST_F(DeleteDialog, OffersEveryProfileUntickedInTheStoresOrder)
{
    store(record("Zoe"));
    store(lockedRecord("anna"));
    store(record("Mike"));
    profiles()->setDefaultProfile("Mike");
    runDialog([this] {
        EXPECT_TRUE(names->hasFocus());
        EXPECT_EQ(names->currentItem(), 0);
        press(Qt::Key_F3);
    });
    EXPECT_EQ(rowsOf(names), QStringList({"Zoe", "anna", "Mike"}));
    EXPECT_EQ(checkedCount(), 0);
    EXPECT_FALSE(all->isChecked());
    EXPECT_EQ(row(names, 0)->columns(), "CT");
}

TEST_F(DeleteDialog, IsEmptyWhileTheCountIsBelowOne)
{
    for (const int total : {0, -1, -2}) {
        writeTotal(total);
        if (total < 0)
            store(record("A"));
        ASSERT_EQ(ScreenTest::names().size(), total < 0 ? 1 : 0);
        SETUP_SIP_ProfileDelConfirmDlg overThisStore;
        EXPECT_EQ(overThisStore.findChild<UTIL_ListBox*>()->count(), 0) << total;
        EXPECT_EQ(run(overThisStore,
                      [&overThisStore] {
                          click(overThisStore.findChild<QCheckBox*>());
                          press(Qt::Key_F1);
                      }),
                  QDialog::Accepted);
    }
}

TEST_F(DeleteDialog, DeletesTheTickedProfilesByKeysAndByPointer)
{
    for (const bool byPointer : {false, true}) {
        writeTotal(0);
        storeProfiles({"A", "B", "C", "D"});
        EXPECT_EQ(runDialog([this, byPointer] {
                      if (byPointer) {
                          for (const int row : {0, 1, 3, 0})
                              clickRow(names, row);
                      } else {
                          tick(1);
                          tick(3);
                      }
                      EXPECT_EQ(checkedRows(names), QList<int>({1, 3}));
                      EXPECT_FALSE(all->isChecked()) << "rows leave it as it is";
                      press(byPointer ? SoftKey::LEFT_CLICK : SoftKey::LEFT);
                  }),
                  QDialog::Accepted);
        EXPECT_EQ(namesInFile(), QStringList({"A", "C"}));
    }
}

TEST_F(DeleteDialog, DeletesInTheOrderOfTheRows)
{
    // A deletion by name deletes the first group of that name. The second then has the next name.
    writeFile(SAME_NAMES);
    runDialog([this] {
        tick(0);
        tick(2);
        press(Qt::Key_F1);
    });
    EXPECT_EQ(namesInFile(), QStringList({"T"}));
}

TEST_F(DeleteDialog, DeletesLockedAndDefaultProfilesToo)
{
    for (int i = 0; i < 10; ++i)
        store(i % 2 == 0 ? lockedRecord(QString::number(i)) : record(QString::number(i)));
    profiles()->setDefaultProfile("4");
    EXPECT_EQ(runDialog([this] {
                  click(all);
                  EXPECT_EQ(checkedCount(), 10);
                  press(Qt::Key_F1);
              }),
              QDialog::Accepted);
    EXPECT_EQ(namesInFile(), QStringList());
    EXPECT_EQ(profiles()->profileCount(), 0);
    EXPECT_EQ(SETUP_SIP_Agent::getDefaultProfile(), "true") << "names no profile";
}

TEST_F(DeleteDialog, DeletesAProfileThatIsShownTwiceOnce)
{
    storeProfiles({"A", "B", "C", "D"});
    profiles()->deleteProfile("B");
    runDialog([this] {
        EXPECT_EQ(rowsOf(names), QStringList({"A", "C", "C"}));
        tick(1);
        tick(2);
        press(Qt::Key_F1);
    });
    EXPECT_EQ(profiles()->profileCount(), 2);
    EXPECT_EQ(namesInFile(), QStringList({"A", "D"}));
}

TEST_F(DeleteDialog, ScrollsToTheLastRowAndDeletesItFromANewStore)
{
    storeProfiles(10);
    EXPECT_EQ(runDialog([this] {
                  tick(9);
                  EXPECT_TRUE(waitFor([this] { return isRowInSight(names, 9); }));
                  SETUP_SIP_Agent::cleanup();
                  press(Qt::Key_F1);
              }),
              QDialog::Accepted);
    EXPECT_EQ(namesInFile().size(), 9);
    EXPECT_FALSE(namesInFile().contains("Profile number 9"));
}

TEST_F(DeleteDialog, DeletesNothingWhenCancelledOrUnticked)
{
    storeProfiles(3);
    const FileIdentity before(file());
    EXPECT_EQ(runDialog([] { press(Qt::Key_F1); }), QDialog::Accepted);
    EXPECT_EQ(FileIdentity(file()), before);
    for (const SoftKey cancel : RIGHT_KEYS) {
        EXPECT_EQ(runDialog([this, cancel] {
                      click(all);
                      EXPECT_EQ(checkedCount(), 3);
                      press(cancel);
                  }),
                  QDialog::Rejected);
        EXPECT_EQ(FileIdentity(file()), before);
        EXPECT_EQ(ScreenTest::names().size(), 3);
    }
}

TEST_F(DeleteDialog, TicksAndClearsEveryRowByTheAllBox)
{
    storeProfiles(3);
    const auto expectAll = [this](bool on) {
        EXPECT_EQ(all->isChecked(), on);
        EXPECT_EQ(checkedCount(), on ? 3 : 0);
    };
    runDialog([this, expectAll] {
        for (int i = 0; i < 3 && !all->hasFocus(); ++i)
            press(Qt::Key_Tab);
        ASSERT_TRUE(all->hasFocus());
        for (const bool on : {true, false}) {
            press(Qt::Key_Return);
            expectAll(on);
        }
        for (const bool on : {true, false}) {
            all->setChecked(on);
            expectAll(on);
        }
        // Rows that were ticked one by one are cleared, too.
        click(all);
        clickRow(names, 1);
        EXPECT_EQ(checkedRows(names), QList<int>({0, 2}));
        clickRow(names, 1);
        click(all);
        expectAll(false);
        clickRow(names, 1);
        click(all);
        expectAll(true);
        press(Qt::Key_F3);
    });
}

TEST_F(DeleteDialog, DeletesWithoutCallingTheDaemon)
{
    storeProfiles({"A"});
    // A call without a daemon writes to standard error.
    EXPECT_EQ(diagnosticsOf([this] {
                  runDialog([this] {
                      tick(0);
                      press(Qt::Key_F1);
                  });
              }),
              std::vector<std::string>());
    EXPECT_EQ(namesInFile(), QStringList());
}

class SelectDialog : public ScreenTest
{
protected:
    void makeDialog(const QString& profile)
    {
        dialog.reset();
        QString given = profile;
        dialog.reset(new SETUP_SIP_ProfileSelectDlg(given, nullptr, nullptr));
        EXPECT_EQ(given, profile);
        names = dialog->findChild<UTIL_ListBox*>();
    }
    template <class Act>
    int runDialog(Act act)
    {
        return run(*dialog, act);
    }

    std::unique_ptr<SETUP_SIP_ProfileSelectDlg> dialog;
    UTIL_ListBox* names = nullptr;
};

TEST_F(SelectDialog, ShowsEveryProfileInTheStoresOrder)
{
    storeProfiles({"Zoe", "anna", QStringLiteral("שלום 電話 😀 &<b>")});
    makeDialog("Profile2");
    EXPECT_EQ(rowsOf(names), ScreenTest::names());
    EXPECT_EQ(rowsOf(names).size(), 3);
    EXPECT_EQ(row(names, 0)->columns(), "RT");
    EXPECT_EQ(checkedRows(names), QList<int>({2}));
    EXPECT_EQ(dialog->getSelectedProfile(), "Profile2");
}

TEST_F(SelectDialog, MarksNothingForAnUnknownNameAndReturnsIt)
{
    storeProfiles({"A", "B"});
    for (const char* name : {"", "Profile7", "A", "profile0", "SystemDefault", "true"}) {
        makeDialog(name);
        EXPECT_EQ(checkedRows(names), QList<int>()) << name;
        EXPECT_EQ(dialog->getSelectedProfile(), name);
        EXPECT_EQ(runDialog([this] {
                      EXPECT_TRUE(names->hasFocus());
                      EXPECT_EQ(names->currentItem(), 0);
                      press(Qt::Key_F1);
                  }),
                  QDialog::Accepted);
        EXPECT_EQ(dialog->getSelectedProfile(), name);
    }
}

TEST_F(SelectDialog, IsEmptyWhileTheCountIsBelowOne)
{
    for (const int total : {0, -1, -2}) {
        dialog.reset();
        writeTotal(total);
        if (total < 0)
            store(record("A"));
        ASSERT_EQ(ScreenTest::names().size(), total < 0 ? 1 : 0);
        makeDialog("Profile0");
        EXPECT_EQ(rowsOf(names), QStringList()) << total;
        EXPECT_EQ(runDialog([] { press(Qt::Key_F1); }), QDialog::Accepted);
        EXPECT_EQ(dialog->getSelectedProfile(), "Profile0");
    }
}

TEST_F(SelectDialog, ReturnsTheGroupOfTheProfileChosenByKeys)
{
    storeProfiles({"A", "B", "C"});
    makeDialog("Profile0");
    EXPECT_EQ(runDialog([] {
                  for (const Qt::Key key : {Qt::Key_Down, Qt::Key_Down, Qt::Key_Return, Qt::Key_F1})
                      press(key);
              }),
              QDialog::Accepted);
    for (int i = 0; i < 2; ++i)
        EXPECT_EQ(dialog->getSelectedProfile(), "Profile2");
    names->checkItem(2, false);
    EXPECT_EQ(dialog->getSelectedProfile(), "Profile2") << "it keeps the last choice";
}

TEST_F(SelectDialog, ReturnsTheLastOfSeveralMarkedProfiles)
{
    storeProfiles({"A", "B"});
    makeDialog("");
    names->clear();
    for (const char* name : {"A", "B"}) {
        auto* marked = new UTIL_ListBoxItem(names, "%R%T", true);
        marked->setString(1, name);
        names->insertItem(marked, -1);
    }
    ASSERT_EQ(checkedRows(names), QList<int>({0, 1}));
    EXPECT_EQ(dialog->getSelectedProfile(), "Profile1");
}

TEST_F(SelectDialog, ReturnsTheGroupNotTheNumberOfTheRow)
{
    storeProfiles({"A", "B"});
    profiles()->deleteProfile("A");
    store(record("C")); // in Profile0, which is free again
    makeDialog("Profile1");
    EXPECT_EQ(rowsOf(names), QStringList({"B", "C"}));
    EXPECT_EQ(checkedRows(names), QList<int>({0}));
    runDialog([this] {
        press(Qt::Key_Down);
        EXPECT_EQ(dialog->getSelectedProfile(), "Profile1") << "the current row is not the marked one";
        clickRow(names, 1);
        press(Qt::Key_F1);
    });
    EXPECT_EQ(dialog->getSelectedProfile(), "Profile0");
}

TEST_F(SelectDialog, LooksAtAsManyRowsAsTheStoreCounts)
{
    storeProfiles({"A", "B", "C"});
    makeDialog("Profile0");
    names->checkItem(2, true);
    profiles()->deleteProfile("A");
    EXPECT_EQ(dialog->getSelectedProfile(), "Profile0") << "the third row is not looked at";
    storeProfiles({"D", "E"}); // more than there are rows
    EXPECT_EQ(dialog->getSelectedProfile(), "Profile2");
}

TEST_F(SelectDialog, KeepsOneMarkAtATime)
{
    storeProfiles(10);
    makeDialog("Profile2");
    EXPECT_EQ(runDialog([this] {
                  for (const int row : {5, 9, 9}) {
                      clickRow(names, row);
                      EXPECT_EQ(checkedRows(names), QList<int>({row}));
                  }
                  press(SoftKey::LEFT_CLICK);
              }),
              QDialog::Accepted);
    EXPECT_EQ(dialog->getSelectedProfile(), "Profile9");
}

TEST_F(SelectDialog, OpensOnTheMarkedRowAndKeepsItAfterCancel)
{
    storeProfiles(10);
    for (const SoftKey cancel : RIGHT_KEYS) {
        makeDialog("Profile9");
        EXPECT_EQ(runDialog([this, cancel] {
                      EXPECT_TRUE(names->hasFocus());
                      EXPECT_EQ(names->currentItem(), 9);
                      EXPECT_TRUE(waitFor([this] { return isRowInSight(names, 9); }));
                      press(cancel);
                  }),
                  QDialog::Rejected);
        EXPECT_EQ(dialog->getSelectedProfile(), "Profile9");
    }
}

TEST_F(SelectDialog, MarksOnlyTheLastOfTwoProfilesOfOneName)
{
    writeFile(SAME_NAMES);
    for (const char* group : {"Profile0", "Profile1"}) {
        makeDialog(group);
        EXPECT_EQ(checkedRows(names), QList<int>({1}));
        // A name stands for the first profile that has it.
        EXPECT_EQ(dialog->getSelectedProfile(), "Profile0");
    }
}

TEST_F(SelectDialog, DropsTheStoreWhenItIsDeleted)
{
    storeProfiles({"A"});
    makeDialog("");
    writeFile("[ProfileSummary]\nTotalProfile=1\n[Profile0]\nDisplayName=changed\n");
    EXPECT_EQ(ScreenTest::names(), QStringList({"A"}));
    dialog.reset();
    EXPECT_EQ(ScreenTest::names(), QStringList({"changed"}));
}

TEST_F(SelectDialog, LeavesAnOpenListScreenInWorkingOrder)
{
    storeProfiles(2);
    openList();
    makeDialog("Profile0");
    runDialog([] { press(Qt::Key_F1); });
    dialog.reset();
    ASSERT_EQ(top(), list.get());
    inDeleteDialog([](QDialog&) {
        press(Qt::Key_Return);
        press(Qt::Key_F1);
    });
    EXPECT_EQ(listBox->count(), 1);
    EXPECT_EQ(namesInFile(), QStringList({"Profile number 1"}));
}

} // namespace
