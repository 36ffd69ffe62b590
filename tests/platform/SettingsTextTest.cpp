#include "SettingsText.h"

#include <gtest/gtest.h>

#include <random>

namespace {

QString decoded(const QByteArray& value)
{
    const std::optional<QString> text = decodeSettingsText(value);
    EXPECT_TRUE(text.has_value()) << value.constData();
    return text.value_or(QStringLiteral("(not a text)"));
}

TEST(SettingsText, LeavesOrdinaryTextReadable)
{
    const QString text = QStringLiteral("Büro, \"Zürich\" @ 50% [a;b] #1 = 電話 \U0001F4DE");
    EXPECT_EQ(encodeSettingsText(text), text.toUtf8());
}

TEST(SettingsText, EscapesWhatALineCannotHold)
{
    EXPECT_EQ(encodeSettingsText("a\nb\rc\td\\e"), "a\\nb\\rc\\td\\\\e");
    EXPECT_EQ(encodeSettingsText("\f\x7f"), "\\u000c\\u007f");
    EXPECT_EQ(encodeSettingsText(QString(QChar(u'\0'))), "\\u0000");
    EXPECT_EQ(encodeSettingsText(QString(QChar(QChar::ByteOrderMark))), "\\ufeff");
}

TEST(SettingsText, EscapesABlankOnlyAtTheEnds)
{
    EXPECT_EQ(encodeSettingsText(" a b "), "\\sa b\\s");
    EXPECT_EQ(encodeSettingsText(" "), "\\s");
}

TEST(SettingsText, EveryUnitComesBackAloneAndBetweenOthers)
{
    for (int unit = 0; unit <= 0xffff; ++unit) {
        const QString alone = QString(QChar(static_cast<char16_t>(unit)));
        ASSERT_EQ(decoded(encodeSettingsText(alone)), alone) << unit;
        const QString between = "a" + alone + "b";
        ASSERT_EQ(decoded(encodeSettingsText(between)), between) << unit;
        ASSERT_FALSE(encodeSettingsText(between).contains('\0')) << unit;
    }
}

TEST(SettingsText, AnySequenceOfUnitsComesBack)
{
    // Surrogates, blanks, escapes and their letters come next to each other often.
    const char16_t units[] = {0xd83d, 0xde00, 0xdbff, 0xdc00, u' ',  u'\\', u'n', u's', u'u',
                              u'0',   u'\n',  u'\t',  u'\0',  u'\f', u'#',  u'=', u'é', 0xfffd};
    std::mt19937 random(1);
    std::uniform_int_distribution<size_t> pick(0, std::size(units) - 1);
    for (int round = 0; round < 20000; ++round) {
        QString text;
        for (int i = 0; i < round % 9; ++i)
            text += QChar(units[pick(random)]);
        ASSERT_EQ(decoded(encodeSettingsText(text)), text) << "round " << round;
    }
}

TEST(SettingsText, ABackslashThatBeginsNoEscapeStandsForItself)
{
    for (const char* text : {"a\\b", "\\", "a\\", "\\u12", "\\u12g4", "\\u+123", "\\u 123", "\\x41"})
        EXPECT_EQ(decoded(text), text);
}

TEST(SettingsText, ReadsNumbersInEitherCase)
{
    EXPECT_EQ(decoded("\\u00e9\\u00E9"), QStringLiteral("éé"));
}

TEST(SettingsText, BytesThatAreNotUtf8AreNoText)
{
    for (const char* bytes : {"\xe9", "a\xc3", "\xc0\x80", "\xed\xa0\x80", "\xf5\x80\x80\x80"})
        EXPECT_FALSE(decodeSettingsText(bytes).has_value());
}

} // namespace
