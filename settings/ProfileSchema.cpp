// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#include "ProfileSchema.h"

#include <algorithm>
#include <charconv>
#include <limits>

namespace {

constexpr std::string_view GROUP_PREFIX = "Profile";

} // namespace

std::string settingsFileIn(std::string_view directory)
{
    return std::string(directory) + (directory.ends_with('/') ? "" : "/") + SETTINGS_FILE_NAME;
}

std::string groupOf(uint64_t number)
{
    return std::string(GROUP_PREFIX) + std::to_string(number);
}

bool isProfileGroup(std::string_view group)
{
    if (!group.starts_with(GROUP_PREFIX))
        return false;
    const std::string_view number = group.substr(GROUP_PREFIX.size());
    return !number.empty() && (number == "0" || number.front() != '0') &&
           std::all_of(number.begin(), number.end(), [](char c) { return c >= '0' && c <= '9'; });
}

uint64_t numberOf(std::string_view group)
{
    uint64_t number = 0;
    const auto result =
        std::from_chars(group.data() + GROUP_PREFIX.size(), group.data() + group.size(), number);
    return result.ec == std::errc() ? number : std::numeric_limits<uint64_t>::max();
}

bool isGroupBefore(std::string_view a, std::string_view b)
{
    return a.size() != b.size() ? a.size() < b.size() : a < b;
}
