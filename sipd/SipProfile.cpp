// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#include "SipProfile.h"

#include "Log.h"
#include "SettingsDirectory.h"
#include "SettingsFile.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>

namespace {

// Headers of SIP messages are lines.
bool isUserName(const std::string& user)
{
    return !user.empty() &&
           std::none_of(user.begin(), user.end(), [](unsigned char c) { return c < ' ' || c == 0x7f; });
}

std::string textOf(const SettingsKeys& file, const std::string& group, const char* key)
{
    return toUtf8(file.text(group, key).value_or(u""));
}

std::map<std::string, std::string> contentOf(const SettingsKeys& file, const std::string& group)
{
    std::map<std::string, std::string> content;
    for (const std::string& key : file.keys(group)) {
        if (key != DEFAULT_PROFILE_KEY)
            content.emplace(key, file.value(group, key).value_or(""));
    }
    return content;
}

std::optional<SipProfile> sipProfile(const SettingsKeys& file, const std::string& group)
{
    const auto port =
        file.number<unsigned int>(group, PORT_KEY).value_or(standardValue<unsigned int>(PORT_KEY));
    const auto registrar = parseRegistrarAddress(textOf(file, group, SERVER_KEY), port);
    const std::string user = textOf(file, group, USER_ID_KEY);
    if (!registrar || !isUserName(user))
        return std::nullopt;
    return SipProfile{*registrar, user, textOf(file, group, PASSWORD_KEY)};
}

StoredProfiles profilesOf(const SettingsKeys& file)
{
    StoredProfiles profiles;
    for (const std::string& group : file.groups()) {
        const std::string displayName = isProfileGroup(group) ? textOf(file, group, DISPLAY_NAME_KEY) : "";
        if (!displayName.empty())
            profiles[group] = {
                contentOf(file, group), displayName,
                file.boolean(group, AUTO_CONNECT_KEY).value_or(standardValue<bool>(AUTO_CONNECT_KEY)),
                sipProfile(file, group)};
    }
    return profiles;
}

// Not so when it is a symbolic link to nothing.
bool isFreeName(const std::filesystem::path& path)
{
    std::error_code error;
    return std::filesystem::is_directory(path.parent_path(), error) &&
           std::filesystem::symlink_status(path, error).type() == std::filesystem::file_type::not_found;
}

} // namespace

bool GroupOrder::operator()(const std::string& first, const std::string& second) const
{
    return isGroupBefore(first, second);
}

std::string settingsFilePath()
{
    const std::string directory = settingsDirectory();
    if (!makeSettingsDirectory(directory))
        ORMU_LOG(ORMU_LEVEL_ERROR, "settings directory %s cannot be made: %s", directory.c_str(),
                 std::strerror(errno));
    const std::string path = settingsFileIn(directory);
    std::error_code error;
    const std::string absolute = std::filesystem::absolute(path, error).string();
    return error ? path : absolute;
}

ProfileReading readProfiles(const std::string& path)
{
    const auto bytes = readSettingsBytes(path);
    if (!bytes && errno == ENOENT)
        return {isFreeName(path) ? ProfileReading::State::NoFile : ProfileReading::State::Failed, {}};
    if (!bytes) {
        ORMU_LOG(ORMU_LEVEL_ERROR, "the settings file cannot be read: %s", std::strerror(errno));
        return {};
    }
    const std::optional<SettingsKeys> file = SettingsKeys::parse(*bytes);
    if (!file) {
        ORMU_LOG(ORMU_LEVEL_ERROR, "the settings file cannot be parsed");
        return {};
    }
    return {ProfileReading::State::Read, profilesOf(*file)};
}
