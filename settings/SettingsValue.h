// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#ifndef SETTINGSVALUE_H
#define SETTINGSVALUE_H

#include <limits>
#include <optional>
#include <string>
#include <string_view>

// How values stand in a settings file. The readers return nothing for a value of another type.

// A text is UTF-8 with the key file's escapes \\ \n \r \t, \s for a leading or trailing blank, and \uXXXX
// (four hexadecimal digits, one UTF-16 unit) for what a line cannot hold otherwise: the other control
// characters, U+0000 among them, the byte order mark, and half a surrogate pair. Every sequence of UTF-16
// units is read back unchanged.
std::string encodeSettingsText(std::u16string_view text);

// Nothing when value is not UTF-8. A backslash that begins no escape stands for itself, so that a password
// typed into the file by hand is read as it was typed.
std::optional<std::u16string> decodeSettingsText(std::string_view value);

// "true" or "1", "false" or "0".
std::optional<bool> readSettingsBoolean(std::string_view value);

// A decimal number, with blanks around it and a sign or without.
std::optional<long long> readSettingsNumber(std::string_view value);
template <class Number>
std::optional<Number> readSettingsNumberAs(std::string_view value)
{
    const std::optional<long long> number = readSettingsNumber(value);
    if (!number || *number < std::numeric_limits<Number>::min() ||
        *number > std::numeric_limits<Number>::max())
        return std::nullopt;
    return static_cast<Number>(*number);
}

// A question mark stands for half a surrogate pair.
std::string toUtf8(std::u16string_view text);

// The text behind a byte order mark, with which it may begin.
std::string_view withoutByteOrderMark(std::string_view text);

#endif
