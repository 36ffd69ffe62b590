// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#include "OrmuMessageBox.h"
#include "OrmuPushButton.h"
#include "SETUP_SIP_ConnectDlg.h"
#include "SETUP_SIP_ProfileDetail.h"
#include "SETUP_SIP_ProfileEdit.h"
#include "SETUP_SIP_UserIDAndPasswordDlg.h"
#include "ScreenTest.h"
#include "UTIL_CST.h"
#include "qpopupmenu.h"

#include <QLabel>
#include <QPointer>
#include <QScrollBar>

#include <optional>
#include <string_view>

namespace {
// The screen of a profile in Profile1. It is deleted later when it is done, as the list does.
class ProfileDetail : public ScreenTest
{
protected:
    enum MenuId { CONNECT = 0, EDIT = 1, DELETE = 2 };
    enum Entry { NAME_ENTRY = 0, SERVER_ENTRY = 1, PASSWORD_ENTRY = 4 }; // in the order of the edit screen

    ProfileDetail() { store(record("other")); }
    ~ProfileDetail() override { delete detail; }

    void openDetail(const QString& name)
    {
        results.clear();
        detail = new SETUP_SIP_ProfileDetail(name);
        QObject::connect(detail, &SETUP_SIP_ProfileDetail::detailDone, [this](bool changed) {
            results += changed;
            detail->deleteLater();
        });
        detail->show();
        softKeys = static_cast<UTIL_CST*>(detail->getCSTWidget());
        menu = detail->findChild<QPopupMenu*>();
    }
    void openDetail(const SIP_PROFILE_CONTENT& profile)
    {
        store(profile);
        openDetail(profile.displayName);
    }

    QStringList lines() const
    {
        QStringList texts;
        for (const QLabel* label : detail->getContentWidget()->findChildren<QLabel*>())
            texts += label->text();
        return texts;
    }

    // Opens the edit screen, types the text over an entry and saves.
    static void editAndSave(int entry = SERVER_ENTRY, const QString& text = "2")
    {
        chooseInMenu("Edit");
        ASSERT_NE(open<SETUP_SIP_ProfileEdit>(), nullptr);
        for (int i = 0; i < entry; ++i)
            press(Qt::Key_Down);
        press(Qt::Key_A, Qt::ControlModifier);
        type(text);
        press(Qt::Key_F2);
    }

    bool isGone() const
    {
        return waitFor([this] { return detail == nullptr; });
    }

    QPointer<SETUP_SIP_ProfileDetail> detail;
    QList<bool> results;
    UTIL_CST* softKeys = nullptr;
    QPopupMenu* menu = nullptr;
};

TEST_F(ProfileDetail, ShowsTheProfileLineByLine)
{
    SIP_PROFILE_CONTENT profile = record("Work & <b>home</b>");
    profile.server = "sip.example.org";
    profile.portNum = 4294967295U;
    profile.network = "office";
    openDetail(profile);
    EXPECT_EQ(lines(), QStringList({"Profile name:Work & <b>home</b>", "Server address:", "sip.example.org",
                                    "Port:4294967295", "User Name:me", "Password:**********",
                                    "Internet Profile:office", "Connect:Auto connect when power on"}));
    int y = 0;
    for (const QLabel* label : detail->getContentWidget()->findChildren<QLabel*>()) {
        EXPECT_EQ(label->geometry(), QRect(0, y, 220, 30));
        EXPECT_EQ(label->textFormat(), Qt::PlainText);
        y += 30;
    }
    keepPicture("detail");
    delete detail;

    profile = record("A");
    profile.autoConnect = false;
    profile.password = "";
    openDetail(profile);
    EXPECT_EQ(lines().size(), 7);
    EXPECT_EQ(lines()[5], "Password:**********");
    EXPECT_EQ(lines().last(), "Internet Profile:internet");
}

TEST_F(ProfileDetail, ShowsDefaultsForAnUnknownNameWithoutAQuery)
{
    play("status:2");
    openDetail("nobody");
    EXPECT_EQ(lines()[0], "Profile name:nobody");
    EXPECT_EQ(lines()[3], "Port:5060");
    EXPECT_EQ(daemon().accepted(), 0);
}

TEST_F(ProfileDetail, OffersConnectOrDisconnectByTheDaemonsStatus)
{
    play("status:1");
    openDetail(record("A"));
    press(Qt::Key_F1);
    ASSERT_EQ(open<QPopupMenu>(), menu);
    EXPECT_EQ(menu->actions().size(), 3);
    EXPECT_EQ(menu->text(CONNECT), "Connect");
    EXPECT_EQ(menu->text(EDIT), "Edit");
    EXPECT_EQ(menu->text(DELETE), "Delete Profile");
    QStringList order;
    for (const QAction* entry : menu->actions())
        order += entry->data().toString();
    EXPECT_EQ(order, QStringList({"0", "1", "2"}));
    keepPicture("detail-menu");
    press(Qt::Key_F3);
    ASSERT_EQ(daemon().requests().size(), 1u);
    EXPECT_STREQ(daemon().requests()[0].name, "Profile1");
    delete detail;

    play("status:2");
    openDetail("A");
    EXPECT_EQ(menu->text(CONNECT), "Disconnect");
    EXPECT_TRUE(daemon().waitForClosed(1)) << "the question was asked and the connection closed";
}

TEST_F(ProfileDetail, ReportsFalseOnBack)
{
    store(record("A"));
    for (const SoftKey key : RIGHT_KEYS) {
        openDetail("A");
        press(key);
        EXPECT_EQ(results, QList<bool>({false}));
        EXPECT_TRUE(isGone());
    }
    SETUP_SIP_ProfileDetail kept("A"); // nothing deletes it
    kept.show();
    press(Qt::Key_F3);
    EXPECT_TRUE(kept.isVisible());
}

TEST_F(ProfileDetail, SetsTheDefaultOnceAndReportsTheChangeOnBack)
{
    store(record("A"));
    profiles()->setDefaultProfile("other");
    for (const bool changed : {true, false}) {
        openDetail("A");
        EXPECT_EQ(softKeys->getMidBtn()->isEnabled(), changed);
        press(Qt::Key_F2);
        EXPECT_TRUE(isDefault("A"));
        EXPECT_FALSE(isDefault("other"));
        EXPECT_FALSE(softKeys->getMidBtn()->isEnabled());
        EXPECT_EQ(results, QList<bool>());
        keepPicture("detail-default");
        press(Qt::Key_Escape);
        EXPECT_EQ(results, QList<bool>({changed}));
        EXPECT_TRUE(isGone());
    }
}

TEST_F(ProfileDetail, ReportsTrueAfterAnEditOfADisconnectedProfile)
{
    play("status:0");
    openDetail(record("A"));
    editAndSave();
    EXPECT_EQ(results, QList<bool>({true}));
    EXPECT_EQ(open<OrmuMessageBox>(), nullptr);
    EXPECT_TRUE(isGone());
}

TEST_F(ProfileDetail, DeletesTheEditScreenBeforeItAsksOrReports)
{
    for (const char* scenario : {"status:0", "status:2"}) {
        play(scenario);
        openDetail(record("A"));
        chooseInMenu("Edit");
        const QPointer<SETUP_SIP_ProfileEdit> edit = open<SETUP_SIP_ProfileEdit>();
        QList<bool> wasThere;
        const auto look = [&] { wasThere += !edit.isNull(); };
        QObject::connect(detail, &SETUP_SIP_ProfileDetail::detailDone, look);
        std::optional<ScreenDriver::Expected> asked;
        if (std::string_view(scenario) == "status:2")
            asked.emplace([] { return open<OrmuMessageBox>() != nullptr; },
                          [look] {
                              look();
                              press(Qt::Key_F3);
                          });
        press(Qt::Key_F2);
        EXPECT_EQ(wasThere, QList<bool>({false})) << scenario;
        delete detail;
    }
}

TEST_F(ProfileDetail, ReportsFalseAfterAnEditThatIsNotSaved)
{
    for (const char* scenario : {"status:0", "status:2"}) {
        play(scenario);
        openDetail(record("A"));
        press(Qt::Key_F2); // changes the default, which is not reported
        chooseInMenu("Edit");
        press(Qt::Key_F3);
        EXPECT_EQ(results, QList<bool>({false})) << scenario;
        EXPECT_TRUE(isGone());
    }
}

TEST_F(ProfileDetail, AsksForAReconnectAfterAnEditOfAConnectedProfile)
{
    play("status:2");
    openDetail(record("A"));
    hideBoxOf([] { editAndSave(); });
    BoxAnswers answers({Qt::Key_F3});
    answers.keepPicture("detail-reconnect-");
    editAndSave();
    EXPECT_EQ(answers.boxes(), QList{RECONNECT_QUESTION});
    EXPECT_EQ(results, QList<bool>());
    EXPECT_EQ(open<SETUP_SIP_ProfileDetail>(), detail);
    EXPECT_EQ(lines()[2], "A.example.org") << "the lines are those of its opening";
    EXPECT_EQ(menu->text(CONNECT), "Disconnect");
    EXPECT_EQ(daemon().requests().size(), 1u) << "only the status query";
    press(Qt::Key_F3);
    EXPECT_EQ(results, QList<bool>({false})) << "an edit is no change of the default";
}

// After a rename the screen still uses the former name, which no profile has any more.
TEST_F(ProfileDetail, ReconnectsByTheNameOfItsOpeningAfterARename)
{
    playScenario(withStatus(2));
    openDetail(record("A"));
    EXPECT_EQ(boxesOf({Qt::Key_F1}, [] { editAndSave(NAME_ENTRY, "B"); }), QList{RECONNECT_QUESTION});
    EXPECT_EQ(dismissNotice(), QList{CONNECTED});
    ASSERT_EQ(daemon().requests().size(), 3u);
    EXPECT_STREQ(daemon().requests()[1].name, "A") << "a name that no profile has is taken for a group's";
    EXPECT_STREQ(daemon().requests()[2].name, "A");
}

TEST_F(ProfileDetail, ChangesNoProfileAfterARenameAndReportsTrue)
{
    play("status:2");
    for (const bool deletes : {false, true}) {
        store(record("A"));
        profiles()->setDefaultProfile("other");
        openDetail("A");
        boxesOf({Qt::Key_F3}, [] { editAndSave(NAME_ENTRY, "B"); });
        if (deletes) {
            EXPECT_EQ(boxesOf({Qt::Key_F1}, [] { chooseInMenu("Delete Profile"); }), QList{DELETE_QUESTION});
        } else {
            press(Qt::Key_F2); // sets the default
            EXPECT_FALSE(softKeys->getMidBtn()->isEnabled());
            press(Qt::Key_F3);
        }
        EXPECT_EQ(results, QList<bool>({true}));
        EXPECT_TRUE(isGone());
        EXPECT_EQ(names(), QStringList({"other", "B"}));
        EXPECT_TRUE(isDefault("other"));
        EXPECT_FALSE(isDefault("B"));
    }
}

TEST_F(ProfileDetail, OpensOneEditScreenAtATime)
{
    openDetail(record("A"));
    invoke(detail, "menuItemActivated", EDIT);
    const QPointer<SETUP_SIP_ProfileEdit> edit = open<SETUP_SIP_ProfileEdit>();
    ASSERT_NE(edit, nullptr);
    EXPECT_NE(edit->parentWidget(), detail);
    invoke(detail, "menuItemActivated", EDIT);
    EXPECT_EQ(open<SETUP_SIP_ProfileEdit>(), edit);
    press(Qt::Key_F3);
    EXPECT_EQ(edit, nullptr);
    EXPECT_EQ(open<SETUP_SIP_ProfileEdit>(), nullptr);
}

TEST_F(ProfileDetail, ComparesCredentialsWithTheProfileOfItsOpening)
{
    playScenario(withStatus(2));
    openDetail(guardedRecord("A"));
    EXPECT_EQ(boxesOf({Qt::Key_F3}, [] { editAndSave(PASSWORD_ENTRY, "changed"); }),
              QList{RECONNECT_QUESTION});
    boxesOf({Qt::Key_F1}, [] { chooseInMenu("Disconnect"); });
    dismissNotice();
    chooseInMenu("Connect");
    submitPrompt("me", "secret");
    EXPECT_EQ(dismissNotice(), QList{CONNECTED});
}

TEST_F(ProfileDetail, ObeysThePointer)
{
    openDetail(record("A"));
    press(SoftKey::MIDDLE_CLICK);
    EXPECT_TRUE(isDefault("A"));
    press(SoftKey::LEFT_CLICK);
    EXPECT_EQ(open<QPopupMenu>(), menu);
    const auto answered = onceOpen<OrmuMessageBox>([](OrmuMessageBox&) { press(SoftKey::LEFT_CLICK); });
    clickMenuEntry("Delete Profile");
    EXPECT_EQ(results, QList<bool>({true}));
    EXPECT_TRUE(isGone());
}

TEST_F(ProfileDetail, ShowsItsLastLineWithoutScrolling)
{
    openDetail(record("A"));
    EXPECT_EQ(detail->getContentWidget()->verticalScrollBar()->maximum(), 0);
    const QLabel* last = detail->getContentWidget()->findChildren<QLabel*>().last();
    EXPECT_EQ(last->visibleRegion(), QRegion(last->rect()));
}

using ProfileDetailDeath = ProfileDetail;

TEST_F(ProfileDetailDeath, AbortsOnAnUnknownMenuIdAndNamesLine144)
{
    openDetail(record("A"));
    for (const int id : {-1, 3, 1000})
        EXPECT_EXIT(invoke(detail, "menuItemActivated", id), testing::KilledBySignal(SIGABRT),
                    "[{]1[}] SETUP_SIP_ProfileDetail[.]cpp:144\tormu assert failed !\n\n");
}

} // namespace
