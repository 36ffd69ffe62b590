// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

// How registrations follow their profiles through the settings file, in virtual time.

#include "VirtualSipTest.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <numeric>
#include <sys/stat.h>
#include <thread>

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::IsEmpty;
namespace fs = std::filesystem;

namespace {

class FollowingTest : public VirtualSipTest
{
protected:
    FollowingTest()
    {
        useDirectory("settings");
        fs::create_directory(settings());
    }

    std::string away() const { return settingsFile() + ".away"; }
    void moveFileAway() const { fs::rename(settingsFile(), away()); }
    void moveFileBack() const { fs::rename(away(), settingsFile()); }
    // A change of the file is handled that long after the first event.
    void waitForChange() { run(100ms); }
};

const std::vector<PlacedProfile> THREE_PLACES = {{0, "anna"}, {1, "bert"}, {2, "cleo"}};
const std::vector<PlacedProfile> LAST_TWO_PLACES = {{0, "bert"}, {1, "cleo"}};

// The profile of "anna" with another account.
PlacedProfile renewed(const std::string& user)
{
    return {.number = 0, .user = user, .displayName = "anna"};
}

} // namespace

TEST_F(FollowingTest, MovesRegistrationsWithoutARequest)
{
    start(THREE_PLACES, {1, 2});
    const size_t count = network.requests().size();
    place(LAST_TWO_PLACES);
    EXPECT_EQ(status(0), 2);
    EXPECT_EQ(status(1), 2);
    EXPECT_EQ(status(2), 0);
    run(10min);
    EXPECT_EQ(network.requests().size(), count);
    EXPECT_EQ(disconnectProfile(0), SIPD_ACK_SUCCESS);
    EXPECT_THAT(network.users(), ElementsAre("cleo"));
}

TEST_F(FollowingTest, AnswersRightAtOnceAfterEachOfManySwaps)
{
    const std::vector<PlacedProfile> one = {{0, "anna"}, {1, "bert"}};
    const std::vector<PlacedProfile> other = {{1, "anna"}, {0, "bert"}};
    start(one, {0});
    for (int i = 1; i <= 500; ++i) {
        place(i % 2 == 0 ? one : other);
        ASSERT_EQ(status(i % 2), 2) << i;
        ASSERT_EQ(status(1 - i % 2), 0) << i;
    }
    EXPECT_EQ(network.requests().size(), 1U);
}

TEST_F(FollowingTest, KeepsRegistrationsInEveryOrderOfFour)
{
    const std::vector<std::string> users = {"anna", "bert", "cleo", "dora"};
    std::vector<int> numbers(users.size());
    std::iota(numbers.begin(), numbers.end(), 0);
    const auto placesOf = [&users](const std::vector<int>& order) {
        std::vector<PlacedProfile> places;
        for (size_t i = 0; i < users.size(); ++i)
            places.push_back({order[i], users[i]});
        return places;
    };
    start(placesOf(numbers), {1, 3});
    EXPECT_EQ(registrations->setName(7, "Profile0"), SIPD_ACK_SUCCESS);
    do {
        place(placesOf(numbers));
        for (size_t i = 0; i < users.size(); ++i)
            ASSERT_EQ(status(numbers[i]), i % 2 == 0 ? 0 : 2) << testing::PrintToString(numbers);
        ASSERT_EQ(registrations->name(7), "Profile" + std::to_string(numbers[0]));
    } while (std::next_permutation(numbers.begin(), numbers.end()));
    EXPECT_EQ(network.requests().size(), 2U);
}

TEST_F(FollowingTest, KeepsTheConnectedOneOfTwoEqualProfiles)
{
    start({{0, "anna"}, {1, "anna"}}, {1});
    place({{0, "anna"}});
    EXPECT_EQ(status(0), 2);
    EXPECT_EQ(status(1), 0);
    run();
    EXPECT_EQ(network.requests().size(), 1U);
}

TEST_F(FollowingTest, MovesTheNamesOfApplications)
{
    start(THREE_PLACES);
    registrations->setName(1, "Profile2");
    registrations->setName(2, "Profile0");
    registrations->setName(3, "something else");
    registrations->setName(4, "Profile9");
    place(LAST_TWO_PLACES);
    EXPECT_EQ(registrations->name(1), "Profile1");
    EXPECT_EQ(registrations->name(2), "") << "its profile has been deleted";
    EXPECT_EQ(registrations->name(3), "something else");
    EXPECT_EQ(registrations->name(4), "Profile9");
}

TEST_F(FollowingTest, MovesAConnectUnderWay)
{
    start(THREE_PLACES);
    const Request request = connectUnanswered(2);
    place({{0, "cleo"}, {1, "bert"}});
    EXPECT_EQ(status(0), 1);
    EXPECT_EQ(status(2), 0);
    answer(SIPD_ACK_SUCCESS);
    EXPECT_EQ(request->ack(), SIPD_ACK_SUCCESS);
    EXPECT_EQ(status(0), 2);
    EXPECT_THAT(network.requests(), ElementsAre("0 register cleo"));
}

TEST_F(FollowingTest, MovesAPause)
{
    network.setAnswer(SIPD_ACK_SERVICE_UNAVAILABLE);
    start({{0, "anna"}, {1, "bert", "secret", true}});
    place({{0, "bert", "secret", true}});
    network.setAnswer(SIPD_ACK_SUCCESS);
    run(1s);
    EXPECT_EQ(status(0), 2);
    EXPECT_EQ(disconnectProfile(0), SIPD_ACK_SUCCESS);
    EXPECT_THAT(network.users(), IsEmpty());
}

TEST_F(FollowingTest, MovesADisconnectUnderWay)
{
    start(THREE_PLACES, {2});
    const Request disconnecting = disconnectUnanswered(2);
    place({{0, "cleo"}});
    EXPECT_EQ(status(0), 0);
    const Request connecting = connect(0);
    EXPECT_EQ(status(0), 1);
    answer(SIPD_ACK_SUCCESS);
    EXPECT_EQ(disconnecting->ack(), SIPD_ACK_SUCCESS);
    EXPECT_EQ(connecting->ack(), SIPD_ACK_SUCCESS);
    EXPECT_THAT(network.users(), ElementsAre("cleo"));
}

TEST_F(FollowingTest, GivesTheNumberOfADeletedProfileToAnother)
{
    start(THREE_PLACES, {0, 1});
    network.setAnswer(std::nullopt);
    place(LAST_TWO_PLACES);
    EXPECT_EQ(status(0), 2);
    EXPECT_EQ(status(1), 0);
    EXPECT_EQ(network.requests().back(), "0 unregister anna");
    place({{1, "bert"}, {0, "cleo"}});
    EXPECT_EQ(status(1), 2) << "also while the server of the deleted one is silent";
    EXPECT_EQ(status(0), 0);
    answer(SIPD_ACK_SUCCESS);
    EXPECT_THAT(network.users(), ElementsAre("bert"));
    EXPECT_EQ(network.requests().size(), 3U);
}

TEST_F(FollowingTest, RegistersAMovedAndChangedProfileAgain)
{
    start(THREE_PLACES, {2});
    place({{0, "bert"}, {.number = 1, .user = "dora", .displayName = "cleo"}});
    EXPECT_EQ(status(1), 1);
    run();
    EXPECT_EQ(status(0), 0);
    EXPECT_EQ(status(1), 2);
    EXPECT_THAT(network.users(), ElementsAre("dora"));
}

TEST_F(FollowingTest, MovesProfilesThatCameAfterTheStart)
{
    start();
    place({{0, "anna"}});
    EXPECT_EQ(connectProfile(0), SIPD_ACK_SUCCESS);
    place({{0, "bert"}, {1, "anna"}});
    EXPECT_EQ(status(0), 0);
    EXPECT_EQ(status(1), 2);
    EXPECT_EQ(network.requests().size(), 1U);
}

TEST_F(FollowingTest, EndsNothingWithoutAReadableFile)
{
    start(THREE_PLACES, {2});
    moveFileAway();
    waitForChange();
    EXPECT_EQ(status(2), 2);
    place("[Profile0\n");
    waitForChange();
    EXPECT_EQ(status(2), 2);
    fs::remove(settingsFile());
    fs::create_directory(settingsFile());
    waitForChange();
    EXPECT_EQ(status(2), 2);
    fs::remove(settingsFile());
    fs::rename(settings(), settings() + ".away");
    fs::create_symlink("settings", settings());
    waitForChange();
    EXPECT_EQ(status(2), 2) << "behind an endless link";
    fs::remove(settings());
    fs::rename(settings() + ".away", settings());
    place(LAST_TWO_PLACES);
    EXPECT_EQ(status(1), 2) << "it has come back with other numbers";
    EXPECT_EQ(status(2), 0);
    EXPECT_EQ(network.requests().size(), 1U);
}

TEST_F(FollowingTest, ConnectsByTheLastProfilesWithoutAFile)
{
    start(THREE_PLACES, {0});
    fs::remove(settingsFile());
    waitForChange();
    EXPECT_EQ(connectProfile(1), SIPD_ACK_SUCCESS);
    EXPECT_EQ(connectProfile(3), SIPD_ACK_INCORRECT_PROFILE);
    EXPECT_EQ(disconnectProfile(0), SIPD_ACK_SUCCESS);
    EXPECT_THAT(network.users(), ElementsAre("bert"));
    place({{0, "dora"}});
    waitForChange();
    EXPECT_THAT(network.users(), IsEmpty()) << "the profile has been deleted meanwhile";
}

TEST_F(FollowingTest, PostponesARetryUntilTheFileIsBack)
{
    place({{0, "anna"}, {1, "bert", "secret", true}});
    network.setAnswer(SIPD_ACK_SERVICE_UNAVAILABLE);
    start();
    moveFileAway();
    network.setAnswer(SIPD_ACK_SUCCESS);
    run(1h);
    EXPECT_EQ(status(1), 0);
    EXPECT_EQ(network.requests().size(), 1U);
    moveFileBack();
    waitForChange();
    EXPECT_EQ(status(1), 2);
}

TEST_F(FollowingTest, PostponesALostRegistrationUntilTheFileIsBack)
{
    start({{0, "anna"}}, {0});
    moveFileAway();
    network.lose("anna", SIPD_ACK_FAILED);
    run(1h);
    EXPECT_EQ(status(0), 0);
    EXPECT_EQ(network.requests().size(), 1U);
    place({{5, "anna"}});
    waitForChange();
    EXPECT_EQ(status(5), 2) << "under its new number";
}

TEST_F(FollowingTest, NoticesReplacedDirectories)
{
    useDirectory("above/settings");
    fs::create_directories(settings());
    start({{0, "anna"}}, {0});
    fs::rename(settings(), settings() + ".away");
    waitForChange();
    EXPECT_EQ(status(0), 2);
    EXPECT_FALSE(fs::exists(settings())) << "the daemon must not make it";
    fs::create_directory(settings());
    place({renewed("bert")});
    waitForChange();
    EXPECT_THAT(network.users(), ElementsAre("bert"));

    const fs::path above = fs::path(settings()).parent_path();
    fs::rename(above, above.string() + ".away");
    fs::create_directories(settings());
    place({renewed("cleo")});
    waitForChange();
    EXPECT_THAT(network.users(), ElementsAre("cleo"));

    fs::remove_all(above);
    fs::rename(above.string() + ".away", above);
    waitForChange();
    EXPECT_THAT(network.users(), ElementsAre("bert"));
    place({renewed("dora")});
    waitForChange();
    EXPECT_THAT(network.users(), ElementsAre("dora")) << "the directory is still watched";
}

TEST_F(FollowingTest, NoticesChangesBehindLinks)
{
    const std::string base = directory().toStdString();
    fs::create_directories(base + "/one");
    fs::create_directories(base + "/two");
    useDirectory("link");
    fs::create_directory_symlink("one", settings());
    start({{0, "anna"}}, {0});

    const auto write = [&base](const std::string& name, const std::string& text) {
        writeFile(QString::fromStdString(base + name), QByteArray::fromStdString(text));
    };
    write("/two/real.cfg", textOf({renewed("bert")}));
    fs::create_symlink("real.cfg", base + "/two/ormu_sipsetup.cfg");
    fs::create_directory_symlink("two", base + "/newlink");
    fs::rename(base + "/newlink", settings());
    waitForChange();
    EXPECT_THAT(network.users(), ElementsAre("bert"));

    write("/two/real.new", textOf({renewed("cleo")}));
    fs::rename(base + "/two/real.new", base + "/two/real.cfg");
    EXPECT_EQ(status(0), 1) << "the new account is tried at once";
    run();
    EXPECT_THAT(network.users(), ElementsAre("cleo"));
}

TEST_F(FollowingTest, NoticesADirectoryThatIsMissingAtTheStart)
{
    // The daemon cannot make a directory below a file.
    useDirectory("above/settings");
    const std::string above = directory().toStdString() + "/above";
    writeFile(QString::fromStdString(above), "");
    start();
    EXPECT_EQ(connectProfile(0), SIPD_ACK_INCORRECT_PROFILE);
    fs::remove(above);
    fs::create_directories(settings());
    place({{0, "anna", "secret", true}});
    waitForChange();
    EXPECT_EQ(status(0), 2) << "it connects automatically";
    place({{0, "bert"}, {1, "anna", "secret", true}});
    EXPECT_EQ(status(1), 2);
}

TEST_F(FollowingTest, ConnectsTheNewNumberAfterAWriteInPlace)
{
    start({{0, "anna"}, {1, "cleo"}});
    placeInside({{0, "cleo"}, {1, "anna"}});
    const Request request = connect(0);
    EXPECT_EQ(status(0), 1);
    run(99ms);
    EXPECT_THAT(network.requests(), IsEmpty()) << "the file may be half written";
    run(1ms);
    EXPECT_EQ(request->ack(), SIPD_ACK_SUCCESS);
    EXPECT_EQ(status(0), 2);
    EXPECT_EQ(status(1), 0);
    EXPECT_THAT(network.users(), ElementsAre("cleo"));
}

TEST_F(FollowingTest, DisconnectsTheNewNumberAfterAWriteInPlace)
{
    start({{0, "anna"}, {1, "cleo"}}, {0, 1});
    placeInside({{0, "cleo"}, {1, "anna"}});
    connect(7); // and cancels it
    const Request request = disconnect(0);
    run(100ms);
    EXPECT_EQ(request->ack(), SIPD_ACK_SUCCESS);
    EXPECT_THAT(network.users(), ElementsAre("anna"));
}

TEST_F(FollowingTest, EndsNothingWhileAFileIsHalfWritten)
{
    start(THREE_PLACES, {0});
    {
        std::ofstream file(settingsFile(), std::ios::trunc);
        file << textOf({{0, "bert"}}) << std::flush;
        EXPECT_EQ(connectProfile(2), SIPD_ACK_SUCCESS) << "by the last profiles";
        EXPECT_THAT(network.users(), ElementsAre("anna", "cleo"));
    }
    waitForChange();
    EXPECT_THAT(network.users(), IsEmpty()) << "it is complete";
}

TEST_F(FollowingTest, ReadsAFileThatIsTouchedAllTheTime)
{
    start({{0, "anna"}}, {0});
    placeInside({renewed("bert")});
    for (int i = 0; i < 20; ++i) {
        EXPECT_THAT(network.users(), ElementsAre("anna")) << i;
        EXPECT_EQ(utimensat(AT_FDCWD, settingsFile().c_str(), nullptr, 0), 0);
        run(50ms);
    }
    EXPECT_THAT(network.users(), ElementsAre("bert")) << "after a second";
}

TEST_F(FollowingTest, ConnectsAutomaticallyWhenTheFileAppears)
{
    place({{0, "anna", "secret", true}, {1, "bert"}});
    moveFileAway();
    start();
    EXPECT_EQ(status(0), 0);
    place("[Profile0\n");
    waitForChange();
    moveFileBack();
    waitForChange();
    EXPECT_THAT(network.users(), ElementsAre("anna"));
    EXPECT_EQ(disconnectProfile(0), SIPD_ACK_SUCCESS);
    moveFileAway();
    moveFileBack();
    waitForChange();
    EXPECT_THAT(network.users(), IsEmpty()) << "only once";
    place({{0, "anna", "secret", true}, {1, "bert", "secret", true}});
    waitForChange();
    EXPECT_THAT(network.users(), IsEmpty()) << "only those that were there";
}

TEST_F(FollowingTest, ChangesNoProfileWhileTheFileIsReplaced)
{
    std::vector<PlacedProfile> one = {{0, "anna"}, {1, "bert"}};
    std::vector<PlacedProfile> other = {{1, "anna"}, {0, "bert"}};
    for (int i = 2; i < 200; ++i) {
        // Reading takes its time.
        one.push_back({i, "user" + std::to_string(i)});
        other.push_back(one.back());
    }
    start(one);
    std::atomic<bool> isDone = false;
    std::thread swapper([&isDone, this, texts = std::array{textOf(one), textOf(other)}] {
        for (size_t i = 1; !isDone; ++i)
            place(texts[i % 2]);
    });
    constexpr int many = 150;
    for (int i = 0; i < many; ++i) {
        EXPECT_EQ(connectProfile(i % 2), SIPD_ACK_SUCCESS);
        // The registered profile may have moved to the other number since.
        const std::string user = network.users().at(0);
        EXPECT_TRUE(user == "anna" || user == "bert") << user;
        while (!network.users().empty()) {
            disconnectProfile(0);
            disconnectProfile(1);
        }
    }
    isDone = true;
    swapper.join();
    EXPECT_EQ(network.requests().size(), 2U * many) << "no registration has changed";
}
