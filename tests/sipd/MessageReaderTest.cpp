// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

// The receiving side alone: the messages of the file, and messages that no client may send.

#include "MessageReader.h"
#include "SipdClient.h"
#include "Vectors.h"

#include <cstring>
#include <gmock/gmock.h>
#include <optional>

using State = MessageReader::State;

namespace {

std::span<const uint8_t> bytesOf(const std::string& text)
{
    return {reinterpret_cast<const uint8_t*>(text.data()), text.size()};
}

State takeAll(MessageReader& reader, const std::string& text)
{
    auto bytes = bytesOf(text);
    State state = State::Incomplete;
    while (!bytes.empty() && state != State::Violated)
        state = reader.take(bytes);
    return state;
}

void expectIsVector(const MessageReader::Message& message, const Vector& vector)
{
    const std::string kind = vector.text("message");
    if (kind != "profile") {
        EXPECT_EQ(message.type, kind == "register" ? SIPD_MSG_REGISTER : SIPD_MSG_COMMAND);
        return;
    }
    EXPECT_EQ(message.type, SIPD_MSG_PROFILE);
    EXPECT_EQ(message.profile.request, static_cast<uint32_t>(vector.number("request")));
    EXPECT_EQ(message.profile.appId, static_cast<uint32_t>(vector.number("whose")));
    EXPECT_EQ(message.profile.name, vector.text("name").substr(0, SIPD_PROFILE_NAME_MAX));
}

std::vector<Vector> vectorsOfClients()
{
    std::vector<Vector> vectors;
    for (const Vector& vector : readVectors()) {
        if (vector.text("sender") == "client")
            vectors.push_back(vector);
    }
    return vectors;
}

State afterHead(uint32_t length, uint32_t type)
{
    MessageReader reader;
    return takeAll(reader, encodeHead(length, type, 0));
}

} // namespace

TEST(MessageReader, UnderstandsEveryMessageOfAClientInTwoPiecesOfAnySize)
{
    const auto vectors = vectorsOfClients();
    EXPECT_GE(vectors.size(), 9U);
    for (const Vector& vector : vectors) {
        for (size_t split = 1; split < vector.bytes.size(); ++split) {
            MessageReader reader;
            EXPECT_EQ(takeAll(reader, vector.bytes.substr(0, split)), State::Incomplete) << vector.name;
            EXPECT_EQ(takeAll(reader, vector.bytes.substr(split)), State::Complete)
                << vector.name << ' ' << split;
            expectIsVector(reader.message(), vector);
        }
    }
}

TEST(MessageReader, UnderstandsThemInSingleBytesOneAfterTheOther)
{
    MessageReader reader;
    for (const Vector& vector : vectorsOfClients()) {
        for (size_t i = 0; i < vector.bytes.size(); ++i)
            EXPECT_EQ(takeAll(reader, vector.bytes.substr(i, 1)),
                      i + 1 < vector.bytes.size() ? State::Incomplete : State::Complete);
        expectIsVector(reader.message(), vector);
    }
}

TEST(MessageReader, TakesOneMessageAtATime)
{
    const std::string two = SipdClient::registerMessage() + SipdClient::profileMessage(3, "Profile7");
    auto bytes = bytesOf(two);
    MessageReader reader;
    EXPECT_EQ(reader.take(bytes), State::Complete);
    EXPECT_EQ(bytes.size(), 152U);
    EXPECT_EQ(reader.take(bytes), State::Complete);
    EXPECT_STREQ(reader.message().profile.name, "Profile7");
    EXPECT_TRUE(bytes.empty());
}

TEST(MessageReader, AllowsEachTypeItsOwnLengthsOnly)
{
    EXPECT_EQ(afterHead(1, SIPD_MSG_REGISTER), State::Violated);
    EXPECT_EQ(afterHead(0xffffffff, SIPD_MSG_REGISTER), State::Violated);
    for (const uint32_t length : {0U, 139U, 141U, 0x8000008cU, 0xffffffffU})
        EXPECT_EQ(afterHead(length, SIPD_MSG_PROFILE), State::Violated) << length;
    EXPECT_EQ(afterHead(140, SIPD_MSG_PROFILE), State::Incomplete);
    for (const uint32_t length : {0U, 265U, 266U + 1025, 0xffffffffU})
        EXPECT_EQ(afterHead(length, SIPD_MSG_COMMAND), State::Violated) << length;
    EXPECT_EQ(afterHead(266, SIPD_MSG_COMMAND), State::Incomplete);
    EXPECT_EQ(afterHead(266 + 1024, SIPD_MSG_COMMAND), State::Incomplete);
}

TEST(MessageReader, KnowsNoOtherTypes)
{
    for (const uint32_t type : {0U, 2U, 5U, 6U, 7U, 8U, 0xffffffffU})
        for (const uint32_t length : {0U, 4U, 140U, 266U})
            EXPECT_EQ(afterHead(length, type), State::Violated) << type;
}

TEST(MessageReader, StaysViolated)
{
    MessageReader reader;
    EXPECT_EQ(takeAll(reader, encodeHead(0, 2, 0)), State::Violated);
    EXPECT_EQ(takeAll(reader, SipdClient::registerMessage()), State::Violated);
}

TEST(MessageReader, SkipsTheBodyOfACommand)
{
    MessageReader reader;
    const std::string body(266 + 1024, 'x');
    EXPECT_EQ(takeAll(reader, encodeMessage({SIPD_MSG_COMMAND, 258, body})), State::Complete);
    EXPECT_EQ(reader.message().type, SIPD_MSG_COMMAND);
    EXPECT_EQ(takeAll(reader, SipdClient::profileMessage(3, "Profile1")), State::Complete);
    EXPECT_STREQ(reader.message().profile.name, "Profile1");
}

TEST(MessageReader, TerminatesANameThatIsNot)
{
    MessageReader reader;
    EXPECT_EQ(takeAll(reader, SipdClient::profileMessage(0, std::string(128, 'n'))), State::Complete);
    EXPECT_EQ(reader.message().profile.name, std::string(127, 'n'));
}
