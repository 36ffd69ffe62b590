// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#include "OrmuMessageBox.h"
#include "OrmuMultiLineEdit.h"
#include "SETUP_SIP_UserIDAndPasswordDlg.h"
#include "ScreenTest.h"

#include <QCheckBox>
#include <QPointer>
#include <QSignalSpy>

namespace {
const ShownBox WRONG_USER("Incorrect User name", "Dialog_Exclamatory_Mark.jpg", {"Retry", "Cancel"});
const ShownBox WRONG_PASSWORD("Incorrect Password", "Dialog_Exclamatory_Mark.jpg", {"Retry", "Cancel"});

const auto OK = [] { press(Qt::Key_F2); };

// The prompt for a profile whose user name is "me" and whose password is "secret".
class Credentials : public ScreenTest
{
protected:
    Credentials()
    {
        profile.userID = "me";
        profile.password = "secret";
    }
    ~Credentials() override { delete prompt; }

    void openPrompt(QString user = QString(), QString password = QString(), bool remember = false)
    {
        results.clear();
        prompt = new SETUP_SIP_UserIDAndPasswordDlg(user, password, remember, profile, nullptr, "");
        // As its openers do.
        QObject::connect(prompt, &SETUP_SIP_UserIDAndPasswordDlg::inputDone, [this](bool ok) {
            results += ok;
            delete prompt;
        });
        prompt->show();
        userEdit = prompt->findChildren<OrmuMultiLineEdit*>().value(0);
        passwordEdit = prompt->findChildren<OrmuMultiLineEdit*>().value(1);
        remember_ = prompt->findChild<QCheckBox*>();
    }

    // "user/password/remember", or nothing when nothing was ever saved.
    QString saved() const
    {
        if (!entries().contains("ormu_sipsetup.cfg"))
            return {};
        QString user;
        QString password;
        bool remember = false;
        SETUP_SIP_Agent::getLastInputUserIDPassword(user, password, remember);
        return user + "/" + password + "/" + (remember ? "yes" : "no");
    }

    SIP_PROFILE_CONTENT profile;
    QPointer<SETUP_SIP_UserIDAndPasswordDlg> prompt;
    QList<bool> results;
    OrmuMultiLineEdit* userEdit = nullptr;
    OrmuMultiLineEdit* passwordEdit = nullptr;
    QCheckBox* remember_ = nullptr;
};

TEST_F(Credentials, ShowsItsArgumentsAndMasksThePassword)
{
    openPrompt("somebody", "else", true);
    EXPECT_EQ(userEdit->text(), "somebody");
    EXPECT_EQ(passwordEdit->text(), "else");
    EXPECT_TRUE(remember_->isChecked());
    EXPECT_EQ(userEdit->echoMode(), QLineEdit::Normal);
    EXPECT_EQ(passwordEdit->echoMode(), QLineEdit::Password);
    EXPECT_EQ(passwordEdit->displayText().size(), 4);
    EXPECT_NE(passwordEdit->displayText(), "else");
    delete prompt;
    openPrompt("somebody", "else", false);
    EXPECT_EQ(passwordEdit->text(), "else") << "also when it was not to be remembered";
    EXPECT_FALSE(remember_->isChecked());
    keepPicture("credentials");
}

TEST_F(Credentials, SavesTheProfilesOwnWithoutAMessage)
{
    openPrompt();
    press(Qt::Key_M);
    type("e");
    EXPECT_EQ(userEdit->text(), "me");
    press(Qt::Key_Down);
    type("secret");
    press(Qt::Key_Down);
    press(Qt::Key_Return);
    EXPECT_TRUE(remember_->isChecked());
    press(Qt::Key_F2);
    EXPECT_EQ(results, QList<bool>({true}));
    EXPECT_EQ(saved(), "me/secret/yes");
}

TEST_F(Credentials, SavesBeforeItReportsAndChangesNoArgument)
{
    QString user("me");
    QString password("wrong");
    for (const bool ok : {false, true}) {
        SETUP_SIP_UserIDAndPasswordDlg kept(user, password, true, profile);
        kept.show();
        QStringList savedWhenTold;
        QObject::connect(&kept, &SETUP_SIP_UserIDAndPasswordDlg::inputDone,
                         [&](bool) { savedWhenTold += saved(); });
        kept.findChildren<OrmuMultiLineEdit*>()[1]->setText(ok ? "secret" : "other");
        const BoxAnswers answers(ok ? std::initializer_list<Qt::Key>{}
                                    : std::initializer_list<Qt::Key>{Qt::Key_F3});
        press(Qt::Key_F2);
        EXPECT_EQ(savedWhenTold, QStringList(ok ? "me/secret/yes" : "me/other/yes"));
    }
    EXPECT_EQ(user, "me");
    EXPECT_EQ(password, "wrong");
}

TEST_F(Credentials, SavesAPasswordOnlyWhenAskedToRememberIt)
{
    for (const bool remember : {true, false}) {
        openPrompt("me", "secret", true);
        if (!remember)
            click(remember_);
        press(Qt::Key_F2);
        EXPECT_EQ(results, QList<bool>({true}));
        EXPECT_EQ(saved(), remember ? "me/secret/yes" : "me//no");
        EXPECT_EQ(readFile().contains("secret"), remember);
    }
    for (const bool remember : {true, false}) {
        openPrompt("you", "wrong", remember);
        EXPECT_EQ(boxesOf({remember ? Qt::Key_F3 : Qt::Key_Escape}, OK), QList{WRONG_USER});
        EXPECT_EQ(results, QList<bool>({false}));
        EXPECT_EQ(saved(), remember ? "you/wrong/yes" : "you//no");
    }
    openPrompt("me", "wrong", true);
    hideBoxOf(OK); // counts as Cancel
    EXPECT_EQ(results, QList<bool>({false}));
    EXPECT_EQ(saved(), "me/wrong/yes");
}

TEST_F(Credentials, ComparesTheUserNameFirstAndExactly)
{
    const auto boxesFor = [this](const char* user, const char* password) {
        openPrompt(user, password);
        const auto boxes = boxesOf({Qt::Key_F1}, OK);
        delete prompt;
        return boxes;
    };
    for (const char* user : {"Me", "me ", " me", "", "m"})
        for (const char* password : {"secret", "wrong"})
            EXPECT_EQ(boxesFor(user, password), QList{WRONG_USER}) << user;
    for (const char* password : {"Secret", "secret ", "", "secre"})
        EXPECT_EQ(boxesFor("me", password), QList{WRONG_PASSWORD}) << password;
    profile.userID = QString();
    profile.password = "";
    openPrompt();                 // of a profile without credentials
    profile.password = "changed"; // it has a copy
    press(Qt::Key_F2);
    EXPECT_EQ(results, QList<bool>({true}));
}

TEST_F(Credentials, KeepsItsEntriesAfterRetry)
{
    openPrompt("me", "wrong", true);
    {
        BoxAnswers answers({Qt::Key_Return}); // the centre key is the first button
        answers.keepPicture("credentials-wrong-password-");
        press(Qt::Key_F2);
        EXPECT_EQ(answers.boxes(), QList{WRONG_PASSWORD});
    }
    EXPECT_EQ(results, QList<bool>());
    EXPECT_EQ(saved(), "");
    ASSERT_NE(prompt, nullptr);
    EXPECT_EQ(open<SETUP_SIP_UserIDAndPasswordDlg>(), prompt);
    EXPECT_EQ(userEdit->text(), "me");
    EXPECT_EQ(passwordEdit->text(), "wrong");
    EXPECT_TRUE(remember_->isChecked());
    EXPECT_TRUE(userEdit->hasFocus());
    press(Qt::Key_Down);
    press(Qt::Key_A, Qt::ControlModifier);
    type("secret");
    press(Qt::Key_F2);
    EXPECT_EQ(results, QList<bool>({true}));
    EXPECT_EQ(saved(), "me/secret/yes");
}

TEST_F(Credentials, SavesNothingAfterBack)
{
    for (const SoftKey key : RIGHT_KEYS) {
        openPrompt("me", "secret", true);
        press(key);
        EXPECT_EQ(results, QList<bool>({false}));
        EXPECT_EQ(saved(), "");
    }
}

TEST_F(Credentials, ObeysThePointer)
{
    openPrompt("me", "secret");
    press(SoftKey::MIDDLE_CLICK);
    EXPECT_EQ(results, QList<bool>({true}));
    openPrompt("me", "wrong");
    const auto cancelled = onceOpen<OrmuMessageBox>([](OrmuMessageBox&) { press(SoftKey::RIGHT_CLICK); });
    press(SoftKey::MIDDLE_CLICK);
    EXPECT_EQ(results, QList<bool>({false}));
}

} // namespace
