#include "DaemonTest.h"
#include "ProfileScreenTest.h"
#include "SETUP_SIP_ConnectDlg.h"
#include "SETUP_SIP_ProfileDelConfirmDlg.h"
#include "SETUP_SIP_ProfileDetail.h"
#include "SETUP_SIP_ProfileEdit.h"
#include "SETUP_SIP_ProfileListBase.h"
#include "SETUP_SIP_ProfileSelectDlg.h"
#include "SETUP_SIP_UserIDAndPasswordDlg.h"
#include "UTIL_ListBox.h"
#include "qpopupmenu.h"

#include <QTranslator>

#include <gmock/gmock.h>

#include <set>

using namespace ScreenDriver;

namespace {

// Context, text and comment, as they reach the translator.
using Text = std::tuple<std::string, std::string, std::string>;

const char MENU[] = "2.16.0;MENU";
const char TITLE[] = "2.6.11;DIALOG_TITLE";
const char FORM[] = "2.3.8.1;FORM_CONTEXT_WITHOUT_SCROLL";
const char CST[] = "3.3.1;CST_3BUTTON";
const char MESSAGE[] = "99.99.99;DIALOG_ICON_50_WARP";
const char MESSAGE_KEY[] = "99.99.99;SOFTKEY_1BUTTON";
const char QUESTION_KEY[] = "99.99.99;SOFTKEY_2BUTTON";
const char DIALOG_KEY[] = "2.6.11;SOFTKEY_2BUTTON";
const char PROGRESS[] = "2.3.9.2.6;DIALOG_ICON_50_WARP";
const char MISMATCH[] = "2.6.11;DIALOG_CONTEXT_ICON2_WITH_SCROLL";

const Text ALL_TEXTS[] = {
    {"SETUP_SIP_ProfileList", "SIP Profile", TITLE},
    {"SETUP_SIP_ProfileList", "New Profile", MENU},
    {"SETUP_SIP_ProfileList", "Delete Profiles", MENU},
    {"SETUP_SIP_ProfileList", "Connect", MENU},
    {"SETUP_SIP_ProfileList", "Disconnect", MENU},
    {"SETUP_SIP_ProfileList", "Set as default", MENU},
    {"SETUP_SIP_ProfileList", "Delete Profile", MENU},
    {"SETUP_SIP_ProfileList", "Delete the profile?", MESSAGE},
    {"SETUP_SIP_ProfileList", "Disconnect current connection?", MESSAGE},
    {"SETUP_SIP_ProfileList", "OK", QUESTION_KEY},
    {"SETUP_SIP_ProfileList", "Cancel", QUESTION_KEY},

    {"SETUP_SIP_ConnectDlg", "Cancel", "2.16.0;SOFTKEY_1BUTTON"},
    {"SETUP_SIP_ConnectDlg", "Connecting...", PROGRESS},
    {"SETUP_SIP_ConnectDlg", "Disconnecting...", PROGRESS},
    {"SETUP_SIP_ConnectDlg", "Reconnecting...", PROGRESS},
    {"SETUP_SIP_ConnectDlg", "connect to server successfully", PROGRESS},
    {"SETUP_SIP_ConnectDlg", "disconnect from server successfully", PROGRESS},
    {"SETUP_SIP_ConnectDlg", "Failed to connect to server", PROGRESS},
    {"SETUP_SIP_ConnectDlg", "Service is not available", PROGRESS},
    {"SETUP_SIP_ConnectDlg", "Incorrect profile", PROGRESS},
    {"SETUP_SIP_ConnectDlg", "failed to connect to server", PROGRESS},
    {"SETUP_SIP_ConnectDlg", "OK", "2.3.9.2.6;SOFTKEY_1BUTTON"},

    {"SETUP_SIP_ProfileEdit", "Profile name:", FORM},
    {"SETUP_SIP_ProfileEdit", "Server address:", FORM},
    {"SETUP_SIP_ProfileEdit", "Port:", FORM},
    {"SETUP_SIP_ProfileEdit", "User Name:", FORM},
    {"SETUP_SIP_ProfileEdit", "Password:", FORM},
    {"SETUP_SIP_ProfileEdit", "Internet Profile:", FORM},
    {"SETUP_SIP_ProfileEdit", "Auto connect when power on", FORM},
    {"SETUP_SIP_ProfileEdit", "Save", CST},
    {"SETUP_SIP_ProfileEdit", "Some required value is not input, input again.", MESSAGE},
    {"SETUP_SIP_ProfileEdit", "Profile name already existed, try again.", MESSAGE},
    {"SETUP_SIP_ProfileEdit", "OK", MESSAGE_KEY},
    {"SETUP_SIP_ProfileEdit", "Exit without saving?", MESSAGE},
    {"SETUP_SIP_ProfileEdit", "OK", QUESTION_KEY},
    {"SETUP_SIP_ProfileEdit", "Cancel", QUESTION_KEY},

    {"SETUP_SIP_ProfileDetail", "Set as default", CST},
    {"SETUP_SIP_ProfileDetail", "Connect", MENU},
    {"SETUP_SIP_ProfileDetail", "Disconnect", MENU},
    {"SETUP_SIP_ProfileDetail", "Edit", MENU},
    {"SETUP_SIP_ProfileDetail", "Delete Profile", MENU},
    {"SETUP_SIP_ProfileDetail", "Profile name:", FORM},
    {"SETUP_SIP_ProfileDetail", "Server address:", FORM},
    {"SETUP_SIP_ProfileDetail", "Port:", FORM},
    {"SETUP_SIP_ProfileDetail", "User Name:", FORM},
    {"SETUP_SIP_ProfileDetail", "Password:", FORM},
    {"SETUP_SIP_ProfileDetail", "Internet Profile:", FORM},
    {"SETUP_SIP_ProfileDetail", "Connect:", FORM},
    {"SETUP_SIP_ProfileDetail", "Auto connect when power on", FORM},
    {"SETUP_SIP_ProfileDetail", "Do you want to re-connect this profile?", MESSAGE},
    {"SETUP_SIP_ProfileDetail", "Delete the profile?", MESSAGE},
    {"SETUP_SIP_ProfileDetail", "Disconnect current connection?", MESSAGE},
    {"SETUP_SIP_ProfileDetail", "OK", QUESTION_KEY},
    {"SETUP_SIP_ProfileDetail", "Cancel", QUESTION_KEY},

    {"SETUP_SIP_UserIDAndPasswordDlg", "User Name:", FORM},
    {"SETUP_SIP_UserIDAndPasswordDlg", "Password:", FORM},
    {"SETUP_SIP_UserIDAndPasswordDlg", "Remember the password", FORM},
    {"SETUP_SIP_UserIDAndPasswordDlg", "OK", CST},
    {"SETUP_SIP_UserIDAndPasswordDlg", "Incorrect User name", MISMATCH},
    {"SETUP_SIP_UserIDAndPasswordDlg", "Incorrect Password", MISMATCH},
    {"SETUP_SIP_UserIDAndPasswordDlg", "Retry", DIALOG_KEY},
    {"SETUP_SIP_UserIDAndPasswordDlg", "Cancel", DIALOG_KEY},

    {"SETUP_SIP_ProfileDelConfirmDlg", "Delete", TITLE},
    {"SETUP_SIP_ProfileDelConfirmDlg", "All", "2.6.11;DIALOG_TITLE;Fixed=18"},
    {"SETUP_SIP_ProfileDelConfirmDlg", "OK", DIALOG_KEY},
    {"SETUP_SIP_ProfileDelConfirmDlg", "Cancel", DIALOG_KEY},

    {"SETUP_SIP_ProfileSelectDlg", "Select Profile", TITLE},
    {"SETUP_SIP_ProfileSelectDlg", "OK", DIALOG_KEY},
    {"SETUP_SIP_ProfileSelectDlg", "Cancel", DIALOG_KEY},
};

// Records what the setup screens ask for, and gives each text back between angle quotes.
class Recorder : public QTranslator
{
public:
    Recorder() { QCoreApplication::installTranslator(this); }

    bool isEmpty() const override { return false; }

    QString translate(const char* context, const char* text, const char* comment, int) const override
    {
        if (!QByteArray(context).startsWith("SETUP_SIP_"))
            return {};
        asked.emplace(context, text, comment == nullptr ? "" : comment);
        return QStringLiteral("«%1»").arg(QLatin1String(text));
    }

    mutable std::set<Text> asked;
};

// Shows every screen and message that the library has.
class Texts : public DaemonTest, protected SettingsDirectory
{
protected:
    Texts()
    {
        SIP_PROFILE_CONTENT record = usableRecord("A");
        record.needUserIDPass = false;
        store(record);
    }
    ~Texts() override { SETUP_SIP_Agent::cleanup(); }

    // Does what opens a message, and answers it with Cancel if it has one.
    template <class Act>
    static void dismiss(Act act)
    {
        const auto answer = onceOpen<OrmuMessageBox>([](OrmuMessageBox&) { press(Qt::Key_F3); });
        act();
    }

    static void activate(QObject* screen, const char* slot, int id)
    {
        dismiss([=] { ASSERT_TRUE(QMetaObject::invokeMethod(screen, slot, Q_ARG(int, id))); });
    }

    void showListScreen()
    {
        const std::unique_ptr<SETUP_SIP_ProfileListBase> screen(SETUP_SIP_CreateProfileList(nullptr));
        screen->createScreen();
        screen->show();
        for (const char* status : {"status:0", "status:2"}) {
            play(status);
            const auto close = onceOpen<QPopupMenu>([](QPopupMenu&) { press(Qt::Key_F3); });
            press(Qt::Key_Menu);
        }
        for (const int id : {0, 2})
            activate(screen.get(), "contentMenuItemActivated", id);
    }

    static void showEditScreen()
    {
        SETUP_SIP_ProfileEdit screen{QString()};
        screen.show();
        dismiss([] { press(Qt::Key_F2); });
        type("A");
        dismiss([] { press(Qt::Key_F2); });
        dismiss([] { press(Qt::Key_F3); });
    }

    void showDetailScreen()
    {
        play("status:0");
        const SETUP_SIP_ProfileDetail disconnected("A");
        play("status:2");
        SETUP_SIP_ProfileDetail connected("A");
        connected.show();
        for (const int id : {0, 2})
            activate(&connected, "menuItemActivated", id);
        QMetaObject::invokeMethod(&connected, "menuItemActivated", Q_ARG(int, 1));
        dismiss([] { press(Qt::Key_F2); });
    }

    static void showCredentialsPrompt()
    {
        SIP_PROFILE_CONTENT record = usableRecord("A");
        QString user = "alice";
        QString password = "wrong";
        SETUP_SIP_UserIDAndPasswordDlg screen(user, password, false, record);
        screen.show();
        dismiss([] { press(Qt::Key_F2); });
        type("x");
        dismiss([] { press(Qt::Key_F2); });
    }

    void showConnectDialog()
    {
        play("admit");
        QString name = "A";
        for (const auto operation : {SETUP_SIP_ConnectDlg::OP_CONNECT, SETUP_SIP_ConnectDlg::OP_DISCONNECT,
                                     SETUP_SIP_ConnectDlg::OP_RECONNECT}) {
            SETUP_SIP_ConnectDlg dialog(operation, name, nullptr, nullptr);
            dialog.show();
            for (int ack = operation == SETUP_SIP_ConnectDlg::OP_RECONNECT ? 1 : 0; ack <= 4; ++ack)
                dismiss([&] { dialog.processResult(static_cast<_SIPD_APP_ACK_E>(ack)); });
        }
    }

    static void showDialogs()
    {
        QString profile;
        const SETUP_SIP_ProfileDelConfirmDlg deleteDialog;
        const SETUP_SIP_ProfileSelectDlg selectDialog(profile, nullptr, nullptr);
    }
};

TEST_F(Texts, OfEveryScreenReachTheTranslatorWithTheirComments)
{
    const Recorder recorder;
    showListScreen();
    showEditScreen();
    showDetailScreen();
    showCredentialsPrompt();
    showConnectDialog();
    showDialogs();
    EXPECT_THAT(recorder.asked, testing::UnorderedElementsAreArray(ALL_TEXTS));
}

TEST_F(Texts, OfTheOkKeyDifferBetweenARefusalAndAQuestion)
{
    const Recorder recorder;
    SETUP_SIP_ProfileEdit screen{QString()};
    screen.show();
    const Text refusalKey("SETUP_SIP_ProfileEdit", "OK", MESSAGE_KEY);
    const Text questionKey("SETUP_SIP_ProfileEdit", "OK", QUESTION_KEY);
    recorder.asked.clear();
    dismiss([] { press(Qt::Key_F2); });
    EXPECT_TRUE(recorder.asked.contains(refusalKey));
    EXPECT_FALSE(recorder.asked.contains(questionKey));
    type("A");
    recorder.asked.clear();
    dismiss([] { press(Qt::Key_F3); });
    EXPECT_TRUE(recorder.asked.contains(questionKey));
    EXPECT_FALSE(recorder.asked.contains(refusalKey));
}

TEST_F(Texts, AreShownAsTheyAreTranslated)
{
    const Recorder recorder;
    SETUP_SIP_ProfileEdit screen{QString()};
    screen.show();
    const auto answer = onceOpen<OrmuMessageBox>([](OrmuMessageBox& box) {
        EXPECT_EQ(box.text(), "«Some required value is not input, input again.»");
        EXPECT_EQ(box.buttonText(0), "«OK»");
        press(Qt::Key_F3);
    });
    press(Qt::Key_F2);
    EXPECT_EQ(EditForm(&screen).autoConnect->text(), "«Auto connect when power on»");
}

} // namespace
