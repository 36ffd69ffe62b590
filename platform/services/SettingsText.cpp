#include "SettingsText.h"

#include <algorithm>
#include <utility>

namespace {

constexpr qsizetype UNIT_DIGITS = 4;

constexpr std::pair<char16_t, char16_t> ESCAPES[] = {
    {u'\\', u'\\'}, {u'\n', u'n'}, {u'\r', u'r'}, {u'\t', u't'}, {u' ', u's'}};

char16_t escapeLetter(char16_t unit)
{
    for (const auto& [plain, letter] : ESCAPES) {
        if (plain == unit)
            return letter;
    }
    return 0;
}

char16_t escapedUnit(char16_t letter)
{
    for (const auto& [plain, known] : ESCAPES) {
        if (known == letter)
            return plain;
    }
    return 0;
}

bool isHalfPair(const QString& text, qsizetype i)
{
    if (text[i].isHighSurrogate())
        return i + 1 == text.size() || !text[i + 1].isLowSurrogate();
    return text[i].isLowSurrogate() && (i == 0 || !text[i - 1].isHighSurrogate());
}

// A blank needs its escape only where the file or an editor would drop it.
bool standsForItself(const QString& text, qsizetype i)
{
    if (text[i] == u' ')
        return i != 0 && i != text.size() - 1;
    return text[i] != u'\\' && text[i] >= u' ' && text[i] != u'\x7f' && text[i] != QChar::ByteOrderMark &&
           !isHalfPair(text, i);
}

bool isHexDigit(QChar c)
{
    return (c >= u'0' && c <= u'9') || (c >= u'a' && c <= u'f') || (c >= u'A' && c <= u'F');
}

struct Escape
{
    char16_t unit;
    qsizetype length;
};

// The escape that rest begins with.
std::optional<Escape> leadingEscape(QStringView rest)
{
    if (rest.size() < 2 || rest[0] != u'\\')
        return std::nullopt;
    if (const char16_t unit = escapedUnit(rest[1].unicode()))
        return Escape{unit, 2};
    const QStringView digits = rest.mid(2, UNIT_DIGITS);
    if (rest[1] != u'u' || digits.size() != UNIT_DIGITS ||
        !std::all_of(digits.begin(), digits.end(), isHexDigit))
        return std::nullopt;
    return Escape{digits.toUShort(nullptr, 16), 2 + UNIT_DIGITS};
}

} // namespace

QByteArray encodeSettingsText(const QString& text)
{
    QString encoded;
    encoded.reserve(text.size());
    for (qsizetype i = 0; i < text.size(); ++i) {
        const char16_t unit = text[i].unicode();
        if (standsForItself(text, i)) {
            encoded += QChar(unit);
        } else if (const char16_t letter = escapeLetter(unit)) {
            encoded += QLatin1Char('\\') + QString(QChar(letter));
        } else {
            encoded += QStringLiteral("\\u%1").arg(unit, UNIT_DIGITS, 16, QLatin1Char('0'));
        }
    }
    return encoded.toUtf8();
}

std::optional<QString> decodeSettingsText(QByteArrayView value)
{
    if (!value.isValidUtf8())
        return std::nullopt;
    const QString encoded = QString::fromUtf8(value);
    if (!encoded.contains(u'\\'))
        return encoded;

    QString text;
    text.reserve(encoded.size());
    for (QStringView rest = encoded; !rest.isEmpty();) {
        const Escape next = leadingEscape(rest).value_or(Escape{rest[0].unicode(), 1});
        text += QChar(next.unit);
        rest = rest.sliced(next.length);
    }
    return text;
}
