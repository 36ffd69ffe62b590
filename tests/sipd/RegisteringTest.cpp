// How the daemon brings registrations about, keeps and ends them, with a registrar of the test's own.

#include "ChildProcess.h"
#include "OwnNetwork.h"
#include "SipdProcess.h"
#include "TestRegistrar.h"

#include <arpa/inet.h>
#include <array>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>
#include <iterator>
#include <netinet/in.h>
#include <optional>
#include <sched.h>
#include <sys/mount.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <system_error>
#include <unistd.h>

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

namespace {

// Enough for a handful of connections.
const std::vector<std::string> withFewDescriptors = {"/bin/sh", "-c", "ulimit -n 64; exec \"$0\" \"$@\""};

class Registering : public SipdTest
{
protected:
    static bool waitForStatus(const std::string& group, uint32_t status,
                              std::chrono::milliseconds timeout = 10s)
    {
        return waitUntil([&] { return statusOf(group) == status; }, timeout);
    }

    // Has the client connect Profile0; false when the registrar is not asked for it.
    bool beginToConnect(SipdClient& client) const
    {
        client.introduce();
        client.send(SipdClient::profileMessage(PROFILE_CTRL_CONNECT, "Profile0"));
        return waitUntil([this] { return !registrar.requests().empty(); });
    }

    TestProfile profile(const std::string& user = "anna") const
    {
        return {.port = registrar.port(), .user = user};
    }

    TestRegistrar registrar;
};

} // namespace

TEST_F(Registering, MakesABindingAndTakesItBack)
{
    writeProfile("Profile0", profile());
    startDaemon();
    SipdClient client;
    client.introduce();
    registrar.hold();
    client.send(SipdClient::profileMessage(PROFILE_CTRL_CONNECT, "Profile0"));
    EXPECT_EQ(statusOf("Profile0"), 1U);
    registrar.release();
    EXPECT_EQ(client.ack(), SIPD_ACK_SUCCESS);
    EXPECT_EQ(client.status("Profile0"), 2U);
    EXPECT_THAT(registrar.contacts(), testing::ElementsAre(testing::StartsWith("<sip:anna@127.0.0.1:")));
    client.close();
    EXPECT_EQ(statusOf("Profile0"), 2U) << "it outlives the client";
    EXPECT_EQ(disconnectProfile("Profile0"), SIPD_ACK_SUCCESS);
    EXPECT_EQ(statusOf("Profile0"), 0U);
    EXPECT_EQ(registrar.contacts().size(), 0U);
    EXPECT_EQ(disconnectProfile("Profile0"), SIPD_ACK_SUCCESS) << "though it was not connected";
}

TEST_F(Registering, TellsWhyItFailed)
{
    startDaemon();
    writeProfile("Profile0", profile());
    const std::vector<std::pair<int, uint32_t>> outcomes = {{503, SIPD_ACK_SERVICE_UNAVAILABLE},
                                                            {401, SIPD_ACK_INCORRECT_PROFILE},
                                                            {403, SIPD_ACK_INCORRECT_PROFILE},
                                                            {404, SIPD_ACK_INCORRECT_PROFILE},
                                                            {500, SIPD_ACK_FAILED},
                                                            {603, SIPD_ACK_FAILED},
                                                            {408, SIPD_ACK_FAILED},
                                                            {302, SIPD_ACK_FAILED}};
    for (const auto& [status, ack] : outcomes) {
        registrar.setAnswer(status);
        EXPECT_EQ(connectProfile("Profile0"), ack) << status;
        EXPECT_EQ(statusOf("Profile0"), 0U) << status;
    }
}

TEST_F(Registering, FailsAtProfilesThatMakeNoSense)
{
    writeProfile("Profile0", {.server = ""});
    writeProfile("Profile1", {.server = "two words"});
    writeProfile("Profile2", {.port = 0});
    writeProfile("Profile3", {.port = 65536});
    writeProfile("Profile4", {.user = ""});
    writeProfile("Profile5", {.user = "anna\r\nVia: x"});
    writeProfile("Profile6", {.displayName = ""});
    startDaemon();
    for (int i = 0; i < 8; ++i)
        EXPECT_EQ(connectProfile("Profile" + std::to_string(i)), SIPD_ACK_INCORRECT_PROFILE) << i;
}

TEST_F(Registering, GivesUpOnASilentServerAfterEightSeconds)
{
    registrar.setAnswer(0);
    writeProfile("Profile0", profile());
    startDaemon();
    const auto start = Clock::now();
    EXPECT_EQ(connectProfile("Profile0"), SIPD_ACK_CONNECT_FAILED);
    EXPECT_GE(Clock::now() - start, 7500ms);
    EXPECT_LT(Clock::now() - start, 9s);
    EXPECT_EQ(statusOf("Profile0"), 0U);
}

TEST_F(Registering, TellsThatThePhoneHasNoNetwork)
{
    if (system("unshare -n true 2>/dev/null") != 0)
        GTEST_SKIP() << "a network of one's own is not to be had";
    writeProfile("Profile0", {.server = "192.0.2.1"});
    writeProfile("Profile1", {.server = "2001:db8::1"});
    writeProfile("Profile2", {.server = "sip.example.com"});
    startDaemon({}, {"/usr/bin/unshare", "-n"});
    for (const char* group : {"Profile0", "Profile1", "Profile2"})
        EXPECT_EQ(connectProfile(group), SIPD_ACK_SERVICE_UNAVAILABLE) << group;
}

TEST_F(Registering, AnAddressWithoutAWayThereIsAServerThatIsNotReachedWhereThereIsANetwork)
{
    // The server has an IPv6 address, too, and the phone's network has no IPv6.
    const std::string hosts = directory().toStdString() + "/hosts";
    std::ofstream(hosts) << "127.0.0.1 sip.example.com\n2001:db8::1 sip.example.com v6.example.com\n";
    writeProfile("Profile0", {.server = "sip.example.com", .port = 5079});
    writeProfile("Profile1", {.server = "2001:db8::1"});
    writeProfile("Profile2", {.server = "v6.example.com", .port = 5079});
    constexpr int notToBeHad = 77;
    const int outcome = runInChild([&] {
        if (!enterOwnNetwork() || !addInterface() || unshare(CLONE_NEWNS) != 0 ||
            mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0 ||
            mount(hosts.c_str(), "/etc/hosts", nullptr, MS_BIND, nullptr) != 0)
            return notToBeHad;
        startDaemon({"-v"});
        for (const char* group : {"Profile0", "Profile1", "Profile2"})
            EXPECT_EQ(connectProfile(group), SIPD_ACK_CONNECT_FAILED) << group << '\n' << daemon().log();
        stopDaemon();
        return testing::Test::HasFailure() ? 1 : 0;
    });
    if (outcome == notToBeHad)
        GTEST_SKIP() << "a network of one's own is not to be had";
    EXPECT_EQ(outcome, 0);
}

TEST_F(Registering, AuthenticatesWithAnyUserNameAndPassword)
{
    startDaemon();
    const std::vector<std::pair<std::string, std::string>> accounts = {
        {"anna", "with:colon"},
        {"anna", ""},
        {"anna", R"(quo"te back\slash)"},
        {"an:na", "x"},
        {R"(an"na\)", "x"},
        {"an na@%41;?&=+$,/", "%20"},
        {"\xd0\x94\xd0\xb0\xd1\x87\xd0\xb0", "\xe7\x94\xb5\xe8\xaf\x9d"},
        {"anna", " blanks "},
        {"anna", "line\nbreak"},
        {"<sip:x@y>", "HA1+x"}};
    for (const auto& [user, password] : accounts) {
        registrar.setAccount({user, password});
        writeProfile("Profile0", {.port = registrar.port(), .user = user, .password = password});
        EXPECT_EQ(connectProfile("Profile0"), SIPD_ACK_SUCCESS) << user << ' ' << password;
        EXPECT_EQ(registrar.requests().back().user, user);
        EXPECT_EQ(disconnectProfile("Profile0"), SIPD_ACK_SUCCESS);
        EXPECT_EQ(registrar.contacts().size(), 0U) << user;
        writeProfile("Profile0", {.port = registrar.port(), .user = user, .password = password + '.'});
        EXPECT_EQ(connectProfile("Profile0"), SIPD_ACK_INCORRECT_PROFILE) << user << ' ' << password;
    }
}

TEST_F(Registering, AnswersTheStrongestChallengeThatItKnows)
{
    startDaemon();
    writeProfile("Profile0", profile());
    for (const std::vector<std::string>& algorithms :
         {std::vector<std::string>{"SHA-256"}, {"SHA-256", "MD5"}, {"MD5"}, {"MD5-sess"}, {"SHA-256-sess"}}) {
        registrar.setAccount({"anna", "secret", algorithms});
        EXPECT_EQ(connectProfile("Profile0"), SIPD_ACK_SUCCESS) << algorithms.front();
        EXPECT_EQ(disconnectProfile("Profile0"), SIPD_ACK_SUCCESS);
    }
    registrar.setAccount({"anna", "secret", {"SHA-512-256"}});
    EXPECT_EQ(connectProfile("Profile0"), SIPD_ACK_FAILED);
}

TEST_F(Registering, StaysRegisteredWhereANonceRunsOutWithoutAWord)
{
    registrar.setAccount({"anna", "secret"});
    registrar.setNonceUses(2);
    writeProfile("Profile0", profile());
    startDaemon({"--expires", "2"});
    EXPECT_EQ(connectProfile("Profile0"), SIPD_ACK_SUCCESS);
    ASSERT_TRUE(waitUntil([this] { return registrar.requests().size() >= 8; }, 20s));
    EXPECT_EQ(statusOf("Profile0"), 2U);
    EXPECT_THAT(daemon().log(), testing::Not(testing::HasSubstr("not connected")));
    stopDaemon();
    EXPECT_EQ(registrar.contacts().size(), 0U);
}

TEST_F(Registering, ConnectsAtTheStartWhatIsToBeConnectedThen)
{
    writeProfile("Profile0", profile("anna"));
    TestProfile automatic = profile("bert");
    automatic.autoConnect = true;
    writeProfile("Profile1", automatic);
    automatic.user = "cleo";
    writeProfile("Profile9", automatic);
    startDaemon();
    EXPECT_TRUE(waitForStatus("Profile1", 2));
    EXPECT_TRUE(waitForStatus("Profile9", 2));
    EXPECT_EQ(statusOf("Profile0"), 0U);
    EXPECT_EQ(disconnectProfile("Profile1"), SIPD_ACK_SUCCESS);
    EXPECT_EQ(statusOf("Profile1"), 0U);
}

TEST_F(Registering, TriesAgainAfterGrowingPausesUntilTheServerIsThere)
{
    TestProfile automatic = profile();
    automatic.autoConnect = true;
    writeProfile("Profile0", automatic);
    registrar.setAnswer(503);
    startDaemon();
    const auto start = Clock::now();
    ASSERT_TRUE(waitUntil([this] { return registrar.requests().size() >= 3; }));
    EXPECT_GE(Clock::now() - start, 2900ms) << "1 and 2 seconds";
    EXPECT_EQ(statusOf("Profile0"), 0U);
    registrar.setAnswer(std::nullopt);
    EXPECT_TRUE(waitForStatus("Profile0", 2));
}

TEST_F(Registering, SaysNotConnectedWhenARefreshFailsAndGoesOnTrying)
{
    writeProfile("Profile0", profile());
    startDaemon({"--expires", "2"});
    EXPECT_EQ(connectProfile("Profile0"), SIPD_ACK_SUCCESS);
    registrar.setAnswer(500);
    EXPECT_TRUE(waitForStatus("Profile0", 0));
    registrar.setAnswer(std::nullopt);
    EXPECT_TRUE(waitForStatus("Profile0", 2));
    EXPECT_EQ(disconnectProfile("Profile0"), SIPD_ACK_SUCCESS);
}

TEST_F(Registering, AProfileThatAClientConnectedInVainIsNotTriedAgain)
{
    registrar.setAnswer(500);
    writeProfile("Profile0", profile());
    startDaemon();
    EXPECT_EQ(connectProfile("Profile0"), SIPD_ACK_FAILED);
    const size_t count = registrar.requests().size();
    registrar.setAnswer(std::nullopt);
    EXPECT_FALSE(waitUntil([&] { return registrar.requests().size() > count; }, 1500ms));
    EXPECT_EQ(statusOf("Profile0"), 0U);
}

TEST_F(Registering, RegistersAfreshWithTheFilesPresentValues)
{
    writeProfile("Profile0", profile("anna"));
    startDaemon();
    EXPECT_EQ(connectProfile("Profile0"), SIPD_ACK_SUCCESS);
    const auto first = registrar.contacts();
    EXPECT_EQ(connectProfile("Profile0"), SIPD_ACK_SUCCESS);
    EXPECT_EQ(registrar.contacts().size(), 1U) << "the former one is taken back";
    EXPECT_NE(registrar.contacts(), first);
    registrar.setAnswer(403);
    EXPECT_EQ(connectProfile("Profile0"), SIPD_ACK_INCORRECT_PROFILE);
    EXPECT_EQ(statusOf("Profile0"), 0U);
}

TEST_F(Registering, RenewsAProfileThatChanges)
{
    writeProfile("Profile0", profile("anna"));
    startDaemon();
    EXPECT_EQ(connectProfile("Profile0"), SIPD_ACK_SUCCESS);
    writeProfile("Profile0", profile("bert"));
    EXPECT_TRUE(waitUntil([this] {
        const auto contacts = registrar.contacts();
        return contacts.size() == 1 && contacts.begin()->starts_with("<sip:bert@");
    }));
    EXPECT_TRUE(waitForStatus("Profile0", 2));
}

TEST_F(Registering, TakesAChangeInTheMiddleOfAnAttempt)
{
    writeProfile("Profile0", profile("anna"));
    startDaemon();
    registrar.setAnswer(0);
    SipdClient client;
    ASSERT_TRUE(beginToConnect(client));
    registrar.setAnswer(std::nullopt);
    writeProfile("Profile0", profile("bert"));
    EXPECT_EQ(client.ack(), SIPD_ACK_SUCCESS);
    EXPECT_EQ(client.status("Profile0"), 2U);
    EXPECT_TRUE(waitUntil([this] {
        const auto contacts = registrar.contacts();
        return contacts.size() == 1 && contacts.begin()->starts_with("<sip:bert@");
    }));
}

TEST_F(Registering, AChangeInTheMiddleOfAnAttemptPutsItsEndNotOff)
{
    registrar.setAnswer(0);
    writeProfile("Profile0", profile("anna"));
    startDaemon();
    SipdClient client;
    client.introduce();
    const auto start = Clock::now();
    client.send(SipdClient::profileMessage(PROFILE_CTRL_CONNECT, "Profile0"));
    // It asks again after 1/2 and 3/2 of a second.
    ASSERT_TRUE(waitUntil([this] { return registrar.requests().size() == 3; }));
    writeProfile("Profile0", profile("bert"));
    EXPECT_EQ(client.ack(), SIPD_ACK_CONNECT_FAILED);
    EXPECT_THAT(registrar.requests(),
                testing::Contains(testing::Field("user", &TestRegistrar::Register::user, "bert")));
    EXPECT_GE(Clock::now() - start, 7500ms);
    EXPECT_LT(Clock::now() - start, 9s);
}

TEST_F(Registering, LeavesAProfileAloneOfWhichItKnowsNothingNew)
{
    TestProfile same = profile();
    writeProfile("Profile0", same);
    startDaemon({"-v"});
    EXPECT_EQ(connectProfile("Profile0"), SIPD_ACK_SUCCESS);
    const size_t count = registrar.requests().size();
    same.displayName = "Another";
    writeProfile("Profile0", same);
    writeProfile("Profile1", profile("bert"));
    EXPECT_FALSE(waitUntil([&] { return registrar.requests().size() > count; }, 500ms));
    EXPECT_EQ(statusOf("Profile0"), 2U);
}

TEST_F(Registering, EndsTheRegistrationOfADeletedProfile)
{
    writeProfile("Profile0", profile("anna"));
    writeProfile("Profile1", profile("bert"));
    startDaemon();
    EXPECT_EQ(connectProfile("Profile0"), SIPD_ACK_SUCCESS);
    EXPECT_EQ(connectProfile("Profile1"), SIPD_ACK_SUCCESS);
    removeProfile("Profile0");
    EXPECT_TRUE(waitUntil([this] { return registrar.contacts().size() == 1; }));
    EXPECT_EQ(statusOf("Profile0"), 0U);
    EXPECT_EQ(statusOf("Profile1"), 2U);
    writeProfile("Profile0", profile("cleo"));
    EXPECT_FALSE(waitForStatus("Profile0", 2, 500ms)) << "it is another one now";
    removeProfile("Profile1");
    EXPECT_EQ(statusOf("Profile1"), 0U);
    EXPECT_TRUE(waitUntil([this] { return registrar.contacts().empty(); }));
}

TEST_F(Registering, AFileThatCannotBeReadEndsNothing)
{
    writeProfile("Profile0", profile("anna"));
    TestProfile automatic = profile("bert");
    automatic.autoConnect = true;
    automatic.server = "";
    writeProfile("Profile1", automatic);
    startDaemon();
    EXPECT_EQ(connectProfile("Profile0"), SIPD_ACK_SUCCESS);
    std::filesystem::rename(file().toStdString(), file().toStdString() + ".sound");
    std::ofstream(file().toStdString()) << "[Profile0\nDisplayName=Home\n";
    ASSERT_TRUE(waitUntil([this] { return daemon().log().find("cannot be parsed") != std::string::npos; }));
    EXPECT_EQ(statusOf("Profile0"), 2U);
    const size_t count = registrar.requests().size();
    std::filesystem::rename(file().toStdString() + ".sound", file().toStdString());
    automatic.server = "127.0.0.1";
    writeProfile("Profile1", automatic);
    EXPECT_TRUE(waitForStatus("Profile1", 2)) << "it has not been forgotten either";
    EXPECT_EQ(statusOf("Profile0"), 2U);
    EXPECT_EQ(registrar.requests().size(), count + 1);
}

TEST_F(Registering, ConnectsAtTheStartWhatIsInTheFileOnceThatCanBeRead)
{
    TestProfile automatic = profile();
    automatic.autoConnect = true;
    std::ofstream(file().toStdString()) << "[Profile0\n";
    startDaemon();
    std::filesystem::remove(file().toStdString());
    writeProfile("Profile0", automatic);
    EXPECT_TRUE(waitForStatus("Profile0", 2));
    automatic.user = "bert";
    writeProfile("Profile1", automatic);
    EXPECT_FALSE(waitForStatus("Profile1", 2, 500ms)) << "it was not there at the start";
}

TEST_F(Registering, ForgetsADeletedProfileThatMadeNoSense)
{
    TestProfile automatic = profile();
    automatic.autoConnect = true;
    automatic.server = "";
    writeProfile("Profile0", automatic);
    startDaemon({"-v"});
    removeProfile("Profile0");
    EXPECT_TRUE(waitUntil([this] { return daemon().log().find("deleted") != std::string::npos; }, 1s));
    writeProfile("Profile0", profile("cleo"));
    EXPECT_FALSE(waitForStatus("Profile0", 2, 500ms)) << "it is another one now";
}

TEST_F(Registering, AProfileThatIsDeletedWhileItIsBeingConnectedIsNoProfile)
{
    writeProfile("Profile0", profile());
    startDaemon();
    registrar.setAnswer(0);
    SipdClient client;
    ASSERT_TRUE(beginToConnect(client));
    removeProfile("Profile0");
    EXPECT_EQ(client.ack(), SIPD_ACK_INCORRECT_PROFILE);
}

TEST_F(Registering, TriesARejectedProfileAgainAsSoonAsItChanges)
{
    registrar.setAccount({"anna", "right"});
    TestProfile automatic = profile();
    automatic.autoConnect = true;
    automatic.password = "wrong";
    writeProfile("Profile0", automatic);
    startDaemon();
    ASSERT_TRUE(waitUntil([this] { return registrar.requests().size() >= 2; }));
    EXPECT_FALSE(waitUntil([this] { return registrar.requests().size() > 2; }, 1500ms)) << "nor before that";
    automatic.password = "right";
    writeProfile("Profile0", automatic);
    EXPECT_TRUE(waitForStatus("Profile0", 2));
}

TEST_F(Registering, AClientThatGoesAwayCancelsItsConnect)
{
    writeProfile("Profile0", profile());
    startDaemon();
    registrar.hold();
    {
        SipdClient client;
        client.introduce();
        client.send(SipdClient::profileMessage(PROFILE_CTRL_CONNECT, "Profile0"));
        ASSERT_TRUE(waitUntil([this] { return registrar.requests().size() == 1; }));
    }
    EXPECT_TRUE(waitForStatus("Profile0", 0));
    registrar.release();
    // The server accepts it all the same, and has to be told.
    EXPECT_TRUE(waitUntil([this] {
        const auto requests = registrar.requests();
        return requests.back().expires == 0 && registrar.contacts().empty();
    }));
    EXPECT_EQ(statusOf("Profile0"), 0U);
}

TEST_F(Registering, CancelledAttemptsAtASilentServerDoNotPileUp)
{
    registrar.setAnswer(0);
    writeProfile("Profile0", profile());
    // Each attempt has descriptors of its own.
    startDaemon({}, withFewDescriptors);
    constexpr int many = 60;
    for (int i = 0; i < many; ++i) {
        SipdClient client;
        client.introduce();
        client.send(SipdClient::profileMessage(PROFILE_CTRL_CONNECT, "Profile0"));
        EXPECT_EQ(client.status("Profile0"), 1U);
        client.close();
        EXPECT_TRUE(waitForStatus("Profile0", 0));
    }
    EXPECT_EQ(statusOf("Profile0"), 0U);
}

TEST_F(Registering, AClientThatGoesAwayLeavesTheOthersTheirConnect)
{
    writeProfile("Profile0", profile());
    startDaemon();
    registrar.hold();
    SipdClient stays;
    stays.introduce();
    {
        SipdClient goes;
        goes.introduce();
        goes.send(SipdClient::profileMessage(PROFILE_CTRL_CONNECT, "Profile0"));
        ASSERT_TRUE(waitUntil([this] { return registrar.requests().size() == 1; }));
        stays.send(SipdClient::profileMessage(PROFILE_CTRL_CONNECT, "Profile0"));
        EXPECT_EQ(stays.status("Profile0"), 1U);
    }
    registrar.release();
    EXPECT_EQ(stays.ack(), SIPD_ACK_SUCCESS);
    EXPECT_EQ(registrar.contacts().size(), 1U);
}

TEST_F(Registering, ADisconnectEndsTheConnectOfAnother)
{
    registrar.setAnswer(0);
    writeProfile("Profile0", profile());
    startDaemon();
    SipdClient client;
    ASSERT_TRUE(beginToConnect(client));
    const auto start = Clock::now();
    EXPECT_EQ(disconnectProfile("Profile0"), SIPD_ACK_SUCCESS);
    EXPECT_LT(Clock::now() - start, 3500ms);
    EXPECT_EQ(client.ack(), SIPD_ACK_FAILED);
    EXPECT_EQ(client.status("Profile0"), 0U);
}

TEST_F(Registering, DisconnectsWithinThreeSecondsWhenTheServerIsSilent)
{
    writeProfile("Profile0", profile());
    startDaemon();
    EXPECT_EQ(connectProfile("Profile0"), SIPD_ACK_SUCCESS);
    registrar.setAnswer(0);
    const auto start = Clock::now();
    SipdClient client;
    client.introduce();
    client.send(SipdClient::profileMessage(PROFILE_CTRL_DISCONNECT, "Profile0"));
    EXPECT_EQ(statusOf("Profile0"), 0U) << "at once";
    EXPECT_EQ(client.ack(), SIPD_ACK_SUCCESS);
    EXPECT_GE(Clock::now() - start, 2900ms);
    EXPECT_LT(Clock::now() - start, 3500ms);
}

namespace {

// The status of the answer to a request that somebody sends to a registered phone; "nothing" without one.
std::string answerTo(const std::string& method, const std::string& contact)
{
    const int fd = socket(AF_INET, SOCK_DGRAM, 0);
    const timeval timeout = {5, 0};
    setsockopt(fd, SOL_SOCKET, SO_RCVTIMEO, &timeout, sizeof(timeout));
    sockaddr_in phone = {};
    phone.sin_family = AF_INET;
    phone.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    phone.sin_port =
        htons(static_cast<uint16_t>(std::stoi(contact.substr(contact.rfind(':', contact.find(';')) + 1))));
    const std::string request =
        method + " sip:anna@127.0.0.1 SIP/2.0\r\nVia: SIP/2.0/UDP 127.0.0.1;rport;branch=z9hG4bK" + method +
        "\r\nFrom: <sip:x@y>;tag=1\r\nTo: <sip:anna@127.0.0.1>\r\nCall-ID: " + method + "\r\nCSeq: 1 " +
        method + "\r\nContact: <sip:x@127.0.0.1>\r\nContent-Length: 0\r\n\r\n";
    sendto(fd, request.data(), request.size(), 0, reinterpret_cast<const sockaddr*>(&phone), sizeof(phone));
    std::array<char, 4096> answer{};
    const ssize_t size = recv(fd, answer.data(), answer.size(), 0);
    close(fd);
    return size < 12 ? "nothing" : std::string(answer.data(), 12);
}

} // namespace

TEST_F(Registering, TakesNoCallsAndNoMessages)
{
    writeProfile("Profile0", profile());
    startDaemon();
    EXPECT_EQ(connectProfile("Profile0"), SIPD_ACK_SUCCESS);
    const std::string contact = *registrar.contacts().begin();
    for (const char* method : {"INVITE", "MESSAGE", "REFER", "SUBSCRIBE", "NOTIFY", "INFO"})
        EXPECT_EQ(answerTo(method, contact), "SIP/2.0 405 ") << method;
    EXPECT_EQ(answerTo("OPTIONS", contact), "SIP/2.0 200 ");
    EXPECT_EQ(statusOf("Profile0"), 2U);
}

TEST_F(Registering, NeverTouchesTheSettingsFile)
{
    writeProfile("Profile0", profile());
    const FileIdentity before(file());
    startDaemon();
    EXPECT_EQ(connectProfile("Profile0"), SIPD_ACK_SUCCESS);
    EXPECT_EQ(disconnectProfile("Profile0"), SIPD_ACK_SUCCESS);
    stopDaemon();
    EXPECT_TRUE(FileIdentity(file()) == before);
    EXPECT_EQ(entries(), QStringList({"ormu_sipsetup.cfg", "sipd.log"}));
}

namespace {

// AddressSanitizer is slow, and keeps what was freed for a while.
#ifdef __SANITIZE_ADDRESS__
constexpr int manyCycles = 1000;
constexpr long allowedGrowth = 8192;
const std::vector<std::string> sparingly = {"/usr/bin/env", "ASAN_OPTIONS=quarantine_size_mb=1"};
#else
constexpr int manyCycles = 10'000;
constexpr long allowedGrowth = 1024;
const std::vector<std::string> sparingly;
#endif

// Of a process that is not dumpable only root is told.
std::optional<std::ptrdiff_t> descriptorsOf(pid_t process)
{
    std::error_code problem;
    const std::filesystem::directory_iterator found("/proc/" + std::to_string(process) + "/fd", problem);
    return problem ? std::nullopt : std::optional(std::distance(begin(found), end(found)));
}

} // namespace

TEST_F(Registering, TenThousandTimesLeavesNeitherMemoryNorDescriptorsBehind)
{
    registrar.setAccount({"anna", "secret"});
    writeProfile("Profile0", profile());
    std::vector<std::string> wrapper = withFewDescriptors;
    wrapper.insert(wrapper.end(), sparingly.begin(), sparingly.end());
    startDaemon({}, wrapper);
    SipdClient client;
    client.introduce();
    const auto cycle = [&client](int count) {
        int succeeded = 0;
        for (int i = 0; i < count; ++i)
            succeeded += client.request(PROFILE_CTRL_CONNECT, "Profile0") == SIPD_ACK_SUCCESS &&
                                 client.request(PROFILE_CTRL_DISCONNECT, "Profile0") == SIPD_ACK_SUCCESS
                             ? 1
                             : 0;
        return succeeded;
    };
    const pid_t process = client.daemon();
    const auto descriptors = descriptorsOf(process);
    // What is allocated once and for all is there after some.
    ASSERT_EQ(cycle(500), 500);
    const long memory = memoryOf(process);
    EXPECT_EQ(cycle(manyCycles), manyCycles);
    EXPECT_LT(memoryOf(process) - memory, allowedGrowth);
    // The stack opens one more once and for all.
    if (descriptors) {
        EXPECT_TRUE(waitUntil([&] { return descriptorsOf(process) == *descriptors + 1; }))
            << *descriptorsOf(process) << " after " << *descriptors;
    }
}
