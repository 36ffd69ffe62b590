#include "NAPI_ListAllProfile.h"
#include "OrmuPushButton.h"
#include "OrmuSkin.h"
#include "OrmuStyle.h"
#include "ProfileScreenTest.h"
#include "SETUP_SIP_ProfileEdit.h"

#include <QClipboard>
#include <QLabel>
#include <QSignalSpy>

#include <dlfcn.h>

#include <cstring>

using namespace ScreenDriver;

namespace {

// What the phone's list of data connections answers, in place of the real one.
struct Connections
{
    std::vector<std::string> records; // as they stand, without a terminator where they are 64 bytes long
    int result = 0;
    int secondResult = 0;
    std::optional<int> secondCount = {}; // what the second call tells
    std::vector<int> rooms = {};         // what the callers made room for
};
Connections* connections = nullptr;

const char MISSING[] = "Some required value is not input, input again.";
const char EXISTS[] = "Profile name already existed, try again.";
const char EXIT_QUESTION[] = "Exit without saving?";

QImage exclamatoryMark()
{
    return OrmuSkin::skin()->pixmap("Dialog_Exclamatory_Mark").toImage();
}

bool isShown(const QWidget* entry)
{
    return !entry->visibleRegion().isEmpty() && entry->visibleRegion().boundingRect() == entry->rect();
}

} // namespace

extern "C" int NAPI_ListAllProfile(void* buffer, int* count)
{
    if (connections == nullptr) {
        static const auto real =
            reinterpret_cast<int (*)(void*, int*)>(dlsym(RTLD_NEXT, "NAPI_ListAllProfile"));
        return real(buffer, count);
    }
    connections->rooms.push_back(*count);
    const auto total = static_cast<int>(connections->records.size());
    auto* to = static_cast<char*>(buffer);
    for (int i = 0; i < *count && i < total; ++i) {
        std::memset(to + i * NAPI_PROFILE_RECORD_SIZE, 0, NAPI_PROFILE_RECORD_SIZE);
        const std::string& record = connections->records[static_cast<size_t>(i)];
        std::memcpy(to + i * NAPI_PROFILE_RECORD_SIZE, record.data(), record.size());
    }
    const bool second = connections->rooms.size() > 1;
    *count = second ? connections->secondCount.value_or(total) : total;
    return second ? connections->secondResult : connections->result;
}

namespace {

class ProfileEdit : public ProfileScreenTest
{
protected:
    ~ProfileEdit() override { connections = nullptr; }

    // Opens the screen as its openers do.
    void openScreen(const QString& name = QString())
    {
        done.reset();
        screen.reset();
        screen.reset(new SETUP_SIP_ProfileEdit(name));
        done = std::make_unique<QSignalSpy>(screen.get(), &SETUP_SIP_ProfileEdit::editDone);
        screen->show();
        form.emplace(screen.get());
    }

    // Opens the screen for a stored profile.
    void openProfile(const SIP_PROFILE_CONTENT& record)
    {
        store(record);
        openScreen(record.displayName);
    }

    // Saves, and returns what the file holds in that group.
    SIP_PROFILE_CONTENT save(const QString& group = "Profile0")
    {
        const NoMessage guard;
        press(Qt::Key_F2);
        EXPECT_EQ(done->count(), 1);
        EXPECT_TRUE(done->value(0).value(0).toBool());
        return profileInFile(group);
    }

    // Presses Save, which must be refused with one message, and answers it.
    std::optional<Message> refusal(Qt::Key answerKey = Qt::Key_F2)
    {
        std::optional<Message> message;
        {
            const auto answer = onceOpen<OrmuMessageBox>([&](OrmuMessageBox& box) {
                message.emplace(box);
                press(answerKey);
            });
            press(Qt::Key_F2);
        }
        EXPECT_EQ(open<SETUP_SIP_ProfileEdit>(), screen.get());
        EXPECT_EQ(done->count(), 0);
        return message;
    }
    QString refusalText()
    {
        const std::optional<Message> message = refusal();
        return message ? message->text : QString();
    }

    // Presses Back, which must ask, and answers the question.
    std::optional<Message> answerQuestion(Qt::Key answerKey)
    {
        std::optional<Message> message;
        const auto answer = onceOpen<OrmuMessageBox>([&](OrmuMessageBox& box) {
            message.emplace(box);
            press(answerKey);
        });
        press(Qt::Key_F3);
        return message;
    }

    void expectLeavesWithoutQuestion()
    {
        const NoMessage guard;
        press(Qt::Key_F3);
        ASSERT_EQ(done->count(), 1);
        EXPECT_FALSE(done->first()[0].toBool());
    }

    void deleteScreenWhenDone()
    {
        QObject::connect(screen.get(), &SETUP_SIP_ProfileEdit::editDone, [this](bool saved) {
            lastResult = saved;
            screen.reset();
        });
    }

    std::unique_ptr<SETUP_SIP_ProfileEdit> screen;
    std::optional<EditForm> form;
    std::unique_ptr<QSignalSpy> done;
    std::optional<bool> lastResult;
};

TEST_F(ProfileEdit, OpensWithTheDefaultsOfANewProfile)
{
    openScreen();
    EXPECT_EQ(form->name->text(), "");
    EXPECT_EQ(form->server->text(), "");
    EXPECT_EQ(form->port->text(), "5060");
    EXPECT_EQ(form->user->text(), "");
    EXPECT_EQ(form->password->text(), "");
    EXPECT_EQ(form->network->currentText(), "internet");
    EXPECT_TRUE(form->autoConnect->isChecked());
}

TEST_F(ProfileEdit, OpensWithTheValuesOfTheStoredProfile)
{
    SettingsDirectory::writeFile(directory() + "/data_connections", "internet\nbüro\n");
    SIP_PROFILE_CONTENT record = usableRecord("Work");
    record.portNum = 5099;
    record.network = "büro";
    record.autoConnect = false;
    openProfile(record);
    EXPECT_EQ(form->name->text(), "Work");
    EXPECT_EQ(form->server->text(), "sip.example.org");
    EXPECT_EQ(form->port->text(), "5099");
    EXPECT_EQ(form->user->text(), "alice");
    EXPECT_EQ(form->password->text(), "secret");
    EXPECT_EQ(form->network->currentText(), "büro");
    EXPECT_FALSE(form->autoConnect->isChecked());
}

TEST_F(ProfileEdit, KnowsNothingOfAProfileThatIsGone)
{
    SettingsDirectory::writeFile(directory() + "/data_connections", "büro\ninternet\n");
    openScreen("gone");
    for (const OrmuMultiLineEdit* entry : {form->name, form->server, form->user, form->password})
        EXPECT_EQ(entry->text(), "");
    EXPECT_EQ(form->network->currentText(), "büro");
    form->enterAll("gone");
    EXPECT_EQ(save().displayName, "gone");
    EXPECT_EQ(namesInFile(), QStringList({"gone"}));
}

TEST_F(ProfileEdit, PlacesItsLabelsDownTheForm)
{
    openScreen();
    const std::pair<int, const char*> labels[] = {{0, "Profile name:"}, {60, "Server address:"},
                                                  {120, "Port:"},       {180, "User Name:"},
                                                  {240, "Password:"},   {300, "Internet Profile:"}};
    EXPECT_EQ(form->contents->findChildren<QLabel*>().size(), 6);
    for (const auto& [y, text] : labels) {
        const auto* label = form->at<QLabel>(y);
        ASSERT_NE(label, nullptr);
        EXPECT_EQ(label->text(), text);
        EXPECT_EQ(label->geometry(), QRect(0, y, 220, 30));
    }
}

TEST_F(ProfileEdit, PlacesItsEntriesBetweenTheLabels)
{
    openScreen();
    for (const auto& [entry, y] : {std::pair(form->name, 30), std::pair(form->server, 90),
                                   std::pair(form->user, 210), std::pair(form->password, 270)}) {
        ASSERT_NE(entry, nullptr);
        EXPECT_EQ(entry->geometry(), QRect(QPoint(0, y), OrmuStyle::entrySize()));
    }
    EXPECT_EQ(form->port->geometry(), QRect(0, 150, 220, 30));
    EXPECT_EQ(form->network->geometry(), QRect(QPoint(0, 330), OrmuStyle::entrySize()));
    EXPECT_EQ(form->autoConnect->geometry(), QRect(0, 360, 220, 60));
    EXPECT_EQ(form->autoConnect->text(), "Auto connect when power on");
    EXPECT_FALSE(form->autoConnect->isTristate());
}

TEST_F(ProfileEdit, HasSaveAndBackOnItsSoftKeysAndNothingOnTheLeftOne)
{
    openScreen();
    EXPECT_EQ(form->softKeys->getMidBtn()->text(), "Save");
    EXPECT_TRUE(form->softKeys->getMidBtn()->isEnabled());
    EXPECT_EQ(form->softKeys->getRightBtn()->resourceID(), "CST_Back");
    EXPECT_TRUE(form->softKeys->getRightBtn()->isEnabled());
    EXPECT_EQ(form->softKeys->getLeftBtn()->text(), "");
    EXPECT_FALSE(form->softKeys->getLeftBtn()->isEnabled());
    press(Qt::Key_F1);
    EXPECT_EQ(open<SETUP_SIP_ProfileEdit>(), screen.get());
    EXPECT_EQ(done->count(), 0);
}

TEST_F(ProfileEdit, MasksThePasswordAndNothingElse)
{
    openScreen();
    EXPECT_EQ(form->password->echoMode(), OrmuMultiLineEdit::Password);
    EXPECT_EQ(int(form->password->echoMode()), 2);
    for (const OrmuMultiLineEdit* entry : {form->name, form->server, form->port, form->user})
        EXPECT_EQ(entry->echoMode(), OrmuMultiLineEdit::Normal);
    form->enter(form->password, "pass");
    EXPECT_EQ(form->password->text(), "pass");
    EXPECT_FALSE(form->password->displayText().contains('p'));
}

TEST_F(ProfileEdit, TakesTheFocusByArrowsAndTabInTheOrderOfTheFormAndShowsIt)
{
    openScreen();
    const QList<QWidget*> order = form->inOrder();
    EXPECT_TRUE(order.first()->hasFocus());
    for (const Qt::Key forward : {Qt::Key_Down, Qt::Key_Tab}) {
        for (qsizetype i = 1; i <= order.size(); ++i) {
            press(forward);
            QWidget* next = order[i % order.size()];
            EXPECT_TRUE(next->hasFocus()) << i;
            EXPECT_TRUE(isShown(next)) << i;
        }
    }
    for (const Qt::Key back : {Qt::Key_Up, Qt::Key_Backtab}) {
        for (qsizetype i = order.size(); i-- > 0;) {
            press(back, back == Qt::Key_Backtab ? Qt::ShiftModifier : Qt::NoModifier);
            EXPECT_TRUE(order[i]->hasFocus()) << i;
            EXPECT_TRUE(isShown(order[i])) << i;
        }
    }
}

TEST_F(ProfileEdit, SavesANewProfileTypedByKeysAlone)
{
    SettingsDirectory::writeFile(directory() + "/data_connections", "internet\nwork\n");
    openScreen();
    type("Home");
    press(Qt::Key_Down);
    type("sip.example.net");
    press(Qt::Key_Down);
    press(Qt::Key_Backspace);
    type("5");
    press(Qt::Key_Down);
    type("bob");
    press(Qt::Key_Down);
    type("pa ss");
    press(Qt::Key_Down);
    press(Qt::Key_Return);
    press(Qt::Key_Down);
    press(Qt::Key_Return);
    press(Qt::Key_Down);
    press(Qt::Key_Return);
    const SIP_PROFILE_CONTENT saved = save();
    EXPECT_EQ(saved.displayName, "Home");
    EXPECT_EQ(saved.server, "sip.example.net");
    EXPECT_EQ(saved.portNum, 5u);
    EXPECT_EQ(saved.userID, "bob");
    EXPECT_EQ(saved.password, "pa ss");
    EXPECT_EQ(saved.network, "work");
    EXPECT_FALSE(saved.autoConnect);
    EXPECT_EQ(saved.registerValue, "");
    EXPECT_FALSE(saved.locked);
    EXPECT_FALSE(saved.defaultProfile);
    EXPECT_TRUE(saved.needUserIDPass);
    EXPECT_FALSE(saved.remPassword);
    EXPECT_EQ(namesInFile(), QStringList({"Home"}));
}

TEST_F(ProfileEdit, WritesNothingBeforeSave)
{
    openScreen();
    form->enterAll("Home");
    EXPECT_EQ(entries(), QStringList());
    EXPECT_EQ(SETUP_SIP_Agent::instance()->profileCount(), 0);
}

TEST_F(ProfileEdit, PassesOnUnchangedWhatTheFormDoesNotShow)
{
    SIP_PROFILE_CONTENT record = usableRecord("Work");
    record.registerValue = "[yes]";
    record.locked = true;
    record.defaultProfile = true;
    record.needUserIDPass = false;
    record.remPassword = true;
    openProfile(record);
    form->enter(form->server, "other.example.org");
    const SIP_PROFILE_CONTENT saved = save();
    EXPECT_EQ(saved.server, "other.example.org");
    EXPECT_EQ(saved.registerValue, "[yes]");
    EXPECT_TRUE(saved.locked);
    EXPECT_TRUE(saved.defaultProfile);
    EXPECT_FALSE(saved.needUserIDPass);
    EXPECT_TRUE(saved.remPassword);
}

TEST_F(ProfileEdit, RefusesEachRequiredValueThatIsMissing)
{
    for (const auto& missing :
         {&EditForm::name, &EditForm::server, &EditForm::port, &EditForm::user, &EditForm::password}) {
        openScreen();
        form->enterAll("Home");
        form->enter((*form).*missing, "");
        const std::optional<Message> message = refusal();
        ASSERT_TRUE(message);
        EXPECT_EQ(message->text, MISSING);
        EXPECT_EQ(message->buttons, QStringList({"OK", "", ""}));
        EXPECT_EQ(message->icon, exclamatoryMark());
        EXPECT_FALSE(message->icon.isNull());
    }
    EXPECT_EQ(entries(), QStringList());
}

TEST_F(ProfileEdit, RefusesTheNameOfAnotherProfileForANewOne)
{
    storeProfile("Work");
    const FileIdentity before(file());
    openScreen();
    form->enterAll("Work");
    form->enter(form->server, "other.example.org");
    const std::optional<Message> message = refusal();
    ASSERT_TRUE(message);
    EXPECT_EQ(message->text, EXISTS);
    EXPECT_EQ(message->buttons, QStringList({"OK", "", ""}));
    EXPECT_EQ(message->icon, exclamatoryMark());
    EXPECT_EQ(FileIdentity(file()), before);
}

TEST_F(ProfileEdit, ComparesNamesExactly)
{
    storeProfile("Work");
    openScreen();
    form->enterAll("work");
    EXPECT_EQ(save("Profile1").displayName, "work");
}

TEST_F(ProfileEdit, ChecksTheNameFirstThenWhetherItExistsThenTheRest)
{
    storeProfile("Work");
    openScreen();
    EXPECT_EQ(refusalText(), MISSING);
    form->enter(form->name, "Work");
    EXPECT_EQ(refusalText(), EXISTS);
    form->enter(form->name, "Home");
    EXPECT_EQ(refusalText(), MISSING);
    form->enter(form->server, "sip.example.org");
    form->enter(form->port, "");
    EXPECT_EQ(refusalText(), MISSING);
    form->enter(form->port, "1");
    EXPECT_EQ(refusalText(), MISSING);
    form->enter(form->user, "alice");
    EXPECT_EQ(refusalText(), MISSING);
    form->enter(form->password, "secret");
    EXPECT_EQ(save("Profile1").displayName, "Home");
}

TEST_F(ProfileEdit, CountsBlanksAsInput)
{
    openScreen();
    for (const OrmuMultiLineEdit* entry : {form->name, form->server, form->user, form->password})
        form->enter(entry, " ");
    const SIP_PROFILE_CONTENT saved = save();
    for (const QString& text : {saved.displayName, saved.server, saved.userID, saved.password})
        EXPECT_EQ(text, " ");
}

TEST_F(ProfileEdit, NeedsNoUserNameAndPasswordWhereTheProfileDoesNot)
{
    SIP_PROFILE_CONTENT record = usableRecord("Work");
    record.needUserIDPass = false;
    openProfile(record);
    form->enter(form->user, "");
    form->enter(form->password, "");
    const SIP_PROFILE_CONTENT saved = save();
    EXPECT_EQ(saved.userID, "");
    EXPECT_EQ(saved.password, "");
}

TEST_F(ProfileEdit, StillNeedsNameServerAndPortOfSuchAProfile)
{
    SIP_PROFILE_CONTENT record = usableRecord("Work");
    record.needUserIDPass = false;
    store(record);
    for (const auto& missing : {&EditForm::name, &EditForm::server, &EditForm::port}) {
        openScreen("Work");
        form->enter((*form).*missing, "");
        EXPECT_EQ(refusalText(), MISSING);
    }
}

TEST_F(ProfileEdit, StaysAsItIsAfterARefusalAndCanBeSavedOnceItIsMended)
{
    openScreen();
    form->enterAll("Home");
    form->enter(form->port, "");
    for (const Qt::Key answerKey : {Qt::Key_F1, Qt::Key_F2, Qt::Key_F3, Qt::Key_Escape, Qt::Key_Return})
        EXPECT_TRUE(refusal(answerKey));
    EXPECT_TRUE(form->port->hasFocus());
    EXPECT_EQ(form->name->text(), "Home");
    EXPECT_EQ(form->password->text(), "secret");
    type("5061");
    EXPECT_EQ(save().portNum, 5061u);
}

TEST_F(ProfileEdit, TakesOnlyDigitsIntoThePort)
{
    openScreen();
    form->enter(form->port, "a1-2 ٣３4");
    EXPECT_EQ(form->port->text(), "124");
    QApplication::clipboard()->setText("x5y\n6.7");
    press(Qt::Key_V, Qt::ControlModifier);
    EXPECT_EQ(form->port->text(), "124567");
}

TEST_F(ProfileEdit, SavesAnyPortThatIsANumberAndOneTooLargeAsNothing)
{
    store(usableRecord("Work"));
    const std::pair<const char*, unsigned int> ports[] = {{"0", 0},          {"007", 7},
                                                          {"65536", 65536},  {"2147483647", 2147483647},
                                                          {"2147483648", 0}, {"4294967295", 0}};
    for (const auto& [typed, stored] : ports) {
        openScreen("Work");
        form->enter(form->port, typed);
        EXPECT_EQ(save().portNum, stored) << typed;
    }
    openScreen("Work");
    QApplication::clipboard()->setText(QString(10000, '9'));
    form->enter(form->port, "");
    press(Qt::Key_V, Qt::ControlModifier);
    EXPECT_EQ(form->port->text().size(), 10000);
    EXPECT_EQ(save().portNum, 0u);
}

TEST_F(ProfileEdit, TakesTextsOfTenThousandCharacters)
{
    const QString longText = QString(9990, 'x') + "1234567890";
    openScreen();
    form->enterAll("Home");
    QApplication::clipboard()->setText(longText);
    for (const OrmuMultiLineEdit* entry : {form->name, form->server, form->user, form->password}) {
        form->enter(entry, "");
        press(Qt::Key_V, Qt::ControlModifier);
        EXPECT_EQ(entry->text(), longText);
    }
    const SIP_PROFILE_CONTENT saved = save();
    for (const QString& text : {saved.displayName, saved.server, saved.userID, saved.password})
        EXPECT_EQ(text, longText);
}

TEST_F(ProfileEdit, TakesTextsOfEveryScript)
{
    const QString text = QStringLiteral("שלום مرحبا 電話 ﾃｽﾄ Ünï 😀 &<b>\\n=;[");
    openScreen();
    for (const OrmuMultiLineEdit* entry : {form->name, form->server, form->user, form->password}) {
        form->enter(entry, text);
        EXPECT_EQ(entry->text(), text);
    }
    const SIP_PROFILE_CONTENT saved = save();
    for (const QString& read : {saved.displayName, saved.server, saved.userID, saved.password})
        EXPECT_EQ(read, text);
    openScreen(text);
    EXPECT_EQ(form->server->text(), text);
}

TEST_F(ProfileEdit, DeletesNothingWhenTheNameStays)
{
    storeProfile("A");
    storeProfile("B");
    SETUP_SIP_Agent::instance()->setDefaultProfile("A");
    openScreen("A");
    form->enter(form->server, "other.example.org");
    EXPECT_EQ(save("Profile0").server, "other.example.org");
    // A profile that is deleted and written anew is the last, and the default no more.
    EXPECT_EQ(profileNames(), QStringList({"A", "B"}));
    EXPECT_EQ(SETUP_SIP_Agent::getDefaultProfile(), "Profile0");
}

TEST_F(ProfileEdit, RenamesByDeletingAndWritingAnew)
{
    for (const char* name : {"A", "B", "C"})
        storeProfile(name);
    SETUP_SIP_Agent::instance()->deleteProfile("A");
    openScreen("B");
    form->enter(form->name, "D");
    // The lowest number that is free once B is gone is A's.
    EXPECT_EQ(save("Profile0").displayName, "D");
    EXPECT_EQ(profileNames(), QStringList({"C", "D"}));
    EXPECT_EQ(profileInFile("Profile1").displayName, "");
    EXPECT_EQ(profileInFile("Profile2").displayName, "C");
    EXPECT_EQ(SETUP_SIP_Agent::instance()->profileCount(), 2);
}

TEST_F(ProfileEdit, ASecondSaveDeletesTheNameOfTheFirst)
{
    openProfile(usableRecord("A"));
    for (const char* name : {"B", "C"}) {
        form->enter(form->name, name);
        EXPECT_EQ(save().displayName, name);
        done->clear();
    }
    EXPECT_EQ(namesInFile(), QStringList({"C"}));
}

TEST_F(ProfileEdit, TakesAChangeOfCaseForAnotherName)
{
    storeProfile("A");
    storeProfile("B");
    openScreen("A");
    form->enter(form->name, "a");
    save();
    EXPECT_EQ(profileNames(), QStringList({"B", "a"}));
}

TEST_F(ProfileEdit, SilentlyOverwritesTheProfileWhoseNameItIsGiven)
{
    for (const char* name : {"A", "B", "C"})
        storeProfile(name);
    openScreen("A");
    form->enter(form->name, "B");
    form->enter(form->server, "a.example.org");
    EXPECT_EQ(save("Profile1").server, "a.example.org");
    EXPECT_EQ(profileNames(), QStringList({"B", "C"}));
    EXPECT_EQ(profileInFile("Profile0").displayName, "");
}

TEST_F(ProfileEdit, LeavesNoValidDefaultBehindWhenTheDefaultProfileIsRenamed)
{
    storeProfile("A");
    storeProfile("B");
    SETUP_SIP_Agent::instance()->setDefaultProfile("A");
    ASSERT_EQ(SETUP_SIP_Agent::getDefaultProfile(), "Profile0");
    openScreen("A");
    form->enter(form->name, "C");
    EXPECT_TRUE(save("Profile0").defaultProfile);
    EXPECT_TRUE(SETUP_SIP_Agent::instance()->isProfileDefault("C"));
    // The deletion took the group's name away, and the profile is written with its flag as it was.
    EXPECT_EQ(SETUP_SIP_Agent::getDefaultProfile(), "true");
}

TEST_F(ProfileEdit, StoresTheChosenInternetProfile)
{
    SettingsDirectory::writeFile(directory() + "/data_connections", "internet\nwork\nhome\n");
    openProfile(usableRecord("Work"));
    form->moveTo(form->network);
    press(Qt::Key_Return);
    press(Qt::Key_Down);
    press(Qt::Key_Down);
    press(Qt::Key_Return);
    EXPECT_EQ(form->network->currentText(), "home");
    EXPECT_EQ(save().network, "home");
}

TEST_F(ProfileEdit, ShowsAndStoresTheFirstInternetProfileWhenItsOwnIsNotListed)
{
    SettingsDirectory::writeFile(directory() + "/data_connections", "work\nhome\n");
    openProfile(usableRecord("Work"));
    EXPECT_EQ(form->network->currentText(), "work");
    EXPECT_EQ(save().network, "work");
}

TEST_F(ProfileEdit, AsksForTheNumberOfInternetProfilesAndThenForAllOfThem)
{
    Connections list{{"one", "internet", "three"}};
    connections = &list;
    openScreen();
    EXPECT_EQ(list.rooms, std::vector<int>({1, 3}));
    EXPECT_EQ(form->network->count(), 3);
    EXPECT_EQ(form->network->itemText(0), "one");
    EXPECT_EQ(form->network->itemText(2), "three");
    EXPECT_EQ(form->network->currentIndex(), 1);
}

TEST_F(ProfileEdit, SelectsTheLastInternetProfileThatMatches)
{
    Connections list{{"one", "internet", "two", "internet"}};
    connections = &list;
    openScreen();
    EXPECT_EQ(form->network->currentIndex(), 3);
}

TEST_F(ProfileEdit, ReadsInternetProfilesAsUtf8AndNotBeyondTheirRecords)
{
    const std::string full = "ü" + std::string(62, 'x');
    Connections list{{full, "дом", std::string(64, 'z')}};
    connections = &list;
    openScreen();
    EXPECT_EQ(form->network->itemText(0), QString("ü" + QString(62, 'x')));
    EXPECT_EQ(form->network->itemText(1), "дом");
    EXPECT_EQ(form->network->itemText(2), QString(64, 'z'));
}

TEST_F(ProfileEdit, StoresNoInternetProfileWhenNoneCanBeListed)
{
    Connections none;
    Connections failing{{"internet"}, -1};
    for (Connections* list : {&none, &failing}) {
        connections = list;
        list->rooms.clear();
        openProfile(usableRecord("Work"));
        EXPECT_EQ(list->rooms, std::vector<int>({1}));
        EXPECT_EQ(form->network->count(), 0);
        EXPECT_EQ(form->network->currentIndex(), -1);
        EXPECT_EQ(save().network, "");
    }
}

TEST_F(ProfileEdit, IgnoresTheResultOfTheSecondListing)
{
    Connections list{{"one", "two"}};
    list.secondResult = -1;
    connections = &list;
    openScreen();
    EXPECT_EQ(form->network->count(), 2);
}

TEST_F(ProfileEdit, BearsAListThatGrowsOrShrinksBetweenTheTwoListings)
{
    for (const auto& [told, shown] : {std::pair(5, 2), std::pair(1, 1), std::pair(0, 0)}) {
        Connections list{{"one", "two"}};
        list.secondCount = told;
        connections = &list;
        openScreen();
        EXPECT_EQ(form->network->count(), shown) << told;
        connections = nullptr;
    }
}

TEST_F(ProfileEdit, LeavesWithoutAQuestionRightAfterItOpened)
{
    openScreen();
    expectLeavesWithoutQuestion();
    openProfile(usableRecord("Work"));
    expectLeavesWithoutQuestion();
    EXPECT_TRUE(screen->isVisible());
}

TEST_F(ProfileEdit, LeavesWithoutAQuestionAfterAChangeOfTheInternetProfileAlone)
{
    SettingsDirectory::writeFile(directory() + "/data_connections", "internet\nwork\n");
    openProfile(usableRecord("Work"));
    form->moveTo(form->network);
    press(Qt::Key_Return);
    press(Qt::Key_Down);
    press(Qt::Key_Return);
    ASSERT_EQ(form->network->currentText(), "work");
    expectLeavesWithoutQuestion();
}

TEST_F(ProfileEdit, LeavesWithoutAQuestionWhenThePortTookNothing)
{
    openScreen();
    form->moveTo(form->port);
    press(Qt::Key_End);
    type("abc");
    expectLeavesWithoutQuestion();
}

TEST_F(ProfileEdit, AsksBeforeItLeavesAnyChange)
{
    for (const auto& entry :
         {&EditForm::name, &EditForm::server, &EditForm::port, &EditForm::user, &EditForm::password}) {
        openProfile(usableRecord("Work"));
        form->moveTo((*form).*entry);
        type("1");
        const std::optional<Message> question = answerQuestion(Qt::Key_F1);
        ASSERT_TRUE(question);
        EXPECT_EQ(question->text, EXIT_QUESTION);
        EXPECT_EQ(question->buttons, QStringList({"OK", "Cancel", ""}));
        EXPECT_EQ(question->icon, exclamatoryMark());
        ASSERT_EQ(done->count(), 1);
        EXPECT_FALSE(done->first()[0].toBool());
    }
    const SIP_PROFILE_CONTENT kept = profileInFile("Profile0");
    EXPECT_EQ(kept.displayName, "Work");
    EXPECT_EQ(kept.portNum, 5060u);
    EXPECT_EQ(namesInFile(), QStringList({"Work"}));
}

TEST_F(ProfileEdit, AsksAfterAClickOnTheCheckBoxByKeyOrPointer)
{
    openScreen();
    form->moveTo(form->autoConnect);
    press(Qt::Key_Return);
    EXPECT_FALSE(form->autoConnect->isChecked());
    EXPECT_TRUE(answerQuestion(Qt::Key_F1));
    openScreen();
    form->moveTo(form->autoConnect);
    clickAt(form->autoConnect, QPoint(10, 30));
    EXPECT_FALSE(form->autoConnect->isChecked());
    EXPECT_TRUE(answerQuestion(Qt::Key_F1));
}

TEST_F(ProfileEdit, AsksEvenWhenTheChangeWasTakenBack)
{
    openScreen();
    type("x");
    press(Qt::Key_Backspace);
    EXPECT_TRUE(answerQuestion(Qt::Key_F1));
}

TEST_F(ProfileEdit, StaysWhenTheQuestionIsCancelled)
{
    openScreen();
    type("x");
    for (const Qt::Key no : {Qt::Key_F3, Qt::Key_Escape}) {
        EXPECT_TRUE(answerQuestion(no));
        EXPECT_EQ(done->count(), 0);
        EXPECT_EQ(open<SETUP_SIP_ProfileEdit>(), screen.get());
        EXPECT_EQ(form->name->text(), "x");
    }
    {
        const auto end = onceOpen<OrmuMessageBox>([](OrmuMessageBox& box) { box.reject(); });
        press(Qt::Key_F3);
    }
    EXPECT_EQ(done->count(), 0) << "a question without an answer";
    EXPECT_TRUE(answerQuestion(Qt::Key_Return));
    EXPECT_EQ(done->count(), 1);
}

TEST_F(ProfileEdit, MayBeDeletedByTheSlotThatItsSaveReaches)
{
    for (const auto save :
         {+[](UTIL_CST*) { press(Qt::Key_F2); }, +[](UTIL_CST* keys) { click(keys->getMidBtn()); }}) {
        openScreen();
        form->enterAll("Home");
        deleteScreenWhenDone();
        save(form->softKeys);
        EXPECT_EQ(screen, nullptr);
        EXPECT_EQ(lastResult, true);
        SETUP_SIP_Agent::instance()->deleteProfile("Home");
    }
}

TEST_F(ProfileEdit, MayBeDeletedByTheSlotThatItsBackReaches)
{
    for (const auto back : {+[](UTIL_CST*) { press(Qt::Key_F3); }, +[](UTIL_CST*) { press(Qt::Key_Escape); },
                            +[](UTIL_CST* keys) { click(keys->getRightBtn()); }}) {
        openScreen();
        deleteScreenWhenDone();
        back(form->softKeys);
        EXPECT_EQ(screen, nullptr);
        EXPECT_EQ(lastResult, false);
    }
}

TEST_F(ProfileEdit, MayBeDeletedByTheSlotThatItsQuestionReaches)
{
    for (const auto back : {+[](UTIL_CST*) { press(Qt::Key_F3); }, +[](UTIL_CST*) { press(Qt::Key_Escape); },
                            +[](UTIL_CST* keys) { click(keys->getRightBtn()); }}) {
        openScreen();
        type("x");
        deleteScreenWhenDone();
        const auto answer = onceOpen<OrmuMessageBox>(
            [](OrmuMessageBox& box) { click(box.findChild<UTIL_CST*>()->getLeftBtn()); });
        back(form->softKeys);
        EXPECT_EQ(screen, nullptr);
        EXPECT_EQ(lastResult, false);
    }
}

TEST_F(ProfileEdit, MayBeDeletedWhileItsMessageIsOpen)
{
    openScreen();
    {
        const auto answer = onceOpen<OrmuMessageBox>([this](OrmuMessageBox&) {
            screen.reset();
            press(Qt::Key_F2);
        });
        press(Qt::Key_F2);
    }
    EXPECT_EQ(open<QWidget>(), nullptr);
    openScreen();
    type("x");
    {
        const auto answer = onceOpen<OrmuMessageBox>([this](OrmuMessageBox&) {
            screen.reset();
            press(Qt::Key_F1);
        });
        press(Qt::Key_F3);
    }
    EXPECT_EQ(open<QWidget>(), nullptr);
}

TEST_F(ProfileEdit, NeverDeletesItselfAndIsOwnedByTheParentItIsGiven)
{
    QWidget parent;
    EXPECT_EQ((new SETUP_SIP_ProfileEdit("", &parent, "edit"))->parentWidget(), &parent);
    EXPECT_EQ(parent.findChild<SETUP_SIP_ProfileEdit*>()->objectName(), "edit");
    openScreen();
    form->enterAll("Home");
    save();
    EXPECT_TRUE(screen->isVisible());
    // The profile exists by now.
    done->clear();
    EXPECT_EQ(refusalText(), EXISTS);
}

} // namespace
