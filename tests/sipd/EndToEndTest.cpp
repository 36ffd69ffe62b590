// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

// The phone's screens, driven by keys, over the real daemon and a real registrar.
#include "RealServerKamailio.h"
#include "SETUP_SIP_ConnectDlg.h"
#include "SETUP_SIP_ProfileDetail.h"
#include "SETUP_SIP_ProfileEdit.h"
#include "ScreenTest.h"
#include "SipdProcess.h"

#include <QPointer>

#include <sys/stat.h>

using namespace ScreenDriver;

namespace {

class EndToEnd : public ScreenTest
{
protected:
    void SetUp() override
    {
        ScreenTest::SetUp();
        ASSERT_EQ(chmod(qPrintable(workplace_.path()), 0755), 0);
        server.start();
        daemon_ = std::make_unique<SipdProcess>(workplace_.filePath("sipd.log").toStdString(),
                                                std::vector<std::string>{});
    }

    // A profile that connects without asking.
    SIP_PROFILE_CONTENT profileOf(const QString& user) const
    {
        SIP_PROFILE_CONTENT profile = record("the profile");
        profile.server = "127.0.0.1";
        profile.portNum = static_cast<unsigned int>(server.port());
        profile.userID = user;
        profile.autoConnect = false;
        return profile;
    }

    // The list over that one profile.
    void openListOf(const SIP_PROFILE_CONTENT& profile)
    {
        store(profile);
        openList();
        goToRow(0);
    }

    // Replaces the user name in the edit screen.
    static void typeUserName(const QString& user)
    {
        ASSERT_NE(open<SETUP_SIP_ProfileEdit>(), nullptr);
        press(Qt::Key_Down); // the server
        press(Qt::Key_Down); // the port
        press(Qt::Key_Down);
        press(Qt::Key_A, Qt::ControlModifier);
        type(user);
    }

    static uint32_t status()
    {
        SipdClient client;
        client.introduce();
        return client.status("Profile0");
    }

    // The message box after a connect from the row's menu.
    static ShownBox outcomeOfConnecting()
    {
        BoxAnswers answers({Qt::Key_Return});
        chooseInRowMenu("Connect");
        finishConnecting();
        return answers.boxes().value(0, ShownBox("nothing", "none", {}));
    }

    QTemporaryDir workplace_;
    Kamailio server{workplace_.path().toStdString()};

private:
    std::unique_ptr<SipdProcess> daemon_;
};

} // namespace

TEST_F(EndToEnd, TheUserConnectsAndDisconnects)
{
    SIP_PROFILE_CONTENT profile = profileOf("anna");
    profile.needUserIDPass = true;
    openListOf(profile);

    chooseInRowMenu("Connect");
    fillPrompt("anna", "secret");
    {
        BoxAnswers answers({Qt::Key_Return});
        press(Qt::Key_F2);
        auto* dialog = open<SETUP_SIP_ConnectDlg>();
        ASSERT_NE(dialog, nullptr);
        EXPECT_EQ(dialog->labelText(), "Connecting...");
        finishConnecting();
        EXPECT_EQ(answers.boxes(), QList{CONNECTED});
    }
    EXPECT_TRUE(server.registered("anna"));

    BoxAnswers answers({Qt::Key_F1, Qt::Key_Return});
    chooseInRowMenu("Disconnect");
    auto* dialog = open<SETUP_SIP_ConnectDlg>();
    ASSERT_NE(dialog, nullptr);
    EXPECT_EQ(dialog->labelText(), "Disconnecting...");
    finishConnecting();
    EXPECT_EQ(answers.boxes(), (QList{DISCONNECT_QUESTION, DISCONNECTED}));
    EXPECT_FALSE(server.registered("anna"));
}

TEST_F(EndToEnd, TheUserTypesAWrongPassword)
{
    SIP_PROFILE_CONTENT profile = profileOf("anna");
    profile.password = "guess";
    openListOf(profile);
    EXPECT_EQ(outcomeOfConnecting(), INCORRECT);
}

TEST_F(EndToEnd, TheServerIsNotThere)
{
    openListOf(profileOf("anna"));
    server.die();
    EXPECT_EQ(outcomeOfConnecting(), FAILED);
}

TEST_F(EndToEnd, TheUserCancelsBeforeASilentServer)
{
    openListOf(profileOf("silent"));
    chooseInRowMenu("Connect");
    const QPointer<SETUP_SIP_ConnectDlg> dialog = open<SETUP_SIP_ConnectDlg>();
    ASSERT_NE(dialog, nullptr);
    EXPECT_EQ(status(), 1U);
    press(Qt::Key_F3);
    EXPECT_TRUE(dialog.isNull());
    EXPECT_TRUE(waitFor([] { return status() == 0; }, 1000));
    EXPECT_EQ(open<SETUP_SIP_ProfileListBase>(), list.get());
}

TEST_F(EndToEnd, TheUserReconnectsWithAnotherUserName)
{
    openListOf(profileOf("anna"));
    EXPECT_EQ(outcomeOfConnecting(), CONNECTED);

    press(Qt::Key_Return);
    ASSERT_NE(open<SETUP_SIP_ProfileDetail>(), nullptr);
    chooseInMenu("Edit");
    typeUserName("bob");
    BoxAnswers answers({Qt::Key_F1, Qt::Key_Return});
    press(Qt::Key_F2);
    auto* dialog = open<SETUP_SIP_ConnectDlg>();
    ASSERT_NE(dialog, nullptr);
    EXPECT_EQ(dialog->labelText(), "Reconnecting...");
    finishConnecting();
    EXPECT_EQ(answers.boxes(), (QList{RECONNECT_QUESTION, CONNECTED}));
    EXPECT_TRUE(server.registered("bob"));
    EXPECT_FALSE(server.registered("anna"));
    press(Qt::Key_F3);
}
