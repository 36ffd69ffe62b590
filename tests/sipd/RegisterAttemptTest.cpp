// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

// Attempts by the SIP stack at a registrar in a thread of this process.

#include "RegisterAttempt.h"
#include "SipNetwork.h"
#include "StreamRelay.h"
#include "TestRegistrar.h"
#include "VirtualNetwork.h"

#include <algorithm>
#include <arpa/inet.h>
#include <array>
#include <filesystem>
#include <gmock/gmock.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <optional>
#include <ostream>
#include <sys/socket.h>
#include <unistd.h>
#include <utility>

using namespace std::chrono_literals;
using testing::IsEmpty;

namespace {

std::string requestOf(const std::string& method, const std::string& id)
{
    return method + " sip:phone@127.0.0.1 SIP/2.0\r\nVia: SIP/2.0/UDP 127.0.0.1;rport;branch=z9hG4bK" + id +
           "\r\nFrom: <sip:x@y>;tag=1\r\nTo: <sip:phone@127.0.0.1>\r\nCall-ID: " + id + "\r\nCSeq: 1 " +
           method + "\r\nContact: <sip:x@127.0.0.1>\r\nContent-Length: 0\r\n\r\n";
}

std::string replaced(std::string text, const std::string& from, const std::string& to)
{
    return text.replace(text.find(from), from.size(), to);
}

// Requests that the stack answers, or discards, without asking the product.
std::vector<std::string> malformedRequests()
{
    std::vector<std::string> requests = {
        "OPTIONS sip:phone@127.0.0.1 SIP/2.0\r\nVia: SIP/2.0/UDP 127.0.0.1;rport;branch=z9hG4bKx\r\n\r\n"};
    const std::vector<std::pair<std::string, std::string>> changes = {
        {"CSeq: 1 OPTIONS", "CSeq: first"},
        {"CSeq: 1 OPTIONS", "CSeq: 1 INVITE"},
        {"Call-ID: ", "Call-ID: <>@ "},
        {"Call-ID: ", "Other: "},
        {"From: ", "From: <<"},
        {"From: ", "Other: "},
        {"To: ", "To: ;;"},
        {"To: ", "Other: "},
        {"Contact: ", "Contact: <"},
        {"Contact: ", "Max-Forwards: 0\r\nContact: "},
        {"Contact: ", "Max-Forwards: many\r\nContact: "},
        {"Contact: ", "Require: magic\r\nContact: "},
        {"Contact: ", "Route: <bad\r\nContact: "},
        {"Content-Length: 0", "Content-Length: 1000"},
        {"Content-Length: 0", "Content-Length: -1"},
        {"sip:phone@127.0.0.1 SIP/2.0", "tel:1 SIP/2.0"},
        {"sip:phone@127.0.0.1 SIP/2.0", "sip:phone@127.0.0.1 SIP/3.0"},
        {"sip:phone@127.0.0.1 SIP/2.0", "<sip:@> SIP/2.0"},
        {"OPTIONS sip:phone@127.0.0.1 SIP/2.0", "SIP/2.0 200 OK"},
        {"OPTIONS sip:phone@127.0.0.1 SIP/2.0", "OPTIONS"},
    };
    for (const auto& [from, to] : changes)
        requests.push_back(replaced(requestOf("OPTIONS", "bad" + std::to_string(requests.size())), from, to));
    return requests;
}

// All packets that wait at the socket.
std::vector<std::string> packetsAt(int fd)
{
    std::vector<std::string> packets;
    std::string packet(65536, '\0');
    for (ssize_t size = 0; (size = recv(fd, packet.data(), packet.size(), MSG_DONTWAIT)) >= 0;)
        packets.push_back(packet.substr(0, static_cast<size_t>(size)));
    return packets;
}

const std::vector<std::string> METHODS = {"INVITE", "MESSAGE", "REFER",  "SUBSCRIBE", "NOTIFY",
                                          "INFO",   "BYE",     "CANCEL", "REGISTER",  "FOO"};

// What the kernel sends on a silent connection.
struct Probes
{
    int silence = 0; // in seconds; 0 for none
    int interval = 0;
    int count = 0;
    bool operator==(const Probes&) const = default;
};

std::ostream& operator<<(std::ostream& stream, const Probes& probes)
{
    return stream << probes.silence << " s, " << probes.count << " times each " << probes.interval << " s";
}

int optionOf(int fd, int level, int option)
{
    int value = -1;
    socklen_t size = sizeof(value);
    EXPECT_EQ(getsockopt(fd, level, option, &value, &size), 0);
    return value;
}

// Those on the connection of this process to the port.
std::optional<Probes> probesTo(unsigned int port)
{
    for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
        const int fd = std::stoi(entry.path().filename());
        sockaddr_in peer = {};
        socklen_t size = sizeof(peer);
        if (getpeername(fd, reinterpret_cast<sockaddr*>(&peer), &size) != 0 || peer.sin_family != AF_INET ||
            peer.sin_port != htons(static_cast<uint16_t>(port)))
            continue;
        if (optionOf(fd, SOL_SOCKET, SO_KEEPALIVE) == 0)
            return Probes{};
        return Probes{.silence = optionOf(fd, IPPROTO_TCP, TCP_KEEPIDLE),
                      .interval = optionOf(fd, IPPROTO_TCP, TCP_KEEPINTVL),
                      .count = optionOf(fd, IPPROTO_TCP, TCP_KEEPCNT)};
    }
    return std::nullopt;
}

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
        const auto port = static_cast<uint16_t>(relay ? relay->port() : registrar.port());
        const char* const server = relay ? "127.0.0.1;transport=tcp" : "127.0.0.1";
        const SipProfile profile = {*parseRegistrarAddress(server, port), user, password};
        outcome.reset();
        attempt = std::make_unique<RegisterAttempt>(loop, clock(), settings, profile, late,
                                                    [this](const Outcome& ended) {
                                                        outcome = ended.ack;
                                                        details = ended;
                                                    });
        ASSERT_EQ(attempt->registerAt(*ServerAddress::parse("127.0.0.1", port), timeout, formerContacts),
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
        while (!attempt->isGone())
            loop.step();
        former.push_back(std::move(attempt));
    }
    void step()
    {
        loop.wake();
        loop.step();
    }
    // Sends a request to the phone, and steps until it has answered. It has handled all former packets then.
    std::string answerTo(const std::string& method)
    {
        static int number = 0;
        const std::string id = "question" + std::to_string(++number);
        registrar.ask(requestOf(method, id));
        for (;;) {
            const std::vector<std::string> answers = registrar.answers();
            const auto found = std::ranges::find_if(answers, [&id](const std::string& answer) {
                return answer.find("\r\nCall-ID: " + id + "\r\n") != std::string::npos;
            });
            if (found != answers.end())
                return *found;
            step();
        }
    }
    // Steps until no request of the phone waits for its answer.
    void settle()
    {
        size_t before = 0;
        do {
            before = registrar.requests().size();
            answerTo("OPTIONS");
            while (registrar.accepted() < registrar.requests().size())
                step();
            answerTo("OPTIONS");
        } while (registrar.requests().size() != before);
    }
    // Lets virtual time pass, in which each request is answered at once.
    void advance(std::chrono::milliseconds time)
    {
        virtualClock.advance(time, [this] { settle(); });
    }
    // Where it answers requests.
    ServerAddress phone() const
    {
        const std::string contact = attempt->contact();
        return *ServerAddress::parse(
            "127.0.0.1", static_cast<uint16_t>(std::stoi(contact.substr(contact.rfind(':') + 1))));
    }
    static void expectNothingToldIn(const std::vector<std::string>& answers)
    {
        for (const std::string& answer : answers)
            for (const char* word : {"anna", "sipd", "sofia", "Contact", "Server", "User-Agent"})
                EXPECT_THAT(answer, testing::Not(testing::HasSubstr(word)));
    }
    Clock& clock() { return isVirtual ? static_cast<Clock&>(virtualClock) : loop; }

    EventLoop loop;
    VirtualClock virtualClock;
    bool isVirtual = false;
    SipSettings settings;
    LateAnswers late{loop};
    TestRegistrar registrar;
    std::unique_ptr<StreamRelay> relay; // before the registrar, for TCP; null for UDP
    std::vector<std::string> formerContacts;
    std::optional<_SIPD_APP_ACK_E> outcome;
    Outcome details;
    std::unique_ptr<Attempt> attempt;
    std::vector<std::unique_ptr<Attempt>> former;
};

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
    attempt = SipNetwork(loop, {}).makeAttempt(profile, [](const Outcome&) {});
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
    for (const std::vector<std::string>& algorithms : {std::vector<std::string>{"SHA-256"},
                                                       {"SHA-256", "MD5"},
                                                       {"MD5"},
                                                       {"MD5-sess"},
                                                       {"SHA-256-sess"},
                                                       {"SHA-512-256", "SHA-256", "MD5"},
                                                       {"SHA-512-256-sess"}}) {
        registrar.setAccount({"anna", "secret", algorithms});
        EXPECT_EQ(outcomeOf(), SIPD_ACK_SUCCESS) << algorithms.front();
        end();
    }
    registrar.setAccount({"anna", "secret", {"SHA-3"}});
    EXPECT_EQ(outcomeOf(), SIPD_ACK_FAILED);
    EXPECT_EQ(details.words, "401 Unauthorized, by an unknown kind of authentication");
}

TEST_F(RegisterAttemptTest, AnswersEveryKindOfProtection)
{
    for (const char* qop : {"", R"("auth")", R"("auth-int")", R"("auth-int,auth")", R"("auth, auth-int")",
                            R"("auth-conf , auth-int")", "auth", "auth-int", "auth-int,auth"}) {
        registrar.setAccount({.user = "anna", .password = "secret", .qop = qop});
        EXPECT_EQ(outcomeOf(), SIPD_ACK_SUCCESS) << qop;
        end();
        EXPECT_THAT(registrar.contacts(), IsEmpty()) << qop;
    }
    registrar.setAccount({.user = "anna", .password = "secret", .qop = "\"auth-conf\""});
    EXPECT_EQ(outcomeOf(), SIPD_ACK_FAILED);
}

TEST_F(RegisterAttemptTest, AnswersRealmsWithoutQuotationMarks)
{
    registrar.setAccount(
        {.user = "anna", .password = "secret", .realm = "sip.example.com", .isRealmQuoted = false});
    EXPECT_EQ(outcomeOf(), SIPD_ACK_SUCCESS);
}

TEST_F(RegisterAttemptTest, AnswersAChangedRealm)
{
    registrar.setAccount({.user = "anna", .password = "secret", .realm = "former"});
    EXPECT_EQ(outcomeOf(), SIPD_ACK_SUCCESS);
    registrar.setAccount({.user = "anna", .password = "secret", .realm = "present"});
    end();
    EXPECT_THAT(registrar.contacts(), IsEmpty());
}

TEST_F(RegisterAttemptTest, AnswersAServerAndItsProxy)
{
    registrar.setAccount({"anna", "secret"});
    for (const bool inOneAnswer : {true, false}) {
        registrar.setProxy({.user = "anna", .password = "secret", .realm = "proxy"}, inOneAnswer);
        EXPECT_EQ(outcomeOf(), SIPD_ACK_SUCCESS) << inOneAnswer;
        end();
        EXPECT_THAT(registrar.contacts(), IsEmpty());
        registrar.setProxy({.user = "anna", .password = "other", .realm = "proxy"}, inOneAnswer);
        EXPECT_EQ(outcomeOf(), SIPD_ACK_INCORRECT_PROFILE) << inOneAnswer;
        end();
    }
}

TEST_F(RegisterAttemptTest, TellsTheServersWords)
{
    registrar.setAnswer(480, "Account is unpaid");
    EXPECT_EQ(outcomeOf(), SIPD_ACK_FAILED);
    EXPECT_EQ(details.status, 480);
    EXPECT_EQ(details.words, "480 Account is unpaid");
    end();
    registrar.setAnswer(603, "a\tb\x1b[0m\xc3\xa4" + std::string(200, 'x'));
    EXPECT_EQ(outcomeOf(), SIPD_ACK_FAILED);
    EXPECT_EQ(details.words, "603 a?b?[0m??" + std::string(91, 'x'));
}

TEST_F(RegisterAttemptTest, TellsRedirectsAndWhenToRetry)
{
    registrar.setAnswer(
        302, "Moved",
        "Contact: <sip:b.example.com:5070;transport=tcp>;q=0.2, <tel:1>, <sips:a.example.com>;q=0.9\r\n");
    EXPECT_EQ(outcomeOf(), SIPD_ACK_FAILED);
    EXPECT_THAT(details.redirects,
                testing::ElementsAre("sips:a.example.com", "sip:b.example.com:5070;transport=tcp"));
    end();
    registrar.setAnswer(503, "Busy", "Retry-After: 7 (soon)\r\n");
    EXPECT_EQ(outcomeOf(), SIPD_ACK_SERVICE_UNAVAILABLE);
    EXPECT_EQ(details.retryAfter, 7s);
}

TEST_F(RegisterAttemptTest, FailsWhenTheServerDoesNotHoldItsContact)
{
    for (const char* contacts :
         {"Contact: <sip:anna@192.0.2.9:5060>;expires=3600\r\n", "Contact: <sip:bert@127.0.0.1:5060>\r\n"}) {
        registrar.setContactHeaders(contacts);
        EXPECT_EQ(outcomeOf(), SIPD_ACK_FAILED) << contacts;
        EXPECT_EQ(details.words, "200 OK, but without this phone's contact");
        end();
    }
    registrar.setContactHeaders({});
    registrar.setGranted(0);
    EXPECT_EQ(outcomeOf(), SIPD_ACK_FAILED);
}

TEST_F(RegisterAttemptTest, FindsItsContactInAnyForm)
{
    registrar.setAnswer(0);
    start();
    const std::string port = attempt->contact().substr(attempt->contact().rfind(':') + 1);
    while (registrar.requests().empty())
        step();
    registrar.setContactHeaders("m: <sip:x@y>;q=1, \"A\" <SIP:Anna@127.0.0.1:" + port +
                                ";ob;transport=UDP>;+x=\"a,b\";Expires=77\r\n");
    registrar.setAnswer({});
    while (!outcome)
        step();
    EXPECT_EQ(outcome, SIPD_ACK_SUCCESS);
}

TEST_F(RegisterAttemptTest, BelievesAServerThatNamesNoContacts)
{
    registrar.setContactHeaders("Expires: 60\r\n");
    EXPECT_EQ(outcomeOf(), SIPD_ACK_SUCCESS);
}

TEST_F(RegisterAttemptTest, RepeatsALostUnregistering)
{
    EXPECT_EQ(outcomeOf(), SIPD_ACK_SUCCESS);
    EXPECT_EQ(registrar.contacts(), std::set<std::string>{'<' + attempt->contact() + '>'});
    registrar.lose(1);
    Attempt& ending = *attempt;
    end();
    EXPECT_THAT(registrar.contacts(), IsEmpty());
    EXPECT_EQ(registrar.requests().size(), 3U);
    EXPECT_EQ(ending.contact(), "");
}

TEST_F(RegisterAttemptTest, UnregistersAnAcceptanceAfterTheTimeout)
{
    registrar.hold();
    start("anna", "secret", 50ms);
    while (!outcome)
        loop.step();
    EXPECT_EQ(outcome, SIPD_ACK_CONNECT_FAILED);
    EXPECT_TRUE(attempt->isGone());
    EXPECT_NE(attempt->contact(), "") << "the server may hold it";
    attempt.reset();
    registrar.release();
    while (!late.isEmpty())
        loop.step();
    EXPECT_EQ(registrar.requests().back().expires, 0);
    EXPECT_THAT(registrar.contacts(), IsEmpty());
}

TEST_F(RegisterAttemptTest, RemovesFormerContacts)
{
    EXPECT_EQ(outcomeOf(), SIPD_ACK_SUCCESS);
    formerContacts = {attempt->contact(), "sip:anna@192.0.2.1:5060"};
    former.push_back(std::move(attempt));
    EXPECT_EQ(outcomeOf(), SIPD_ACK_SUCCESS);
    EXPECT_EQ(registrar.contacts(), std::set<std::string>{'<' + attempt->contact() + '>'});
    former.front()->unregisterOrAbandon();
}

TEST_F(RegisterAttemptTest, OffersOnlyWhatItDoes)
{
    settings.product = "product/1";
    EXPECT_EQ(outcomeOf(), SIPD_ACK_SUCCESS);
    const std::string text = registrar.requests().back().text;
    EXPECT_THAT(text, testing::HasSubstr("\r\nUser-Agent: product/1\r\n"));
    EXPECT_THAT(text, testing::HasSubstr("\r\nAllow: OPTIONS\r\n"));
    EXPECT_THAT(text, testing::HasSubstr("\r\nContent-Length: 0\r\n"));
    for (const char* header : {"Supported", "Require", "Accept", "Content-Type", "sofia"})
        EXPECT_THAT(text, testing::Not(testing::HasSubstr(header)));
}

TEST_F(RegisterAttemptTest, AnswersItsRegistrarWithoutTellingAnything)
{
    EXPECT_EQ(outcomeOf(), SIPD_ACK_SUCCESS);
    EXPECT_THAT(answerTo("OPTIONS"), testing::StartsWith("SIP/2.0 200 "));
    for (const std::string& method : METHODS)
        EXPECT_THAT(answerTo(method), testing::StartsWith("SIP/2.0 405 ")) << method;
    expectNothingToldIn(registrar.answers());
    EXPECT_EQ(attempt->state(), Attempt::State::Registered);
}

TEST_F(RegisterAttemptTest, IsSilentToStrangers)
{
    EXPECT_EQ(outcomeOf(), SIPD_ACK_SUCCESS);
    const FileDescriptor stranger(socket(AF_INET, SOCK_DGRAM | SOCK_NONBLOCK, 0));
    for (const std::string& method : METHODS)
        phone().sendFrom(stranger.get(), requestOf(method, method));
    phone().sendFrom(stranger.get(), requestOf("OPTIONS", "scan"));
    phone().sendFrom(stranger.get(), "\r\n\r\n");
    phone().sendFrom(stranger.get(), std::string(70, '\0'));
    settle(); // the registrar is answered after them
    char byte = 0;
    EXPECT_LT(recv(stranger.get(), &byte, 1, 0), 0);
    EXPECT_EQ(attempt->state(), Attempt::State::Registered);
}

TEST_F(RegisterAttemptTest, TellsNothingToMalformedRequests)
{
    EXPECT_EQ(outcomeOf(), SIPD_ACK_SUCCESS);
    const FileDescriptor stranger(socket(AF_INET, SOCK_DGRAM | SOCK_NONBLOCK, 0));
    for (const std::string& request : malformedRequests()) {
        phone().sendFrom(stranger.get(), request);
        registrar.ask(request);
    }
    settle(); // the registrar is answered after them
    const std::vector<std::string> answers = packetsAt(stranger.get());
    EXPECT_THAT(answers, testing::Not(IsEmpty()));
    EXPECT_THAT(answers, testing::Each(testing::StartsWith("SIP/2.0 400 "))) << "the stack's own";
    EXPECT_THAT(registrar.answers(), testing::Contains(testing::StartsWith("SIP/2.0 400 ")));
    expectNothingToldIn(answers);
    expectNothingToldIn(registrar.answers());
    EXPECT_EQ(attempt->state(), Attempt::State::Registered);
}

TEST_F(RegisterAttemptTest, NeverRefreshesLate)
{
    isVirtual = true;
    registrar.setGranted(2);
    settings.expires = 2s;
    EXPECT_EQ(outcomeOf(), SIPD_ACK_SUCCESS);
    settle(); // the registrar counts what it has accepted after its answer
    for (int i = 0; i < 100; ++i) {
        const size_t count = registrar.accepted();
        const auto before = virtualClock.milliseconds();
        while (registrar.accepted() == count && virtualClock.milliseconds() - before < 2000)
            advance(10ms);
        ASSERT_EQ(registrar.accepted(), count + 1) << i;
        ASSERT_LT(virtualClock.milliseconds() - before, 1800) << i;
    }
    EXPECT_EQ(attempt->state(), Attempt::State::Registered);
}

TEST_F(RegisterAttemptTest, SendsNothingWithoutANat)
{
    isVirtual = true;
    EXPECT_EQ(outcomeOf(), SIPD_ACK_SUCCESS);
    advance(1790s);
    EXPECT_EQ(registrar.requests().size(), 1U);
    advance(1000s);
    EXPECT_EQ(registrar.requests().size(), 2U);
    EXPECT_EQ(registrar.keepAlives(), 0U);
}

TEST_F(RegisterAttemptTest, RegistersTheAddressThatTheServerSees)
{
    registrar.setSeen("203.0.113.7:40000");
    EXPECT_EQ(outcomeOf(), SIPD_ACK_SUCCESS);
    settle();
    EXPECT_EQ(attempt->contact(), "sip:anna@203.0.113.7:40000");
    EXPECT_THAT(registrar.contacts(), testing::ElementsAre("<sip:anna@203.0.113.7:40000>"));
    end();
    EXPECT_THAT(registrar.contacts(), IsEmpty());
    settings.followsNat = false;
    EXPECT_EQ(outcomeOf(), SIPD_ACK_SUCCESS);
    settle();
    EXPECT_THAT(registrar.contacts(), testing::ElementsAre(testing::StartsWith("<sip:anna@127.0.0.1:")));
}

TEST_F(RegisterAttemptTest, StaysWhenTheSeenAddressIsRefused)
{
    registrar.setSeen("203.0.113.7:40000");
    registrar.refuse("203.0.113.7");
    EXPECT_EQ(outcomeOf(), SIPD_ACK_SUCCESS);
    while (attempt->contact().find("203.0.113.7") != std::string::npos)
        step();
    EXPECT_EQ(attempt->state(), Attempt::State::Registered);
    EXPECT_EQ(outcome, SIPD_ACK_SUCCESS);
}

TEST_F(RegisterAttemptTest, KeepsANatOpenAsSeldomAsItLasts)
{
    isVirtual = true;
    registrar.setSeen("203.0.113.7:40000");
    EXPECT_EQ(outcomeOf(), SIPD_ACK_SUCCESS);
    settle();
    // Refreshes show how long the mapping lasts.
    advance(30s);
    EXPECT_EQ(registrar.requests().size(), 3U);
    advance(45s);
    EXPECT_EQ(registrar.requests().size(), 4U);
    registrar.setSeen("203.0.113.7:40001");
    advance(67s);
    settle();
    EXPECT_THAT(registrar.contacts(), testing::ElementsAre("<sip:anna@203.0.113.7:40001>"));
    // 45 seconds do.
    advance(400s);
    EXPECT_EQ(registrar.requests().size(), 6U);
    EXPECT_EQ(registrar.keepAlives(), 8U);
}

TEST_F(RegisterAttemptTest, LetsTheKernelKeepAConnectionOpen)
{
    relay = std::make_unique<StreamRelay>(registrar.port(), StreamRelay::Faults());
    EXPECT_EQ(outcomeOf(), SIPD_ACK_SUCCESS);
    EXPECT_EQ(probesTo(relay->port()), Probes()) << "nothing is between";
    end();

    registrar.setSeen("203.0.113.7:40000");
    EXPECT_EQ(outcomeOf(), SIPD_ACK_SUCCESS);
    EXPECT_EQ(probesTo(relay->port()), (Probes{.silence = 100, .interval = 10, .count = 3}));
    end();
}
