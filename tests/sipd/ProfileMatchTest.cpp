// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

// Profiles are found again in a newer settings file: every small case.

#include "ProfileMatch.h"
#include "EveryRow.h"
#include "Sanitizers.h"

#include <array>
#include <ctime>
#include <gtest/gtest.h>

namespace {

constexpr int deleted = -1;

std::string group(int number)
{
    return "Profile" + std::to_string(number);
}

StoredProfile profile(const std::string& name, const std::string& server)
{
    return {{{"DisplayName", name}, {"Server", server}}, name, false, {}};
}

std::string letter(int number)
{
    return {static_cast<char>('A' + number)};
}

// Calls with every way to give count profiles different numbers below limit, or to delete them.
void forEveryNumbering(size_t count, int limit, const std::function<void(const std::vector<int>&)>& call)
{
    forEveryRow(count, limit + 1, [&](std::vector<int> numbers) {
        std::set<int> taken;
        for (int& number : numbers) {
            if (--number != deleted && !taken.insert(number).second)
                return;
        }
        call(numbers);
    });
}

bool isInjective(const ProfilePlaces& places)
{
    std::set<std::string> taken;
    return std::all_of(places.begin(), places.end(),
                       [&](const auto& place) { return taken.insert(place.second).second; });
}

// The changes between two readings of the profiles 0, 1 and so on.
struct Case
{
    std::vector<int> contents; // by profile: those of equal content have the same digit
    std::vector<int> numbers;  // in the newer reading
    std::vector<int> uses;     // 1 for a profile in use
    StoredProfiles before = {};
    StoredProfiles now = {};
};

std::string describe(const Case& tried)
{
    return "contents " + testing::PrintToString(tried.contents) + " numbers " +
           testing::PrintToString(tried.numbers) + " uses " + testing::PrintToString(tried.uses);
}

void checkContent(const Case& tried, int content, const ProfilePlaces& places)
{
    int before = 0;
    int now = 0;
    int used = 0;
    int found = 0;
    int foundUsed = 0;
    for (size_t i = 0; i < tried.contents.size(); ++i) {
        if (tried.contents[i] != content)
            continue;
        const std::string old = group(static_cast<int>(i));
        const auto place = places.find(old);
        const bool isFound =
            place != places.end() && tried.now.at(place->second).content == tried.before.at(old).content;
        ++before;
        now += tried.numbers[i] != deleted ? 1 : 0;
        used += tried.uses[i];
        found += isFound ? 1 : 0;
        foundUsed += isFound ? tried.uses[i] : 0;
    }
    EXPECT_EQ(found, std::min(before, now)) << describe(tried);
    EXPECT_EQ(foundUsed, std::min(used, now)) << describe(tried);
    if (now < before)
        return;
    for (const auto& [old, place] : places) {
        const auto present = tried.now.find(old);
        if (present != tried.now.end() && present->second.content == profile(letter(content), "").content &&
            present->second.content == tried.before.at(old).content) {
            EXPECT_EQ(place, old) << "was moved without need\n" << describe(tried);
        }
    }
}

} // namespace

TEST(ProfileMatch, FindsEveryProfileByItsContent)
{
    int cases = 0;
    const size_t most = hasAddressSanitizer() ? 3 : 4;
    for (size_t count = 0; count <= most; ++count) {
        const int limit = static_cast<int>(count) + (count < 4 ? 2 : 0);
        forEveryLikeness(count, [&](const std::vector<int>& contents) {
            forEveryNumbering(count, limit, [&](const std::vector<int>& numbers) {
                Case tried{.contents = contents, .numbers = numbers, .uses = {}};
                for (size_t i = 0; i < count; ++i) {
                    const StoredProfile stored = profile(letter(contents[i]), "");
                    tried.before[group(static_cast<int>(i))] = stored;
                    if (numbers[i] != deleted)
                        tried.now[group(numbers[i])] = stored;
                }
                forEveryRow(count, 2, [&](const std::vector<int>& uses) {
                    tried.uses = uses;
                    std::set<std::string> inUse;
                    for (size_t i = 0; i < count; ++i) {
                        if (uses[i] == 1)
                            inUse.insert(group(static_cast<int>(i)));
                    }
                    const ProfilePlaces places = matchProfiles(tried.before, tried.now, inUse);
                    EXPECT_TRUE(isInjective(places)) << describe(tried);
                    for (int content = 0; content < static_cast<int>(count); ++content)
                        checkContent(tried, content, places);
                    ++cases;
                });
            });
        });
        ASSERT_FALSE(HasFailure());
    }
    EXPECT_GT(cases, most == 4 ? 50'000 : 5'000);
}

TEST(ProfileMatch, FindsAChangedProfileByItsNameThenItsNumber)
{
    enum Change { None, Values, ValuesAndName };
    int cases = 0;
    for (size_t count = 0; count <= 3; ++count) {
        forEveryNumbering(count, 4, [&](const std::vector<int>& numbers) {
            forEveryRow(count, 3, [&](const std::vector<int>& changes) {
                StoredProfiles before;
                StoredProfiles now;
                for (size_t i = 0; i < numbers.size(); ++i) {
                    const std::string name = letter(static_cast<int>(i));
                    before[group(static_cast<int>(i))] = profile(name, "before");
                    if (numbers[i] != deleted)
                        now[group(numbers[i])] = profile(changes[i] == ValuesAndName ? name + "2" : name,
                                                         changes[i] == None ? "before" : "now");
                }
                const ProfilePlaces places = matchProfiles(before, now, {});
                EXPECT_TRUE(isInjective(places));
                for (size_t i = 0; i < numbers.size(); ++i) {
                    const int number = static_cast<int>(i);
                    const bool isRenamed = changes[i] == ValuesAndName;
                    if (numbers[i] != deleted && (!isRenamed || numbers[i] == number)) {
                        EXPECT_EQ(places.at(group(number)), group(numbers[i]))
                            << number << " of " << testing::PrintToString(numbers) << " changed by "
                            << testing::PrintToString(changes);
                    }
                    ++cases;
                }
            });
        });
    }
    EXPECT_GT(cases, 5000);
}

TEST(ProfileMatch, MissesAProfileWhoseNumberAnotherHasTaken)
{
    const StoredProfiles before = {{"Profile0", profile("A", "a")}, {"Profile1", profile("B", "b")}};
    const StoredProfiles now = {{"Profile0", profile("B", "b")}, {"Profile1", profile("C", "c")}};
    EXPECT_EQ(matchProfiles(before, now, {}), (ProfilePlaces{{"Profile1", "Profile0"}}));
}

TEST(ProfileMatch, PrefersTheSameNumberAmongNamesakes)
{
    const StoredProfiles before = {{"Profile0", profile("A", "a")}, {"Profile1", profile("A", "b")}};
    const StoredProfiles now = {{"Profile1", profile("A", "b2")}};
    EXPECT_EQ(matchProfiles(before, now, {}), (ProfilePlaces{{"Profile1", "Profile1"}}));
}

TEST(ProfileMatch, FindsARenamedProfileByItsAccount)
{
    StoredProfile old = profile("A", "a");
    old.sip = SipProfile{{}, "anna", "secret"};
    StoredProfile renamed = profile("B", "a");
    renamed.sip = old.sip;
    const StoredProfile namesake = profile("A", "b");
    EXPECT_EQ(matchProfiles({{"Profile1", old}}, {{"Profile0", renamed}, {"Profile1", namesake}}, {}),
              (ProfilePlaces{{"Profile1", "Profile0"}}));
    EXPECT_EQ(matchProfiles({{"Profile1", old}}, {{"Profile0", renamed}, {"Profile1", renamed}}, {}),
              (ProfilePlaces{{"Profile1", "Profile1"}}));
}

namespace {

// Readings of so many profiles, all in use, before and after they changed.
struct Many
{
    explicit Many(int count)
    {
        for (int i = 0; i < count; ++i) {
            const std::string name = "name " + std::to_string(i);
            StoredProfile& old = before[group(i)] = profile(name, "a");
            old.sip = SipProfile{{}, name, "secret"};
            renamed[group(count - 1 - i)] = profile("new " + name, "a");
            renamed[group(count - 1 - i)].sip = old.sip;
            changed[group(count - 1 - i)] = profile(name, "b");
            equal[group(i)] = profile("A", "a");
            if (i < count / 2)
                firstHalf[group(i)] = profile("A", "a");
            else
                inUse.insert(group(i));
        }
    }

    StoredProfiles before, renamed, changed, equal, firstHalf;
    std::set<std::string> inUse; // the second half
};

// Matches them and returns the seconds of the processor that it takes.
double match(int count)
{
    const Many many(count);
    const std::clock_t start = std::clock();
    const ProfilePlaces byAccount = matchProfiles(many.before, many.renamed, many.inUse);
    const ProfilePlaces byName = matchProfiles(many.before, many.changed, many.inUse);
    const ProfilePlaces byUse = matchProfiles(many.equal, many.firstHalf, many.inUse);
    const std::clock_t end = std::clock();
    EXPECT_EQ(byAccount.size(), static_cast<size_t>(count));
    EXPECT_EQ(byAccount, byName);
    EXPECT_EQ(byAccount.at("Profile0"), group(count - 1));
    EXPECT_EQ(byUse.size(), many.inUse.size());
    for (const auto& [old, place] : byUse)
        EXPECT_TRUE(many.inUse.contains(old)) << old;
    return static_cast<double>(end - start) / CLOCKS_PER_SEC;
}

} // namespace

// Sixteen times as many profiles take about twenty times as long; if each were compared with each, 256 times.
TEST(ProfileMatch, TakesAlmostLinearTimeForManyProfiles)
{
    constexpr int few = 500;
    const double seconds = std::min({match(few), match(few), match(few)});
    const double secondsOfMany = match(16 * few);
    std::printf("%d profiles: %.4f s; %d: %.4f s\n", few, seconds, 16 * few, secondsOfMany);
    EXPECT_LT(secondsOfMany, 100 * seconds);
}

TEST(ProfileMatch, OrdersGroupsByTheirNumbers)
{
    std::vector<std::string> groups = {"Profile10", "Profile9", "Profile0", "Profile100", "Profile2"};
    std::sort(groups.begin(), groups.end(), GroupOrder());
    EXPECT_EQ(groups,
              (std::vector<std::string>{"Profile0", "Profile2", "Profile9", "Profile10", "Profile100"}));
}
