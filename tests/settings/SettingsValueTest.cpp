// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#include "SettingsValue.h"
#include "ProfileSchema.h"

#include <gtest/gtest.h>

#include <climits>
#include <random>

namespace {

std::u16string decoded(std::string_view value)
{
    const auto text = decodeSettingsText(value);
    EXPECT_TRUE(text.has_value()) << value;
    return text.value_or(u"(not a text)");
}

TEST(SettingsText, LeavesOrdinaryTextReadable)
{
    EXPECT_EQ(encodeSettingsText(u"Büro, \"Zürich\" @ 50% [a;b] #1 = 電話 \U0001F4DE"),
              "Büro, \"Zürich\" @ 50% [a;b] #1 = 電話 \U0001F4DE");
}

TEST(SettingsText, EscapesCharactersThatALineCannotHold)
{
    EXPECT_EQ(encodeSettingsText(u"a\nb\rc\td\\e"), "a\\nb\\rc\\td\\\\e");
    EXPECT_EQ(encodeSettingsText(u"\f\x7f"), "\\u000c\\u007f");
    EXPECT_EQ(encodeSettingsText(std::u16string(1, u'\0')), "\\u0000");
    EXPECT_EQ(encodeSettingsText(u"\ufeff"), "\\ufeff");
}

TEST(SettingsText, EscapesABlankOnlyAtTheEnds)
{
    EXPECT_EQ(encodeSettingsText(u" a b "), "\\sa b\\s");
    EXPECT_EQ(encodeSettingsText(u" "), "\\s");
}

TEST(SettingsText, KeepsEveryUnitAloneAndBetweenOthers)
{
    for (int unit = 0; unit <= 0xffff; ++unit) {
        const std::u16string alone(1, static_cast<char16_t>(unit));
        ASSERT_EQ(decoded(encodeSettingsText(alone)), alone) << unit;
        const std::u16string between = u"a" + alone + u"b";
        ASSERT_EQ(decoded(encodeSettingsText(between)), between) << unit;
        ASSERT_EQ(encodeSettingsText(between).find('\0'), std::string::npos) << unit;
    }
}

TEST(SettingsText, KeepsAnySequenceOfUnits)
{
    // Surrogates, blanks, escapes and their letters come next to each other often.
    const char16_t units[] = {0xd83d, 0xde00, 0xdbff, 0xdc00, u' ',  u'\\', u'n', u's', u'u',
                              u'0',   u'\n',  u'\t',  u'\0',  u'\f', u'#',  u'=', u'é', 0xfffd};
    std::mt19937 random(1);
    std::uniform_int_distribution<size_t> pick(0, std::size(units) - 1);
    for (int round = 0; round < 20000; ++round) {
        std::u16string text;
        for (int i = 0; i < round % 9; ++i)
            text += units[pick(random)];
        ASSERT_EQ(decoded(encodeSettingsText(text)), text) << "round " << round;
    }
}

TEST(SettingsText, ReadsABackslashThatBeginsNoEscape)
{
    for (const char* text : {"a\\b", "\\", "a\\", "\\u12", "\\u12g4", "\\u+123", "\\u 123", "\\x41"})
        EXPECT_EQ(toUtf8(decoded(text)), text);
}

TEST(SettingsText, ReadsHexadecimalDigitsInEitherCase)
{
    EXPECT_EQ(decoded("\\u00e9\\u00E9"), u"éé");
}

TEST(SettingsText, DropsALeadingByteOrderMark)
{
    EXPECT_EQ(decoded("\xEF\xBB\xBFname"), u"name");
}

TEST(SettingsText, RefusesBytesThatAreNotUtf8)
{
    for (const char* bytes : {"\xe9", "a\xc3", "\xc0\x80", "\xed\xa0\x80", "\xf5\x80\x80\x80"})
        EXPECT_FALSE(decodeSettingsText(bytes).has_value());
}

TEST(SettingsText, ShowsHalfASurrogatePairAsAQuestionMark)
{
    EXPECT_EQ(toUtf8(u"a\xd800\U0001F4DE\xdc00"), "a?\U0001F4DE?");
}

TEST(SettingsNumber, ReadsANumberWithBlanksAndASign)
{
    for (const char* value : {"5", "05", "+5", " 5", "\t5\v", "5\r"})
        EXPECT_EQ(readSettingsNumberAs<int>(value), 5) << value;
    EXPECT_EQ(readSettingsNumberAs<int>("-5"), -5);
    EXPECT_EQ(readSettingsNumberAs<unsigned int>("-0"), 0U);
}

TEST(SettingsNumber, ReadsTheWholeRangeAndNoMore)
{
    EXPECT_EQ(readSettingsNumberAs<int>("2147483647"), INT_MAX);
    EXPECT_EQ(readSettingsNumberAs<int>("-2147483648"), INT_MIN);
    EXPECT_EQ(readSettingsNumberAs<unsigned int>("4294967295"), UINT_MAX);
    for (const char* value : {"2147483648", "-2147483649", "99999999999999999999"})
        EXPECT_FALSE(readSettingsNumberAs<int>(value)) << value;
    for (const char* value : {"4294967296", "-1"})
        EXPECT_FALSE(readSettingsNumberAs<unsigned int>(value)) << value;
}

TEST(SettingsNumber, RefusesOtherValues)
{
    for (const char* value : {"", " ", "+", "text", "5x", "0x10", "1.5", "+-5", "--5", "+ 5", "5 5", "1,000"})
        EXPECT_FALSE(readSettingsNumber(value)) << value;
}

TEST(SettingsBoolean, ReadsFourWordsAndNoOthers)
{
    for (const char* value : {"true", "1"})
        EXPECT_EQ(readSettingsBoolean(value), true) << value;
    for (const char* value : {"false", "0"})
        EXPECT_EQ(readSettingsBoolean(value), false) << value;
    for (const char* value : {"", "TRUE", " true", "yes", "2"})
        EXPECT_FALSE(readSettingsBoolean(value).has_value()) << value;
}

TEST(ProfileSchema, KnowsTheGroupsOfProfiles)
{
    for (const char* group : {"Profile0", "Profile1", "Profile10", "Profile99999999999999999999"})
        EXPECT_TRUE(isProfileGroup(group)) << group;
    for (const char* group : {"", "Profile", "Profile01", "Profile-1", "Profile1x", "ProfileSummary",
                              "profile1", " Profile1", "Profile1 "})
        EXPECT_FALSE(isProfileGroup(group)) << group;
}

TEST(ProfileSchema, OrdersGroupsByTheirNumbers)
{
    EXPECT_TRUE(isGroupBefore("Profile2", "Profile10"));
    EXPECT_FALSE(isGroupBefore("Profile10", "Profile2"));
    EXPECT_TRUE(isGroupBefore("Profile10", "Profile11"));
    EXPECT_EQ(numberOf("Profile18446744073709551615"), UINT64_MAX);
    EXPECT_EQ(numberOf("Profile18446744073709551616"), UINT64_MAX);
    EXPECT_EQ(groupOf(numberOf("Profile12")), "Profile12");
}

} // namespace
