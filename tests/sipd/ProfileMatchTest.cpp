// Where profiles are found in a newer settings file: every small case.

#include "ProfileMatch.h"

#include <algorithm>
#include <array>
#include <functional>
#include <gtest/gtest.h>
#include <vector>

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

// Calls with every way to give count profiles different numbers below limit, or none.
void forEveryNumbering(int count, int limit, const std::function<void(const std::vector<int>&)>& call,
                       std::vector<int> numbers = {})
{
    if (static_cast<int>(numbers.size()) == count) {
        call(numbers);
        return;
    }
    for (int number = deleted; number < limit; ++number) {
        if (number != deleted && std::count(numbers.begin(), numbers.end(), number) > 0)
            continue;
        numbers.push_back(number);
        forEveryNumbering(count, limit, call, numbers);
        numbers.pop_back();
    }
}

// Calls with every row of count digits below base.
void forEveryRow(int count, int base, const std::function<void(const std::vector<int>&)>& call)
{
    std::vector<int> row(static_cast<size_t>(count), 0);
    for (;;) {
        call(row);
        auto digit = std::find_if(row.begin(), row.end(), [base](int value) { return value + 1 < base; });
        std::fill(row.begin(), digit, 0);
        if (digit == row.end())
            return;
        ++*digit;
    }
}

// Whether the digits first come in their order, as in 0 1 0 2: other rows tell the same with other digits.
bool isInOrder(const std::vector<int>& row)
{
    int next = 0;
    for (const int digit : row) {
        if (digit > next)
            return false;
        next = std::max(next, digit + 1);
    }
    return true;
}

bool isInjective(const ProfilePlaces& places)
{
    std::set<std::string> taken;
    return std::all_of(places.begin(), places.end(),
                       [&](const auto& place) { return taken.insert(place.second).second; });
}

// What happened between two readings, to the profiles 0, 1, ... of the former.
struct Case
{
    std::vector<int> contents; // by profile
    std::vector<int> numbers;  // by profile, in the newer reading
    std::set<std::string> inUse;

    StoredProfiles before;
    StoredProfiles now;

    void fill()
    {
        for (size_t i = 0; i < contents.size(); ++i) {
            const std::string name(1, static_cast<char>('A' + contents[i]));
            before[group(static_cast<int>(i))] = profile(name, "");
            if (numbers[i] != deleted)
                now[group(numbers[i])] = profile(name, "");
        }
    }
    // Of the profiles of one content.
    int countBefore(int content) const
    {
        return static_cast<int>(std::count(contents.begin(), contents.end(), content));
    }
    int countNow(int content) const
    {
        int count = 0;
        for (size_t i = 0; i < contents.size(); ++i)
            count += contents[i] == content && numbers[i] != deleted ? 1 : 0;
        return count;
    }
    int countInUse(int content) const
    {
        int count = 0;
        for (size_t i = 0; i < contents.size(); ++i)
            count += contents[i] == content && inUse.contains(group(static_cast<int>(i))) ? 1 : 0;
        return count;
    }
};

std::ostream& operator<<(std::ostream& stream, const Case& tried)
{
    for (size_t i = 0; i < tried.contents.size(); ++i)
        stream << group(static_cast<int>(i)) << ' ' << static_cast<char>('A' + tried.contents[i])
               << (tried.inUse.contains(group(static_cast<int>(i))) ? " in use" : "") << " -> "
               << tried.numbers[i] << '\n';
    return stream;
}

void checkContent(const Case& tried, int content, const ProfilePlaces& places)
{
    int found = 0;
    int foundInUse = 0;
    for (size_t i = 0; i < tried.contents.size(); ++i) {
        const std::string old = group(static_cast<int>(i));
        const auto place = places.find(old);
        if (tried.contents[i] != content || place == places.end() ||
            tried.now.at(place->second).content != tried.before.at(old).content)
            continue;
        ++found;
        foundInUse += tried.inUse.contains(old) ? 1 : 0;
        const auto sameNumber = tried.now.find(old);
        if (tried.countNow(content) >= tried.countBefore(content) && sameNumber != tried.now.end() &&
            sameNumber->second.content == tried.before.at(old).content) {
            EXPECT_EQ(place->second, old) << "was moved without need\n" << tried;
        }
    }
    EXPECT_EQ(found, std::min(tried.countBefore(content), tried.countNow(content))) << tried;
    EXPECT_EQ(foundInUse, std::min(tried.countInUse(content), tried.countNow(content))) << tried;
}

} // namespace

TEST(ProfileMatch, FindsEveryProfileByItsContent)
{
    int cases = 0;
    for (int count = 0; count <= 4; ++count) {
        const int limit = count < 4 ? count + 2 : count;
        forEveryRow(count, std::max(count, 1), [&](const std::vector<int>& contents) {
            if (!isInOrder(contents))
                return;
            forEveryNumbering(count, limit, [&](const std::vector<int>& numbers) {
                forEveryRow(count, 2, [&](const std::vector<int>& uses) {
                    Case tried{contents, numbers, {}, {}, {}};
                    for (size_t i = 0; i < uses.size(); ++i) {
                        if (uses[i] == 1)
                            tried.inUse.insert(group(static_cast<int>(i)));
                    }
                    tried.fill();
                    const ProfilePlaces places = matchProfiles(tried.before, tried.now, tried.inUse);
                    EXPECT_TRUE(isInjective(places)) << tried;
                    for (int content = 0; content < count; ++content)
                        checkContent(tried, content, places);
                    ++cases;
                });
            });
        });
        ASSERT_FALSE(HasFailure());
    }
    RecordProperty("cases", cases);
    EXPECT_GT(cases, 50'000);
}

TEST(ProfileMatch, FindsAChangedProfileByItsNameThenItsNumber)
{
    enum Change { None, Values, ValuesAndName };
    int cases = 0;
    for (int count = 0; count <= 3; ++count) {
        forEveryNumbering(count, 4, [&](const std::vector<int>& numbers) {
            forEveryRow(count, 3, [&](const std::vector<int>& changes) {
                StoredProfiles before;
                StoredProfiles now;
                for (size_t i = 0; i < numbers.size(); ++i) {
                    const std::string name(1, static_cast<char>('A' + i));
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

TEST(ProfileMatch, PrefersTheSameNumberAmongProfilesOfOneName)
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

// Comparing each with each would take many minutes.
TEST(ProfileMatch, FindsFiftyThousandChangedProfilesSoon)
{
    constexpr int many = 50'000;
    StoredProfiles before;
    StoredProfiles renamed;
    StoredProfiles changed;
    std::set<std::string> inUse;
    for (int i = 0; i < many; ++i) {
        const std::string name = "name " + std::to_string(i);
        StoredProfile& old = before[group(i)] = profile(name, "a");
        old.sip = SipProfile{{}, name, "secret"};
        StoredProfile& moved = renamed[group(many - 1 - i)] = profile("new " + name, "a");
        moved.sip = old.sip;
        changed[group(many - 1 - i)] = profile(name, "b");
        inUse.insert(group(i));
    }
    const ProfilePlaces byAccount = matchProfiles(before, renamed, inUse);
    const ProfilePlaces byName = matchProfiles(before, changed, inUse);
    ASSERT_EQ(byAccount.size(), static_cast<size_t>(many));
    EXPECT_EQ(byAccount, byName);
    EXPECT_EQ(byAccount.at("Profile0"), group(many - 1));
    EXPECT_TRUE(matchProfiles(before, {}, inUse).empty());
}

// Profiles that are all equal, of which others are in use than have kept their places.
TEST(ProfileMatch, PrefersWhatIsInUseOfFiftyThousandSoon)
{
    constexpr int many = 50'000;
    StoredProfiles before;
    StoredProfiles now;
    std::set<std::string> inUse;
    for (int i = 0; i < many; ++i) {
        before[group(i)] = profile("A", "a");
        if (i < many / 2)
            now[group(i)] = profile("A", "a");
        else
            inUse.insert(group(i));
    }
    const ProfilePlaces places = matchProfiles(before, now, inUse);
    ASSERT_EQ(places.size(), inUse.size());
    EXPECT_TRUE(std::all_of(places.begin(), places.end(),
                            [&](const auto& place) { return inUse.contains(place.first); }));
}

TEST(ProfileMatch, OrdersGroupsByTheirNumbers)
{
    std::vector<std::string> groups = {"Profile10", "Profile9", "Profile0", "Profile100", "Profile2"};
    std::sort(groups.begin(), groups.end(), GroupOrder());
    EXPECT_EQ(groups,
              (std::vector<std::string>{"Profile0", "Profile2", "Profile9", "Profile10", "Profile100"}));
}
