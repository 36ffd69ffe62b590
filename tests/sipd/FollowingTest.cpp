// How registrations follow their profiles through the settings file, with a registrar of the test's own.

#include "SipdProcess.h"
#include "TestRegistrar.h"

#include <algorithm>
#include <atomic>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>
#include <numeric>
#include <sstream>
#include <sys/stat.h>
#include <thread>

using namespace std::chrono_literals;
namespace fs = std::filesystem;

namespace {

// A profile's number in the settings file, and the user that it is registered for.
struct Place
{
    int number;
    std::string user;
    std::string password = "secret";
    bool autoConnect = false;
    std::string displayName = {}; // the user's name when empty
};

class Following : public SipdTest
{
protected:
    void SetUp() override
    {
        SipdTest::SetUp();
        useDirectory("settings");
        fs::create_directory(settings());
    }

    // Settings lie in this directory below the test's own from now on.
    void useDirectory(const std::string& name)
    {
        settings_ = directory().toStdString() + '/' + name;
        qputenv("ORMU_SETTING_DIR", QByteArray::fromStdString(settings_));
    }
    std::string settings() const { return settings_; }
    std::string settingsFile() const { return settings_ + "/ormu_sipsetup.cfg"; }

    std::string textOf(const std::vector<Place>& places, int defaultNumber = -1) const
    {
        std::ostringstream text;
        text << "[ProfileSummary]\nTotalProfile=" << places.size() << '\n';
        for (const Place& place : places)
            text << "[Profile" << place.number
                 << "]\nDisplayName=" << (place.displayName.empty() ? place.user : place.displayName)
                 << "\nServer=127.0.0.1\nPortNum=" << registrar.port() << "\nUserID=" << place.user
                 << "\nPassword=" << place.password << "\nAutoConnect=" << std::boolalpha << place.autoConnect
                 << "\nDefaultProfile=" << (place.number == defaultNumber) << '\n';
        return text.str();
    }
    // As the store does: the new file takes the old one's place in one step.
    void replaceFile(const std::string& text) const
    {
        const std::string other = settingsFile() + ".new";
        writeFile(QString::fromStdString(other), QByteArray::fromStdString(text));
        fs::rename(other, settingsFile());
    }
    void replaceFile(const std::vector<Place>& places) const { replaceFile(textOf(places)); }

    // Whether the registrar has been asked for nothing since it had been asked count times. A registration
    // that comes after all that was to be sent is asked for meanwhile.
    bool isSilentSince(size_t count)
    {
        SipdClient client;
        client.introduce();
        const int number = 1000 + probes_++;
        std::vector<Place> places = places_;
        places.push_back({number, "probe"});
        replaceFile(places);
        const std::string group = "Profile" + std::to_string(number);
        EXPECT_EQ(client.request(PROFILE_CTRL_CONNECT, group), SIPD_ACK_SUCCESS);
        EXPECT_EQ(client.request(PROFILE_CTRL_DISCONNECT, group), SIPD_ACK_SUCCESS);
        const auto requests = registrar.requests();
        return std::all_of(requests.begin() + static_cast<std::ptrdiff_t>(count), requests.end(),
                           [](const auto& request) { return request.user == "probe"; });
    }
    // Replaces the file and remembers what stands in it for isSilentSince().
    void place(const std::vector<Place>& places, int defaultNumber = -1)
    {
        places_ = places;
        replaceFile(textOf(places, defaultNumber));
    }
    // As place(), but in the file itself.
    void placeInside(const std::vector<Place>& places)
    {
        places_ = places;
        writeFile(QString::fromStdString(settingsFile()), QByteArray::fromStdString(textOf(places)));
    }

    std::vector<std::string> usersNow() const
    {
        std::vector<std::string> users;
        for (const std::string& contact : registrar.contacts())
            users.push_back(contact.substr(5, contact.find('@') - 5));
        std::sort(users.begin(), users.end());
        return users;
    }
    bool waitForUsers(const std::vector<std::string>& users) const
    {
        return waitUntil([&] { return usersNow() == users; }, 1min);
    }
    bool waitForLog(const std::string& words)
    {
        return waitUntil([&] { return daemon().log().find(words) != std::string::npos; }, 1min);
    }
    bool waitForStatus(const std::string& group, uint32_t status) const
    {
        return waitUntil([&] { return statusOf(group) == status; }, 1min);
    }

    static void setName(SipdClient& client, uint32_t application, const std::string& name)
    {
        client.send(SipdClient::profileMessage(PROFILE_CTRL_SET_NAME, name, application));
        EXPECT_EQ(client.ack(), SIPD_ACK_SUCCESS);
    }
    static std::string nameOf(SipdClient& client, uint32_t application)
    {
        client.send(SipdClient::profileMessage(PROFILE_CTRL_GET_NAME, "", application));
        const auto message = client.receive();
        const auto profile = message ? decodeProfile(*message) : std::nullopt;
        return profile ? profile->name : "nothing";
    }

    TestRegistrar registrar;

private:
    std::string settings_;
    std::vector<Place> places_;
    int probes_ = 0;
};

const std::vector<Place> threePlaces = {{0, "anna"}, {1, "bert"}, {2, "cleo"}};

} // namespace

TEST_F(Following, AClosedGapMovesRegistrationsWithoutAMessage)
{
    place(threePlaces);
    startDaemon();
    EXPECT_EQ(connectProfile("Profile1"), SIPD_ACK_SUCCESS);
    EXPECT_EQ(connectProfile("Profile2"), SIPD_ACK_SUCCESS);
    const size_t count = registrar.requests().size();
    SipdClient client;
    client.introduce();
    place({{0, "bert"}, {1, "cleo"}});
    EXPECT_EQ(client.status("Profile0"), 2U);
    EXPECT_EQ(client.status("Profile1"), 2U);
    EXPECT_EQ(client.status("Profile2"), 0U);
    EXPECT_TRUE(isSilentSince(count));
    EXPECT_EQ(client.request(PROFILE_CTRL_DISCONNECT, "Profile0"), SIPD_ACK_SUCCESS);
    EXPECT_THAT(usersNow(), testing::ElementsAre("cleo"));
}

TEST_F(Following, TheAnswerIsRightAtOnceAfterEachOfManySwaps)
{
    const std::vector<Place> one = {{0, "anna"}, {1, "bert"}};
    const std::vector<Place> other = {{1, "anna"}, {0, "bert"}};
    place(one);
    startDaemon();
    EXPECT_EQ(connectProfile("Profile0"), SIPD_ACK_SUCCESS);
    const size_t count = registrar.requests().size();
    SipdClient client;
    client.introduce();
    constexpr int swaps = 500;
    for (int i = 1; i <= swaps; ++i) {
        place(i % 2 == 0 ? one : other);
        ASSERT_EQ(client.status("Profile" + std::to_string(i % 2)), 2U) << i;
        ASSERT_EQ(client.status("Profile" + std::to_string(1 - i % 2)), 0U) << i;
    }
    EXPECT_TRUE(isSilentSince(count));
}

TEST_F(Following, EveryOrderOfFourKeepsWhatIsConnected)
{
    const std::vector<std::string> users = {"anna", "bert", "cleo", "dora"};
    std::vector<int> numbers(users.size());
    std::iota(numbers.begin(), numbers.end(), 0);
    const auto placesOf = [&users](const std::vector<int>& order) {
        std::vector<Place> places;
        for (size_t i = 0; i < users.size(); ++i)
            places.push_back({order[i], users[i]});
        return places;
    };
    place(placesOf(numbers));
    startDaemon();
    EXPECT_EQ(connectProfile("Profile1"), SIPD_ACK_SUCCESS);
    EXPECT_EQ(connectProfile("Profile3"), SIPD_ACK_SUCCESS);
    const size_t count = registrar.requests().size();
    SipdClient client;
    client.introduce();
    setName(client, 7, "Profile0");
    int orders = 0;
    do {
        place(placesOf(numbers));
        for (size_t i = 0; i < users.size(); ++i)
            ASSERT_EQ(client.status("Profile" + std::to_string(numbers[i])), i % 2 == 0 ? 0U : 2U)
                << testing::PrintToString(numbers);
        ASSERT_EQ(nameOf(client, 7), "Profile" + std::to_string(numbers[0]));
        ++orders;
    } while (std::next_permutation(numbers.begin(), numbers.end()));
    EXPECT_EQ(orders, 24);
    EXPECT_TRUE(isSilentSince(count));
    EXPECT_THAT(usersNow(), testing::ElementsAre("bert", "dora"));
}

TEST_F(Following, TwelveProfilesMoveAtOnce)
{
    constexpr int many = 12;
    std::vector<Place> places;
    places.reserve(many);
    for (int i = 0; i < many; ++i)
        places.push_back({i, "user" + std::to_string(i), "secret", true});
    place(places);
    startDaemon();
    for (int i = 0; i < many; ++i)
        ASSERT_TRUE(waitForStatus("Profile" + std::to_string(i), 2)) << i;
    const size_t count = registrar.requests().size();
    for (Place& moved : places)
        moved.number = 2 * many - moved.number;
    place(places);
    for (const Place& moved : places)
        EXPECT_EQ(statusOf("Profile" + std::to_string(moved.number)), 2U) << moved.number;
    EXPECT_EQ(statusOf("Profile0"), 0U);
    EXPECT_TRUE(isSilentSince(count));
}

TEST_F(Following, TheDefaultMarkIsNoPartOfAProfile)
{
    place(threePlaces, 1);
    startDaemon();
    EXPECT_EQ(connectProfile("Profile2"), SIPD_ACK_SUCCESS);
    const size_t count = registrar.requests().size();
    place({{0, "bert"}, {1, "cleo", "secret", false, "cleo"}}, 1);
    EXPECT_EQ(statusOf("Profile1"), 2U);
    EXPECT_TRUE(isSilentSince(count));
    EXPECT_THAT(usersNow(), testing::ElementsAre("cleo"));
}

TEST_F(Following, OfTwoEqualProfilesTheConnectedOneStays)
{
    place({{0, "anna"}, {1, "anna"}});
    startDaemon();
    EXPECT_EQ(connectProfile("Profile1"), SIPD_ACK_SUCCESS);
    const size_t count = registrar.requests().size();
    place({{0, "anna"}});
    EXPECT_EQ(statusOf("Profile0"), 2U);
    EXPECT_EQ(statusOf("Profile1"), 0U);
    EXPECT_TRUE(isSilentSince(count));
}

TEST_F(Following, NamesMoveWithTheirProfiles)
{
    place(threePlaces);
    startDaemon();
    SipdClient client;
    client.introduce();
    setName(client, 1, "Profile2");
    setName(client, 2, "Profile0");
    setName(client, 3, "something else");
    setName(client, 4, "Profile9");
    place({{0, "bert"}, {1, "cleo"}});
    EXPECT_EQ(nameOf(client, 1), "Profile1");
    EXPECT_EQ(nameOf(client, 2), "") << "its profile has been deleted";
    EXPECT_EQ(nameOf(client, 3), "something else");
    EXPECT_EQ(nameOf(client, 4), "Profile9");
}

TEST_F(Following, AConnectUnderWayMovesAndItsClientGetsTheAck)
{
    place(threePlaces);
    startDaemon();
    registrar.hold();
    SipdClient client;
    client.introduce();
    client.send(SipdClient::profileMessage(PROFILE_CTRL_CONNECT, "Profile2"));
    ASSERT_TRUE(waitUntil([this] { return registrar.requests().size() == 1; }, 1min));
    place({{0, "cleo"}, {1, "bert"}});
    EXPECT_EQ(statusOf("Profile0"), 1U);
    EXPECT_EQ(statusOf("Profile2"), 0U);
    registrar.release();
    EXPECT_EQ(client.ack(), SIPD_ACK_SUCCESS);
    EXPECT_EQ(client.status("Profile0"), 2U);
    EXPECT_THAT(usersNow(), testing::ElementsAre("cleo"));
    const auto requests = registrar.requests();
    EXPECT_TRUE(std::all_of(requests.begin(), requests.end(), [](const auto& request) {
        return request.user == "cleo" && request.expires > 0;
    }));
}

TEST_F(Following, APauseMovesAndEndsInARegistration)
{
    registrar.setAnswer(503);
    place({{0, "anna"}, {1, "bert", "secret", true}});
    startDaemon();
    // It tries again after 1, and then after 2 seconds.
    ASSERT_TRUE(waitUntil([this] { return registrar.requests().size() == 2; }, 1min));
    ASSERT_TRUE(waitForStatus("Profile1", 0));
    place({{0, "bert", "secret", true}});
    registrar.setAnswer(std::nullopt);
    EXPECT_TRUE(waitForStatus("Profile0", 2));
    EXPECT_EQ(disconnectProfile("Profile0"), SIPD_ACK_SUCCESS);
    EXPECT_TRUE(usersNow().empty());
}

TEST_F(Following, ADisconnectUnderWayMovesAndItsClientGetsTheAck)
{
    place(threePlaces);
    startDaemon();
    EXPECT_EQ(connectProfile("Profile2"), SIPD_ACK_SUCCESS);
    registrar.hold();
    SipdClient client;
    client.introduce();
    client.send(SipdClient::profileMessage(PROFILE_CTRL_DISCONNECT, "Profile2"));
    ASSERT_TRUE(waitUntil([this] { return registrar.requests().back().expires == 0; }, 1min));
    place({{0, "cleo"}});
    EXPECT_EQ(statusOf("Profile0"), 0U);
    SipdClient next;
    next.introduce();
    next.send(SipdClient::profileMessage(PROFILE_CTRL_CONNECT, "Profile0"));
    EXPECT_EQ(next.status("Profile0"), 1U);
    registrar.release();
    EXPECT_EQ(client.ack(), SIPD_ACK_SUCCESS);
    EXPECT_EQ(next.ack(), SIPD_ACK_SUCCESS);
    EXPECT_THAT(usersNow(), testing::ElementsAre("cleo"));
}

TEST_F(Following, AnotherProfileTakesTheNumberOfADeletedOne)
{
    place(threePlaces);
    startDaemon();
    EXPECT_EQ(connectProfile("Profile0"), SIPD_ACK_SUCCESS);
    EXPECT_EQ(connectProfile("Profile1"), SIPD_ACK_SUCCESS);
    const size_t count = registrar.requests().size();
    place({{0, "bert"}, {1, "cleo"}});
    EXPECT_EQ(statusOf("Profile0"), 2U);
    EXPECT_EQ(statusOf("Profile1"), 0U);
    EXPECT_TRUE(waitForUsers({"bert"}));
    const auto requests = registrar.requests();
    ASSERT_EQ(requests.size(), count + 1);
    EXPECT_EQ(requests.back().user, "anna");
    EXPECT_EQ(requests.back().expires, 0);
}

TEST_F(Following, AProfileThatIsDeletedWhileItsServerIsSilentLeavesItsNumber)
{
    place(threePlaces);
    startDaemon();
    EXPECT_EQ(connectProfile("Profile0"), SIPD_ACK_SUCCESS);
    EXPECT_EQ(connectProfile("Profile1"), SIPD_ACK_SUCCESS);
    registrar.hold();
    place({{0, "bert"}, {1, "cleo"}});
    EXPECT_EQ(statusOf("Profile0"), 2U);
    place({{1, "bert"}, {0, "cleo"}});
    EXPECT_EQ(statusOf("Profile1"), 2U);
    EXPECT_EQ(statusOf("Profile0"), 0U);
    registrar.release();
    EXPECT_TRUE(waitForUsers({"bert"}));
}

TEST_F(Following, AProfileThatMovedAndChangedIsRenewed)
{
    place(threePlaces);
    startDaemon();
    EXPECT_EQ(connectProfile("Profile2"), SIPD_ACK_SUCCESS);
    place({{0, "bert"}, {1, "dora", "secret", false, "cleo"}});
    EXPECT_TRUE(waitForUsers({"dora"}));
    EXPECT_TRUE(waitForStatus("Profile1", 2));
    EXPECT_EQ(statusOf("Profile0"), 0U);
}

TEST_F(Following, AProfileThatMovedAndWasRenamedKeepsItsRegistration)
{
    place(threePlaces);
    startDaemon();
    EXPECT_EQ(connectProfile("Profile2"), SIPD_ACK_SUCCESS);
    const size_t count = registrar.requests().size();
    place({{0, "bert"}, {1, "cleo", "secret", false, "Home"}, {2, "dora", "secret", false, "cleo"}});
    EXPECT_EQ(statusOf("Profile1"), 2U);
    EXPECT_EQ(statusOf("Profile2"), 0U);
    EXPECT_TRUE(isSilentSince(count));
}

TEST_F(Following, WhatCameAfterTheStartMovesToo)
{
    startDaemon();
    place({{0, "anna"}});
    EXPECT_EQ(connectProfile("Profile0"), SIPD_ACK_SUCCESS);
    const size_t count = registrar.requests().size();
    place({{0, "bert"}, {1, "anna"}});
    EXPECT_EQ(statusOf("Profile1"), 2U);
    EXPECT_EQ(statusOf("Profile0"), 0U);
    EXPECT_TRUE(isSilentSince(count));
}

TEST_F(Following, AFileThatIsAwayEndsNothing)
{
    place(threePlaces);
    startDaemon({"-v"});
    EXPECT_EQ(connectProfile("Profile2"), SIPD_ACK_SUCCESS);
    const size_t count = registrar.requests().size();
    fs::rename(settingsFile(), settingsFile() + ".away");
    ASSERT_TRUE(waitForLog("the settings file is away"));
    EXPECT_EQ(statusOf("Profile2"), 2U);
    replaceFile("[Profile0\n");
    ASSERT_TRUE(waitForLog("cannot be parsed"));
    EXPECT_EQ(statusOf("Profile2"), 2U);
    fs::remove(settingsFile());
    fs::create_directory(settingsFile());
    ASSERT_TRUE(waitForLog("cannot be read"));
    EXPECT_EQ(statusOf("Profile2"), 2U);
    fs::remove(settingsFile());
    EXPECT_EQ(registrar.requests().size(), count);
    // It may come back with other numbers.
    place({{0, "bert"}, {1, "cleo"}});
    EXPECT_EQ(statusOf("Profile1"), 2U);
    EXPECT_EQ(statusOf("Profile2"), 0U);
    EXPECT_TRUE(isSilentSince(count));
}

TEST_F(Following, WithoutAFileAProfileIsConnectedAsItWas)
{
    place(threePlaces);
    startDaemon({"-v"});
    EXPECT_EQ(connectProfile("Profile0"), SIPD_ACK_SUCCESS);
    fs::remove(settingsFile());
    EXPECT_EQ(connectProfile("Profile1"), SIPD_ACK_SUCCESS);
    EXPECT_EQ(connectProfile("Profile3"), SIPD_ACK_INCORRECT_PROFILE);
    EXPECT_EQ(disconnectProfile("Profile0"), SIPD_ACK_SUCCESS);
    EXPECT_THAT(usersNow(), testing::ElementsAre("bert"));
    place({{0, "dora"}});
    EXPECT_TRUE(waitForUsers({})) << "the profile was deleted meanwhile";
}

TEST_F(Following, ARetryWithoutAFileWaitsUntilItIsBack)
{
    registrar.setAnswer(503);
    place({{0, "anna"}, {1, "bert", "secret", true}});
    startDaemon({"-v"});
    ASSERT_TRUE(waitUntil([this] { return !registrar.requests().empty(); }, 1min));
    fs::rename(settingsFile(), settingsFile() + ".away");
    ASSERT_TRUE(waitForLog("Profile1 waits for the settings file"));
    const size_t count = registrar.requests().size();
    registrar.setAnswer(std::nullopt);
    EXPECT_EQ(statusOf("Profile1"), 0U);
    EXPECT_EQ(registrar.requests().size(), count);
    fs::rename(settingsFile() + ".away", settingsFile());
    EXPECT_TRUE(waitForStatus("Profile1", 2));
}

TEST_F(Following, ARefreshThatFailsWithoutAFileIsTriedAgain)
{
    place({{0, "anna"}});
    startDaemon({"-v", "--expires", "2"});
    EXPECT_EQ(connectProfile("Profile0"), SIPD_ACK_SUCCESS);
    fs::rename(settingsFile(), settingsFile() + ".away");
    registrar.setAnswer(500);
    ASSERT_TRUE(waitForLog("waits for the settings file"));
    EXPECT_EQ(statusOf("Profile0"), 0U);
    registrar.setAnswer(std::nullopt);
    replaceFile({{5, "anna"}});
    EXPECT_TRUE(waitForStatus("Profile5", 2)) << "under its new number";
}

TEST_F(Following, ADirectoryThatIsRenamedAndMadeAnewIsNoticed)
{
    useDirectory("above/settings");
    fs::create_directories(settings());
    place({{0, "anna"}});
    startDaemon({"-v"});
    EXPECT_EQ(connectProfile("Profile0"), SIPD_ACK_SUCCESS);
    fs::rename(settings(), settings() + ".away");
    ASSERT_TRUE(waitForLog("the settings file is away"));
    EXPECT_EQ(statusOf("Profile0"), 2U);
    EXPECT_FALSE(fs::exists(settings())) << "it is not the daemon's to make";
    fs::create_directory(settings());
    place({{0, "bert", "secret", false, "anna"}});
    EXPECT_TRUE(waitForUsers({"bert"}));

    const fs::path above = fs::path(settings()).parent_path();
    fs::rename(above, above.string() + ".away");
    fs::create_directories(settings());
    place({{0, "cleo", "secret", false, "anna"}});
    EXPECT_TRUE(waitForUsers({"cleo"}));

    fs::remove_all(above);
    fs::rename(above.string() + ".away", above);
    EXPECT_TRUE(waitForUsers({"bert"}));
    place({{0, "dora", "secret", false, "anna"}});
    EXPECT_TRUE(waitForUsers({"dora"})) << "it is watched further";
}

TEST_F(Following, ADirectoryOrFileBehindALinkIsWatched)
{
    const std::string base = directory().toStdString();
    fs::create_directories(base + "/one");
    fs::create_directories(base + "/two");
    useDirectory("link");
    fs::create_directory_symlink("one", settings());
    place({{0, "anna"}});
    startDaemon();
    EXPECT_EQ(connectProfile("Profile0"), SIPD_ACK_SUCCESS);

    const std::string two = textOf({{0, "bert", "secret", false, "anna"}});
    writeFile(QString::fromStdString(base + "/two/real.cfg"), QByteArray::fromStdString(two));
    fs::create_symlink("real.cfg", base + "/two/ormu_sipsetup.cfg");
    fs::create_directory_symlink("two", base + "/newlink");
    fs::rename(base + "/newlink", settings());
    EXPECT_TRUE(waitForUsers({"bert"}));

    const std::string three = textOf({{0, "cleo", "secret", false, "anna"}});
    writeFile(QString::fromStdString(base + "/two/real.new"), QByteArray::fromStdString(three));
    fs::rename(base + "/two/real.new", base + "/two/real.cfg");
    EXPECT_EQ(statusOf("Profile0"), 1U) << "the new values are tried at once";
    EXPECT_TRUE(waitForUsers({"cleo"}));
}

TEST_F(Following, ADirectoryThatIsNotThereAtTheStartIsNoticed)
{
    // Nobody can make it below a file.
    useDirectory("above/settings");
    const std::string above = directory().toStdString() + "/above";
    writeFile(QString::fromStdString(above), "");
    startDaemon();
    EXPECT_EQ(connectProfile("Profile0"), SIPD_ACK_INCORRECT_PROFILE);
    fs::remove(above);
    fs::create_directories(settings());
    place({{0, "anna", "secret", true}});
    EXPECT_TRUE(waitForStatus("Profile0", 2)) << "it is to be connected from the start";
    place({{0, "bert"}, {1, "anna", "secret", true}});
    EXPECT_EQ(statusOf("Profile1"), 2U);
}

TEST_F(Following, AnEndlessLinkInTheWayEndsNothing)
{
    place({{0, "anna"}});
    startDaemon();
    EXPECT_EQ(connectProfile("Profile0"), SIPD_ACK_SUCCESS);
    fs::rename(settings(), settings() + ".away");
    fs::create_symlink("settings", settings());
    ASSERT_TRUE(waitForLog("cannot be read"));
    EXPECT_EQ(statusOf("Profile0"), 2U);
    fs::remove(settings());
    fs::rename(settings() + ".away", settings());
    place({{3, "anna"}});
    EXPECT_EQ(statusOf("Profile3"), 2U);
}

TEST_F(Following, AConnectRightAfterASwapInPlaceMeansTheNewNumber)
{
    place({{0, "anna"}, {1, "cleo"}});
    startDaemon();
    EXPECT_EQ(connectProfile("Profile0"), SIPD_ACK_SUCCESS);
    EXPECT_EQ(disconnectProfile("Profile0"), SIPD_ACK_SUCCESS);
    const size_t count = registrar.requests().size();
    SipdClient client;
    client.introduce();
    placeInside({{0, "cleo"}, {1, "anna"}});
    EXPECT_EQ(client.request(PROFILE_CTRL_CONNECT, "Profile0"), SIPD_ACK_SUCCESS);
    EXPECT_TRUE(isSilentSince(count + 1));
    EXPECT_EQ(registrar.requests()[count].user, "cleo");
    EXPECT_EQ(statusOf("Profile0"), 2U);
    EXPECT_EQ(statusOf("Profile1"), 0U);
    EXPECT_THAT(usersNow(), testing::ElementsAre("cleo"));
}

TEST_F(Following, ADisconnectRightAfterASwapInPlaceMeansTheNewNumber)
{
    place({{0, "anna"}, {1, "cleo"}});
    startDaemon();
    EXPECT_EQ(connectProfile("Profile0"), SIPD_ACK_SUCCESS);
    EXPECT_EQ(connectProfile("Profile1"), SIPD_ACK_SUCCESS);
    SipdClient gone;
    gone.introduce();
    SipdClient client;
    client.introduce();
    placeInside({{0, "cleo"}, {1, "anna"}});
    gone.send(SipdClient::profileMessage(PROFILE_CTRL_CONNECT, "Profile7"));
    gone.close();
    EXPECT_EQ(client.request(PROFILE_CTRL_DISCONNECT, "Profile0"), SIPD_ACK_SUCCESS);
    EXPECT_FALSE(testing::Matches(testing::Contains("cleo"))(usersNow()));
}

TEST_F(Following, SwapsDuringConnectsChangeNoProfile)
{
    std::vector<Place> one = {{0, "anna"}, {1, "bert"}};
    std::vector<Place> other = {{1, "anna"}, {0, "bert"}};
    // A reading takes its time.
    for (int i = 2; i < 200; ++i) {
        one.push_back({i, "user" + std::to_string(i)});
        other.push_back(one.back());
    }
    place(one);
    startDaemon({"-v"});
    SipdClient client;
    client.introduce();
    std::atomic<bool> isDone = false;
    std::thread swapper([&] {
        for (int i = 1; !isDone; ++i)
            replaceFile(i % 2 == 0 ? one : other);
    });
    constexpr int rounds = 150;
    for (int i = 0; i < rounds; ++i) {
        const std::string group = "Profile" + std::to_string(i % 2);
        EXPECT_EQ(client.request(PROFILE_CTRL_CONNECT, group), SIPD_ACK_SUCCESS);
        EXPECT_EQ(client.request(PROFILE_CTRL_DISCONNECT, group), SIPD_ACK_SUCCESS);
    }
    isDone = true;
    swapper.join();
    EXPECT_THAT(daemon().log(), testing::Not(testing::HasSubstr("has changed")));
}

TEST_F(Following, AFileThatIsHalfWrittenEndsNothing)
{
    place(threePlaces);
    startDaemon();
    EXPECT_EQ(connectProfile("Profile0"), SIPD_ACK_SUCCESS);
    {
        std::ofstream file(settingsFile(), std::ios::trunc);
        file << textOf({{0, "bert"}}) << std::flush;
        EXPECT_EQ(connectProfile("Profile2"), SIPD_ACK_SUCCESS) << "as it was";
        EXPECT_THAT(usersNow(), testing::ElementsAre("anna", "cleo"));
    }
    EXPECT_TRUE(waitForUsers({})) << "it is done";
}

TEST_F(Following, AFileThatIsTouchedAllTheTimeIsReadStill)
{
    place({{0, "anna"}});
    startDaemon();
    EXPECT_EQ(connectProfile("Profile0"), SIPD_ACK_SUCCESS);
    placeInside({{0, "bert", "secret", false, "anna"}});
    std::atomic<bool> isDone = false;
    std::thread toucher([&] {
        while (!isDone) {
            EXPECT_EQ(utimensat(AT_FDCWD, settingsFile().c_str(), nullptr, 0), 0);
            std::this_thread::sleep_for(1ms);
        }
    });
    EXPECT_TRUE(waitForUsers({"bert"}));
    isDone = true;
    toucher.join();
}

TEST_F(Following, AFileThatWasAwayAtTheStartIsConnectedFrom)
{
    place({{0, "anna", "secret", true}, {1, "bert"}});
    fs::rename(settingsFile(), settingsFile() + ".away");
    startDaemon();
    EXPECT_EQ(statusOf("Profile0"), 0U);
    fs::rename(settingsFile() + ".away", settingsFile());
    EXPECT_TRUE(waitForUsers({"anna"}));
    EXPECT_EQ(disconnectProfile("Profile0"), SIPD_ACK_SUCCESS);
    const size_t count = registrar.requests().size();
    // Only once.
    fs::rename(settingsFile(), settingsFile() + ".away");
    fs::rename(settingsFile() + ".away", settingsFile());
    EXPECT_EQ(statusOf("Profile0"), 0U);
    EXPECT_TRUE(isSilentSince(count));
}
