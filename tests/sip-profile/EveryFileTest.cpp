// The check and the repair over every file that the store's operations leave.
#include "BoundedListing.h"
#include "ProfileFile.h"
#include "ProfileRepair.h"
#include "SETUP_SIP_Agent.h"
#include "Sanitizers.h"
#include "SettingsFixture.h"
#include "StoredProfile.h"

#include <QFile>
#include <QHash>
#include <QSet>

#include <algorithm>
#include <iostream>

// No file has to survive a crash of the machine.
extern "C" int fsync(int)
{
    return 0;
}

namespace {

using Finding = ProfileFile::Finding;

constexpr int MOST_PROFILES = 5;
#ifdef __arm__
constexpr bool IS_SLOW = true; // twenty times, under emulation
#else
const bool IS_SLOW = hasAddressSanitizer();
#endif
const int MOST_OPERATIONS = IS_SLOW ? 5 : 6;

struct Operation
{
    enum Kind { Add, Delete, Reopen, SetDefault };
    Kind kind;
    QString name;
    QString user; // of an addition: tells it from another profile of its name
};

// A store is what the file was when it was opened, and what was done with it since.
struct State
{
    QByteArray opened;
    QList<Operation> since;
    QByteArray file;
};

// The user of the profile that the file names as the default; "" when there is none.
QString namedUser(const QList<StoredProfile>& profiles)
{
    const QString named = SETUP_SIP_Agent::getDefaultProfile();
    for (const StoredProfile& profile : profiles) {
        if (profile.group == named)
            return profile.user;
    }
    return QString();
}

QList<StoredProfile> marked(QList<StoredProfile> profiles)
{
    profiles.removeIf([](const StoredProfile& profile) { return !profile.isDefault; });
    return profiles;
}

// The user of the marked profile: of several, of the one that the file names, or else of the first.
QString defaultUser(const QList<StoredProfile>& profiles)
{
    const QList<StoredProfile> defaults = marked(profiles);
    const QString named = namedUser(defaults);
    return named.isEmpty() && !defaults.isEmpty() ? defaults.first().user : named;
}

// The marked profile is the one that the file names.
bool agreesOnDefault(const QList<StoredProfile>& profiles)
{
    const QString named = SETUP_SIP_Agent::getDefaultProfile();
    const QList<StoredProfile> defaults = marked(profiles);
    return defaults.isEmpty() ? !named.startsWith("Profile") : defaults.last().group == named;
}

class EveryFile : public SettingsInMemoryTest
{
protected:
    ~EveryFile() override { SETUP_SIP_Agent::cleanup(); }

    static SETUP_SIP_Agent& store() { return *SETUP_SIP_Agent::instance(); }

    static void add(const QString& name, const QString& user)
    {
        SIP_PROFILE_CONTENT record = recordOf(name, user);
        store().setProfileInfo(record, name);
    }

    static void run(const Operation& operation)
    {
        switch (operation.kind) {
        case Operation::Add:
            return add(operation.name, operation.user);
        case Operation::Delete:
            return store().deleteProfile(operation.name);
        case Operation::SetDefault:
            return store().setDefaultProfile(operation.name);
        case Operation::Reopen:
            return SETUP_SIP_Agent::cleanup();
        }
    }

    void enter(const State& state)
    {
        SETUP_SIP_Agent::cleanup();
        writeFile(state.opened);
        store();
        for (const Operation& operation : state.since)
            run(operation);
        ASSERT_EQ(readFile(), state.file);
    }

    // The files of so many profiles: without a default, and with the first or the last as the default.
    QList<State> freshFiles(int profiles)
    {
        QList<State> states;
        for (const int defaultProfile : QSet<int>{-1, qMin(0, profiles - 1), profiles - 1}) {
            SETUP_SIP_Agent::cleanup();
            QFile::remove(file());
            for (int i = 0; i < profiles; ++i)
                add(QChar(u'A' + i), QStringLiteral("%1-0").arg(QChar(u'A' + i)));
            if (defaultProfile >= 0)
                store().setDefaultProfile(QChar(u'A' + defaultProfile));
            const QByteArray bytes = QFile::exists(file()) ? readFile() : QByteArray();
            states.append({bytes, {}, bytes});
        }
        return states;
    }

    // What the user can do with the open store.
    QList<Operation> operations(bool withDefault)
    {
        QStringList listed;
        for (const QString& name : std::as_const(store().displayNames)) {
            if (!listed.contains(name))
                listed += name;
        }
        QHash<QString, int> inFile;
        for (const StoredProfile& profile : storedProfiles())
            ++inFile[profile.name];
        QList<Operation> operations;
        for (const QString& name : listed) {
            operations.append({Operation::Delete, name, QString()});
            if (withDefault)
                operations.append({Operation::SetDefault, name, QString()});
        }
        // A new name, and each that the file has and the list does not show.
        bool isNew = false;
        for (char16_t c = u'A'; !isNew; ++c) {
            const QString name(c);
            isNew = !listed.contains(name) && !inFile.contains(name);
            if (isNew || (inFile.contains(name) && !listed.contains(name)))
                operations.append(
                    {Operation::Add, name, QStringLiteral("%1-%2").arg(name).arg(inFile[name])});
        }
        if (boundedListing(file()))
            operations.append({Operation::Reopen, QString(), QString()});
        return operations;
    }

    // What tells the open store's state from others. Where it lists a profile twice there is more to it than
    // can be seen.
    QByteArray key(const State& state)
    {
        QByteArray key = state.file;
        const std::optional<QStringList> listed = listingOf(state.opened);
        if (!listed || QSet<QString>(listed->begin(), listed->end()).size() != listed->size()) {
            key += '\n' + state.opened;
            for (const Operation& operation : state.since)
                key += QByteArray::number(operation.kind) + operation.name.toUtf8();
            return key;
        }
        for (const QString& name : std::as_const(store().displayNames)) {
            QString group;
            store().getProfileGroupName(name, group);
            key += name.toUtf8() + group.toUtf8();
        }
        return key;
    }

    std::optional<QStringList> listingOf(const QByteArray& bytes)
    {
        static QHash<QByteArray, std::optional<QStringList>> known;
        const auto found = known.find(bytes);
        if (found != known.end())
            return *found;
        const QString path = directory() + "/probe";
        writeFile(path, bytes);
        return *known.insert(bytes, boundedListing(path));
    }

    void explore(QList<State> states, int depth, bool withDefault)
    {
        QSet<QByteArray> seen;
        for (int i = 0; i <= depth; ++i) {
            QList<State> next;
            for (const State& state : states) {
                if (!files_.contains(state.file)) {
                    files_.insert(state.file);
                    verify(state.file);
                }
                if (HasFatalFailure())
                    return;
                if (i < depth)
                    expand(state, withDefault, seen, next);
            }
            states = next;
        }
    }

    void expand(const State& state, bool withDefault, QSet<QByteArray>& seen, QList<State>& next)
    {
        enter(state);
        bool entered = true;
        for (const Operation& operation : operations(withDefault)) {
            if (!entered)
                enter(state);
            entered = false;
            run(operation);
            State reached = {state.opened, state.since + QList<Operation>{operation}, readFile()};
            if (operation.kind == Operation::Reopen)
                reached = {state.file, {}, state.file};
            const QByteArray reachedKey = key(reached);
            if (!seen.contains(reachedKey)) {
                seen.insert(reachedKey);
                next.append(reached);
            }
        }
    }

    void verify(const QByteArray& bytes)
    {
        SCOPED_TRACE(bytes.toStdString());
        SETUP_SIP_Agent::cleanup();
        writeFile(bytes);
        const QList<StoredProfile> before = storedProfiles();
        verifyCheck(before);
        if (ProfileFile(file()).has(Finding::Endless))
            ++endless_;
        verifyRepair(bytes, before);
        for (const QString& name : entries())
            QFile::remove(directory() + "/" + name);
    }

    void verifyCheck(const QList<StoredProfile>& profiles)
    {
        const ProfileFile checked(file());
        const std::optional<QStringList> listed = boundedListing(file());
        ASSERT_EQ(checked.has(Finding::Endless), !listed);
        QSet<QString> names;
        bool wrong = !listed || listed->size() != profiles.size();
        ASSERT_EQ(checked.profiles().size(), profiles.size());
        for (int i = 0; i < profiles.size(); ++i) {
            const QString& name = profiles[i].name;
            ASSERT_EQ(checked.profiles()[i].group, profiles[i].group);
            ASSERT_EQ(checked.profiles()[i].name, name);
            wrong = wrong || names.contains(name) || listed->count(name) != 1 ||
                    profiles[i].group != QStringLiteral("Profile%1").arg(i);
            names.insert(name);
        }
        ASSERT_EQ(!checked.findings().isEmpty(),
                  wrong || marked(profiles).size() > 1 || !agreesOnDefault(profiles));
        if (listed && names.size() == profiles.size())
            verifyListing(checked, *listed);
    }

    static void verifyListing(const ProfileFile& checked, const QStringList& listed)
    {
        for (const ProfileFile::Profile& profile : checked.profiles()) {
            const auto times = listed.count(profile.name);
            const auto says = [&](Finding::Kind kind) {
                return std::any_of(checked.findings().begin(), checked.findings().end(),
                                   [&](const Finding& finding) {
                                       return finding.kind == kind && finding.group == profile.group;
                                   });
            };
            ASSERT_EQ(says(Finding::Hidden), times == 0);
            ASSERT_EQ(says(Finding::Doubled), times > 1);
        }
    }

    void verifyRepair(const QByteArray& bytes, const QList<StoredProfile>& before)
    {
        const QString formerDefault = defaultUser(before);
        const bool wasWrong = !ProfileFile(file()).findings().isEmpty();
        const ProfileRepair repair = repairProfileFile(file());
        ASSERT_EQ(repair.outcome, wasWrong ? ProfileRepair::Repaired : ProfileRepair::NothingToDo);
        if (!wasWrong) {
            ASSERT_EQ(readFile(), bytes);
            return;
        }
        ++repaired_;
        ASSERT_EQ(readFile(repair.copy), bytes);
        ASSERT_TRUE(boundedListing(file())) << "the store's loading would not end";
        ASSERT_EQ(store().displayNames.count(), before.size());
        const QList<StoredProfile> after = storedProfiles();
        verifyRecords(before, after);
        ASSERT_EQ(namedUser(after), formerDefault);

        const QByteArray once = readFile();
        ASSERT_EQ(repairProfileFile(file()).outcome, ProfileRepair::NothingToDo);
        ASSERT_EQ(readFile(), once);
    }

    static void verifyRecords(const QList<StoredProfile>& before, const QList<StoredProfile>& after)
    {
        ASSERT_EQ(after.size(), before.size());
        const bool wasOneMarked = marked(before).size() <= 1;
        QSet<QString> names;
        for (int i = 0; i < before.size(); ++i) {
            const QString group = QStringLiteral("Profile%1").arg(i);
            const QString& name = after[i].name;
            ASSERT_EQ(after[i].group, group);
            ASSERT_EQ(after[i].user, before[i].user);
            ASSERT_NE(after[i].user, "mixed up");
            ASSERT_TRUE(name == before[i].name ||
                        (names.contains(before[i].name) && name.startsWith(before[i].name + " (")));
            names.insert(before[i].name);
            ASSERT_EQ(after[i].isDefault,
                      wasOneMarked ? before[i].isDefault : group == SETUP_SIP_Agent::getDefaultProfile());
            ASSERT_EQ(store().displayNames[i], name);
            QString found;
            ASSERT_TRUE(store().getProfileGroupName(name, found));
            ASSERT_EQ(found, group);
        }
        ASSERT_LE(marked(after).size(), 1);
    }

    void report() const
    {
        std::cout << "[ FILES    ] " << files_.size() << " files, " << repaired_ << " of them repaired, "
                  << endless_ << " of them endless\n";
    }

    QSet<QByteArray> files_;
    int repaired_ = 0;
    int endless_ = 0;
};

class EveryFileFrom : public EveryFile, public testing::WithParamInterface<int>
{
};

TEST_P(EveryFileFrom, TheStoresOperationsIsWholeOnceRepaired)
{
    explore(freshFiles(GetParam()), MOST_OPERATIONS, false);
    report();
    EXPECT_GT(repaired_, 0);
    EXPECT_GT(endless_, GetParam() < 3 ? -1 : 0);
}

INSTANTIATE_TEST_SUITE_P(Profiles, EveryFileFrom, testing::Range(0, MOST_PROFILES + 1),
                         [](const auto& profiles) {
                             return std::to_string(profiles.param) + "ByUpTo" +
                                    std::to_string(MOST_OPERATIONS) + "Operations";
                         });

TEST_F(EveryFile, KeepsItsDefaultInARepair)
{
    explore(freshFiles(4), 4, true);
    report();
    EXPECT_GT(repaired_, 100);
}

TEST_F(EveryFile, WithALostProfileIsFoundEndless)
{
    for (const char* name : {"A", "B", "C"})
        add(name, name);
    store().deleteProfile("A");
    SETUP_SIP_Agent::cleanup();
    EXPECT_EQ(store().displayNames.count(), 2);
    ProfileFile reopened(file());
    ASSERT_EQ(reopened.findings().size(), 3);
    EXPECT_EQ(reopened.findings()[0].text, "“C” (Profile2) is not listed.");
    EXPECT_EQ(reopened.findings()[1].text, "“B” (Profile1) is listed 2 times.");
    EXPECT_EQ(reopened.findings()[2].text, "There is Profile1, but no Profile0.");

    add("D", "D");
    add("E", "E");
    EXPECT_TRUE(ProfileFile(file()).has(Finding::Endless));
    EXPECT_EQ(repairProfileFile(file()).outcome, ProfileRepair::Repaired);
    SETUP_SIP_Agent::cleanup();
    ASSERT_EQ(boundedListing(file()), QStringList({"D", "B", "E"}));
    EXPECT_EQ(store().displayNames.count(), 3);
}

} // namespace
