// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

// The daemon's side of the protocol: the messages of the file, the library's controller, the example client.

#include "Programs.h"
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
    client.close();
    SipdClient other;
    EXPECT_EQ(answerTo(other, "register-of-another-client"), bytesOf("ack-success"));
    EXPECT_EQ(answerTo(other, "get-name-query"), bytesOf("get-name-answer")) << "the daemon keeps the name";
}

TEST_F(Conversation, PassesOverTheCommandsOfOtherClients)
{
    SipdClient client;
    client.introduce();
    client.send(bytesOf("command-without-uri-and-sdp") + bytesOf("command-with-uri-and-sdp"));
    EXPECT_EQ(client.status("Profile0"), 0U);
}

TEST_F(Conversation, SendsALongNameWhole)
{
    SipdClient client;
    client.introduce();
    client.send(SipdClient::profileMessage(PROFILE_CTRL_SET_NAME, std::string(127, 'n'), 8));
    EXPECT_EQ(client.ack(), SIPD_ACK_SUCCESS);
    client.send(SipdClient::profileMessage(PROFILE_CTRL_GET_NAME, "", 8));
    const auto profile = decodeProfile(client.receive().value());
    ASSERT_TRUE(profile);
    EXPECT_EQ(profile->appId, 8);
    EXPECT_EQ(profile->name, std::string(127, 'n'));
}

TEST_F(Conversation, ServesTheExampleClientAndTheController)
{
    TestRegistrar registrar;
    writeProfile("Profile0", {.port = registrar.port()});
    ChildProgram client({EXAMPLE_CLIENT, "Profile0"});
    EXPECT_THAT(client.readRest(), testing::EndsWith("Profile0: ack 0, success\n"));
    EXPECT_EQ(client.wait(), 0);
    EXPECT_EQ(registrar.contacts().size(), 1U) << "it stays connected without the client";

    testing::internal::CaptureStderr();
    _SIP_COMM_PROFILE_CONTROL_S* handle = nullptr;
    _SIPD_APP_ACK_E ack = SIPD_ACK_FAILED;
    _SIPD_PROFILE_STATUS_E status = {};
    ASSERT_EQ(SIP_COMM_ControlerConstruct(&handle), 0);
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
