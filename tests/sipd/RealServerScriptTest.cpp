// What kamailio does not do, played by sipp.
#include "RealServerTest.h"

#include <QCryptographicHash>
#include <QRegularExpression>

#include <map>

using std::chrono::milliseconds;
using std::chrono::seconds;

namespace {

// Plays a scenario, of the folder "sipp" beside this file, to whoever calls.
class Sipp
{
public:
    // So many calls.
    Sipp(const std::filesystem::path& directory, const std::string& scenario, const std::string& transport,
         int calls = 1)
        : port_(freePort()),
          program_({SIPP_PROGRAM, "-sf", SIPP_SCENARIOS "/" + scenario + ".xml", "-i", "127.0.0.1", "-p",
                    std::to_string(port_), "-t", transport == "udp" ? "u1" : "t1", "-m",
                    std::to_string(calls), "-nostdin", "-trace_msg", "-message_file", directory / "messages"},
                   directory / "sipp.log")
    {
        EXPECT_TRUE(waitUntil([this] { return !program_.isRunning() || !isPortFree(port_); }));
    }

    int port() const { return port_; }

    // Every call has gone as the scenario has it.
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

// What a server computes that knows anna's password.
std::string sha256Response(std::map<std::string, std::string> given)
{
    const std::string account = sha256("anna:" + given["realm"] + ":" + Kamailio::SECRET).toStdString();
    const std::string request = sha256("REGISTER:" + given["uri"]).toStdString();
    return sha256(account + ":" + given["nonce"] + ":" + given["nc"] + ":" + given["cnonce"] + ":" +
                  given["qop"] + ":" + request)
        .toStdString();
}

// Over UDP and TCP, the profile of the user "anna".
class RealServerScript : public RealServerTest, public testing::WithParamInterface<const char*>
{
protected:
    void start(const std::string& scenario, int calls = 1)
    {
        sipp = std::make_unique<Sipp>(workplace(), scenario, GetParam(), calls);
        startDaemon();
        writeProfile("Profile0",
                     profileOf("anna", std::string("127.0.0.1;transport=") + GetParam(), sipp->port()));
    }
    static bool isConnected() { return statusOf("Profile0") == SIPD_PROFILE_CONNECTED; }

    std::unique_ptr<Sipp> sipp;
};

INSTANTIATE_TEST_SUITE_P(Real, RealServerScript, testing::Values("udp", "tcp"),
                         [](const testing::TestParamInfo<const char*>& transport) {
                             return std::string(transport.param);
                         });

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

TEST_P(RealServerScript, GivesThePasswordToAServerThatOffersTwoWays)
{
    start("sha256-or-md5");
    EXPECT_EQ(connectProfile("Profile0"), SIPD_ACK_SUCCESS);
    EXPECT_TRUE(sipp->isPlayed());
}

TEST_P(RealServerScript, GivesThePasswordAgainWhenItsNonceHasRunOut)
{
    start("stale");
    EXPECT_EQ(connectProfile("Profile0"), SIPD_ACK_SUCCESS);
    EXPECT_TRUE(sipp->isPlayed());
    EXPECT_TRUE(isConnected());
}

TEST_P(RealServerScript, IsNotConnectedAfterARefusedRefreshAndGoesOnTrying)
{
    start("refresh-refused", 2);
    EXPECT_EQ(connectProfile("Profile0"), SIPD_ACK_SUCCESS);
    EXPECT_TRUE(waitUntil([] { return !isConnected(); }));
    EXPECT_TRUE(waitUntil([] { return isConnected(); }));
}

TEST_P(RealServerScript, IsDisconnectedInTimeFromAServerThatNoLongerAnswers)
{
    start("keeps");
    EXPECT_EQ(connectProfile("Profile0"), SIPD_ACK_SUCCESS);
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_EQ(disconnectProfile("Profile0"), SIPD_ACK_SUCCESS);
    EXPECT_LT(std::chrono::steady_clock::now() - begin, milliseconds(3500));
    EXPECT_EQ(statusOf("Profile0"), 0U);
}

TEST_P(RealServerScript, AsksForAsLongAsTheServerWants)
{
    start("too-brief");
    EXPECT_EQ(connectProfile("Profile0"), SIPD_ACK_SUCCESS);
    EXPECT_TRUE(sipp->isPlayed());
}
