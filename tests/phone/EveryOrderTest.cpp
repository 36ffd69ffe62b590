// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

// Every order of a person's operations on the profiles: the store's calls that the screens make, and the
// phone's own before the list opens and after it has closed. ORMU_EVERY_ORDER=full in the environment goes
// deeper.
#include "BoundedListing.h"
#include "ProfileFile.h"
#include "ProfileRepair.h"
#include "RepairDialogue.h"
#include "SETUP_SIP_Agent.h"
#include "SettingsFixture.h"
#include "StoredProfile.h"

#include <QFile>
#include <QSet>

#include <algorithm>
#include <iostream>

// No file has to survive a crash of the machine.
extern "C" int fsync(int)
{
    return 0;
}

namespace {

const bool IS_FULL = qgetenv("ORMU_EVERY_ORDER") == "full";
const int DEPTH_FROM_NONE = IS_FULL ? 6 : 5;
const int DEPTH_FROM_THREE = IS_FULL ? 5 : 3;

// A profile as the person knows it. Its user tells it from every other, also after a change of its name.
struct Known
{
    QString name;
    QString user;
    bool isDefault = false;
    bool operator==(const Known&) const = default;
};
using Profiles = QList<Known>;

Profiles sorted(Profiles profiles)
{
    std::sort(profiles.begin(), profiles.end(),
              [](const Known& a, const Known& b) { return a.name < b.name; });
    return profiles;
}

void PrintTo(const Known& known, std::ostream* out)
{
    *out << qPrintable(known.name) << " of " << qPrintable(known.user)
         << (known.isDefault ? ", default" : "");
}

struct Operation
{
    enum Kind { Add, Delete, Rename, SetDefault, Reopen, KillAndReopen };
    Kind kind = Reopen;
    QStringList names = {}; // a rename's are the old one and the new one
    QString user = {};      // of an addition
};

QString describe(const Operation& operation)
{
    static const char* const verbs[] = {"add ",         "delete ", "rename ",
                                        "set default ", "reopen",  "kill, reopen"};
    return verbs[operation.kind] + operation.names.join(u' ');
}

// The open store is what the file was when the list opened, and what was done with it since.
struct State
{
    QByteArray opened;
    QList<Operation> since;
    QByteArray file;
    Profiles known;
    int depth = 0;
    QString order = {}; // all that was done
};

// Gives always the same answer, and counts.
class Person : public RepairDialogue
{
public:
    explicit Person(bool wantsRepair) : wantsRepair_(wantsRepair) {}

    int asked() const { return asked_; }
    int told() const { return told_; }

    bool ask(const QString&) override
    {
        ++asked_;
        return wantsRepair_;
    }
    void tell(Result, const QString&) override { ++told_; }

private:
    const bool wantsRepair_;
    int asked_ = 0;
    int told_ = 0;
};

class EveryOrder : public SettingsInMemoryTest
{
protected:
    ~EveryOrder() override { SETUP_SIP_Agent::cleanup(); }

    static SETUP_SIP_Agent& store() { return *SETUP_SIP_Agent::instance(); }

    // The screens' calls of the store.

    static void add(const QString& name, const QString& user)
    {
        SIP_PROFILE_CONTENT record = recordOf(name, user);
        store().setProfileInfo(record, name);
    }

    static void rename(const QString& from, const QString& to)
    {
        SIP_PROFILE_CONTENT record;
        store().getProfileInfo(record, from);
        record.displayName = to;
        store().deleteProfile(from);
        store().setProfileInfo(record, to);
    }

    void run(const Operation& operation)
    {
        switch (operation.kind) {
        case Operation::Add:
            return add(operation.names[0], operation.user);
        case Operation::Delete:
            for (const QString& name : operation.names)
                store().deleteProfile(name);
            return;
        case Operation::Rename:
            return rename(operation.names[0], operation.names[1]);
        case Operation::SetDefault:
            return store().setDefaultProfile(operation.names[0]);
        case Operation::Reopen:
            SETUP_SIP_Agent::cleanup();
            tidyProfileFile(file());
            return open();
        case Operation::KillAndReopen:
            SETUP_SIP_Agent::cleanup();
            return open();
        }
    }

    void open()
    {
        Person person(true);
        ASSERT_TRUE(putProfilesInOrder(person));
        ASSERT_EQ(person.asked(), 0) << "a question";
        ASSERT_EQ(person.told(), 0);
        ASSERT_TRUE(boundedListing(file())) << "the list never opens";
        ASSERT_TRUE(ProfileFile(file()).findings().isEmpty());
        ASSERT_LE(entries().size(), 1 + copies_) << "a copy";
        store();
    }

    // The profiles that the person expects after it.
    static Profiles expected(Profiles known, const Operation& operation)
    {
        const auto remove = [&known](const QString& name) {
            known.removeIf([&name](const Known& profile) { return profile.name == name; });
        };
        switch (operation.kind) {
        case Operation::Add:
            known.append({operation.names[0], operation.user});
            break;
        case Operation::Delete:
            for (const QString& name : operation.names)
                remove(name);
            break;
        case Operation::Rename:
            remove(operation.names[1]);
            for (Known& profile : known) {
                if (profile.name == operation.names[0])
                    profile.name = operation.names[1];
            }
            break;
        case Operation::SetDefault:
            for (Known& profile : known)
                profile.isDefault = profile.name == operation.names[0];
            break;
        case Operation::Reopen:
        case Operation::KillAndReopen:
            break;
        }
        return known;
    }

    static QString firstNotIn(const QStringList& taken, const QString& stem, int first)
    {
        int number = first;
        while (taken.contains(stem + QString::number(number)))
            ++number;
        return stem + QString::number(number);
    }

    static QList<Operation> operations(const Profiles& known)
    {
        QStringList names;
        QStringList users;
        for (const Known& profile : known) {
            names += profile.name;
            users += profile.user;
        }
        const QString newName = firstNotIn(names, "N", 0);
        QList<Operation> operations = {{Operation::Reopen}, {Operation::KillAndReopen}};
        if (names.size() < SETUP_SIP_Agent::MAX_SIP_PROFILE)
            operations.append({Operation::Add, {newName}, firstNotIn(users, "u", 0)});
        for (unsigned int ticked = 1; ticked < 1u << names.size(); ++ticked) {
            QStringList rows;
            for (qsizetype i = 0; i < names.size(); ++i) {
                if ((ticked & (1u << i)) != 0)
                    rows += names[i];
            }
            operations.append({Operation::Delete, rows});
        }
        for (const QString& name : names) {
            operations.append({Operation::SetDefault, {name}});
            operations.append({Operation::Rename, {name, newName}});
            for (const QString& other : names) {
                if (other != name)
                    operations.append({Operation::Rename, {name, other}});
            }
        }
        return operations;
    }

    // The list and the file hold the profiles that the person expects.
    void verify(const Profiles& known) const
    {
        Profiles listed;
        for (const QString& name : std::as_const(store().displayNames)) {
            SIP_PROFILE_CONTENT record;
            store().getProfileInfo(record, name);
            listed.append({record.displayName, userOf(record), record.defaultProfile});
        }
        ASSERT_EQ(sorted(listed), sorted(known)) << "in the list";
        Profiles stored;
        for (const StoredProfile& profile : storedProfiles())
            stored.append({profile.name, profile.user, profile.isDefault});
        ASSERT_EQ(sorted(stored), sorted(known)) << "in the file";
    }

    static void verifyDefault(const Profiles& known)
    {
        QString group = SETUP_SIP_Agent::getDefaultProfile();
        QString name;
        for (const Known& profile : known) {
            if (profile.isDefault)
                name = profile.name;
        }
        ASSERT_EQ(SETUP_SIP_Agent::getProfileDisplayName(group), name)
            << "the default is " << qPrintable(group);
        ASSERT_EQ(group.startsWith("Profile"), !name.isEmpty());
    }

    void enter(const State& state)
    {
        SETUP_SIP_Agent::cleanup();
        if (state.opened.isEmpty())
            QFile::remove(file());
        else
            writeFile(state.opened);
        store();
        for (const Operation& operation : state.since)
            run(operation);
        ASSERT_EQ(fileNow(), state.file);
    }

    QByteArray fileNow() const { return QFile::exists(file()) ? readFile() : QByteArray(); }

    State reach(const State& from, const Operation& operation)
    {
        run(operation);
        const bool isReopened =
            operation.kind == Operation::Reopen || operation.kind == Operation::KillAndReopen;
        State state = {from.opened, from.since + QList<Operation>{operation}, fileNow(),
                       expected(from.known, operation)};
        if (isReopened)
            state = {state.file, {}, state.file, state.known};
        verify(state.known);
        if (isReopened)
            verifyDefault(state.known);
        return state;
    }

    // The difference between two open stores that are as the person expects. Names and contents do not count:
    // the store and the phone treat all alike as long as they differ.
    static QByteArray keyOf(const State& state)
    {
        QByteArray key;
        for (const QByteArray& line : state.file.split('\n')) {
            if (line.startsWith('[') || line.startsWith("TotalProfile=") ||
                line.startsWith("DefaultProfile=") || line.startsWith("Profile="))
                key += line + '\n';
        }
        for (const QString& name : std::as_const(store().displayNames)) {
            QString group;
            store().getProfileGroupName(name, group);
            key += group.toUtf8() + '\n';
        }
        return key;
    }

    // Each state is expanded once, also when several orders lead to it.
    void expand(const State& state)
    {
        for (const Operation& operation : operations(state.known)) {
            ASSERT_NO_FATAL_FAILURE(enter(state));
            State next = reach(state, operation);
            next.depth = state.depth + 1;
            next.order = state.order + describe(operation) + "; ";
            ++operations_;
            if (HasFatalFailure()) {
                std::cout << "after " << qPrintable(next.order) << '\n';
                return;
            }
            const QByteArray key = keyOf(next);
            if (!keys_.contains(key)) {
                keys_.insert(key);
                states_.append(next);
            }
        }
    }

    void explore(const State& start, int depth)
    {
        states_ = {start};
        for (qsizetype i = 0; i < states_.size() && !HasFatalFailure(); ++i) {
            if (states_[i].depth < depth)
                expand(State(states_[i]));
        }
        std::cout << "[ ORDERS   ] of " << depth << " operations: " << states_.size() << " states, "
                  << operations_ << " operations\n";
    }

    // So many profiles, of which the first is the default if there is one.
    State fresh(int profiles, bool hasDefault)
    {
        Profiles known;
        for (int i = 0; i < profiles; ++i) {
            known.append({QStringLiteral("N%1").arg(i), QStringLiteral("u%1").arg(i), hasDefault && i == 0});
            add(known.last().name, known.last().user);
        }
        if (hasDefault)
            store().setDefaultProfile(known.first().name);
        SETUP_SIP_Agent::cleanup();
        return {fileNow(), {}, fileNow(), known};
    }

    int copies_ = 0; // kept before the first operation
    QList<State> states_;
    QSet<QByteArray> keys_;
    int operations_ = 0;
};

TEST_F(EveryOrder, FromNoProfileKeepsProfilesAndAsksNothing)
{
    explore(fresh(0, false), DEPTH_FROM_NONE);
    EXPECT_GT(states_.size(), 50);
}

TEST_F(EveryOrder, FromThreeProfilesKeepsThemAndAsksNothing)
{
    explore(fresh(3, false), DEPTH_FROM_THREE);
    EXPECT_GT(states_.size(), 50);
}

TEST_F(EveryOrder, FromThreeProfilesKeepsTheDefault)
{
    explore(fresh(3, true), DEPTH_FROM_THREE);
    EXPECT_GT(states_.size(), 50);
}

struct Damage
{
    const char* name;
    const char* piece; // of the file of three profiles, and what stands there instead
    const char* instead;
    QStringList names; // once it is repaired
};

void PrintTo(const Damage& damage, std::ostream* out)
{
    *out << damage.name;
}

class EveryOrderFromDamage : public EveryOrder, public testing::WithParamInterface<Damage>
{
};

TEST_P(EveryOrderFromDamage, AsksUntilRepairedAndNeverAgain)
{
    State state = fresh(3, true);
    ASSERT_TRUE(state.file.contains(GetParam().piece));
    const QByteArray damaged = state.file.replace(GetParam().piece, GetParam().instead);
    writeFile(damaged);
    for (int i = 0; i < 2; ++i) {
        Person declining(false);
        ASSERT_FALSE(putProfilesInOrder(declining));
        ASSERT_EQ(declining.asked(), 1);
        ASSERT_EQ(declining.told(), 0);
        ASSERT_EQ(readFile(), damaged);
        ASSERT_EQ(entries().size(), 1);
    }
    Person agreeing(true);
    ASSERT_TRUE(putProfilesInOrder(agreeing));
    ASSERT_EQ(agreeing.asked(), 1);
    ASSERT_EQ(agreeing.told(), 1);
    ASSERT_EQ(readFile(file() + ".old"), damaged);
    ASSERT_EQ(FileIdentity(file() + ".old").mode & 07777, 0600u);

    copies_ = 1;
    for (qsizetype i = 0; i < state.known.size(); ++i)
        state.known[i].name = GetParam().names[i];
    state.opened = state.file = readFile();
    verify(state.known);
    verifyDefault(state.known);
    explore(state, 2);
}

INSTANTIATE_TEST_SUITE_P(
    Of, EveryOrderFromDamage,
    testing::Values(Damage{"ALine", "UserID=u1\n", "UserID=u1\noops\n", {"N0", "N1", "N2"}},
                    Damage{"TwoOfOneNumber", "[Profile2]", "[Profile1]", {"N0", "N1", "N2"}},
                    Damage{"NoName", "DisplayName=N1\n", "", {"N0", "u1@u1.net", "N2"}},
                    Damage{"TwoOfOneName", "DisplayName=N1\n", "DisplayName=N0\n", {"N0", "N0 (2)", "N2"}}),
    [](const auto& damage) { return std::string(damage.param.name); });

} // namespace
