// store_cost store|values|strings FILE-PROFILES: loads a settings file of so many profiles once; the cost to
// be counted is that of measured(). "store" is the store; "values" and "strings" open the key file and read
// the same keys from it, once each: into the types of the record, or into strings of its own.
#include "SETUP_SIP_Agent.h"

#include <QString>

#include <glib.h>

#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>
#include <vector>

namespace {

void storeProfiles(int count)
{
    SETUP_SIP_Agent* store = SETUP_SIP_Agent::instance();
    for (int i = 0; i < count; ++i) {
        SIP_PROFILE_CONTENT record;
        record.displayName = QStringLiteral("Profile number %1").arg(i);
        record.server = QStringLiteral("sip%1.example.org").arg(i);
        record.userID = QStringLiteral("user%1").arg(i);
        record.password = QStringLiteral("password%1").arg(i);
        store->setProfileInfo(record, record.displayName);
    }
    SETUP_SIP_Agent::cleanup();
}

GKeyFile* openFile()
{
    QString path;
    SETUP_SIP_Agent::getSIPSetupPath(path);
    GKeyFile* file = g_key_file_new();
    const auto flags = static_cast<GKeyFileFlags>(G_KEY_FILE_KEEP_COMMENTS | G_KEY_FILE_KEEP_TRANSLATIONS);
    if (!g_key_file_load_from_file(file, path.toUtf8().constData(), flags, nullptr))
        std::abort();
    return file;
}

QString readText(GKeyFile* file, const char* group, const char* key)
{
    gchar* value = g_key_file_get_string(file, group, key, nullptr);
    const QString text = QString::fromUtf8(value);
    g_free(value);
    return text;
}

SIP_PROFILE_CONTENT readProfile(GKeyFile* file, const char* group)
{
    SIP_PROFILE_CONTENT record;
    record.displayName = readText(file, group, "DisplayName");
    record.server = readText(file, group, "Server");
    record.portNum = static_cast<unsigned int>(g_key_file_get_uint64(file, group, "PortNum", nullptr));
    record.userID = readText(file, group, "UserID");
    record.password = readText(file, group, "Password");
    record.autoConnect = g_key_file_get_boolean(file, group, "AutoConnect", nullptr) != FALSE;
    record.registerValue = readText(file, group, "Register");
    record.network = readText(file, group, "Network");
    record.locked = g_key_file_get_boolean(file, group, "Locked", nullptr) != FALSE;
    record.defaultProfile = g_key_file_get_boolean(file, group, "DefaultProfile", nullptr) != FALSE;
    record.needUserIDPass = g_key_file_get_boolean(file, group, "NeedUserIDPass", nullptr) != FALSE;
    record.remPassword = g_key_file_get_boolean(file, group, "RemPassword", nullptr) != FALSE;
    return record;
}

size_t loadStore()
{
    return static_cast<size_t>(SETUP_SIP_Agent::instance()->profileCount());
}

size_t readValues()
{
    GKeyFile* file = openFile();
    const int total = g_key_file_get_integer(file, "ProfileSummary", "TotalProfile", nullptr);
    std::vector<SIP_PROFILE_CONTENT> records;
    for (int i = 0; i < total; ++i)
        records.push_back(readProfile(file, ("Profile" + std::to_string(i)).c_str()));
    g_key_file_free(file);
    return records.size();
}

size_t readStrings()
{
    const char* const keys[] = {"DisplayName", "Server",         "PortNum",        "UserID",
                                "Password",    "AutoConnect",    "Register",       "Network",
                                "Locked",      "DefaultProfile", "NeedUserIDPass", "RemPassword"};
    GKeyFile* file = openFile();
    const int total = g_key_file_get_integer(file, "ProfileSummary", "TotalProfile", nullptr);
    size_t values = 0;
    for (int i = 0; i < total; ++i) {
        const std::string group = "Profile" + std::to_string(i);
        for (const char* key : keys) {
            gchar* value = g_key_file_get_string(file, group.c_str(), key, nullptr);
            values += value != nullptr;
            g_free(value);
        }
    }
    g_key_file_free(file);
    return values / std::size(keys);
}

using Load = size_t (*)();

Load loadOf(std::string_view mode)
{
    if (mode == "store")
        return loadStore;
    if (mode == "values")
        return readValues;
    return mode == "strings" ? readStrings : nullptr;
}

} // namespace

// By this name callgrind knows when to count.
extern "C" __attribute__((noinline)) size_t measured(Load load)
{
    return load();
}

int main(int argc, char** argv)
{
    const std::string_view mode = argc == 3 ? argv[1] : "";
    const int count = argc == 3 ? std::atoi(argv[2]) : 0;
    if (mode == "write") {
        storeProfiles(count);
        return 0;
    }
    const Load load = loadOf(mode);
    if (load == nullptr) {
        std::fputs("usage: store_cost write|store|values|strings PROFILES\n", stderr);
        return 2;
    }
    load(); // pays for what the first in a process sets up
    SETUP_SIP_Agent::cleanup();
    const size_t loaded = measured(load);
    SETUP_SIP_Agent::cleanup();
    return loaded == static_cast<size_t>(count) ? 0 : 1;
}
