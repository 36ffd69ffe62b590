// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#include "EditForm.h"
#include "NAPI_ListAllProfile.h"
#include "OrmuMessageBox.h"
#include "SETUP_SIP_ProfileEdit.h"
#include "ScreenTest.h"

#include <QClipboard>
#include <QSignalSpy>

#include <cstring>

namespace {

// Answers of the phone's list of data connections.
struct Connections
{
    std::vector<std::string> records; // a record of 64 bytes has no terminator
    int result = 0;
    int secondResult = 0;
    std::optional<int> secondCount = {}; // the count that the second call returns
    std::vector<int> rooms = {};         // the count that each caller passed
};
Connections* connections = nullptr;

const ShownBox MISSING("Some required value is not input, input again.",
                       "Dialog_Exclamatory_Mark of the skin", {"OK"});
const ShownBox EXISTS("Profile name already existed, try again.", "Dialog_Exclamatory_Mark of the skin",
                      {"OK"});
const ShownBox EXIT_QUESTION("Exit without saving?", "Dialog_Exclamatory_Mark of the skin", {"OK", "Cancel"});

bool isShown(const QWidget* entry)
{
    return !entry->visibleRegion().isEmpty() && entry->visibleRegion().boundingRect() == entry->rect();
}

} // namespace

// Takes the place of the phone's function while connections is set.
extern "C" int __real_NAPI_ListAllProfile(void* buffer, int* count);
extern "C" int __wrap_NAPI_ListAllProfile(void* buffer, int* count)
{
    if (connections == nullptr)
        return __real_NAPI_ListAllProfile(buffer, count);
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

class ProfileEdit : public ScreenTest
{
protected:
    ~ProfileEdit() override
    {
        connections = nullptr;
        screen.reset();
    }

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
    void openProfile(const SIP_PROFILE_CONTENT& profile)
    {
        store(profile);
        openScreen(profile.displayName);
    }
    void openFilled(const QString& name)
    {
        openScreen();
        form->enterAll(name);
    }
    void listConnections(const char* lines) const
    {
        SettingsDirectory::writeFile(directory() + "/data_connections", lines);
    }

    // The values that the screen has reported.
    QList<bool> results() const
    {
        QList<bool> values;
        for (const auto& arguments : *done)
            values += arguments[0].toBool();
        return values;
    }

    // Saves, and returns the profile of that group in the file.
    SIP_PROFILE_CONTENT save(const QString& group = "Profile0")
    {
        const BoxAnswers none({});
        press(Qt::Key_F2);
        EXPECT_EQ(results(), QList<bool>({true}));
        return profileInFile(group);
    }

    // Presses Save, which must be refused, and returns the boxes.
    QList<ShownBox> refusal(Qt::Key key = Qt::Key_F2)
    {
        const BoxAnswers answers({key});
        press(Qt::Key_F2);
        EXPECT_EQ(open<SETUP_SIP_ProfileEdit>(), screen.get());
        EXPECT_EQ(results(), QList<bool>());
        return answers.boxes();
    }

    // Presses Back, which must ask, and answers.
    static QList<ShownBox> leave(Qt::Key key)
    {
        const BoxAnswers answers({key});
        press(Qt::Key_F3);
        return answers.boxes();
    }

    void expectLeavesWithoutQuestion()
    {
        const BoxAnswers none({});
        press(Qt::Key_F3);
        EXPECT_EQ(results(), QList<bool>({false}));
    }

    std::unique_ptr<SETUP_SIP_ProfileEdit> screen;
    std::optional<EditForm> form;
    std::unique_ptr<QSignalSpy> done;
};

TEST_F(ProfileEdit, OpensWithDefaultsForANewProfileAndOneThatIsGone)
{
    for (const char* name : {"", "gone"}) {
        openScreen(name);
        for (const OrmuMultiLineEdit* entry : form->texts())
            EXPECT_EQ(entry->text(), "");
        EXPECT_EQ(form->port->text(), "5060");
        EXPECT_EQ(form->network->currentText(), "internet");
        EXPECT_TRUE(form->autoConnect->isChecked());
        EXPECT_FALSE(form->autoConnect->isTristate());
        expectLeavesWithoutQuestion();
        EXPECT_TRUE(screen->isVisible()) << "it does not delete itself";
    }
    listConnections("büro\ninternet\n");
    openScreen("gone");
    EXPECT_EQ(form->network->currentText(), "büro");
    form->enterAll("gone");
    EXPECT_EQ(save().displayName, "gone");
    EXPECT_EQ(namesInFile(), QStringList({"gone"}));
    openFilled("Home");
    save("Profile1");
    EXPECT_TRUE(screen->isVisible());
    done->clear();
    EXPECT_EQ(refusal(), QList{EXISTS}) << "the profile exists by now";
}

TEST_F(ProfileEdit, OpensWithTheValuesOfTheStoredProfile)
{
    listConnections("internet\nbüro\n");
    SIP_PROFILE_CONTENT profile = guardedRecord("Work");
    profile.portNum = 5099;
    profile.network = "büro";
    profile.autoConnect = false;
    openProfile(profile);
    EXPECT_EQ(form->name->text(), "Work");
    EXPECT_EQ(form->server->text(), "Work.example.org");
    EXPECT_EQ(form->port->text(), "5099");
    EXPECT_EQ(form->user->text(), "me");
    EXPECT_EQ(form->password->text(), "secret");
    EXPECT_EQ(form->network->currentText(), "büro");
    EXPECT_FALSE(form->autoConnect->isChecked());
    expectLeavesWithoutQuestion();
}

TEST_F(ProfileEdit, MasksThePasswordAlone)
{
    openScreen();
    EXPECT_EQ(int(form->password->echoMode()), 2);
    for (const OrmuMultiLineEdit* entry : {form->name, form->server, form->port, form->user})
        EXPECT_EQ(entry->echoMode(), OrmuMultiLineEdit::Normal);
    form->enter(form->password, "pass");
    EXPECT_EQ(form->password->text(), "pass");
    EXPECT_FALSE(form->password->displayText().contains('p'));
}

TEST_F(ProfileEdit, MovesTheFocusByArrowsAndTabInTheOrderOfTheForm)
{
    openScreen();
    const QList<QWidget*> order = form->inOrder();
    EXPECT_TRUE(order.first()->hasFocus());
    for (const Qt::Key forward : {Qt::Key_Down, Qt::Key_Tab}) {
        for (qsizetype i = 1; i <= order.size(); ++i) {
            press(forward);
            QWidget* next = order[i % order.size()];
            EXPECT_TRUE(next->hasFocus() && isShown(next)) << i;
        }
    }
    for (const Qt::Key back : {Qt::Key_Up, Qt::Key_Backtab}) {
        for (qsizetype i = order.size(); i-- > 0;) {
            press(back, back == Qt::Key_Backtab ? Qt::ShiftModifier : Qt::NoModifier);
            EXPECT_TRUE(order[i]->hasFocus() && isShown(order[i])) << i;
        }
    }
}

TEST_F(ProfileEdit, SavesANewProfileTypedByKeysAlone)
{
    listConnections("internet\nwork\n");
    openScreen();
    for (const char* text : {"Home", "sip.example.net", "", "bob", "pa ss"}) {
        if (*text == '\0') {
            press(Qt::Key_Backspace);
            type("5");
        }
        type(text);
        press(Qt::Key_Down);
    }
    for (const Qt::Key key : {Qt::Key_Return, Qt::Key_Down, Qt::Key_Return, Qt::Key_Down, Qt::Key_Return})
        press(key);
    EXPECT_FALSE(QFile::exists(file())) << "nothing is written before Save";
    EXPECT_EQ(profiles()->profileCount(), 0);
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

TEST_F(ProfileEdit, KeepsTheValuesThatTheFormDoesNotShow)
{
    SIP_PROFILE_CONTENT profile = record("Work");
    profile.registerValue = "[yes]";
    profile.locked = true;
    profile.defaultProfile = true;
    profile.remPassword = true;
    openProfile(profile);
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
        openFilled("Home");
        form->enter((*form).*missing, "");
        EXPECT_EQ(refusal(), QList{MISSING});
    }
    EXPECT_EQ(entries(), QStringList());
    // A profile that asks for no user name and password needs none.
    store(record("Work"));
    for (const auto& missing : {&EditForm::name, &EditForm::server, &EditForm::port}) {
        openScreen("Work");
        form->enter((*form).*missing, "");
        EXPECT_EQ(refusal(), QList{MISSING});
    }
    openScreen("Work");
    form->enter(form->user, "");
    form->enter(form->password, "");
    EXPECT_EQ(save().userID, "");
    EXPECT_EQ(profileInFile("Profile0").password, "");
}

TEST_F(ProfileEdit, ChecksTheNameFirstThenWhetherItExistsThenTheRest)
{
    store(guardedRecord("Work"));
    const FileIdentity before(file());
    openScreen();
    EXPECT_EQ(refusal(), QList{MISSING});
    form->enter(form->name, "Work");
    EXPECT_EQ(refusal(), QList{EXISTS});
    form->enterAll("Work");
    EXPECT_EQ(refusal(), QList{EXISTS});
    EXPECT_EQ(FileIdentity(file()), before);
    form->enter(form->port, "");
    form->enter(form->name, "work");
    EXPECT_EQ(refusal(), QList{MISSING});
    form->enter(form->port, "1");
    EXPECT_EQ(save("Profile1").displayName, "work") << "names are compared exactly";
}

TEST_F(ProfileEdit, CountsBlanksAsInput)
{
    openScreen();
    for (const OrmuMultiLineEdit* entry : form->texts())
        form->enter(entry, " ");
    const SIP_PROFILE_CONTENT saved = save();
    for (const QString& text : {saved.displayName, saved.server, saved.userID, saved.password})
        EXPECT_EQ(text, " ");
}

TEST_F(ProfileEdit, KeepsItsEntriesAfterARefusal)
{
    openFilled("Home");
    form->enter(form->port, "");
    for (const Qt::Key key : {Qt::Key_F1, Qt::Key_F2, Qt::Key_F3, Qt::Key_Escape, Qt::Key_Return})
        EXPECT_EQ(refusal(key), QList{MISSING});
    EXPECT_TRUE(form->port->hasFocus());
    EXPECT_EQ(form->name->text(), "Home");
    EXPECT_EQ(form->password->text(), "secret");
    type("5061");
    EXPECT_EQ(save().portNum, 5061u);
}

TEST_F(ProfileEdit, TakesOnlyDigitsIntoThePort)
{
    openScreen();
    form->moveTo(form->port);
    press(Qt::Key_End);
    type("abc");
    expectLeavesWithoutQuestion();
    form->enter(form->port, "a1-2 ٣３4");
    EXPECT_EQ(form->port->text(), "124");
    QApplication::clipboard()->setText("x5y\n6.7");
    press(Qt::Key_V, Qt::ControlModifier);
    EXPECT_EQ(form->port->text(), "124567");
}

TEST_F(ProfileEdit, SavesEveryPortAndOneTooLargeAsZero)
{
    store(record("Work"));
    const std::pair<QString, unsigned int> ports[] = {
        {"0", 0},          {"007", 7},        {"65536", 65536},        {"2147483647", 2147483647},
        {"2147483648", 0}, {"4294967295", 0}, {QString(10000, '9'), 0}};
    for (const auto& [port, stored] : ports) {
        openScreen("Work");
        QApplication::clipboard()->setText(port);
        form->enter(form->port, "");
        press(Qt::Key_V, Qt::ControlModifier);
        EXPECT_EQ(form->port->text(), port);
        EXPECT_EQ(save().portNum, stored) << qPrintable(port.left(20));
    }
}

TEST_F(ProfileEdit, SavesLongTextsAndTextsOfEveryScript)
{
    for (const QString& text :
         {QString(9990, 'x') + "1234567890", QStringLiteral("שלום مرحبا 電話 ﾃｽﾄ Ünï 😀 &<b>\\n=;[")}) {
        writeTotal(0);
        openScreen();
        QApplication::clipboard()->setText(text);
        for (const OrmuMultiLineEdit* entry : form->texts()) {
            form->moveTo(entry);
            press(Qt::Key_V, Qt::ControlModifier);
            EXPECT_EQ(entry->text(), text);
        }
        const SIP_PROFILE_CONTENT saved = save();
        for (const QString& read : {saved.displayName, saved.server, saved.userID, saved.password})
            EXPECT_EQ(read, text);
        openScreen(text);
        EXPECT_EQ(form->server->text(), text);
    }
}

TEST_F(ProfileEdit, DeletesNothingWhenTheNameStays)
{
    storeProfiles({"A", "B"});
    profiles()->setDefaultProfile("A");
    openScreen("A");
    form->enter(form->server, "other.example.org");
    EXPECT_EQ(save("Profile0").server, "other.example.org");
    // A profile that is deleted and added again would be the last, and no longer the default.
    EXPECT_EQ(names(), QStringList({"A", "B"}));
    EXPECT_EQ(SETUP_SIP_Agent::getDefaultProfile(), "Profile0");
}

TEST_F(ProfileEdit, RenamesByDeletingAndAddingAgain)
{
    storeProfiles({"A", "B", "C"});
    profiles()->deleteProfile("A");
    openScreen("B");
    form->enter(form->name, "b"); // a change of case is a change
    // The lowest number that is free once B is gone is A's.
    EXPECT_EQ(save("Profile0").displayName, "b");
    EXPECT_EQ(names(), QStringList({"C", "b"}));
    EXPECT_EQ(profileInFile("Profile1").displayName, "");
    EXPECT_EQ(profileInFile("Profile2").displayName, "C");
    EXPECT_EQ(profiles()->profileCount(), 2);
}

TEST_F(ProfileEdit, DeletesTheNameOfTheFirstSaveInTheSecond)
{
    openProfile(record("A"));
    for (const char* name : {"B", "C"}) {
        form->enter(form->name, name);
        EXPECT_EQ(save().displayName, name);
        done->clear();
    }
    EXPECT_EQ(namesInFile(), QStringList({"C"}));
}

TEST_F(ProfileEdit, OverwritesTheProfileWhoseNameItTakes)
{
    storeProfiles({"A", "B", "C"});
    openScreen("A");
    form->enter(form->name, "B");
    form->enter(form->server, "a.example.org");
    EXPECT_EQ(save("Profile1").server, "a.example.org");
    EXPECT_EQ(names(), QStringList({"B", "C"}));
    EXPECT_EQ(profileInFile("Profile0").displayName, "");
}

TEST_F(ProfileEdit, LeavesNoValidDefaultAfterARenameOfTheDefault)
{
    storeProfiles({"A", "B"});
    profiles()->setDefaultProfile("A");
    ASSERT_EQ(SETUP_SIP_Agent::getDefaultProfile(), "Profile0");
    openScreen("A");
    form->enter(form->name, "C");
    EXPECT_TRUE(save("Profile0").defaultProfile);
    EXPECT_TRUE(isDefault("C"));
    // The deletion removed the group's name; the profile is written with its old flag.
    EXPECT_EQ(SETUP_SIP_Agent::getDefaultProfile(), "true");
}

TEST_F(ProfileEdit, StoresTheChosenInternetProfile)
{
    listConnections("internet\nwork\nhome\n");
    openProfile(record("Work"));
    form->moveTo(form->network);
    for (const Qt::Key key : {Qt::Key_Return, Qt::Key_Down, Qt::Key_Down, Qt::Key_Return})
        press(key);
    EXPECT_EQ(form->network->currentText(), "home");
    expectLeavesWithoutQuestion();
    done->clear();
    EXPECT_EQ(save().network, "home");
}

TEST_F(ProfileEdit, ListsTheInternetProfiles)
{
    const std::string full = "ü" + std::string(62, 'x');
    const std::string unterminated(64, 'z');
    const auto of = [](std::vector<std::string> records) { return Connections{std::move(records)}; };
    struct Listing
    {
        const char* meaning;
        Connections answers;
        std::vector<int> rooms;
        QStringList shown;
        int current;
    };
    const Listing listings[] = {
        {"selects its own", of({"one", "internet", "three"}), {1, 3}, {"one", "internet", "three"}, 1},
        {"selects the last match",
         of({"one", "internet", "internet"}),
         {1, 3},
         {"one", "internet", "internet"},
         2},
        {"selects the first without a match", of({"work", "home"}), {1, 2}, {"work", "home"}, 0},
        {"reads UTF-8 within each record",
         of({full, "дом", unterminated}),
         {1, 3},
         {QString::fromStdString(full), "дом", QString(64, 'z')},
         0},
        {"ignores the second result",
         {.records = {"one", "two"}, .secondResult = -1},
         {1, 2},
         {"one", "two"},
         0},
        {"accepts a list that grows",
         {.records = {"one", "two"}, .secondCount = 5},
         {1, 2},
         {"one", "two"},
         0},
        {"accepts a list that shrinks", {.records = {"one", "two"}, .secondCount = 1}, {1, 2}, {"one"}, 0},
        {"accepts a list that becomes empty", {.records = {"one", "two"}, .secondCount = 0}, {1, 2}, {}, -1},
        {"stays empty without a profile", of({}), {1}, {}, -1},
        {"stays empty after a failure", {.records = {"internet"}, .result = -1}, {1}, {}, -1},
    };
    for (const Listing& listing : listings) {
        SCOPED_TRACE(listing.meaning);
        Connections answers = listing.answers;
        connections = &answers;
        openProfile(record("Work"));
        EXPECT_EQ(answers.rooms, listing.rooms);
        QStringList shown;
        for (int i = 0; i < form->network->count(); ++i)
            shown += form->network->itemText(i);
        EXPECT_EQ(shown, listing.shown);
        EXPECT_EQ(form->network->currentIndex(), listing.current);
        EXPECT_EQ(save().network, listing.shown.value(listing.current));
        connections = nullptr;
    }
}

TEST_F(ProfileEdit, AsksBeforeItLeavesAnyChange)
{
    for (const auto& entry :
         {&EditForm::name, &EditForm::server, &EditForm::port, &EditForm::user, &EditForm::password}) {
        openProfile(record("Work"));
        form->moveTo((*form).*entry);
        type("1");
        press(Qt::Key_Backspace); // a change that is undone counts
        EXPECT_EQ(leave(Qt::Key_F1), QList{EXIT_QUESTION});
        EXPECT_EQ(results(), QList<bool>({false}));
    }
    for (const bool byPointer : {false, true}) {
        openScreen();
        form->moveTo(form->autoConnect);
        byPointer ? clickAt(form->autoConnect, QPoint(10, 30)) : press(Qt::Key_Return);
        EXPECT_FALSE(form->autoConnect->isChecked());
        EXPECT_EQ(leave(Qt::Key_F1), QList{EXIT_QUESTION});
    }
    EXPECT_EQ(profileInFile("Profile0").portNum, 5060u);
    EXPECT_EQ(namesInFile(), QStringList({"Work"}));
}

TEST_F(ProfileEdit, StaysWhenTheQuestionIsCancelled)
{
    openScreen();
    type("x");
    for (const Qt::Key no : {Qt::Key_F3, Qt::Key_Escape}) {
        EXPECT_EQ(leave(no), QList{EXIT_QUESTION});
        EXPECT_EQ(results(), QList<bool>());
        EXPECT_EQ(open<SETUP_SIP_ProfileEdit>(), screen.get());
        EXPECT_EQ(form->name->text(), "x");
    }
    hideBoxOf([] { press(Qt::Key_F3); });
    EXPECT_EQ(results(), QList<bool>());
    EXPECT_EQ(leave(Qt::Key_Return), QList{EXIT_QUESTION});
    EXPECT_EQ(results(), QList<bool>({false}));
}

} // namespace
