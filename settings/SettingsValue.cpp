// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#include "SettingsValue.h"

#include <glib.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdint>
#include <cstdio>
#include <utility>

namespace {

constexpr size_t UNIT_DIGITS = 4;
constexpr char16_t BYTE_ORDER_MARK = 0xfeff;
constexpr std::string_view BLANKS = " \t\n\v\f\r";

constexpr std::pair<char16_t, char> ESCAPES[] = {
    {u'\\', '\\'}, {u'\n', 'n'}, {u'\r', 'r'}, {u'\t', 't'}, {u' ', 's'}};

bool isHighSurrogate(char16_t unit)
{
    return unit >= 0xd800 && unit < 0xdc00;
}

bool isLowSurrogate(char16_t unit)
{
    return unit >= 0xdc00 && unit < 0xe000;
}

bool isPair(std::u16string_view text, size_t i)
{
    return i + 1 < text.size() && isHighSurrogate(text[i]) && isLowSurrogate(text[i + 1]);
}

void appendCharacter(std::string& bytes, gunichar character)
{
    std::array<char, 6> utf8;
    bytes.append(utf8.data(), static_cast<size_t>(g_unichar_to_utf8(character, utf8.data())));
}

// Appends the character at i, and returns how many units it takes.
size_t appendUnits(std::string& bytes, std::u16string_view text, size_t i)
{
    if (isPair(text, i)) {
        appendCharacter(bytes, 0x10000 + ((text[i] - 0xd800U) << 10) + (text[i + 1] - 0xdc00U));
        return 2;
    }
    const bool isHalf = isHighSurrogate(text[i]) || isLowSurrogate(text[i]);
    appendCharacter(bytes, isHalf ? U'?' : text[i]);
    return 1;
}

// A blank needs its escape only where the key file or an editor would drop it.
bool needsEscape(std::u16string_view text, size_t i)
{
    const char16_t unit = text[i];
    if (unit == u' ')
        return i == 0 || i == text.size() - 1;
    return unit == u'\\' || unit < u' ' || unit == u'\x7f' || unit == BYTE_ORDER_MARK ||
           isLowSurrogate(unit) || (isHighSurrogate(unit) && !isPair(text, i));
}

std::string escapeOf(char16_t unit)
{
    for (const auto& [plain, letter] : ESCAPES) {
        if (plain == unit)
            return {'\\', letter};
    }
    std::array<char, sizeof "\\u0000"> escape;
    std::snprintf(escape.data(), escape.size(), "\\u%04x", unsigned{unit});
    return escape.data();
}

struct Escape
{
    char16_t unit;
    size_t length;
};

// The escape that rest begins with.
std::optional<Escape> leadingEscape(std::string_view rest)
{
    if (rest.size() < 2 || rest[0] != '\\')
        return std::nullopt;
    for (const auto& [plain, letter] : ESCAPES) {
        if (rest[1] == letter)
            return Escape{plain, 2};
    }
    const std::string_view digits = rest.substr(2, UNIT_DIGITS);
    if (rest[1] != 'u' || digits.size() != UNIT_DIGITS ||
        !std::all_of(digits.begin(), digits.end(), [](char c) { return g_ascii_isxdigit(c); }))
        return std::nullopt;
    uint16_t unit = 0;
    std::from_chars(digits.data(), digits.data() + digits.size(), unit, 16);
    return Escape{unit, 2 + UNIT_DIGITS};
}

void appendCharacter(std::u16string& text, gunichar character)
{
    if (character < 0x10000) {
        text += static_cast<char16_t>(character);
        return;
    }
    text += static_cast<char16_t>(0xd800 + ((character - 0x10000) >> 10));
    text += static_cast<char16_t>(0xdc00 + (character & 0x3ff));
}

} // namespace

std::string encodeSettingsText(std::u16string_view text)
{
    std::string value;
    for (size_t i = 0; i < text.size();) {
        if (needsEscape(text, i))
            value += escapeOf(text[i++]);
        else
            i += appendUnits(value, text, i);
    }
    return value;
}

std::optional<std::u16string> decodeSettingsText(std::string_view value)
{
    // Most texts are plain ASCII.
    if (std::all_of(value.begin(), value.end(), [](char c) { return c != '\\' && g_ascii_isprint(c); }))
        return std::u16string(value.begin(), value.end());
    if (g_utf8_validate_len(value.data(), value.size(), nullptr) == FALSE)
        return std::nullopt;
    std::u16string text;
    text.reserve(value.size());
    for (std::string_view rest = withoutByteOrderMark(value); !rest.empty();) {
        if (const std::optional<Escape> escape = leadingEscape(rest)) {
            text += escape->unit;
            rest.remove_prefix(escape->length);
        } else {
            appendCharacter(text, g_utf8_get_char(rest.data()));
            rest.remove_prefix(static_cast<size_t>(g_utf8_next_char(rest.data()) - rest.data()));
        }
    }
    return text;
}

std::optional<bool> readSettingsBoolean(std::string_view value)
{
    if (value == "true" || value == "1")
        return true;
    return value == "false" || value == "0" ? std::optional(false) : std::nullopt;
}

std::optional<long long> readSettingsNumber(std::string_view value)
{
    value.remove_prefix(std::min(value.find_first_not_of(BLANKS), value.size()));
    value = value.substr(0, value.find_last_not_of(BLANKS) + 1);
    if (value.starts_with('+') && !value.starts_with("+-"))
        value.remove_prefix(1);
    long long number = 0;
    const auto [end, error] = std::from_chars(value.data(), value.data() + value.size(), number);
    return error == std::errc() && end == value.data() + value.size() ? std::optional(number) : std::nullopt;
}

std::string toUtf8(std::u16string_view text)
{
    std::string bytes;
    for (size_t i = 0; i < text.size();)
        i += appendUnits(bytes, text, i);
    return bytes;
}

std::string_view withoutByteOrderMark(std::string_view text)
{
    constexpr std::string_view mark = "\xEF\xBB\xBF";
    return text.starts_with(mark) ? text.substr(mark.size()) : text;
}
