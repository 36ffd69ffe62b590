#include "OrmuMessageBox.h"
#include "OrmuMultiLineEdit.h"
#include "OrmuPushButton.h"
#include "OrmuStyle.h"
#include "SETUP_SIP_Agent.h"
#include "SETUP_SIP_UserIDAndPasswordDlg.h"
#include "SetupScreensTest.h"
#include "UTIL_CST.h"

#include <QCheckBox>
#include <QLabel>
#include <QPointer>
#include <QSignalSpy>

using namespace ScreenDriver;

namespace {
const ShownBox WRONG_USER("Incorrect User name", "Dialog_Exclamatory_Mark.jpg", {"Retry", "Cancel"});
const ShownBox WRONG_PASSWORD("Incorrect Password", "Dialog_Exclamatory_Mark.jpg", {"Retry", "Cancel"});

// The prompt for a profile whose user name is "me" and whose password is "secret".
class Credentials : public SettingsTest
{
protected:
    Credentials()
    {
        profile.userID = "me";
        profile.password = "secret";
    }
    ~Credentials() override
    {
        delete prompt;
        EXPECT_EQ(OrmuPhoneWindow::instance()->topScreen(), nullptr);
    }

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
        softKeys = static_cast<UTIL_CST*>(prompt->getCSTWidget());
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
    UTIL_CST* softKeys = nullptr;
};

TEST_F(Credentials, ShowsItsFormAtItsPlaces)
{
    openPrompt("me", "wrong");
    const auto labels = prompt->getContentWidget()->findChildren<QLabel*>();
    ASSERT_EQ(labels.size(), 2);
    EXPECT_EQ(labels[0]->text(), "User Name:");
    EXPECT_EQ(labels[0]->geometry(), QRect(0, 0, 220, 30));
    EXPECT_EQ(userEdit->geometry(), QRect(QPoint(0, 30), OrmuStyle::entrySize()));
    EXPECT_EQ(labels[1]->text(), "Password:");
    EXPECT_EQ(labels[1]->geometry(), QRect(0, 60, 220, 30));
    EXPECT_EQ(passwordEdit->geometry(), QRect(QPoint(0, 90), OrmuStyle::entrySize()));
    EXPECT_EQ(remember_->text(), "Remember the password");
    EXPECT_EQ(remember_->geometry(), QRect(0, 120, 220, 60));
    EXPECT_EQ(prompt->objectName(), "");
    keepPicture("credentials");
}

TEST_F(Credentials, TakesTheParentAndTheNameItIsGiven)
{
    QWidget parent;
    QString text;
    const SETUP_SIP_UserIDAndPasswordDlg child(text, text, false, profile, &parent, "prompt");
    EXPECT_EQ(child.parentWidget(), &parent);
    EXPECT_EQ(child.objectName(), "prompt");
}

TEST_F(Credentials, IsFilledWithWhatItIsGivenAndMasksThePassword)
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
}

TEST_F(Credentials, HasOkInTheMiddleAndBackOnTheRight)
{
    openPrompt();
    EXPECT_EQ(softKeys->getMidBtn()->text(), "OK");
    EXPECT_EQ(softKeys->getRightBtn()->resourceID(), "CST_Back");
    EXPECT_EQ(softKeys->getRightBtn()->text(), "Back");
    EXPECT_EQ(softKeys->getLeftBtn()->text(), "");
    EXPECT_FALSE(softKeys->getLeftBtn()->isEnabled());
    press(Qt::Key_F1);
    EXPECT_EQ(results, QList<bool>());
}

TEST_F(Credentials, AcceptsTheProfilesOwnAndSavesThemWithoutAMessage)
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

TEST_F(Credentials, HasSavedWhenItTellsAndLeavesTheStringsThatItIsGivenAlone)
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

TEST_F(Credentials, SavesAnEmptyPasswordWhenItIsNotToBeRemembered)
{
    openPrompt("me", "secret", false);
    press(Qt::Key_F2);
    EXPECT_EQ(results, QList<bool>({true}));
    EXPECT_EQ(saved(), "me//no");
}

TEST_F(Credentials, ForgetsAPasswordThatIsNoLongerToBeRemembered)
{
    SETUP_SIP_Agent::saveLastInputUserIDPassword("me", "secret", true);
    openPrompt("me", "secret", true);
    click(remember_);
    press(Qt::Key_F2);
    EXPECT_EQ(saved(), "me//no");
    EXPECT_FALSE(readFile().contains("secret"));
}

TEST_F(Credentials, ReportsAWrongUserNameBeforeAWrongPassword)
{
    for (const char* password : {"secret", "wrong"}) {
        openPrompt("you", password);
        const BoxAnswers answers({Qt::Key_F1});
        press(Qt::Key_F2);
        EXPECT_EQ(answers.boxes(), QList<ShownBox>({WRONG_USER}));
        delete prompt;
    }
}

TEST_F(Credentials, ComparesExactly)
{
    for (const char* user : {"Me", "me ", " me", "", "m"}) {
        openPrompt(user, "secret");
        const BoxAnswers answers({Qt::Key_F1});
        press(Qt::Key_F2);
        EXPECT_EQ(answers.boxes(), QList<ShownBox>({WRONG_USER})) << user;
        delete prompt;
    }
    for (const char* password : {"Secret", "secret ", "", "secre"}) {
        openPrompt("me", password);
        const BoxAnswers answers({Qt::Key_F1});
        press(Qt::Key_F2);
        EXPECT_EQ(answers.boxes(), QList<ShownBox>({WRONG_PASSWORD})) << password;
        delete prompt;
    }
}

TEST_F(Credentials, RetryGoesBackToWhatWasTypedAndSavesNothing)
{
    openPrompt("me", "wrong", true);
    const BoxAnswers answers({Qt::Key_F1});
    press(Qt::Key_F2);
    EXPECT_EQ(answers.boxes(), QList<ShownBox>({WRONG_PASSWORD}));
    EXPECT_EQ(results, QList<bool>());
    EXPECT_EQ(saved(), "");
    ASSERT_NE(prompt, nullptr);
    EXPECT_EQ(open<SETUP_SIP_UserIDAndPasswordDlg>(), prompt);
    EXPECT_EQ(userEdit->text(), "me");
    EXPECT_EQ(passwordEdit->text(), "wrong");
    EXPECT_TRUE(remember_->isChecked());
    EXPECT_TRUE(userEdit->hasFocus()) << "the keys are where they were";
}

TEST_F(Credentials, RetryWithTheRightPasswordSucceeds)
{
    openPrompt("me", "wrong", true);
    BoxAnswers answers({Qt::Key_Return}); // the centre key is the first button
    answers.keepPicture("credentials-wrong-password-");
    press(Qt::Key_F2);
    press(Qt::Key_Down);
    press(Qt::Key_A, Qt::ControlModifier);
    type("secret");
    press(Qt::Key_F2);
    EXPECT_EQ(results, QList<bool>({true}));
    EXPECT_EQ(saved(), "me/secret/yes");
}

TEST_F(Credentials, CancelSavesWhatWasTypedAndGivesUp)
{
    openPrompt("you", "wrong", true);
    const BoxAnswers answers({Qt::Key_F3});
    press(Qt::Key_F2);
    EXPECT_EQ(answers.boxes(), QList<ShownBox>({WRONG_USER}));
    EXPECT_EQ(results, QList<bool>({false}));
    EXPECT_EQ(saved(), "you/wrong/yes");
}

TEST_F(Credentials, CancelSavesAnEmptyPasswordToo)
{
    openPrompt("me", "wrong", false);
    const BoxAnswers answers({Qt::Key_Escape});
    press(Qt::Key_F2);
    EXPECT_EQ(results, QList<bool>({false}));
    EXPECT_EQ(saved(), "me//no");
}

TEST_F(Credentials, AMessageThatEndsInAnotherWayCountsAsCancel)
{
    openPrompt("me", "wrong", true);
    const auto hidden = onceOpen<OrmuMessageBox>([](OrmuMessageBox& box) { box.hide(); });
    press(Qt::Key_F2);
    EXPECT_EQ(results, QList<bool>({false}));
    EXPECT_EQ(saved(), "me/wrong/yes");
}

TEST_F(Credentials, BackGivesUpAndSavesNothing)
{
    for (const Qt::Key key : {Qt::Key_F3, Qt::Key_Escape}) {
        openPrompt("me", "secret", true);
        press(key);
        EXPECT_EQ(results, QList<bool>({false}));
        EXPECT_EQ(saved(), "");
    }
}

TEST_F(Credentials, AcceptsTwoEmptyEntriesForAProfileWithoutUserNameAndPassword)
{
    profile.userID = QString();
    profile.password = "";
    openPrompt();
    press(Qt::Key_F2);
    EXPECT_EQ(results, QList<bool>({true}));
}

TEST_F(Credentials, KeepsACopyOfTheProfileAsItWas)
{
    openPrompt("me", "secret");
    profile.password = "changed";
    press(Qt::Key_F2);
    EXPECT_EQ(results, QList<bool>({true}));
}

TEST_F(Credentials, IsDoneByPointerToo)
{
    openPrompt("me", "secret");
    click(softKeys->getMidBtn());
    EXPECT_EQ(results, QList<bool>({true}));
    openPrompt("me", "secret");
    click(softKeys->getRightBtn());
    EXPECT_EQ(results, QList<bool>({false}));
    openPrompt("me", "wrong");
    const auto cancelled =
        onceOpen<OrmuMessageBox>([](OrmuMessageBox& box) { click(box.findChild<OrmuPushButton*>("right")); });
    click(softKeys->getMidBtn());
    EXPECT_EQ(results, QList<bool>({false}));
}

TEST_F(Credentials, MayBeDeletedWhileItsMessageIsShown)
{
    for (const Qt::Key key : {Qt::Key_F1, Qt::Key_F3}) {
        openPrompt("me", "wrong", true);
        const auto deleted = onceOpen<OrmuMessageBox>([this, key](OrmuMessageBox&) {
            delete prompt;
            press(key);
        });
        press(Qt::Key_F2);
        EXPECT_EQ(results, QList<bool>());
        EXPECT_EQ(saved(), "") << "nobody is left who gave up";
    }
}

} // namespace
