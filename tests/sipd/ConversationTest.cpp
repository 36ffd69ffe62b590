// The daemon's side of the protocol, held against the file of messages, the library's controller and the
// example client.

#include "SIP_COMM_Controler.h"
#include "SipdProcess.h"
#include "TestRegistrar.h"
#include "Vectors.h"

#include <gmock/gmock.h>
#include <sys/wait.h>

namespace {

class Conversation : public SipdTest
{
protected:
    void SetUp() override
    {
        SipdTest::SetUp();
        startDaemon();
    }
};

std::string bytesOf(const std::string& name)
{
    for (const Vector& vector : readVectors()) {
        if (vector.name == name)
            return vector.bytes;
    }
    ADD_FAILURE() << "no message " << name;
    return {};
}

// The one message that the daemon answers with, byte for byte.
std::string answerTo(SipdClient& client, const std::string& vector)
{
    EXPECT_TRUE(client.send(bytesOf(vector)));
    const auto answer = client.receive();
    return answer ? encodeMessage(*answer) : "nothing";
}

} // namespace

TEST_F(Conversation, AnswersEveryMessageOfTheFileAsTheFileSays)
{
    TestRegistrar registrar;
    writeProfile("Profile0", {.port = registrar.port()});
    SipdClient client;
    EXPECT_EQ(answerTo(client, "register"), bytesOf("ack-success"));
    EXPECT_EQ(answerTo(client, "status-query"), bytesOf("status-answer-not-connected"));
    EXPECT_EQ(answerTo(client, "connect-request"), bytesOf("ack-success"));
    EXPECT_EQ(answerTo(client, "status-query"), bytesOf("status-answer-connected"));
    EXPECT_EQ(answerTo(client, "disconnect-request"), bytesOf("ack-success")) << "Profile12 is not connected";
    EXPECT_EQ(answerTo(client, "set-name-request"), bytesOf("ack-success"));
    EXPECT_EQ(answerTo(client, "get-name-query"), bytesOf("get-name-answer"));
    EXPECT_EQ(answerTo(client, "longest-name"), bytesOf("ack-incorrect-profile"));
    EXPECT_EQ(answerTo(client, "too-long-name"), bytesOf("ack-incorrect-profile"));
    SipdClient other;
    EXPECT_EQ(answerTo(other, "register-of-another-client"), bytesOf("ack-success"));
}

TEST_F(Conversation, PassesOverTheCommandsOfOtherClients)
{
    SipdClient client;
    client.introduce();
    client.send(bytesOf("command-without-uri-and-sdp") + bytesOf("command-with-uri-and-sdp"));
    EXPECT_EQ(client.status("Profile0"), 0U);
}

TEST_F(Conversation, KeepsAProfileNameForEachApplication)
{
    SipdClient client;
    client.introduce();
    const auto nameOf = [&client](uint32_t application) -> std::string {
        client.send(SipdClient::profileMessage(PROFILE_CTRL_GET_NAME, "", application));
        const auto message = client.receive();
        const auto profile = message ? decodeProfile(*message) : std::nullopt;
        return profile && profile->appId == application ? profile->name : "nothing";
    };
    EXPECT_EQ(nameOf(7), "");
    client.send(SipdClient::profileMessage(PROFILE_CTRL_SET_NAME, "Profile3", 7));
    EXPECT_EQ(client.ack(), SIPD_ACK_SUCCESS);
    client.send(SipdClient::profileMessage(PROFILE_CTRL_SET_NAME, std::string(127, 'n'), 8));
    EXPECT_EQ(client.ack(), SIPD_ACK_SUCCESS);
    EXPECT_EQ(nameOf(7), "Profile3");
    EXPECT_EQ(nameOf(8), std::string(127, 'n'));
    client.send(SipdClient::profileMessage(PROFILE_CTRL_SET_NAME, "P", 8));
    EXPECT_EQ(client.ack(), SIPD_ACK_SUCCESS);
    EXPECT_EQ(nameOf(8), "P");
}

TEST_F(Conversation, RemembersNoMoreNamesThanThereCanBeApplications)
{
    SipdClient client;
    client.introduce();
    uint32_t remembered = 0;
    for (; remembered < 1000; ++remembered) {
        client.send(SipdClient::profileMessage(PROFILE_CTRL_SET_NAME, "n", remembered));
        if (client.ack() != SIPD_ACK_SUCCESS)
            break;
    }
    EXPECT_EQ(remembered, 256U);
    client.send(SipdClient::profileMessage(PROFILE_CTRL_SET_NAME, "m", 3));
    EXPECT_EQ(client.ack(), SIPD_ACK_SUCCESS) << "one that is there may change";
}

TEST_F(Conversation, ServesTheLibrarysController)
{
    TestRegistrar registrar;
    writeProfile("Profile0", {.port = registrar.port()});
    testing::internal::CaptureStderr();
    _SIP_COMM_PROFILE_CONTROL_S* handle = nullptr;
    _SIPD_APP_ACK_E ack = SIPD_ACK_FAILED;
    _SIPD_PROFILE_STATUS_E status = {};
    ASSERT_EQ(SIP_COMM_ControlerConstruct(&handle), 0);
    EXPECT_EQ(SIP_COMM_ControlerProfileConnect(handle, "Profile0"), 0);
    EXPECT_EQ(SIP_COMM_ControlerGetAck(handle, &ack), 0);
    EXPECT_EQ(ack, SIPD_ACK_SUCCESS);
    EXPECT_EQ(SIP_COMM_ControlerGetProfileStatus(handle, "Profile0", &status), 0);
    EXPECT_EQ(status, SIPD_PROFILE_CONNECTED);
    EXPECT_EQ(SIP_COMM_ControlerProfileDisconnect(handle, "Profile0"), 0);
    EXPECT_EQ(SIP_COMM_ControlerGetAck(handle, &ack), 0);
    EXPECT_EQ(ack, SIPD_ACK_SUCCESS);
    EXPECT_EQ(SIP_COMM_ControlerGetProfileStatus(handle, "Profile0", &status), 0);
    EXPECT_NE(status, SIPD_PROFILE_CONNECTED);
    EXPECT_EQ(SIP_COMM_ControlerDestruct(&handle), 0);
    testing::internal::GetCapturedStderr();
}

TEST_F(Conversation, KeepsAProfileNameForTheClientsToCome)
{
    {
        SipdClient first;
        first.introduce();
        first.send(SipdClient::profileMessage(PROFILE_CTRL_SET_NAME, "Profile3", 7));
        EXPECT_EQ(first.ack(), SIPD_ACK_SUCCESS);
    }
    SipdClient second;
    second.introduce();
    second.send(SipdClient::profileMessage(PROFILE_CTRL_GET_NAME, "", 7));
    const auto message = second.receive();
    ASSERT_TRUE(message);
    const auto profile = decodeProfile(*message);
    ASSERT_TRUE(profile);
    EXPECT_STREQ(profile->name, "Profile3");
}

TEST_F(Conversation, ServesTheExampleClient)
{
    TestRegistrar registrar;
    writeProfile("Profile0", {.port = registrar.port()});
    ChildProgram client({EXAMPLE_CLIENT, "Profile0"});
    EXPECT_THAT(client.readRest(), testing::EndsWith("Profile0: ack 0, success\n"));
    EXPECT_EQ(client.wait(), 0);
    EXPECT_EQ(registrar.contacts().size(), 1U) << "it stays connected without the client";
}
