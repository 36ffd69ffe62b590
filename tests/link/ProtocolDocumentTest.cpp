// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

// The tables of docs/protocol.md against the link's headers.

#include "SIPD_Messages.h"
#include "SIP_COMM_Result.h"

#include <cstddef>
#include <fstream>
#include <gmock/gmock.h>
#include <regex>

namespace {

// Every enumerator. The switch in everyValueIsListed() does not compile when one is missing.
#define TYPES(X)                                                                                             \
    X(SIPD_MSG_NONE)                                                                                         \
    X(SIPD_MSG_REGISTER) X(SIPD_MSG_PROFILE) X(SIPD_MSG_COMMAND) X(SIPD_MSG_STATUS) X(SIPD_MSG_ACK)
#define APPLICATIONS(X) X(SIPD_APPID_SETUP)
#define ACKS(X)                                                                                              \
    X(SIPD_ACK_SUCCESS)                                                                                      \
    X(SIPD_ACK_FAILED)                                                                                       \
    X(SIPD_ACK_SERVICE_UNAVAILABLE) X(SIPD_ACK_INCORRECT_PROFILE) X(SIPD_ACK_CONNECT_FAILED)
#define STATUSES(X) X(SIPD_PROFILE_CONNECTED)
#define REQUESTS(X)                                                                                          \
    X(PROFILE_CTRL_CONNECT)                                                                                  \
    X(PROFILE_CTRL_DISCONNECT)                                                                               \
    X(PROFILE_CTRL_GET_STATUS) X(PROFILE_CTRL_SET_NAME) X(PROFILE_CTRL_GET_NAME)
#define RESULTS(X)                                                                                           \
    X(SIP_COMM_SUCCESS)                                                                                      \
    X(SIP_COMM_FAILED) X(SIP_COMM_IO_ERROR) X(SIP_COMM_NO_MEMORY) X(SIP_COMM_CLOSED)

#define CASE(name) case name:
#define LISTED(Enum, LIST)                                                                                   \
    [[maybe_unused]] void everyValueIsListed(Enum value)                                                     \
    {                                                                                                        \
        switch (value) {                                                                                     \
            LIST(CASE) break;                                                                                \
        }                                                                                                    \
    }
LISTED(_SIPD_MSG_TYPE_E, TYPES)
LISTED(_SIPD_APPID_E, APPLICATIONS)
LISTED(_SIPD_APP_ACK_E, ACKS)
LISTED(_SIPD_PROFILE_STATUS_E, STATUSES)
LISTED(_SIPD_PROFILE_CTRL_E, REQUESTS)
LISTED(SIP_COMM_RESULT_E, RESULTS)

struct Field
{
    std::string structure, name;
    size_t offset, size;
};
#define FIELD(structure, field)                                                                              \
    Field                                                                                                    \
    {                                                                                                        \
#structure, #field, offsetof(structure, field), sizeof(structure::field)                             \
    }

const Field FIELDS[] = {FIELD(_SIPD_MSG_HEAD_S, length),       FIELD(_SIPD_MSG_HEAD_S, type),
                        FIELD(_SIPD_MSG_HEAD_S, appId),        FIELD(_SIPD_MSG_PROFILE_S, request),
                        FIELD(_SIPD_MSG_PROFILE_S, appId),     FIELD(_SIPD_MSG_PROFILE_S, status),
                        FIELD(_SIPD_MSG_PROFILE_S, name),      FIELD(_SIPD_MSG_STATUS_S, fields),
                        FIELD(_SIPD_MSG_STATUS_S, sdpLength),  FIELD(_SIPD_MSG_COMMAND_S, command),
                        FIELD(_SIPD_MSG_COMMAND_S, argument),  FIELD(_SIPD_MSG_COMMAND_S, uri),
                        FIELD(_SIPD_MSG_COMMAND_S, sdpLength), FIELD(_SIPD_APP_URI_S, bytes)};

// "| value | `NAME` |", "| offset | size | `field` |" under its structure, and "| `NAME` | value |".
std::vector<std::string> rowsOfTheHeaders()
{
    std::vector<std::string> rows = {"SIPD_SOCKET_PATH = " SIPD_SOCKET_PATH,
                                     "SIPD_PROFILE_NAME_MAX = " + std::to_string(SIPD_PROFILE_NAME_MAX),
                                     "SIPD_SDP_MAX = " + std::to_string(SIPD_SDP_MAX)};
#define VALUE(name) rows.push_back(#name " = " + std::to_string(name));
    TYPES(VALUE);
    APPLICATIONS(VALUE);
    ACKS(VALUE);
    STATUSES(VALUE);
    REQUESTS(VALUE);
    RESULTS(VALUE);
    for (const Field& field : FIELDS)
        rows.push_back(field.structure + '.' + field.name + " = " + std::to_string(field.offset) + ", " +
                       std::to_string(field.size));
    return rows;
}

std::vector<std::string> rowsOfTheDocument()
{
    static const std::regex constant(R"row(\| `(\w+)` \| "?([^"|]+?)"? \|)row");
    static const std::regex value(R"(\| (\d+) \| `(\w+)` \|.*)");
    static const std::regex field(R"(\| (\d+) \| (\d+) \| `(\w+)` \|.*)");
    static const std::regex structure("### `(.*)`");
    std::vector<std::string> rows;
    std::string heading;
    std::ifstream document(DOCUMENT_FILE);
    std::smatch match;
    for (std::string line; std::getline(document, line);) {
        if (std::regex_match(line, match, structure))
            heading = match[1];
        else if (std::regex_match(line, match, constant))
            rows.push_back(match[1].str() + " = " + match[2].str());
        else if (std::regex_match(line, match, value))
            rows.push_back(match[2].str() + " = " + match[1].str());
        else if (std::regex_match(line, match, field))
            rows.push_back(heading + '.' + match[3].str() + " = " + match[1].str() + ", " + match[2].str());
    }
    return rows;
}

} // namespace

TEST(ProtocolDocument, HasTheRowsOfTheHeaders)
{
    EXPECT_THAT(rowsOfTheDocument(), testing::UnorderedElementsAreArray(rowsOfTheHeaders()));
}

TEST(ProtocolDocument, DescribesEveryByteOfTheStructures)
{
    size_t described = 0;
    for (const Field& field : FIELDS)
        described += field.size;
    EXPECT_EQ(described, sizeof(_SIPD_MSG_HEAD_S) + sizeof(_SIPD_MSG_PROFILE_S) + sizeof(_SIPD_MSG_STATUS_S) +
                             sizeof(_SIPD_MSG_COMMAND_S) + sizeof(_SIPD_APP_URI_S));
}
