// Servers that kamailio cannot play. sipp plays them.
#include "RealServerTest.h"
#include "ShiftedTime.h"

#include <QCryptographicHash>
#include <QRegularExpression>

#include <map>

using namespace std::chrono_literals;

namespace {

// A server that plays a scenario of the folder "sipp".
class Sipp
{
public:
    // Ends after that number of calls.
    Sipp(const std::filesystem::path& directory, const std::string& scenario, const std::string& transport,
         int calls = 1)
        : port_(freePort()),
          program_({SIPP_PROGRAM, "-sf", SIPP_SCENARIOS "/" + scenario + ".xml", "-i", "127.0.0.1", "-p",
                    std::to_string(port_), "-t", transport == "udp" ? "u1" : "t1", "-m",
                    std::to_string(calls), "-nostdin", "-trace_msg", "-message_file", directory / "messages"},
                   directory / "sipp.log")
    {
        EXPECT_TRUE(waitUntil([&] { return !program_.isRunning() || isListening(transport, port_); }));
    }

    int port() const { return port_; }

    // Whether every call has followed the scenario to its end.
    bool isPlayed()
    {
        return waitUntil([this] { return !program_.isRunning(); }) && program_.exitStatus() == 0;
    }

private:
    const int port_;
    LoggedProgram program_;
};

// The parameters of the last Authorization header in the text of messages.
std::map<std::string, std::string> lastCredentials(const QString& messages)
{
    std::map<std::string, std::string> parameters;
    const qsizetype begin = messages.lastIndexOf("Authorization: Digest ");
    const QString header = messages.mid(begin, messages.indexOf("\r\n", begin) - begin);
    static const QRegularExpression parameter("(\\w+)=\"?([^\",]*)\"?");
    for (const QRegularExpressionMatch& match : parameter.globalMatch(header))
        parameters[match.captured(1).toStdString()] = match.captured(2).toStdString();
    return parameters;
}

QByteArray sha256(const std::string& text)
{
    return QCryptographicHash::hash(QByteArray::fromStdString(text), QCryptographicHash::Sha256).toHex();
}

// The response that a server computes from anna's password.
std::string sha256Response(std::map<std::string, std::string> given)
{
    const std::string account = sha256("anna:" + given["realm"] + ":" + Kamailio::SECRET).toStdString();
    const std::string request = sha256("REGISTER:" + given["uri"]).toStdString();
    return sha256(account + ":" + given["nonce"] + ":" + given["nc"] + ":" + given["cnonce"] + ":" +
                  given["qop"] + ":" + request)
        .toStdString();
}

// Over UDP and TCP, with a profile of the user anna.
class RealServerScript : public RealServerTest, public testing::WithParamInterface<const char*>
{
protected:
    void start(const std::string& scenario, const std::vector<std::string>& wrapper = {}, int calls = 1)
    {
        sipp = std::make_unique<Sipp>(workplace(), scenario, GetParam(), calls);
        startDaemon({}, wrapper);
        writeProfile("Profile0",
                     profileOf("anna", std::string("127.0.0.1;transport=") + GetParam(), sipp->port()));
    }

    std::unique_ptr<Sipp> sipp;
};

class RealServerShiftedScript : public RealServerScript
{
protected:
    ShiftedTime time{directory().toStdString()};
};

INSTANTIATE_TEST_SUITE_P(Real, RealServerScript, testing::Values("udp", "tcp"), transportName);
INSTANTIATE_TEST_SUITE_P(Real, RealServerShiftedScript, testing::Values("udp", "tcp"), transportName);

} // namespace

TEST_P(RealServerScript, GivesThePasswordBySha256)
{
    start("sha256");
    EXPECT_EQ(connectProfile("Profile0"), SIPD_ACK_SUCCESS);
    EXPECT_TRUE(sipp->isPlayed());
    auto given = lastCredentials(readFile(QString::fromStdString(workplace() / "messages")));
    EXPECT_EQ(given["username"], "anna");
    EXPECT_EQ(given["response"], sha256Response(given));
}

TEST_P(RealServerScript, GivesThePasswordToAServerOfTwoChallenges)
{
    start("sha256-or-md5");
    EXPECT_EQ(connectProfile("Profile0"), SIPD_ACK_SUCCESS);
    EXPECT_TRUE(sipp->isPlayed());
}

TEST_P(RealServerShiftedScript, GivesThePasswordAgainForAnotherNonce)
{
    start("stale", time.wrapper());
    EXPECT_EQ(connectProfile("Profile0"), SIPD_ACK_SUCCESS);
    EXPECT_TRUE(isConnected());
    time.sleepFor(2s);
    EXPECT_TRUE(sipp->isPlayed());
    EXPECT_TRUE(isConnected());
}

TEST_P(RealServerShiftedScript, IsNotConnectedAfterARefusedRefresh)
{
    start("refresh-refused", time.wrapper(), 2);
    EXPECT_EQ(connectProfile("Profile0"), SIPD_ACK_SUCCESS);
    EXPECT_TRUE(isConnected());
    time.sleepFor(2s);
    EXPECT_TRUE(waitUntil([] { return !isConnected(); }));
    time.sleepFor(1s);
    EXPECT_TRUE(waitUntil([] { return isConnected(); })) << "it is retried";
}

TEST_P(RealServerShiftedScript, IsDisconnectedFromASilentServer)
{
    start("keeps", time.wrapper());
    EXPECT_EQ(connectProfile("Profile0"), SIPD_ACK_SUCCESS);
    SipdClient client;
    client.introduce();
    client.send(SipdClient::profileMessage(PROFILE_CTRL_DISCONNECT, "Profile0"));
    EXPECT_EQ(client.status("Profile0"), 0U);
    time.sleepFor(3s);
    EXPECT_EQ(client.ack(), SIPD_ACK_SUCCESS);
}

TEST_P(RealServerScript, AsksForTheLifetimeThatTheServerWants)
{
    start("too-brief");
    EXPECT_EQ(connectProfile("Profile0"), SIPD_ACK_SUCCESS);
    EXPECT_TRUE(sipp->isPlayed());
}
