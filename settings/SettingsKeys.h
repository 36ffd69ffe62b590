// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#ifndef SETTINGSKEYS_H
#define SETTINGSKEYS_H

#include "SettingsValue.h"

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

struct _GKeyFile;

// The groups and keys of a settings file in memory: "[group]" lines, "key=value" lines and "#" comments.
// Groups, keys and comments keep their places; toBytes() changes only blanks around "=" and between lines.
class SettingsKeys
{
public:
    // Without groups.
    SettingsKeys();
    // Nothing when bytes are no such file.
    static std::optional<SettingsKeys> parse(std::string_view bytes);

    // In the order of the file.
    std::vector<std::string> groups() const;
    std::vector<std::string> keys(const std::string& group) const;

    // The value as it stands in the file; nothing when the key is missing.
    std::optional<std::string> value(const std::string& group, const std::string& key) const;
    // The same as a value of that type (see SettingsValue.h); nothing when it is missing or of another type.
    std::optional<std::u16string> text(const std::string& group, const std::string& key) const;
    std::optional<bool> boolean(const std::string& group, const std::string& key) const;
    template <class Number>
    std::optional<Number> number(const std::string& group, const std::string& key) const
    {
        return readSettingsNumberAs<Number>(value(group, key).value_or(""));
    }

    // Each is true when it changed anything. The names must be usable: see isSettingsName().
    bool setValue(const std::string& group, const std::string& key, const std::string& value);
    // Keeps the comment above the next group.
    bool removeGroup(const std::string& group);

    std::string toBytes() const;

private:
    struct Deleter
    {
        void operator()(_GKeyFile* keys) const;
    };
    std::unique_ptr<_GKeyFile, Deleter> keys_;
};

// Whether a group or a key of this name is read back as it was written.
bool isSettingsName(std::string_view name);

#endif
