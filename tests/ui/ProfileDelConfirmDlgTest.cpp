#include "Diagnostics.h"
#include "OrmuGlobal.h"
#include "OrmuPushButton.h"
#include "ProfileScreenTest.h"
#include "SETUP_SIP_ProfileDelConfirmDlg.h"
#include "UTIL_DlgCST.h"
#include "UTIL_ListBox.h"

#include <QLabel>
#include <QPointer>

using namespace ScreenDriver;

namespace {

class ProfileDelConfirmDlg : public ProfileScreenTest
{
protected:
    // Makes the dialog over what the test has stored, which is read from the file.
    void makeDialog()
    {
        SETUP_SIP_Agent::cleanup();
        dialog = std::make_unique<SETUP_SIP_ProfileDelConfirmDlg>();
        list = dialog->findChild<UTIL_ListBox*>();
        all = dialog->findChild<QCheckBox*>();
        softKeys = dialog->findChild<UTIL_DlgCST*>();
    }

    // Runs the dialog and has act done once it has the keys; act ends it.
    template <class Act>
    int run(Act act)
    {
        if (dialog == nullptr)
            makeDialog();
        const auto answer =
            onceOpen<SETUP_SIP_ProfileDelConfirmDlg>([act](SETUP_SIP_ProfileDelConfirmDlg&) { act(); });
        return dialog->exec();
    }

    QStringList rows() const
    {
        QStringList names;
        for (int i = 0; i < list->count(); ++i)
            names += static_cast<UTIL_ListBoxItem*>(list->item(i))->getString(1);
        return names;
    }

    int checkedRows() const
    {
        int checked = 0;
        for (int i = 0; i < list->count(); ++i)
            checked += list->itemChecked(i) ? 1 : 0;
        return checked;
    }

    // Turns the mark of a row over, from the list's current row, with the arrows and the centre key.
    void tick(int row) const
    {
        while (list->currentItem() < row)
            press(Qt::Key_Down);
        while (list->currentItem() > row)
            press(Qt::Key_Up);
        press(Qt::Key_Return);
    }

    std::unique_ptr<SETUP_SIP_ProfileDelConfirmDlg> dialog;
    UTIL_ListBox* list = nullptr;
    QCheckBox* all = nullptr;
    UTIL_DlgCST* softKeys = nullptr;
};

TEST_F(ProfileDelConfirmDlg, ShowsItsTitleOnTheTitleStrip)
{
    makeDialog();
    const auto* title = dialog->getDlgContent()->findChild<QLabel*>();
    ASSERT_NE(title, nullptr);
    EXPECT_EQ(title->text(), "Delete");
    EXPECT_EQ(title->indent(), 5);
    EXPECT_EQ(title->geometry(),
              OrmuGlobal::diffRect(OrmuGlobal::getDlgLargeR(), OrmuGlobal::getDlgTitleLR()));
    EXPECT_EQ(title->parentWidget(), dialog->getDlgContent());
}

TEST_F(ProfileDelConfirmDlg, HasTheAllBoxAtTheRightEndOfTheTitleStrip)
{
    makeDialog();
    const auto* title = dialog->getDlgContent()->findChild<QLabel*>();
    EXPECT_EQ(all->text(), "All");
    EXPECT_EQ(all->geometry(), QRect(155, 0, title->width() - 155, OrmuGlobal::getDlgTitleLR().height()));
    EXPECT_EQ(all->parentWidget(), dialog->getDlgContent());
    EXPECT_FALSE(all->isChecked());
}

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

TEST_F(ProfileDelConfirmDlg, HasTheAllBoxInTheColoursOfTheTitle)
{
    const LabelPainter painter;
    makeDialog();
    const auto* title = dialog->getDlgContent()->findChild<QLabel*>();
    ASSERT_NE(title->palette(), dialog->palette());
    EXPECT_EQ(all->palette(), title->palette());
}

TEST_F(ProfileDelConfirmDlg, FillsTheContentBelowTheTitleWithTheList)
{
    makeDialog();
    const QRect title = OrmuGlobal::getDlgTitleLR();
    const QWidget* content = dialog->getDlgContent();
    EXPECT_EQ(list->geometry(),
              QRect(0, title.height(), content->width(), content->height() - title.height()));
    EXPECT_EQ(list->parentWidget(), content);
}

TEST_F(ProfileDelConfirmDlg, HasOkAndCancelOnItsSoftKeys)
{
    makeDialog();
    EXPECT_EQ(softKeys->getBtn1()->text(), "OK");
    EXPECT_EQ(softKeys->getBtn2()->text(), "Cancel");
    EXPECT_EQ(dialog->parentWidget(), nullptr);
    EXPECT_EQ(dialog->objectName(), "");
}

TEST_F(ProfileDelConfirmDlg, TakesTheParentAndTheNameItIsGiven)
{
    QWidget parent;
    const SETUP_SIP_ProfileDelConfirmDlg child(&parent, "delete");
    EXPECT_EQ(child.parentWidget(), &parent);
    EXPECT_EQ(child.objectName(), "delete");
}

TEST_F(ProfileDelConfirmDlg, OffersEveryProfileInTheStoresOrderUnticked)
{
    storeProfile("Zoe");
    SIP_PROFILE_CONTENT locked = usableRecord("anna");
    locked.locked = true;
    store(locked);
    storeProfile("Mike");
    SETUP_SIP_Agent::instance()->setDefaultProfile("Mike");
    makeDialog();
    EXPECT_EQ(rows(), QStringList({"Zoe", "anna", "Mike"}));
    EXPECT_EQ(checkedRows(), 0);
    EXPECT_EQ(static_cast<UTIL_ListBoxItem*>(list->item(0))->columns(), "CT");
}

TEST_F(ProfileDelConfirmDlg, IsEmptyWithoutProfilesAndStillAccepts)
{
    EXPECT_EQ(run([] { press(Qt::Key_F1); }), QDialog::Accepted);
    EXPECT_EQ(list->count(), 0);
}

TEST_F(ProfileDelConfirmDlg, IsEmptyWhenTheCountIsBelowOne)
{
    writeFile("[ProfileSummary]\nTotalProfile=-1\n[Profile0]\nDisplayName=A\n");
    EXPECT_EQ(run([this] {
                  click(all);
                  press(Qt::Key_F1);
              }),
              QDialog::Accepted);
    EXPECT_EQ(list->count(), 0);
    EXPECT_EQ(profileInFile("Profile0").displayName, "A");
}

TEST_F(ProfileDelConfirmDlg, IsEmptyWhenTheCountIsBelowOneThoughThereAreNames)
{
    for (const int total : {-1, -2}) {
        SETUP_SIP_Agent::cleanup();
        writeFile("[ProfileSummary]\nTotalProfile=" + QByteArray::number(total) + "\n");
        storeProfile("A");
        ASSERT_EQ(profileNames(), QStringList({"A"}));
        const SETUP_SIP_ProfileDelConfirmDlg overThisStore;
        EXPECT_EQ(overThisStore.findChild<UTIL_ListBox*>()->count(), 0) << total;
    }
}

TEST_F(ProfileDelConfirmDlg, DeletesInTheOrderOfTheRows)
{
    // A name stands for the first profile that has it, and deleting it takes the names of all that have it:
    // the one behind then answers to the next name.
    writeFile("[ProfileSummary]\nTotalProfile=3\n[Profile0]\nDisplayName=S\n[Profile1]\nDisplayName=S\n"
              "[Profile2]\nDisplayName=T\n");
    run([this] {
        tick(0);
        tick(2);
        press(Qt::Key_F1);
    });
    EXPECT_EQ(namesInFile(), QStringList({"T"}));
}

TEST_F(ProfileDelConfirmDlg, DeletesTheTickedProfilesByKeysAlone)
{
    for (const char* name : {"A", "B", "C", "D"})
        storeProfile(name);
    EXPECT_EQ(run([this] {
                  tick(1);
                  tick(3);
                  EXPECT_EQ(checkedRows(), 2);
                  press(Qt::Key_F1);
              }),
              QDialog::Accepted);
    EXPECT_EQ(namesInFile(), QStringList({"A", "C"}));
}

TEST_F(ProfileDelConfirmDlg, DeletesTheTickedProfilesByPointer)
{
    for (const char* name : {"A", "B", "C"})
        storeProfile(name);
    EXPECT_EQ(run([this] {
                  clickRow(list, 0);
                  clickRow(list, 1);
                  clickRow(list, 0);
                  click(softKeys->getBtn1());
              }),
              QDialog::Accepted);
    EXPECT_EQ(namesInFile(), QStringList({"A", "C"}));
}

TEST_F(ProfileDelConfirmDlg, DeletesTheOneProfileThereIs)
{
    storeProfile("only");
    EXPECT_EQ(run([this] {
                  tick(0);
                  press(Qt::Key_F1);
              }),
              QDialog::Accepted);
    EXPECT_EQ(namesInFile(), QStringList());
    EXPECT_EQ(SETUP_SIP_Agent::instance()->profileCount(), 0);
}

TEST_F(ProfileDelConfirmDlg, DeletesLockedAndDefaultProfilesToo)
{
    for (int i = 0; i < 10; ++i) {
        SIP_PROFILE_CONTENT record = usableRecord(QString("Profile number %1").arg(i));
        record.locked = i % 2 == 0;
        store(record);
    }
    SETUP_SIP_Agent::instance()->setDefaultProfile("Profile number 4");
    EXPECT_EQ(run([this] {
                  click(all);
                  EXPECT_EQ(checkedRows(), 10);
                  press(Qt::Key_F1);
              }),
              QDialog::Accepted);
    EXPECT_EQ(namesInFile(), QStringList());
    EXPECT_EQ(SETUP_SIP_Agent::getDefaultProfile(), "true") << "names no profile";
}

TEST_F(ProfileDelConfirmDlg, DeletesAProfileThatIsShownTwiceOnce)
{
    for (const char* name : {"A", "B", "C", "D"})
        storeProfile(name);
    SETUP_SIP_Agent::instance()->deleteProfile("B");
    EXPECT_EQ(run([this] {
                  EXPECT_EQ(rows(), QStringList({"A", "C", "C"}));
                  tick(1);
                  tick(2);
                  press(Qt::Key_F1);
              }),
              QDialog::Accepted);
    EXPECT_EQ(SETUP_SIP_Agent::instance()->profileCount(), 2);
    EXPECT_EQ(namesInFile(), QStringList({"A", "D"}));
}

TEST_F(ProfileDelConfirmDlg, DeletesAfterTheLastRowWasTickedFarDownTheList)
{
    storeProfiles(10);
    EXPECT_EQ(run([this] {
                  tick(9);
                  EXPECT_TRUE(waitFor([this] {
                      return list->viewport()->rect().contains(list->visualItemRect(list->item(9)));
                  }));
                  press(Qt::Key_F1);
              }),
              QDialog::Accepted);
    EXPECT_EQ(namesInFile().size(), 9);
    EXPECT_FALSE(namesInFile().contains("Profile number 9"));
}

TEST_F(ProfileDelConfirmDlg, AcceptsWithNothingTickedAndDeletesNothing)
{
    storeProfile("A");
    const FileIdentity before(file());
    EXPECT_EQ(run([] { press(Qt::Key_F1); }), QDialog::Accepted);
    EXPECT_EQ(FileIdentity(file()), before);
}

TEST_F(ProfileDelConfirmDlg, DeletesNothingWhenItIsCancelled)
{
    storeProfiles(3);
    const FileIdentity before(file());
    for (const auto cancel :
         {+[](UTIL_DlgCST*) { press(Qt::Key_F3); }, +[](UTIL_DlgCST*) { press(Qt::Key_Escape); },
          +[](UTIL_DlgCST* keys) { click(keys->getBtn2()); }}) {
        makeDialog();
        EXPECT_EQ(run([this, cancel] {
                      click(all);
                      EXPECT_EQ(checkedRows(), 3);
                      cancel(softKeys);
                  }),
                  QDialog::Rejected);
        EXPECT_EQ(FileIdentity(file()), before);
        EXPECT_EQ(profileNames().size(), 3);
    }
}

TEST_F(ProfileDelConfirmDlg, TicksAndClearsEveryRowByTheAllBoxAndKeysAlone)
{
    storeProfiles(3);
    run([this] {
        for (int i = 0; i < 3 && !all->hasFocus(); ++i)
            press(Qt::Key_Tab);
        ASSERT_TRUE(all->hasFocus());
        press(Qt::Key_Return);
        EXPECT_TRUE(all->isChecked());
        EXPECT_EQ(checkedRows(), 3);
        press(Qt::Key_Return);
        EXPECT_FALSE(all->isChecked());
        EXPECT_EQ(checkedRows(), 0);
        press(Qt::Key_F3);
    });
}

TEST_F(ProfileDelConfirmDlg, FollowsTheAllBoxHoweverItIsTicked)
{
    storeProfiles(2);
    makeDialog();
    all->setChecked(true);
    EXPECT_EQ(checkedRows(), 2);
    all->setChecked(false);
    EXPECT_EQ(checkedRows(), 0);
}

TEST_F(ProfileDelConfirmDlg, ClearsRowsThatWereTickedOneByOneWhenTheAllBoxIsCleared)
{
    storeProfiles(3);
    run([this] {
        click(all);
        clickRow(list, 1);
        EXPECT_EQ(checkedRows(), 2);
        clickRow(list, 1);
        EXPECT_EQ(checkedRows(), 3);
        click(all);
        EXPECT_EQ(checkedRows(), 0);
        clickRow(list, 1);
        click(all);
        EXPECT_EQ(checkedRows(), 3);
        press(Qt::Key_F3);
    });
}

TEST_F(ProfileDelConfirmDlg, LeavesTheAllBoxAsItIsWhenRowsAreTickedOneByOne)
{
    storeProfiles(2);
    run([this] {
        clickRow(list, 0);
        clickRow(list, 1);
        EXPECT_FALSE(all->isChecked());
        press(Qt::Key_F3);
    });
}

TEST_F(ProfileDelConfirmDlg, DeletesWithoutTalkingToTheDaemon)
{
    storeProfile("A");
    // Whoever calls the daemon without one says so on standard error.
    EXPECT_EQ(diagnosticsOf([this] {
                  run([this] {
                      tick(0);
                      press(Qt::Key_F1);
                  });
              }),
              std::vector<std::string>());
    EXPECT_EQ(namesInFile(), QStringList());
}

TEST_F(ProfileDelConfirmDlg, HasTheKeysOnItsFirstRowOnceItIsShown)
{
    storeProfiles(2);
    run([this] {
        EXPECT_TRUE(list->hasFocus());
        EXPECT_EQ(list->currentItem(), 0);
        press(Qt::Key_F3);
    });
}

TEST_F(ProfileDelConfirmDlg, MayBeDeletedOnceExecReturnedOrWhileItRuns)
{
    for (const auto end :
         {+[](UTIL_DlgCST*) { press(Qt::Key_F1); }, +[](UTIL_DlgCST* keys) { click(keys->getBtn1()); },
          +[](UTIL_DlgCST*) { press(Qt::Key_Escape); }, +[](UTIL_DlgCST* keys) { click(keys->getBtn2()); }}) {
        storeProfiles(2);
        run([this, end] {
            click(all);
            end(softKeys);
        });
        dialog.reset();
        EXPECT_EQ(open<QWidget>(), nullptr);
    }
    EXPECT_EQ(run([this] { dialog.reset(); }), QDialog::Rejected);
}

TEST_F(ProfileDelConfirmDlg, DeletesFromTheStoreThatThereIsWhenItsOwnIsGone)
{
    storeProfiles(2);
    EXPECT_EQ(run([this] {
                  tick(0);
                  SETUP_SIP_Agent::cleanup();
                  press(Qt::Key_F1);
              }),
              QDialog::Accepted);
    EXPECT_EQ(namesInFile(), QStringList({"Profile number 1"}));
}

} // namespace
