// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

// store_cost write PROFILES: writes a settings file of so many profiles.
// store_cost store|values|strings PROFILES: loads that file once; the cost to be counted is that of
// measured(). "store" is the store; "values" and "strings" open the key file and read the same keys from it,
// once each: into the types of the record, or into strings of its own.
#include "ProfileSchema.h"
#include "SETUP_SIP_Agent.h"

#include <QString>

#include <glib.h>

#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>
#include <vector>

namespace {

void writeProfiles(int count)
{
    GKeyFile* file = g_key_file_new();
    g_key_file_set_integer(file, SUMMARY_GROUP, TOTAL_KEY, count);
    for (int i = 0; i < count; ++i) {
        const std::string number = std::to_string(i);
        const std::string group = groupOf(static_cast<uint64_t>(i));
        const auto write = [&](const char* key, const std::string& value) {
            g_key_file_set_string(file, group.c_str(), key, value.c_str());
        };
        for (const ProfileKey& key : PROFILE_KEYS) {
            if (const bool* flag = std::get_if<bool>(&key.standard))
                write(key.name, *flag ? "true" : "false");
            else if (const unsigned int* value = std::get_if<unsigned int>(&key.standard))
                write(key.name, std::to_string(*value));
            else
                write(key.name, std::get<const char*>(key.standard));
        }
        write(DISPLAY_NAME_KEY, "Profile number " + number);
        write(SERVER_KEY, "sip" + number + ".example.org");
        write(USER_ID_KEY, "user" + number);
        write(PASSWORD_KEY, "password" + number);
    }
    QString path;
    SETUP_SIP_Agent::getSIPSetupPath(path);
    if (!g_key_file_save_to_file(file, path.toUtf8().constData(), nullptr))
        std::abort();
    g_key_file_free(file);
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

// Reads every key of every profile by read(file, group, key), which tells whether it is there.
template <class Read>
size_t readProfiles(Read read)
{
    GKeyFile* file = openFile();
    const int total = g_key_file_get_integer(file, SUMMARY_GROUP, TOTAL_KEY, nullptr);
    size_t values = 0;
    for (int i = 0; i < total; ++i) {
        const std::string group = groupOf(static_cast<uint64_t>(i));
        for (const ProfileKey& key : PROFILE_KEYS)
            values += read(file, group.c_str(), key);
    }
    g_key_file_free(file);
    return values / PROFILE_KEYS.size();
}

size_t loadStore()
{
    return static_cast<size_t>(SETUP_SIP_Agent::instance()->profileCount());
}

size_t readValues()
{
    std::vector<QString> texts;
    return readProfiles([&texts](GKeyFile* file, const char* group, const ProfileKey& key) {
        GError* error = nullptr;
        if (std::holds_alternative<bool>(key.standard)) {
            g_key_file_get_boolean(file, group, key.name, &error);
        } else if (std::holds_alternative<unsigned int>(key.standard)) {
            g_key_file_get_uint64(file, group, key.name, &error);
        } else {
            gchar* value = g_key_file_get_string(file, group, key.name, &error);
            texts.push_back(QString::fromUtf8(value));
            g_free(value);
        }
        const bool isThere = error == nullptr;
        g_clear_error(&error);
        return isThere;
    });
}

size_t readStrings()
{
    return readProfiles([](GKeyFile* file, const char* group, const ProfileKey& key) {
        gchar* value = g_key_file_get_string(file, group, key.name, nullptr);
        const bool isThere = value != nullptr;
        g_free(value);
        return isThere;
    });
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
        writeProfiles(count);
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
