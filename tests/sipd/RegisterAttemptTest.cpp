// Attempts by the SIP stack at a registrar in a thread of this process.

#include "RegisterAttempt.h"
#include "SipNetwork.h"
#include "TestRegistrar.h"

#include <arpa/inet.h>
#include <array>
#include <gmock/gmock.h>
#include <netinet/in.h>
#include <optional>
#include <sys/socket.h>
#include <unistd.h>
#include <utility>

using namespace std::chrono_literals;
using testing::IsEmpty;

namespace {

class RegisterAttemptTest : public testing::Test
{
protected:
    ~RegisterAttemptTest() override
    {
        if (attempt)
            end();
        for (const auto& ended : former) {
            while (!ended->isGone())
                loop.step();
        }
    }

    // Starts an attempt at the registrar.
    void start(const std::string& user = "anna", const std::string& password = "secret",
               std::chrono::milliseconds timeout = 8s)
    {
        const auto port = static_cast<uint16_t>(registrar.port());
        const SipProfile profile = {*parseRegistrarAddress("127.0.0.1", port), user, password};
        outcome.reset();
        attempt = network.makeAttempt(profile, [this](const Outcome& ended) { outcome = ended.ack; });
        ASSERT_EQ(attempt->registerAt(*ServerAddress::parse("127.0.0.1", port), timeout, {}),
                  SIPD_ACK_SUCCESS);
    }
    // The outcome of a whole attempt.
    std::optional<_SIPD_APP_ACK_E> outcomeOf(const std::string& user = "anna",
                                             const std::string& password = "secret")
    {
        start(user, password);
        while (!outcome)
            loop.step();
        return outcome;
    }
    // Unregisters or abandons, and waits until that is done.
    void end()
    {
        attempt->unregisterOrAbandon();
        while (attempt->state() != Attempt::State::Closing && !attempt->isGone())
            loop.step();
        former.push_back(std::move(attempt));
    }
    void step()
    {
        loop.wake();
        loop.step();
    }
    // Sends a request to the registered phone: the status line's start of the answer.
    std::string answerTo(const std::string& method, const std::string& contact);

    EventLoop loop;
    SipNetwork network{loop, {}};
    TestRegistrar registrar;
    std::optional<_SIPD_APP_ACK_E> outcome;
    std::unique_ptr<Attempt> attempt;
    std::vector<std::unique_ptr<Attempt>> former;
};

std::string RegisterAttemptTest::answerTo(const std::string& method, const std::string& contact)
{
    const FileDescriptor fd(socket(AF_INET, SOCK_DGRAM | SOCK_NONBLOCK, 0));
    sockaddr_in phone = {};
    phone.sin_family = AF_INET;
    phone.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    phone.sin_port =
        htons(static_cast<uint16_t>(std::stoi(contact.substr(contact.rfind(':', contact.find(';')) + 1))));
    const std::string request =
        method + " sip:anna@127.0.0.1 SIP/2.0\r\nVia: SIP/2.0/UDP 127.0.0.1;rport;branch=z9hG4bK" + method +
        "\r\nFrom: <sip:x@y>;tag=1\r\nTo: <sip:anna@127.0.0.1>\r\nCall-ID: " + method + "\r\nCSeq: 1 " +
        method + "\r\nContact: <sip:x@127.0.0.1>\r\nContent-Length: 0\r\n\r\n";
    sendto(fd.get(), request.data(), request.size(), 0, reinterpret_cast<const sockaddr*>(&phone),
           sizeof(phone));
    std::array<char, 4096> answer{};
    while (recv(fd.get(), answer.data(), answer.size(), 0) < 0)
        step();
    return {answer.data(), 12};
}

} // namespace

TEST_F(RegisterAttemptTest, RegistersAndUnregisters)
{
    EXPECT_EQ(outcomeOf(), SIPD_ACK_SUCCESS);
    EXPECT_EQ(attempt->state(), Attempt::State::Registered);
    EXPECT_THAT(registrar.contacts(), testing::ElementsAre(testing::StartsWith("<sip:anna@127.0.0.1:")));
    EXPECT_EQ(registrar.requests().back().expires, 3600);
    end();
    EXPECT_THAT(registrar.contacts(), IsEmpty());
}

TEST_F(RegisterAttemptTest, AsksForTheLifetimeThatTheServerWants)
{
    registrar.setShortestBinding(7200);
    EXPECT_EQ(outcomeOf(), SIPD_ACK_SUCCESS);
    EXPECT_EQ(registrar.requests().back().expires, 7200);
}

TEST_F(RegisterAttemptTest, TurnsTheServersStatusIntoAnAck)
{
    const std::vector<std::pair<int, _SIPD_APP_ACK_E>> outcomes = {{503, SIPD_ACK_SERVICE_UNAVAILABLE},
                                                                   {401, SIPD_ACK_INCORRECT_PROFILE},
                                                                   {403, SIPD_ACK_INCORRECT_PROFILE},
                                                                   {404, SIPD_ACK_INCORRECT_PROFILE},
                                                                   {407, SIPD_ACK_INCORRECT_PROFILE},
                                                                   {500, SIPD_ACK_FAILED},
                                                                   {603, SIPD_ACK_FAILED},
                                                                   {408, SIPD_ACK_FAILED},
                                                                   {302, SIPD_ACK_FAILED}};
    for (const auto& [status, ack] : outcomes) {
        registrar.setAnswer(status);
        EXPECT_EQ(outcomeOf(), ack) << status;
        end();
    }
}

TEST_F(RegisterAttemptTest, GivesUpOnASilentServerAfterTheTimeout)
{
    registrar.setAnswer(0);
    start("anna", "secret", 100ms);
    const auto begin = loop.now();
    while (!outcome)
        loop.step();
    EXPECT_EQ(outcome, SIPD_ACK_CONNECT_FAILED);
    EXPECT_GE(loop.now() - begin, 90ms);
}

TEST_F(RegisterAttemptTest, FailsWithoutARoute)
{
    const SipProfile profile = {*parseRegistrarAddress("127.0.0.1", 5060), "anna", "secret"};
    attempt = network.makeAttempt(profile, [](const Outcome&) {});
    EXPECT_EQ(attempt->registerAt(*ServerAddress::parse("255.255.255.255", 5060), 8s, {}),
              SIPD_ACK_CONNECT_FAILED);
    EXPECT_TRUE(attempt->isGone());
}

TEST_F(RegisterAttemptTest, GivesASilentServerThreeSecondsToUnregister)
{
    start("anna", "secret", 1h);
    while (!outcome)
        loop.step();
    registrar.setAnswer(0);
    const auto begin = loop.now();
    end();
    EXPECT_GE(loop.now() - begin, 2900ms);
}

TEST_F(RegisterAttemptTest, UnregistersWhenItIsAcceptedAfterItsEnd)
{
    registrar.setAccount({"anna", "secret"});
    start();
    while (registrar.requests().empty())
        step();
    registrar.hold();
    while (registrar.requests().size() < 2)
        step();
    attempt->unregisterOrAbandon();
    EXPECT_EQ(attempt->state(), Attempt::State::Abandoned);
    registrar.release();
    end();
    EXPECT_EQ(registrar.requests().back().expires, 0);
    EXPECT_THAT(registrar.contacts(), IsEmpty());
    EXPECT_EQ(outcome, std::nullopt);
}

TEST_F(RegisterAttemptTest, AnswersAChallengeToItsUnregistering)
{
    EXPECT_EQ(outcomeOf(), SIPD_ACK_SUCCESS);
    registrar.setAccount({"anna", "secret"}); // so far it has asked for no password
    end();
    EXPECT_THAT(registrar.contacts(), IsEmpty());
}

TEST_F(RegisterAttemptTest, AuthenticatesWithAnyUserNameAndPassword)
{
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
        EXPECT_EQ(outcomeOf(user, password), SIPD_ACK_SUCCESS) << user << ' ' << password;
        EXPECT_EQ(registrar.requests().back().user, user);
        end();
        EXPECT_THAT(registrar.contacts(), IsEmpty()) << user;
        EXPECT_EQ(outcomeOf(user, password + '.'), SIPD_ACK_INCORRECT_PROFILE) << user << ' ' << password;
        end();
    }
}

TEST_F(RegisterAttemptTest, AnswersTheStrongestChallenge)
{
    for (const std::vector<std::string>& algorithms :
         {std::vector<std::string>{"SHA-256"}, {"SHA-256", "MD5"}, {"MD5"}, {"MD5-sess"}, {"SHA-256-sess"}}) {
        registrar.setAccount({"anna", "secret", algorithms});
        EXPECT_EQ(outcomeOf(), SIPD_ACK_SUCCESS) << algorithms.front();
        end();
    }
    registrar.setAccount({"anna", "secret", {"SHA-512-256"}});
    EXPECT_EQ(outcomeOf(), SIPD_ACK_FAILED);
}

TEST_F(RegisterAttemptTest, TakesNoCallsAndNoMessages)
{
    EXPECT_EQ(outcomeOf(), SIPD_ACK_SUCCESS);
    const std::string contact = *registrar.contacts().begin();
    for (const char* method : {"INVITE", "MESSAGE", "REFER", "SUBSCRIBE", "NOTIFY", "INFO"})
        EXPECT_EQ(answerTo(method, contact), "SIP/2.0 405 ") << method;
    EXPECT_EQ(answerTo("OPTIONS", contact), "SIP/2.0 200 ");
    EXPECT_EQ(attempt->state(), Attempt::State::Registered);
}
