// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

// The check and the repair of every settings file of a few profiles.
#include "BoundedListing.h"
#include "EveryRow.h"
#include "ProfileFile.h"
#include "ProfileRepair.h"
#include "SETUP_SIP_Agent.h"
#include "Sanitizers.h"
#include "SettingsFixture.h"
#include "StoredProfile.h"

#include <QFile>
#include <QSet>

#include <algorithm>
#include <iostream>
#include <set>

// No file has to survive a crash of the machine.
extern "C" int fsync(int)
{
    return 0;
}

namespace {

using Finding = ProfileFile::Finding;

#ifdef __arm__
constexpr bool IS_SLOW = true; // twenty times, under emulation
#else
const bool IS_SLOW = hasAddressSanitizer();
#endif
const int MOST_NUMBERS = IS_SLOW ? 4 : 5;

// A profile in a file.
struct Placed
{
    int number;
    int name;              // of the alphabet
    bool isMarked = false; // as the default
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

    static void add(const QString& name)
    {
        SIP_PROFILE_CONTENT record = recordOf(name, "user" + name);
        store().setProfileInfo(record, name);
    }

    static QString letter(int number) { return QChar(u'A' + number); }

    // A file of the profiles "A", "B" and so on.
    void writeByStore(int profiles)
    {
        for (int i = 0; i < profiles; ++i)
            add(letter(i));
        SETUP_SIP_Agent::cleanup();
    }

    // The keys of the store's profiles "A", "B" and so on.
    QList<QByteArray> keysByStore(int profiles)
    {
        writeByStore(profiles);
        QList<QByteArray> keys;
        const QByteArray bytes = readFile();
        for (int i = 0; i < profiles; ++i) {
            const QByteArray header = "[Profile" + QByteArray::number(i) + "]\n";
            const qsizetype start = bytes.indexOf(header) + header.size();
            keys += bytes.mid(start, bytes.indexOf('[', start) - start);
        }
        return keys;
    }

    // Verifies the file with its groups in rising and in falling order.
    void verify(const std::vector<Placed>& profiles, int total, const QByteArray& named)
    {
        static const QList<QByteArray> keys = keysByStore(MOST_NUMBERS);
        const QByteArray head = "[ProfileSummary]\nTotalProfile=" + QByteArray::number(total) +
                                "\n\n[SystemDefault]\nProfile=" + named + "\n\n";
        QByteArray rising;
        QByteArray falling;
        for (const Placed& profile : profiles) {
            const auto i = &profile - profiles.data();
            QByteArray group = "[Profile" + QByteArray::number(profile.number) + "]\n" + keys[i];
            group.replace("DisplayName=" + letter(static_cast<int>(i)).toUtf8(),
                          "DisplayName=" + letter(profile.name).toUtf8());
            group.replace("DefaultProfile=false",
                          profile.isMarked ? "DefaultProfile=true" : "DefaultProfile=false");
            rising += group;
            falling.prepend(group);
        }
        for (const QByteArray& groups : std::set{rising, falling})
            verify(head + groups);
    }

    void verify(const QByteArray& bytes)
    {
        if (HasFatalFailure())
            return;
        SCOPED_TRACE(bytes.toStdString());
        ++files_;
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
        std::cout << "[ FILES    ] " << files_ << " files, " << repaired_ << " of them repaired, " << endless_
                  << " of them endless\n";
    }

    int files_ = 0;
    int repaired_ = 0;
    int endless_ = 0;
};

TEST_F(EveryFile, IsWholeOnceRepaired)
{
    forEveryRow(static_cast<size_t>(MOST_NUMBERS), 2, [this](const std::vector<int>& isThere) {
        const auto count = static_cast<size_t>(std::count(isThere.begin(), isThere.end(), 1));
        forEveryLikeness(count, [&](const std::vector<int>& names) {
            std::vector<Placed> profiles;
            for (int number = 0; number < MOST_NUMBERS; ++number) {
                if (isThere[static_cast<size_t>(number)] == 1)
                    profiles.push_back({number, names[profiles.size()]});
            }
            const int last = static_cast<int>(count);
            for (int total = 0; total <= last + 1; ++total)
                verify(profiles, total, "true");
            if (count > 0) {
                profiles.back().isMarked = true;
                verify(profiles, last, "Profile" + QByteArray::number(profiles.back().number));
            }
        });
    });
    report();
    EXPECT_GT(repaired_, 100);
    EXPECT_GT(endless_, 10);
}

TEST_F(EveryFile, KeepsItsDefaultInARepair)
{
    const int numbers = MOST_NUMBERS - 1;
    forEveryRow(static_cast<size_t>(numbers), 3, [&](const std::vector<int>& row) {
        std::vector<Placed> profiles;
        for (int number = 0; number < numbers; ++number) {
            if (row[static_cast<size_t>(number)] != 0)
                profiles.push_back(
                    {number, static_cast<int>(profiles.size()), row[static_cast<size_t>(number)] == 2});
        }
        const int total = static_cast<int>(profiles.size());
        verify(profiles, total, "true");
        for (int named = 0; named <= numbers; ++named)
            verify(profiles, total, "Profile" + QByteArray::number(named));
    });
    report();
    EXPECT_GT(repaired_, 100);
}

} // namespace
