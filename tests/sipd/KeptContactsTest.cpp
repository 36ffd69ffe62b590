// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

// The contacts that a server may hold: in memory, in the file, and in the next REGISTER.

#include "ChildProcess.h"
#include "VirtualSipTest.h"

#include <filesystem>
#include <fstream>
#include <iterator>
#include <sys/stat.h>
#include <unistd.h>

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;
namespace fs = std::filesystem;

namespace {

constexpr char ACCOUNT[] = "127.0.0.1:5060 anna";
constexpr char OLD[] = "sip:anna@192.0.2.5:40000";

class KeptContactsTest : public VirtualSipTest
{
protected:
    std::string file() const { return state + "/contacts"; }
    std::string text() const
    {
        std::ifstream stream(file());
        return {std::istreambuf_iterator<char>(stream), {}};
    }
    void setText(const std::string& content) const
    {
        fs::create_directories(state);
        fs::permissions(state, fs::perms::owner_all);
        std::ofstream(file()) << content;
        chmod(file().c_str(), 0600);
    }
    // A killed daemon has left this contact of anna.
    void leaveOld() const { setText(std::string("sipd contacts 1\n") + ACCOUNT + ' ' + OLD + '\n'); }
    static mode_t modeOf(const std::string& path)
    {
        struct stat status = {};
        return stat(path.c_str(), &status) == 0 ? status.st_mode & 07777 : 0;
    }
};

using MovingContacts = KeptContactsTest;

} // namespace

TEST_F(KeptContactsTest, StandInAFileWhileServersHoldThem)
{
    start({{0, "anna"}});
    EXPECT_FALSE(fs::exists(file()));
    const Request request = connectUnanswered(0);
    run();
    const std::string kept = "sipd contacts 1\n127.0.0.1:5060 anna sip:anna@192.0.2.1:1\n";
    EXPECT_EQ(text(), kept) << "before the server answers";
    EXPECT_EQ(modeOf(file()), 0600U);
    EXPECT_EQ(modeOf(state), 0700U);
    answer(SIPD_ACK_SUCCESS);
    EXPECT_EQ(text(), kept);
    EXPECT_EQ(disconnectProfile(0), SIPD_ACK_SUCCESS);
    EXPECT_TRUE(fs::is_empty(state));
}

TEST_F(KeptContactsTest, AreRemovedByTheFirstRegister)
{
    leaveOld();
    start({{.number = 0, .user = "anna", .autoConnect = true}});
    EXPECT_THAT(network.formerContacts(), ElementsAre(OLD));
    EXPECT_THAT(text(), HasSubstr("sip:anna@192.0.2.1:1\n"));
    EXPECT_THAT(text(), Not(HasSubstr(OLD)));
    registrations->end();
    run();
    EXPECT_TRUE(fs::is_empty(state));
}

TEST_F(KeptContactsTest, WaitUntilAServerAcceptsTheirProfile)
{
    leaveOld();
    start({{0, "anna"}, {1, "bert"}, {.number = 2, .user = "anna", .displayName = "other", .port = 5070}});
    EXPECT_EQ(connectProfile(1), SIPD_ACK_SUCCESS);
    EXPECT_THAT(network.formerContacts(), IsEmpty()) << "of another user";
    EXPECT_EQ(connectProfile(2), SIPD_ACK_SUCCESS);
    EXPECT_THAT(network.formerContacts(), IsEmpty()) << "at another server";
    for (const auto reason : {SIPD_ACK_CONNECT_FAILED, SIPD_ACK_INCORRECT_PROFILE, SIPD_ACK_SUCCESS}) {
        EXPECT_THAT(text(), HasSubstr(OLD));
        network.setAnswer(reason);
        EXPECT_EQ(connectProfile(0), reason);
        EXPECT_THAT(network.formerContacts(), ElementsAre(OLD));
    }
    EXPECT_THAT(text(), Not(HasSubstr(OLD)));
}

TEST_F(KeptContactsTest, AreIgnoredInADamagedFile)
{
    const std::string head = "sipd contacts 1\n";
    const std::string good = std::string(ACCOUNT) + ' ' + OLD + '\n';
    for (const std::string& content :
         {std::string(), good, head + good + "half a li", head + "sip:anna@192.0.2.5\n", head + good + "\n",
          head + "a  " + OLD + '\n', head + ACCOUNT + " sip:a>,<sip:b@c\n", head + ACCOUNT + " tel:1\n",
          std::string(2'000'000, 'x')}) {
        setText(content);
        testing::internal::CaptureStderr();
        start({{0, "anna"}});
        EXPECT_THAT(testing::internal::GetCapturedStderr(), HasSubstr("is damaged or foreign")) << content;
        EXPECT_EQ(connectProfile(0), SIPD_ACK_SUCCESS);
        EXPECT_THAT(network.formerContacts(), IsEmpty()) << content;
        EXPECT_THAT(text(), testing::StartsWith(head)) << content;
        registrations.reset();
    }
}

TEST_F(KeptContactsTest, AreIgnoredInAFileOfAnother)
{
    const auto check = [this](const char* what) {
        testing::internal::CaptureStderr();
        start({{0, "anna"}});
        EXPECT_THAT(testing::internal::GetCapturedStderr(), HasSubstr("is damaged or foreign")) << what;
        EXPECT_EQ(connectProfile(0), SIPD_ACK_SUCCESS);
        EXPECT_THAT(network.formerContacts(), IsEmpty()) << what;
        registrations.reset();
        contacts.reset();
        fs::remove_all(file());
    };
    leaveOld();
    chmod(file().c_str(), 0666);
    check("writable for others");
    leaveOld();
    fs::rename(file(), file() + ".other");
    fs::create_symlink("contacts.other", file());
    check("link");
    EXPECT_EQ(mkfifo(file().c_str(), 0600), 0);
    check("pipe");
    fs::create_directory(file());
    check("directory");
    if (geteuid() == 0) {
        leaveOld();
        EXPECT_EQ(chown(file().c_str(), 65534, 65534), 0);
        check("another user's");
    }
}

TEST_F(KeptContactsTest, ThatCannotBeWrittenAreLoggedOnce)
{
    std::ofstream(fs::path(state).parent_path().string()) << "no directory";
    testing::internal::CaptureStderr();
    start({{0, "anna"}, {1, "bert"}}, {0, 1});
    EXPECT_EQ(disconnectProfile(0), SIPD_ACK_SUCCESS);
    const std::string log = testing::internal::GetCapturedStderr();
    const size_t first = log.find("contacts are not kept in ");
    EXPECT_NE(first, std::string::npos);
    EXPECT_EQ(log.find("contacts are not kept in ", first + 1), std::string::npos);
    EXPECT_EQ(status(1), 2);
}

TEST_F(KeptContactsTest, AreNotWrittenToADirectoryOfOthers)
{
    fs::create_directories(state);
    fs::permissions(state, fs::perms::all);
    start({{0, "anna"}}, {0});
    EXPECT_TRUE(fs::is_empty(state));
}

TEST_F(KeptContactsTest, BelongToOneDaemonAtATime)
{
    leaveOld();
    auto first = std::make_unique<KeptContacts>(state);
    KeptContacts second(state);
    EXPECT_THAT(first->left(ACCOUNT), ElementsAre(OLD));
    EXPECT_THAT(second.left(ACCOUNT), IsEmpty());
    second.hold("s:1 bert", "sip:bert@192.0.2.1:1");
    EXPECT_THAT(text(), Not(HasSubstr("bert")));
    first.reset();
    second.hold("s:1 cleo", "sip:cleo@192.0.2.1:1");
    EXPECT_THAT(text(), AllOf(HasSubstr("bert"), HasSubstr("cleo"), HasSubstr(OLD)));
    EXPECT_THAT(second.left(ACCOUNT), ElementsAre(OLD));
}

TEST_F(KeptContactsTest, StayWhenAServerDoesNotAnswer)
{
    start({{0, "anna"}}, {0});
    const Request request = disconnectUnanswered(0);
    run(3s);
    EXPECT_EQ(request->ack(), SIPD_ACK_SUCCESS);
    EXPECT_THAT(text(), HasSubstr("sip:anna@192.0.2.1:1\n")) << "the server may still hold it";
    network.setAnswer(SIPD_ACK_SUCCESS);
    EXPECT_EQ(connectProfile(0), SIPD_ACK_SUCCESS);
    EXPECT_THAT(network.formerContacts(), ElementsAre("sip:anna@192.0.2.1:1"));
}

TEST_F(KeptContactsTest, AreTheLastFourOfASilentServer)
{
    start({{0, "anna"}});
    network.setAnswer(std::nullopt);
    for (int i = 0; i < 7; ++i) {
        const Request request = connect(0);
        run(8s);
        EXPECT_EQ(request->ack(), SIPD_ACK_CONNECT_FAILED);
    }
    network.setAnswer(SIPD_ACK_SUCCESS);
    EXPECT_EQ(connectProfile(0), SIPD_ACK_SUCCESS);
    EXPECT_THAT(network.formerContacts(), ElementsAre("sip:anna@192.0.2.1:4", "sip:anna@192.0.2.1:5",
                                                      "sip:anna@192.0.2.1:6", "sip:anna@192.0.2.1:7"));
    EXPECT_EQ(text(), "sipd contacts 1\n127.0.0.1:5060 anna sip:anna@192.0.2.1:8\n");
}

TEST_F(KeptContactsTest, KeepNoProfileFromAServerOfOneContact)
{
    leaveOld();
    network.setAcceptsFormerContacts(false);
    start({{0, "anna"}}, {0});
    EXPECT_THAT(network.requests(), ElementsAre("0 register anna", "0 register anna"));
    EXPECT_THAT(network.formerContacts(), IsEmpty());
    EXPECT_THAT(text(), Not(HasSubstr(OLD)));
    network.lose("anna", SIPD_ACK_FAILED);
    leaveOld();
    network.setOutcome(Outcome{.ack = SIPD_ACK_FAILED, .status = 400});
    EXPECT_EQ(connectProfile(0), SIPD_ACK_FAILED);
    EXPECT_THAT(network.requests(), SizeIs(3)) << "once is enough without one";
}

TEST_F(KeptContactsTest, AreBothKeptUntilAServerAcceptsTheSecond)
{
    constexpr char first[] = "sip:anna@192.0.2.1:1";
    constexpr char second[] = "sip:anna@203.0.113.1:4000";
    start({{0, "anna"}}, {0});
    network.moveContact("anna", second);
    run();
    EXPECT_THAT(text(), AllOf(HasSubstr(first), HasSubstr(second)));
    network.acceptContact("anna");
    EXPECT_THAT(text(), AllOf(Not(HasSubstr(first)), HasSubstr(second)));
    network.moveContact("anna", first);
    run();
    network.setSource("198.51.100.7");
    registrations->reviewNetwork();
    EXPECT_THAT(network.formerContacts(), ElementsAre(second, first));
    run();
    network.moveContact("anna", second);
    run();
    EXPECT_EQ(disconnectProfile(0), SIPD_ACK_SUCCESS);
    EXPECT_TRUE(fs::is_empty(state));
}

TEST_F(KeptContactsTest, StandInTheDirectoryOfTheEnvironment)
{
    const auto directoryWith = [](const std::vector<std::pair<const char*, const char*>>& environment) {
        std::string found;
        for (const char* name : {"STATE_DIRECTORY", "XDG_STATE_HOME", "HOME"})
            qunsetenv(name);
        for (const auto& [name, value] : environment)
            qputenv(name, value);
        return KeptContacts::standardDirectory();
    };
    const QByteArray home = qgetenv("HOME");
    EXPECT_EQ(directoryWith({{"HOME", "/h"}}), "/h/.local/state/sipd");
    EXPECT_EQ(directoryWith({{"HOME", "/h"}, {"XDG_STATE_HOME", "/x"}}), "/x/sipd");
    EXPECT_EQ(directoryWith({{"HOME", "/h"}, {"XDG_STATE_HOME", "x"}}), "/h/.local/state/sipd");
    EXPECT_EQ(directoryWith({{"XDG_STATE_HOME", "/x"}, {"STATE_DIRECTORY", "/s/one:/s/two"}}), "/s/one");
    EXPECT_THAT(directoryWith({}), testing::EndsWith("/.local/state/sipd")) << "by the user database";
    qputenv("HOME", home);
}

TEST_F(MovingContacts, AreReplacedByOneRequest)
{
    start({{0, "anna"}}, {0});
    network.setSource("198.51.100.7");
    registrations->reviewNetwork();
    run();
    EXPECT_THAT(network.requests(), ElementsAre("0 register anna", "0 unregister anna", "0 register anna"));
    EXPECT_THAT(network.formerContacts(), ElementsAre("sip:anna@192.0.2.1:1"));
    EXPECT_EQ(status(0), 2);
    EXPECT_EQ(text(), "sipd contacts 1\n127.0.0.1:5060 anna sip:anna@198.51.100.7:2\n");
}

TEST_F(MovingContacts, AreAllReplacedAfterTwoMoves)
{
    start({{0, "anna"}}, {0});
    network.setAnswer(std::nullopt);
    for (const char* source : {"198.51.100.7", "203.0.113.9"}) {
        network.setSource(source);
        registrations->reviewNetwork();
        run(1s);
    }
    EXPECT_THAT(network.formerContacts(), ElementsAre("sip:anna@192.0.2.1:1", "sip:anna@198.51.100.7:2"));
    answer(SIPD_ACK_SUCCESS);
    run(10s);
    EXPECT_EQ(status(0), 2);
    EXPECT_EQ(text(), "sipd contacts 1\n127.0.0.1:5060 anna sip:anna@203.0.113.9:3\n");
}
