// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

// Screens that are deleted inside slots that their own children called, or in an event loop of their own.
#include "EditForm.h"
#include "OrmuMessageBox.h"
#include "SETUP_SIP_ConnectDlg.h"
#include "SETUP_SIP_ProfileDelConfirmDlg.h"
#include "SETUP_SIP_ProfileDetail.h"
#include "SETUP_SIP_ProfileEdit.h"
#include "SETUP_SIP_ProfileSelectDlg.h"
#include "SETUP_SIP_UserIDAndPasswordDlg.h"
#include "ScreenTest.h"
#include "UTIL_ListBox.h"
#include "qpopupmenu.h"

#include <optional>
#include <ostream>

namespace {

class ScreenDeletion : public ScreenTest
{
public:
    ScreenDeletion()
    {
        storeProfiles({"A", "B"});
        profile = guardedRecord("A");
    }
    ~ScreenDeletion() override { closeAll(); }

    // Takes over the screen, shows it and deletes it when it reports.
    template <class Screen, class... Arguments>
    void open(Screen* made, void (Screen::*done)(Arguments...))
    {
        screen = made;
        QObject::connect(made, done, [this] {
            ++reports;
            delete screen;
        });
        made->show();
    }
    void openListScreen()
    {
        openList();
        screen = list.release();
        QObject::disconnect(screen, SIGNAL(SIPClose()), nullptr, nullptr);
        open(static_cast<SETUP_SIP_ProfileListBase*>(screen.data()), &SETUP_SIP_ProfileListBase::SIPClose);
    }
    void openDetail()
    {
        screen = new SETUP_SIP_ProfileDetail("A");
        screen->show();
    }
    void openEdit(const QString& typed = QString())
    {
        open(new SETUP_SIP_ProfileEdit(QString()), &SETUP_SIP_ProfileEdit::editDone);
        type(typed);
    }
    void openPrompt(QString password)
    {
        QString user("me");
        open(new SETUP_SIP_UserIDAndPasswordDlg(user, password, true, profile),
             &SETUP_SIP_UserIDAndPasswordDlg::inputDone);
    }
    void openConnectDlg()
    {
        QString name("A");
        auto* dialog = new SETUP_SIP_ConnectDlg(SETUP_SIP_ConnectDlg::OP_CONNECT, name, nullptr, nullptr);
        open(dialog, &SETUP_SIP_ConnectDlg::connectDone);
        dialog->startConnect();
    }

    SIP_PROFILE_CONTENT profile;
    QPointer<QWidget> screen; // the one that is deleted
    int reports = 0;
};

template <class T>
bool isOpen()
{
    return ScreenDriver::open<T>() != nullptr;
}

// A screen that the receiver of its report deletes. Each key and each answer is used at least once.
struct Report
{
    const char* name;
    const char* scenario;
    void (*open)(ScreenDeletion& test);
    std::vector<SoftKey> keys;
    std::vector<SoftKey> answers; // to its message box, in turn
};

void PrintTo(const Report& report, std::ostream* out)
{
    *out << report.name;
}

const std::vector<SoftKey> BACK(std::begin(RIGHT_KEYS), std::end(RIGHT_KEYS));
const std::vector<SoftKey> MIDDLE = {SoftKey::MIDDLE, SoftKey::MIDDLE_CLICK};
const std::vector<SoftKey> LEFT = {SoftKey::LEFT, SoftKey::LEFT_CLICK};

const Report REPORTS[] = {
    {"ListOnBack", "admit", [](ScreenDeletion& t) { t.openListScreen(); }, BACK, {}},
    {"EditOnBack", "admit", [](ScreenDeletion& t) { t.openEdit(); }, BACK, {}},
    {"EditOnExit", "admit", [](ScreenDeletion& t) { t.openEdit("x"); }, BACK, LEFT},
    {"EditOnSave",
     "admit",
     [](ScreenDeletion& t) {
         t.openEdit();
         EditForm(static_cast<OrmuMainWidget*>(t.screen.data())).enterAll(QString("C%1").arg(t.reports));
     },
     MIDDLE,
     {}},
    {"PromptOnBack", "admit", [](ScreenDeletion& t) { t.openPrompt("secret"); }, BACK, {}},
    {"PromptOnOk", "admit", [](ScreenDeletion& t) { t.openPrompt("secret"); }, MIDDLE, {}},
    {"PromptOnCancel",
     "admit",
     [](ScreenDeletion& t) { t.openPrompt("wrong"); },
     MIDDLE,
     {SoftKey::RIGHT, SoftKey::RIGHT_CLICK}},
    {"ConnectDlgOnCancel", "late:60000", [](ScreenDeletion& t) { t.openConnectDlg(); }, BACK, {}},
};

class InItsReport : public ScreenDeletion, public testing::WithParamInterface<Report>
{
};

TEST_P(InItsReport, IsSafe)
{
    play(GetParam().scenario);
    const std::vector<SoftKey>& answers = GetParam().answers;
    for (const SoftKey key : GetParam().keys) {
        const auto run = static_cast<size_t>(reports);
        GetParam().open(*this);
        std::optional<ScreenDriver::Expected> box;
        if (!answers.empty())
            box.emplace(isOpen<OrmuMessageBox>, [answer = answers[run % answers.size()]] { press(answer); });
        press(key);
        EXPECT_EQ(screen, nullptr);
        EXPECT_EQ(reports, run + 1);
        EXPECT_EQ(top(), nullptr);
    }
}

INSTANTIATE_TEST_SUITE_P(Deletion, InItsReport, testing::ValuesIn(REPORTS),
                         [](const auto& tested) { return std::string(tested.param.name); });

// A screen that its host deletes while a menu or a box of it is open.
struct Moment
{
    const char* name;
    const char* scenario;
    void (*open)(ScreenDeletion& test);
    void (*ask)(ScreenDeletion& test); // opens the menu or the box
    bool (*isOpen)();
    std::vector<Qt::Key> answers; // after the deletion
};

void PrintTo(const Moment& moment, std::ostream* out)
{
    *out << moment.name;
}

void pressMenuKey(ScreenDeletion&)
{
    press(Qt::Key_Menu);
}
void pressMiddle(ScreenDeletion&)
{
    press(Qt::Key_F2);
}
void chooseConnect(ScreenDeletion&)
{
    ScreenTest::chooseInRowMenu("Connect");
    ScreenTest::finishConnecting();
}
template <const char* ENTRY>
void choose(ScreenDeletion& t)
{
    qobject_cast<SETUP_SIP_ProfileDetail*>(t.screen) == nullptr ? ScreenTest::chooseInRowMenu(ENTRY)
                                                                : ScreenTest::chooseInMenu(ENTRY);
}
constexpr char DELETE[] = "Delete Profile";
constexpr char DISCONNECT[] = "Disconnect";
void saveEdit(ScreenDeletion&)
{
    ScreenTest::chooseInMenu("Edit");
    press(Qt::Key_F2);
}
template <class Dialog>
void execDialog(ScreenDeletion& t)
{
    EXPECT_EQ(static_cast<QDialog*>(t.screen.data())->exec(), QDialog::Rejected);
}

const auto LIST = [](ScreenDeletion& t) { t.openListScreen(); };
const auto DETAIL = [](ScreenDeletion& t) { t.openDetail(); };
const std::vector<Qt::Key> YES_OR_NO = {Qt::Key_F1, Qt::Key_F3};

const Moment MOMENTS[] = {
    {"ListInItsMainMenu",
     "admit",
     LIST,
     [](ScreenDeletion&) { press(Qt::Key_F1); },
     isOpen<QPopupMenu>,
     {Qt::Key_Return, Qt::Key_F1}},
    {"ListInItsRowMenu", "admit", LIST, pressMenuKey, isOpen<QPopupMenu>, {Qt::Key_Return, Qt::Key_Escape}},
    {"ListInItsDeleteQuestion", "status:2", LIST, choose<DELETE>, isOpen<OrmuMessageBox>, YES_OR_NO},
    {"ListInItsDisconnectQuestion", "status:2", LIST, choose<DISCONNECT>, isOpen<OrmuMessageBox>, YES_OR_NO},
    {"ListInItsDeleteDialog",
     "admit",
     LIST,
     [](ScreenDeletion&) { ScreenTest::chooseInMenu("Delete Profiles"); },
     isOpen<SETUP_SIP_ProfileDelConfirmDlg>,
     {Qt::Key_F1, Qt::Key_F3, Qt::Key_Escape}},
    {"ListInItsSuccessNotice", "ack:0", LIST, chooseConnect, isOpen<OrmuMessageBox>, {Qt::Key_F2}},
    {"ListInItsFailureNotice", "ack:1", LIST, chooseConnect, isOpen<OrmuMessageBox>, {Qt::Key_F2}},
    {"DetailInItsDeleteQuestion", "status:2", DETAIL, choose<DELETE>, isOpen<OrmuMessageBox>, YES_OR_NO},
    {"DetailInItsDisconnectQuestion", "status:2", DETAIL, choose<DISCONNECT>, isOpen<OrmuMessageBox>,
     YES_OR_NO},
    {"DetailInItsReconnectQuestion", "status:2", DETAIL, saveEdit, isOpen<OrmuMessageBox>, YES_OR_NO},
    {"EditInItsRefusal",
     "admit",
     [](ScreenDeletion& t) { t.openEdit(); },
     pressMiddle,
     isOpen<OrmuMessageBox>,
     {Qt::Key_F2}},
    {"EditInItsQuestion", "admit", [](ScreenDeletion& t) { t.openEdit("x"); },
     [](ScreenDeletion&) { press(Qt::Key_F3); }, isOpen<OrmuMessageBox>, YES_OR_NO},
    {"PromptInItsMessage", "admit", [](ScreenDeletion& t) { t.openPrompt("wrong"); }, pressMiddle,
     isOpen<OrmuMessageBox>, YES_OR_NO},
    {"DeleteDialogInExec",
     "admit",
     [](ScreenDeletion& t) { t.screen = new SETUP_SIP_ProfileDelConfirmDlg; },
     execDialog<SETUP_SIP_ProfileDelConfirmDlg>,
     isOpen<SETUP_SIP_ProfileDelConfirmDlg>,
     {Qt::Key_F1}},
    {"SelectDialogInExec",
     "admit",
     [](ScreenDeletion& t) {
         QString group;
         t.screen = new SETUP_SIP_ProfileSelectDlg(group, nullptr, nullptr);
     },
     execDialog<SETUP_SIP_ProfileSelectDlg>,
     isOpen<SETUP_SIP_ProfileSelectDlg>,
     {Qt::Key_F1}},
};

class InItsLoop : public ScreenDeletion, public testing::WithParamInterface<Moment>
{
};

TEST_P(InItsLoop, IsSafeAndEndsTheAction)
{
    for (const Qt::Key answer : GetParam().answers) {
        play(GetParam().scenario);
        GetParam().open(*this);
        QByteArray before;
        QList<int> sent;
        bool deleted = false;
        {
            const ScreenDriver::Expected deletion(GetParam().isOpen, [&] {
                before = readFile();
                sent = requests();
                delete screen;
                deleted = true;
                press(answer);
            });
            GetParam().ask(*this);
            EXPECT_TRUE(waitFor([&deleted] { return deleted; }));
        }
        EXPECT_EQ(screen, nullptr);
        EXPECT_EQ(top(), nullptr);
        EXPECT_EQ(reports, 0) << "a screen that is gone reports nothing";
        EXPECT_EQ(readFile(), before);
        EXPECT_EQ(requests(), sent);
    }
}

INSTANTIATE_TEST_SUITE_P(Deletion, InItsLoop, testing::ValuesIn(MOMENTS),
                         [](const auto& tested) { return std::string(tested.param.name); });

TEST_F(ScreenDeletion, OfAConnectDialogFollowsItsNotice)
{
    for (const char* scenario : {"ack:0", "ack:1"}) {
        play(scenario);
        openConnectDlg();
        dismissNotice();
        EXPECT_EQ(screen, nullptr);
        EXPECT_EQ(top(), nullptr);
    }
}

TEST_F(ScreenDeletion, OfTheListDeletesItsConnectDialog)
{
    play("late:60000");
    openList();
    chooseInRowMenu("Connect");
    const QPointer<SETUP_SIP_ConnectDlg> dialog = ScreenDriver::open<SETUP_SIP_ConnectDlg>();
    ASSERT_NE(dialog, nullptr);
    list.reset();
    EXPECT_EQ(dialog, nullptr);
    EXPECT_TRUE(daemon().waitForClosed(2)) << "the connection has ended, too";
}

TEST_F(ScreenDeletion, OfRowsIsSafeInTheirOwnMenu)
{
    openList();
    const std::pair<std::function<void()>, const char*> touches[] = {
        {[this] { longPress(listBox, 1); }, "B"},
        {[this] { clickRow(listBox, 0, Qt::RightButton); }, "A"},
        {[this] {
             goToRow(1);
             press(Qt::Key_Menu);
         },
         "B"}};
    for (const auto& [touch, name] : touches) {
        const auto choose = onceOpen<QPopupMenu>([](QPopupMenu&) { chooseEntry("Set as default"); });
        touch();
        EXPECT_TRUE(waitFor([name = name] { return isDefault(name); })) << name;
    }
    const BoxAnswers answers({Qt::Key_F1});
    chooseInRowMenu("Delete Profile");
    EXPECT_EQ(rows(), QStringList({"B"}));
}

TEST_F(ScreenDeletion, OfTheListLeavesItsDeleteDialogWorking)
{
    for (const SoftKey ok : LEFT) {
        writeTotal(0);
        storeProfiles(2);
        openList();
        inDeleteDialog([this, ok](QDialog&) {
            list.reset();
            press(Qt::Key_Return);
            press(ok);
        });
        EXPECT_EQ(top(), nullptr);
        EXPECT_EQ(namesInFile(), QStringList({"Profile number 1"}));
    }
}

TEST_F(ScreenDeletion, OfTheListLeavesItsEditScreenWorking)
{
    openList();
    chooseInMenu("New Profile");
    const QPointer<SETUP_SIP_ProfileEdit> edit = ScreenDriver::open<SETUP_SIP_ProfileEdit>();
    type("x");
    {
        const auto refused = onceOpen<OrmuMessageBox>([this](OrmuMessageBox&) {
            list.reset();
            press(Qt::Key_F2);
        });
        press(Qt::Key_F2);
    }
    ASSERT_EQ(top(), edit);
    const BoxAnswers answers({Qt::Key_F3, Qt::Key_F1});
    press(Qt::Key_F3);
    EditForm(edit).enterAll("Home");
    press(SoftKey::MIDDLE_CLICK);
    EXPECT_TRUE(exists("Home"));
    press(SoftKey::RIGHT_CLICK);
    EXPECT_NE(edit, nullptr) << "nobody deletes it";

    // A new list opens an edit screen of its own.
    openList();
    chooseInMenu("New Profile");
    ASSERT_NE(top(), edit);
    EditForm(ScreenDriver::open<SETUP_SIP_ProfileEdit>()).enterAll("Work");
    press(Qt::Key_F2);
    EXPECT_EQ(rows(), QStringList({"A", "B", "Home", "Work"}));
    EXPECT_NE(edit, nullptr);
}

TEST_F(ScreenDeletion, OfTheListLeavesItsPromptWithoutAnOpener)
{
    play("admit");
    store(profile);
    openList();
    chooseInRowMenu("Connect");
    const QPointer<QWidget> prompt = top();
    list.reset();
    ASSERT_EQ(top(), prompt);
    boxesOf({Qt::Key_F1}, [] { submitPrompt("me", "wrong"); });
    boxesOf({}, [] { submitPrompt("me", "secret"); });
    press(Qt::Key_F3);
    EXPECT_EQ(top(), prompt);
    EXPECT_EQ(requests(), QList<int>({3})) << "nobody connects";
}

TEST_F(ScreenDeletion, OfTheListLeavesItsDetailScreenWorking)
{
    play("admit");
    store(profile);
    openList();
    press(Qt::Key_Return);
    const QPointer<SETUP_SIP_ProfileDetail> detail = ScreenDriver::open<SETUP_SIP_ProfileDetail>();
    emit detail->detailDone(false); // the list has posted its deletion
    list.reset();
    QCoreApplication::processEvents();
    ASSERT_EQ(top(), detail);
    press(Qt::Key_F2);
    EXPECT_TRUE(isDefault("A"));

    chooseInMenu("Connect");
    submitPrompt("me", "secret");
    EXPECT_EQ(dismissNotice(), QList{CONNECTED});
    boxesOf({Qt::Key_F1}, [this] { saveEdit(*this); });
    EXPECT_EQ(dismissNotice(), QList{CONNECTED});
    boxesOf({Qt::Key_F1}, [] { chooseInMenu("Delete Profile"); });
    EXPECT_FALSE(exists("A"));
    press(Qt::Key_F3);
    EXPECT_NE(detail, nullptr) << "nobody deletes it";
}

} // namespace
