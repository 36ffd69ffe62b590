// docs/protocol.md says what SIPD_Messages.h says.

#include "SIPD_Messages.h"

#include <cstddef>
#include <cstdlib>
#include <fstream>
#include <gmock/gmock.h>
#include <map>
#include <set>
#include <sstream>
#include <string>
#include <vector>

namespace {

std::vector<std::string> linesOf(const char* path)
{
    std::ifstream file(path);
    std::vector<std::string> lines;
    for (std::string line; std::getline(file, line);)
        lines.push_back(line);
    return lines;
}

std::string trimmed(const std::string& text, const char* edges)
{
    const size_t first = text.find_first_not_of(edges);
    return first == std::string::npos ? "" : text.substr(first, text.find_last_not_of(edges) - first + 1);
}

// A row of a table, without the quoting of code: {"0", "SIPD_MSG_NONE", ...}. Empty when the line is no row.
std::vector<std::string> cellsOf(const std::string& line)
{
    std::vector<std::string> cells;
    if (line.empty() || line.front() != '|')
        return cells;
    std::istringstream row(line.substr(1));
    for (std::string cell; std::getline(row, cell, '|');)
        cells.push_back(trimmed(cell, " `"));
    return cells;
}

std::map<std::string, long> enumeratorsOfTheHeader()
{
    std::map<std::string, long> found;
    for (const std::string& line : linesOf(HEADER_FILE)) {
        const size_t equals = line.find(" = ");
        if (equals != std::string::npos && line.starts_with("    "))
            found[trimmed(line.substr(0, equals), " ")] = std::strtol(line.c_str() + equals + 3, nullptr, 0);
    }
    return found;
}

struct Row
{
    std::string heading;
    std::vector<std::string> cells;
};

// The rows of the document's tables whose first column has that name, each with the heading that it stands
// under.
std::vector<Row> rowsOf(const std::string& firstColumn)
{
    std::vector<Row> rows;
    std::string heading;
    std::string column;
    for (const std::string& line : linesOf(DOCUMENT_FILE)) {
        const auto cells = cellsOf(line);
        if (cells.empty()) {
            column.clear();
            if (line.starts_with("#"))
                heading = trimmed(line, "# `");
        } else if (column.empty()) {
            column = cells[0];
        } else if (column == firstColumn && !cells[0].starts_with("---")) {
            rows.push_back({heading, cells});
        }
    }
    return rows;
}

std::map<std::string, long> enumeratorsOfTheDocument()
{
    std::map<std::string, long> found;
    for (const Row& row : rowsOf("value"))
        found[row.cells.at(1)] = std::strtol(row.cells[0].c_str(), nullptr, 10);
    return found;
}

// "_SIPD_MSG_HEAD_S 0 4 length"
std::string fieldLine(const std::string& structure, size_t offset, size_t size, const std::string& field)
{
    return structure + ' ' + std::to_string(offset) + ' ' + std::to_string(size) + ' ' + field;
}

#define FIELD(structure, field)                                                                              \
    fieldLine(#structure, offsetof(structure, field), sizeof(structure::field), #field)

std::set<std::string> fieldsOfTheHeader()
{
    return {FIELD(_SIPD_MSG_HEAD_S, length),       FIELD(_SIPD_MSG_HEAD_S, type),
            FIELD(_SIPD_MSG_HEAD_S, appId),        FIELD(_SIPD_MSG_PROFILE_S, request),
            FIELD(_SIPD_MSG_PROFILE_S, appId),     FIELD(_SIPD_MSG_PROFILE_S, status),
            FIELD(_SIPD_MSG_PROFILE_S, name),      FIELD(_SIPD_MSG_STATUS_S, fields),
            FIELD(_SIPD_MSG_STATUS_S, sdpLength),  FIELD(_SIPD_MSG_COMMAND_S, command),
            FIELD(_SIPD_MSG_COMMAND_S, argument),  FIELD(_SIPD_MSG_COMMAND_S, uri),
            FIELD(_SIPD_MSG_COMMAND_S, sdpLength), FIELD(_SIPD_APP_URI_S, bytes)};
}

std::set<std::string> fieldsOfTheDocument()
{
    std::set<std::string> found;
    for (const Row& row : rowsOf("offset"))
        found.insert(row.heading + ' ' + row.cells.at(0) + ' ' + row.cells.at(1) + ' ' + row.cells.at(2));
    return found;
}

} // namespace

TEST(ProtocolDocument, GivesEveryValueOfTheHeader)
{
    auto expected = enumeratorsOfTheHeader();
    EXPECT_EQ(expected.erase("SIPD_SIP_COMMAND_LARGEST"), 1U) << "it is no value of the protocol";
    EXPECT_GE(expected.size(), 18U);
    EXPECT_EQ(enumeratorsOfTheDocument(), expected);
}

TEST(ProtocolDocument, PlacesEveryFieldWhereTheHeaderDoes)
{
    EXPECT_EQ(fieldsOfTheDocument(), fieldsOfTheHeader());
}

TEST(ProtocolDocument, LeavesNoByteOfAStructureUndescribed)
{
    std::map<std::string, size_t> sizes;
    for (const std::string& line : fieldsOfTheHeader()) {
        std::istringstream words(line);
        std::string structure;
        size_t offset = 0;
        size_t size = 0;
        words >> structure >> offset >> size;
        sizes[structure] += size;
    }
    const std::map<std::string, size_t> expected = {{"_SIPD_MSG_HEAD_S", sizeof(_SIPD_MSG_HEAD_S)},
                                                    {"_SIPD_MSG_PROFILE_S", sizeof(_SIPD_MSG_PROFILE_S)},
                                                    {"_SIPD_MSG_STATUS_S", sizeof(_SIPD_MSG_STATUS_S)},
                                                    {"_SIPD_MSG_COMMAND_S", sizeof(_SIPD_MSG_COMMAND_S)},
                                                    {"_SIPD_APP_URI_S", sizeof(_SIPD_APP_URI_S)}};
    EXPECT_EQ(sizes, expected);
}

TEST(ProtocolDocument, GivesTheConstantsOfTheHeader)
{
    std::map<std::string, std::string> found;
    for (const Row& row : rowsOf("constant"))
        found[row.cells.at(0)] = trimmed(row.cells.at(1), "\"");
    const std::map<std::string, std::string> expected = {
        {"SIPD_SOCKET_PATH", SIPD_SOCKET_PATH},
        {"SIPD_PROFILE_NAME_MAX", std::to_string(SIPD_PROFILE_NAME_MAX)},
        {"SIPD_SDP_MAX", std::to_string(SIPD_SDP_MAX)}};
    EXPECT_EQ(found, expected);
}
