#include "SipProfile.h"

#include "Log.h"
#include "SETUP_SIP_Agent.h"
#include "SettingsFile.h"
#include "SettingsText.h"

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstring>
#include <filesystem>

namespace {

constexpr std::string_view groupPrefix = "Profile";

struct TextDeleter
{
    void operator()(gchar* text) const { g_free(text); }
    void operator()(gchar** texts) const { g_strfreev(texts); }
};
using Text = std::unique_ptr<gchar, TextDeleter>;
using Texts = std::unique_ptr<gchar*, TextDeleter>;

// Headers of SIP messages are lines.
bool isUserName(const std::string& user)
{
    return !user.empty() &&
           std::none_of(user.begin(), user.end(), [](unsigned char c) { return c < ' ' || c == 0x7f; });
}

// The keys of one group, as the store reads them.
class GroupKeys
{
public:
    GroupKeys(GKeyFile* file, const char* group) : file_(file), group_(group) {}

    std::string text(const char* key) const
    {
        const Text stored = value(key);
        const auto decoded = stored ? decodeSettingsText(stored.get()) : std::nullopt;
        return decoded.value_or(QString()).toStdString();
    }
    unsigned int number(const char* key, unsigned int missing) const
    {
        const Text stored = value(key);
        bool isNumber = false;
        const unsigned int number = QByteArrayView(stored.get()).toUInt(&isNumber);
        return isNumber ? number : missing;
    }
    bool isOff(const char* key) const
    {
        const Text stored = value(key);
        const QByteArrayView text(stored.get());
        return text == "false" || text == "0";
    }
    std::map<std::string, std::string> content() const
    {
        std::map<std::string, std::string> content;
        const Texts keys(g_key_file_get_keys(file_, group_, nullptr, nullptr));
        for (gchar** key = keys.get(); key != nullptr && *key != nullptr; ++key) {
            if (std::string_view(*key) != "DefaultProfile")
                content.emplace(*key, value(*key).get());
        }
        return content;
    }

private:
    Text value(const char* key) const { return Text(g_key_file_get_value(file_, group_, key, nullptr)); }

    GKeyFile* const file_;
    const char* const group_;
};

std::optional<SipProfile> sipProfile(const GroupKeys& keys)
{
    const auto registrar =
        parseRegistrarAddress(keys.text("Server"), keys.number("PortNum", SIP_PROFILE_CONTENT().portNum));
    const std::string user = keys.text("UserID");
    if (!registrar || !isUserName(user))
        return std::nullopt;
    return SipProfile{*registrar, user, keys.text("Password")};
}

StoredProfiles profilesOf(GKeyFile* file)
{
    StoredProfiles profiles;
    const Texts groups(g_key_file_get_groups(file, nullptr));
    for (gchar** group = groups.get(); *group != nullptr; ++group) {
        const GroupKeys keys(file, *group);
        const std::string displayName = isProfileGroup(*group) ? keys.text("DisplayName") : "";
        if (!displayName.empty())
            profiles[*group] = {keys.content(), displayName, !keys.isOff("AutoConnect"), sipProfile(keys)};
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
    return first.size() != second.size() ? first.size() < second.size() : first < second;
}

bool isProfileGroup(const std::string& group)
{
    const std::string_view number =
        std::string_view(group).substr(std::min(groupPrefix.size(), group.size()));
    return group.starts_with(groupPrefix) && !number.empty() && (number == "0" || number.front() != '0') &&
           std::all_of(number.begin(), number.end(), [](unsigned char c) { return std::isdigit(c) != 0; });
}

std::string settingsFilePath()
{
    QString path;
    SETUP_SIP_Agent::getSIPSetupPath(path);
    std::error_code error;
    const std::string name = path.toStdString();
    const std::string absolute = std::filesystem::absolute(name, error).string();
    return error ? name : absolute;
}

ProfileReading readProfiles(const std::string& path)
{
    const auto bytes = readSettingsBytes(QByteArray::fromStdString(path));
    if (!bytes && errno == ENOENT)
        return {isFreeName(path) ? ProfileReading::State::NoFile : ProfileReading::State::Failed, {}};
    if (!bytes) {
        ORMU_LOG(ORMU_LEVEL_ERROR, "the settings file cannot be read: %s", std::strerror(errno));
        return {};
    }
    const KeyFile file(g_key_file_new());
    if (!parseSettings(file.get(), *bytes)) {
        ORMU_LOG(ORMU_LEVEL_ERROR, "the settings file cannot be parsed");
        return {};
    }
    return {ProfileReading::State::Read, profilesOf(file.get())};
}
