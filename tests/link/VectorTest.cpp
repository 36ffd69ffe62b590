// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

// The library and the scripted daemon against the same file of messages.

#include "LinkTest.h"
#include "SipdWire.h"
#include "Vectors.h"

#include <ostream>

void PrintTo(const Vector& vector, std::ostream* stream)
{
    *stream << vector.name << ": " << vector.meaning;
}

namespace {

_SIPD_APPID_E applicationId(long number)
{
    return static_cast<_SIPD_APPID_E>(number);
}

_SIPD_MSG_PROFILE_S profileOf(const Vector& vector)
{
    _SIPD_MSG_PROFILE_S profile = {};
    profile.request = static_cast<_SIPD_PROFILE_CTRL_E>(vector.number("request"));
    profile.appId = applicationId(vector.number("whose"));
    profile.status = static_cast<_SIPD_PROFILE_STATUS_E>(vector.number("status"));
    vector.text("name").copy(profile.name, SIPD_PROFILE_NAME_MAX);
    return profile;
}

// Makes the controller send the profile message that the vector describes.
void requestOf(const Vector& vector, ChannelPair<>& pair)
{
    _SIP_COMM_PROFILE_CONTROL_S handle = {&pair.channel, 1, 0};
    const std::string name = vector.text("name");
    _SIPD_PROFILE_STATUS_E status;
    char buffer[128];
    switch (vector.number("request")) {
    case PROFILE_CTRL_CONNECT:
        EXPECT_EQ(SIP_COMM_ControlerProfileConnect(&handle, name.c_str()), 0);
        break;
    case PROFILE_CTRL_DISCONNECT:
        EXPECT_EQ(SIP_COMM_ControlerProfileDisconnect(&handle, name.c_str()), 0);
        break;
    case PROFILE_CTRL_SET_NAME:
        EXPECT_EQ(
            SIP_COMM_ControlerSetProfileName(&handle, applicationId(vector.number("whose")), name.c_str()),
            0);
        break;
    case PROFILE_CTRL_GET_STATUS:
        pair.give(encodeProfile({})); // the answer
        EXPECT_EQ(SIP_COMM_ControlerGetProfileStatus(&handle, name.c_str(), &status), 0);
        break;
    case PROFILE_CTRL_GET_NAME:
        pair.give(encodeProfile({}));
        EXPECT_EQ(
            SIP_COMM_ControlerGetProfileName(&handle, applicationId(vector.number("whose")), buffer, 128), 0);
        break;
    default:
        ADD_FAILURE() << "no such request";
    }
}

void commandOf(const Vector& vector, SIP_COMM_Channel& channel)
{
    _SIPD_APP_URI_S uri = {};
    const std::string uriBytes = vector.spelled("uri");
    const std::string sdp = vector.spelled("sdp");
    uriBytes.copy(reinterpret_cast<char*>(uri.bytes), sizeof(uri.bytes));
    EXPECT_EQ(channel.sendCommandMsg(static_cast<_SIPD_SIP_COMMAND_E>(vector.number("command")),
                                     static_cast<int>(vector.number("argument")),
                                     uriBytes.empty() ? nullptr : &uri, sdp.empty() ? nullptr : sdp.data(),
                                     static_cast<unsigned int>(sdp.size())),
              0);
}

// The bytes that the library sends.
std::string encodedByTheLibrary(const Vector& vector)
{
    ChannelPair<> pair(applicationId(vector.number("application")));
    const std::string message = vector.text("message");
    if (message == "register")
        EXPECT_EQ(pair.channel.sendControlMsg(SIPD_MSG_REGISTER), 0);
    else if (message == "profile")
        requestOf(vector, pair);
    else if (message == "command")
        commandOf(vector, pair.channel);
    else
        ADD_FAILURE() << "no client sends " << message;
    return pair.taken();
}

std::string encodedByTheDaemon(const Vector& vector)
{
    const std::string message = vector.text("message");
    if (message == "ack")
        return encodeAck(static_cast<uint32_t>(vector.number("ack")));
    if (message == "profile")
        return encodeProfile(profileOf(vector));
    if (message == "status")
        return encodeStatus(vector.spelled("fields"), vector.spelled("sdp"));
    return "no daemon sends " + message;
}

void expectStatusMessage(const Vector& vector, SIP_COMM_Channel& channel)
{
    _SIPD_MSG_STATUS_S status;
    char sdp[SIPD_SDP_MAX];
    unsigned int length = 0; // not set when the channel closes
    const bool closes = vector.text("client") == "closes";
    EXPECT_EQ(channel.recvStatusMsg(&status, sdp, &length), closes ? 1 : 0);
    EXPECT_EQ(channel.isConnected(), !closes);
    EXPECT_EQ(std::string(reinterpret_cast<char*>(status.fields), 264), vector.spelled("fields"));
    EXPECT_EQ(std::string(sdp, length), closes ? "" : vector.spelled("sdp"));
}

// The library reads the vector's bytes as its fields.
void expectDecodedByTheLibrary(const Vector& vector)
{
    ChannelPair<> pair;
    pair.give(vector.bytes);
    _SIPD_MSG_TYPE_E type;
    ASSERT_EQ(pair.channel.recvMsgType(&type), 0);
    EXPECT_EQ(pair.channel.pendingBodyLength(), vector.bytes.size() - 12);
    const std::string message = vector.text("message");
    if (message == "ack") {
        _SIPD_APP_ACK_E ack;
        EXPECT_EQ(pair.channel.recvAckMsg(&ack), 0);
        EXPECT_EQ(ack, static_cast<uint32_t>(vector.number("ack")));
    } else if (message == "profile") {
        _SIPD_MSG_PROFILE_S profile;
        const _SIPD_MSG_PROFILE_S expected = profileOf(vector);
        EXPECT_EQ(pair.channel.recvProfileMsg(&profile), 0);
        EXPECT_EQ(std::memcmp(&profile, &expected, sizeof(profile)), 0);
    } else {
        EXPECT_EQ(message, "status");
        expectStatusMessage(vector, pair.channel);
    }
}

void expectDecodedByTheDaemon(const Vector& vector)
{
    std::string stream = vector.bytes;
    const auto message = takeMessage(stream);
    ASSERT_TRUE(message);
    EXPECT_TRUE(stream.empty());
    EXPECT_EQ(message->appId, static_cast<uint32_t>(vector.number("application")));
    EXPECT_EQ(encodeMessage(*message), vector.bytes);
    if (vector.text("message") == "profile") {
        const auto profile = decodeProfile(*message);
        const _SIPD_MSG_PROFILE_S expected = profileOf(vector);
        ASSERT_TRUE(profile);
        EXPECT_EQ(std::memcmp(&*profile, &expected, sizeof(expected)), 0);
    }
}

class Vectors : public testing::TestWithParam<Vector>
{
};

std::string testName(const testing::TestParamInfo<Vector>& info)
{
    std::string name = info.param.name;
    for (char& c : name)
        if (c == '-')
            c = '_';
    return name;
}

} // namespace

TEST_P(Vectors, AreSentAndUnderstoodByBothSides)
{
    const Vector& vector = GetParam();
    EXPECT_NE(vector.meaning, "");
    if (vector.text("sender") == "client") {
        EXPECT_EQ(encodedByTheLibrary(vector), vector.bytes);
        expectDecodedByTheDaemon(vector);
    } else {
        ASSERT_EQ(vector.text("sender"), "daemon");
        EXPECT_EQ(encodedByTheDaemon(vector), vector.bytes);
        expectDecodedByTheLibrary(vector);
    }
}

INSTANTIATE_TEST_SUITE_P(Messages, Vectors, testing::ValuesIn(readVectors()), testName);

TEST(VectorFile, HasEveryMessageAndEveryRequest)
{
    std::map<std::string, int> messages;
    std::map<long, int> requests, acks;
    for (const Vector& vector : readVectors()) {
        ++messages[vector.text("message")];
        if (vector.text("message") == "profile")
            ++requests[vector.number("request")];
        if (vector.text("message") == "ack")
            ++acks[vector.number("ack")];
    }
    EXPECT_EQ(messages.size(), 5U);
    EXPECT_EQ(requests.size(), 5U);
    EXPECT_EQ(acks.size(), 5U);
}

TEST(VectorFile, HasNoMessageWithoutABodyButTheRegistration)
{
    for (const Vector& vector : readVectors())
        EXPECT_EQ(vector.bytes.size() == 12, vector.text("message") == "register") << vector.name;
}
