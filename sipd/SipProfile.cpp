#include "SipProfile.h"

#include "SETUP_SET_Manager.h"
#include "SETUP_SIP_Agent.h"
#include "SettingsFile.h"

#include <algorithm>
#include <cctype>

namespace {

constexpr std::string_view groupPrefix = "Profile";

// Numbers are given out lowest first, to no more than MAX_SIP_PROFILE profiles. Files that people have edited
// may go further.
constexpr int scannedGroups = 10 * SETUP_SIP_Agent::MAX_SIP_PROFILE;

// Headers of SIP messages are lines.
bool isUserName(const std::string& user)
{
    return !user.empty() &&
           std::none_of(user.begin(), user.end(), [](unsigned char c) { return c < ' ' || c == 0x7f; });
}

QString settingsPath()
{
    QString path;
    SETUP_SIP_Agent::getSIPSetupPath(path);
    return path;
}

} // namespace

bool isProfileGroup(const std::string& group)
{
    const std::string_view number =
        std::string_view(group).substr(std::min(groupPrefix.size(), group.size()));
    return group.starts_with(groupPrefix) && !number.empty() && (number == "0" || number.front() != '0') &&
           std::all_of(number.begin(), number.end(), [](unsigned char c) { return std::isdigit(c) != 0; });
}

std::optional<SipProfile> readProfile(const std::string& group)
{
    if (!isProfileGroup(group))
        return std::nullopt;
    SIP_PROFILE_CONTENT record;
    QString name = QString::fromStdString(group);
    if (!SETUP_SIP_Agent::getProfileByName(name, record))
        return std::nullopt;
    const auto registrar = parseRegistrarAddress(record.server.toStdString(), record.portNum);
    const std::string user = record.userID.toStdString();
    if (!registrar || !isUserName(user))
        return std::nullopt;
    return SipProfile{*registrar, user, record.password.toStdString()};
}

bool isSettingsFileSound()
{
    return !readSettingsFile(settingsPath().toUtf8()).damaged;
}

bool hasProfile(const std::string& group)
{
    QString name = QString::fromStdString(group);
    return isProfileGroup(group) && !SETUP_SIP_Agent::getProfileDisplayName(name).isEmpty();
}

std::vector<std::string> autoConnectGroups()
{
    SETUP_SET_Manager manager(settingsPath(), false);
    std::vector<std::string> groups;
    for (int number = 0; number < scannedGroups; ++number) {
        const std::string group = std::string(groupPrefix) + std::to_string(number);
        SIP_PROFILE_CONTENT record;
        SETUP_SIP_Agent::getProfileInfoFromFile(&manager, record, QString::fromStdString(group));
        if (!record.displayName.isEmpty() && record.autoConnect)
            groups.push_back(group);
    }
    return groups;
}
