// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#include "SettingsKeys.h"

#include <glib.h>

#include <algorithm>
#include <cstring>

namespace {

struct GLibDeleter
{
    void operator()(gchar* text) const { g_free(text); }
    void operator()(gchar** texts) const { g_strfreev(texts); }
};
using Text = std::unique_ptr<gchar, GLibDeleter>;
using Texts = std::unique_ptr<gchar*, GLibDeleter>;

std::vector<std::string> toVector(const Texts& texts)
{
    return texts ? std::vector<std::string>(texts.get(), texts.get() + g_strv_length(texts.get()))
                 : std::vector<std::string>();
}

} // namespace

void SettingsKeys::Deleter::operator()(GKeyFile* keys) const
{
    g_key_file_unref(keys);
}

SettingsKeys::SettingsKeys() : keys_(g_key_file_new()) {}

std::optional<SettingsKeys> SettingsKeys::parse(std::string_view bytes)
{
    bytes = withoutByteOrderMark(bytes);
    // The key file would silently drop the rest of a line with a NUL.
    if (bytes.find('\0') != std::string_view::npos)
        return std::nullopt;
    SettingsKeys keys;
    // Without the last flag it would drop the translations that this user's language has no use for.
    const auto flags = static_cast<GKeyFileFlags>(G_KEY_FILE_KEEP_COMMENTS | G_KEY_FILE_KEEP_TRANSLATIONS);
    if (g_key_file_load_from_data(keys.keys_.get(), bytes.data(), bytes.size(), flags, nullptr) == FALSE)
        return std::nullopt;
    return keys;
}

std::vector<std::string> SettingsKeys::groups() const
{
    return toVector(Texts(g_key_file_get_groups(keys_.get(), nullptr)));
}

std::vector<std::string> SettingsKeys::keys(const std::string& group) const
{
    return toVector(Texts(g_key_file_get_keys(keys_.get(), group.c_str(), nullptr, nullptr)));
}

std::optional<std::string> SettingsKeys::value(const std::string& group, const std::string& key) const
{
    const Text value(g_key_file_get_value(keys_.get(), group.c_str(), key.c_str(), nullptr));
    return value ? std::optional<std::string>(value.get()) : std::nullopt;
}

std::optional<std::u16string> SettingsKeys::text(const std::string& group, const std::string& key) const
{
    const Text stored(g_key_file_get_value(keys_.get(), group.c_str(), key.c_str(), nullptr));
    return stored ? decodeSettingsText(stored.get()) : std::nullopt;
}

std::optional<bool> SettingsKeys::boolean(const std::string& group, const std::string& key) const
{
    const Text stored(g_key_file_get_value(keys_.get(), group.c_str(), key.c_str(), nullptr));
    return stored ? readSettingsBoolean(stored.get()) : std::nullopt;
}

bool SettingsKeys::setValue(const std::string& group, const std::string& key, const std::string& newValue)
{
    if (value(group, key) == newValue)
        return false;
    g_key_file_set_value(keys_.get(), group.c_str(), key.c_str(), newValue.c_str());
    return true;
}

bool SettingsKeys::removeGroup(const std::string& group)
{
    const std::vector<std::string> all = groups();
    const auto found = std::find(all.begin(), all.end(), group);
    if (found == all.end())
        return false;
    // The key file counts the comment above a group to the group before it.
    const char* const next = found + 1 == all.end() ? nullptr : found[1].c_str();
    const Text comment(next == nullptr ? nullptr
                                       : g_key_file_get_comment(keys_.get(), next, nullptr, nullptr));
    g_key_file_remove_group(keys_.get(), group.c_str(), nullptr);
    if (!comment)
        return true;
    const char* const text = comment.get() + std::strspn(comment.get(), "\n");
    if (*text != '\0')
        g_key_file_set_comment(keys_.get(), next, nullptr, text, nullptr);
    return true;
}

std::string SettingsKeys::toBytes() const
{
    gsize length = 0;
    const Text bytes(g_key_file_to_data(keys_.get(), &length, nullptr));
    return {bytes.get(), length};
}

bool isSettingsName(std::string_view name)
{
    const auto isForbidden = [](char c) {
        return static_cast<unsigned char>(c) < ' ' || c == '\x7f' ||
               std::string_view("[]=#").find(c) != std::string_view::npos;
    };
    return !name.empty() && !name.starts_with(' ') && !name.ends_with(' ') &&
           std::none_of(name.begin(), name.end(), isForbidden);
}
