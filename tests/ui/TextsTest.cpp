// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#include "EditForm.h"
#include "OrmuMessageBox.h"
#include "SETUP_SIP_ConnectDlg.h"
#include "SETUP_SIP_ProfileDelConfirmDlg.h"
#include "SETUP_SIP_ProfileDetail.h"
#include "SETUP_SIP_ProfileEdit.h"
#include "SETUP_SIP_ProfileSelectDlg.h"
#include "SETUP_SIP_UserIDAndPasswordDlg.h"
#include "ScreenTest.h"
#include "UTIL_DlgCST.h"
#include "qpopupmenu.h"

#include <QTranslator>

#include <map>
#include <set>

namespace {

// The context, text and comment that a translator gets.
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

struct TextsOfAScreen
{
    const char* context;
    const char* comment;
    std::vector<const char*> texts;
};

const TextsOfAScreen ALL_TEXTS[] = {
    {"ProfileList", TITLE, {"SIP Profile"}},
    {"ProfileList",
     MENU,
     {"New Profile", "Delete Profiles", "Connect", "Disconnect", "Set as default", "Delete Profile"}},
    {"ProfileList", MESSAGE, {"Delete the profile?", "Disconnect current connection?"}},
    {"ProfileList", QUESTION_KEY, {"OK", "Cancel"}},
    {"ConnectDlg", "2.16.0;SOFTKEY_1BUTTON", {"Cancel"}},
    {"ConnectDlg",
     PROGRESS,
     {"Connecting...", "Disconnecting...", "Reconnecting...", "connect to server successfully",
      "disconnect from server successfully", "Failed to connect to server", "Service is not available",
      "Incorrect profile", "failed to connect to server"}},
    {"ConnectDlg", "2.3.9.2.6;SOFTKEY_1BUTTON", {"OK"}},
    {"ProfileEdit",
     FORM,
     {"Profile name:", "Server address:", "Port:", "User Name:", "Password:", "Internet Profile:",
      "Auto connect when power on"}},
    {"ProfileEdit", CST, {"Save"}},
    {"ProfileEdit",
     MESSAGE,
     {"Some required value is not input, input again.", "Profile name already existed, try again.",
      "Exit without saving?"}},
    {"ProfileEdit", MESSAGE_KEY, {"OK"}},
    {"ProfileEdit", QUESTION_KEY, {"OK", "Cancel"}},
    {"ProfileDetail", CST, {"Set as default"}},
    {"ProfileDetail", MENU, {"Connect", "Disconnect", "Edit", "Delete Profile"}},
    {"ProfileDetail",
     FORM,
     {"Profile name:", "Server address:", "Port:", "User Name:", "Password:", "Internet Profile:", "Connect:",
      "Auto connect when power on"}},
    {"ProfileDetail",
     MESSAGE,
     {"Do you want to re-connect this profile?", "Delete the profile?", "Disconnect current connection?"}},
    {"ProfileDetail", QUESTION_KEY, {"OK", "Cancel"}},
    {"UserIDAndPasswordDlg", FORM, {"User Name:", "Password:", "Remember the password"}},
    {"UserIDAndPasswordDlg", CST, {"OK"}},
    {"UserIDAndPasswordDlg", MISMATCH, {"Incorrect User name", "Incorrect Password"}},
    {"UserIDAndPasswordDlg", DIALOG_KEY, {"Retry", "Cancel"}},
    {"ProfileDelConfirmDlg", TITLE, {"Delete"}},
    {"ProfileDelConfirmDlg", "2.6.11;DIALOG_TITLE;Fixed=18", {"All"}},
    {"ProfileDelConfirmDlg", DIALOG_KEY, {"OK", "Cancel"}},
    {"ProfileSelectDlg", TITLE, {"Select Profile"}},
    {"ProfileSelectDlg", DIALOG_KEY, {"OK", "Cancel"}},
};

std::set<Text> allTexts()
{
    std::set<Text> all;
    for (const TextsOfAScreen& some : ALL_TEXTS)
        for (const char* text : some.texts)
            all.emplace(std::string("SETUP_SIP_") + some.context, text, some.comment);
    return all;
}

// Records the texts of the setup screens, and returns each between angle quotes.
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

// The arguments of a message box that the user does not see, by its text.
using Boxes = std::map<QString, QList<int>>;

// Shows every screen and message box of the library.
class Texts : public ScreenTest
{
protected:
    Texts() { store(record("A")); }

    // Runs act, answers the message box that it opens with the right soft key, and records its arguments.
    template <class Act>
    void dismiss(Act act)
    {
        const auto answer = onceOpen<OrmuMessageBox>([this](OrmuMessageBox& box) {
            EXPECT_EQ(box.parentWidget(), OrmuPhoneWindow::instance()) << "it was made without a parent";
            for (const QString& button : box.buttonArguments())
                EXPECT_TRUE(button.isNull() || !button.isEmpty());
            boxes[box.text()] = box.intArguments();
            press(Qt::Key_F3);
        });
        act();
    }

    void activate(QObject* screen, const char* slot, int id)
    {
        dismiss([=] { invoke(screen, slot, id); });
    }

    void showListScreen()
    {
        openList();
        for (const char* status : {"status:0", "status:2"}) {
            play(status);
            const auto close = onceOpen<QPopupMenu>([](QPopupMenu&) { press(Qt::Key_F3); });
            press(Qt::Key_Menu);
        }
        for (const int id : {0, 2})
            activate(list.get(), "contentMenuItemActivated", id);
        list.reset();
    }

    void showEditScreen()
    {
        SETUP_SIP_ProfileEdit screen{QString()};
        screen.show();
        for (const auto& [typed, key] :
             {std::pair("", Qt::Key_F2), std::pair("A", Qt::Key_F2), std::pair("", Qt::Key_F3)}) {
            type(typed);
            dismiss([key = key] { press(key); });
        }
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
        invoke(&connected, "menuItemActivated", 1);
        dismiss([] { press(Qt::Key_F2); });
    }

    void showCredentialsPrompt()
    {
        SIP_PROFILE_CONTENT profile = record("A");
        QString user = "me";
        QString password = "wrong";
        SETUP_SIP_UserIDAndPasswordDlg screen(user, password, false, profile);
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

    // Dialogs of the large kind, with a bar of two keys.
    static void showDialogs()
    {
        QString profile;
        const SETUP_SIP_ProfileDelConfirmDlg deleteDialog;
        const SETUP_SIP_ProfileSelectDlg selectDialog(profile, nullptr, nullptr);
        for (const UTIL_Dialog* dialog : {static_cast<const UTIL_Dialog*>(&deleteDialog),
                                          static_cast<const UTIL_Dialog*>(&selectDialog)}) {
            EXPECT_EQ(dialog->arguments(), QList<int>({0, 0, 1, 0}));
            EXPECT_EQ(dialog->findChild<UTIL_DlgCST*>()->type(), 1);
        }
    }

    void showAll()
    {
        showListScreen();
        showEditScreen();
        showDetailScreen();
        showCredentialsPrompt();
        showConnectDialog();
        showDialogs();
    }

    Boxes boxes;
};

TEST_F(Texts, ReachTheTranslatorWithTheirComments)
{
    const Recorder recorder;
    showAll();
    EXPECT_EQ(recorder.asked, allTexts());
}

TEST_F(Texts, ReachTheToolkitWithTheNumbersOfTheirKind)
{
    showAll();
    const QList<int> question = {1};
    const QList<int> success = {1, 1};
    const QList<int> failure = {2, 1};
    const Boxes expected = {
        {"Delete the profile?", question},
        {"Disconnect current connection?", question},
        {"Do you want to re-connect this profile?", question},
        {"Exit without saving?", question},
        {"Incorrect User name", question},
        {"Incorrect Password", question},
        {"Some required value is not input, input again.", question},
        {"Profile name already existed, try again.", question},
        {"connect to server successfully", success},
        {"disconnect from server successfully", success},
        {"Failed to connect to server", failure},
        {"Service is not available", failure},
        {"Incorrect profile\nfailed to connect to server", failure},
    };
    EXPECT_EQ(boxes, expected);
}

TEST_F(Texts, OfTheOkKeyDifferBetweenARefusalAndAQuestion)
{
    const Recorder recorder;
    SETUP_SIP_ProfileEdit screen{QString()};
    screen.show();
    const Text refusalKey("SETUP_SIP_ProfileEdit", "OK", MESSAGE_KEY);
    const Text questionKey("SETUP_SIP_ProfileEdit", "OK", QUESTION_KEY);
    for (const bool asks : {false, true}) {
        recorder.asked.clear();
        dismiss([asks] { press(asks ? Qt::Key_F3 : Qt::Key_F2); });
        EXPECT_EQ(recorder.asked.contains(refusalKey), !asks);
        EXPECT_EQ(recorder.asked.contains(questionKey), asks);
        type("A");
    }
}

TEST_F(Texts, AreShownInTheirTranslation)
{
    const Recorder recorder;
    SETUP_SIP_ProfileEdit screen{QString()};
    screen.show();
    const BoxAnswers answers({Qt::Key_F3});
    press(Qt::Key_F2);
    EXPECT_EQ(answers.text(), "«Some required value is not input, input again.»");
    EXPECT_EQ(answers.boxes()[0].buttons, QStringList({"«OK»"}));
    EXPECT_EQ(EditForm(&screen).autoConnect->text(), "«Auto connect when power on»");
}

} // namespace
