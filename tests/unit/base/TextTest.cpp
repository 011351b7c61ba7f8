// SPDX-License-Identifier: MIT
#include "base/Text.h"

#include <gtest/gtest.h>

#include <vector>

namespace brindle {
namespace {

constexpr CaseMode kFolded = CaseMode::Folded;
constexpr CaseMode kExact = CaseMode::Exact;

TEST(Text, ReplacesCountsAndContains) {
    const struct {
        const char* text;
        const char* what;
        const char* with;
        CaseMode mode;
        const char* result;
        std::size_t count;
        // clang-format off
    } rows[] = {
        {"Total total", "total", "x", kExact, "Total x", 1},
        {"Total total", "tOTAL", "x", kFolded, "x x", 2}, {"aaa", "aa", "b", kExact, "ba", 1},
        {"aaa", "AA", "b", kFolded, "ba", 1}, {"aaa", "a", "aa", kFolded, "aaaaaa", 3},
        {"aab", "AB", "", kFolded, "a", 1}, {"abc", "", "x", kExact, "abc", 0},
        {"abc", "", "x", kFolded, "abc", 0}, {"", "a", "x", kFolded, "", 0},
        {"ab", "abc", "x", kFolded, "ab", 0}, {"ÄÖ äö", "äÖ", "-", kFolded, "- -", 2},
        {"Straße STRASSE", "straße", "x", kFolded, "x STRASSE", 1},
        {"STRAẞE", "straße", "x", kFolded, "x", 1},
        // The Kelvin sign and the long s are three and two bytes long, their foldings one.
        {"5 \u212A.", "k", "K", kFolded, "5 K.", 1}, {"xkx", "\u212A", "y", kFolded, "xyx", 1},
        {"Wa\u017F\u017Fer", "SS", "t", kFolded, "Water", 1},
        {"\u212A", "k", "x", kExact, "\u212A", 0},
        // Folds from two bytes to three.
        {"a\u023Ab", "\u2C65B", "-", kFolded, "a-", 1},
        {"ΣΊΣΥΦΟΣ", "σίσυφος", "x", kFolded, "x", 1},
        {"\U00010400!", "\U00010428", "x", kFolded, "x!", 1},
        // Neither the Turkish rules nor accents count.
        {"I\u0130\u0131", "i", "-", kFolded, "-\u0130\u0131", 1},
        {"e\u0301\u00E9", "é", "x", kFolded, "e\u0301x", 1},
        // Stray bytes are kept and found by value.
        {"a\xFF\x41z", "\xFF\x61", "x", kFolded, "axz", 1},
        {"\xC3(\xC3", "(", "x", kFolded, "\xC3x\xC3", 1},
    };
    // clang-format on
    for (const auto& row : rows) {
        SCOPED_TRACE(std::string(row.what) + " in " + row.text);
        EXPECT_EQ(text::replaceAll(row.text, row.what, row.with, row.mode), row.result);
        EXPECT_EQ(text::countOccurrences(row.text, row.what, row.mode), row.count);
        EXPECT_EQ(text::contains(row.text, row.what, row.mode), row.count > 0);
    }
}

TEST(Text, CodePointsOfAnyBytesSurvive) {
    const std::vector<std::string> texts = {
        "plain",        "é€\U0001F600",        "\x80",         "\xC3",
        "\xE2\x82",     "\xF0\x9F\x98",        "\xC0\x80",     "\xE0\x80\x80",
        "\xED\xA0\x80", "\xF4\x90\x80\x80",    "\xF8\x88\x80", "\xE2\x28\xA1",
        "\xFF\xFE",     std::string("a\0b", 3)};
    for (const std::string& text : texts) {
        std::string copy;
        for (std::size_t at = 0; at < text.size();)
            text::appendUtf8(copy, text::nextCodePoint(text, at));
        EXPECT_EQ(copy, text) << testing::PrintToString(text);
    }
}

TEST(Text, KnowsInvalidUtf8) {
    for (const char* good : {"", "a", "é", "€", "\U0010FFFF", "\uFFFD"})
        EXPECT_TRUE(text::isValidUtf8(good)) << good;
    for (const char* bad : {"\x80", "a\xC3", "\xC1\xBF", "\xE0\x9F\xBF", "\xED\xBF\xBF",
                            "\xF0\x8F\xBF\xBF", "\xF4\x90\x80\x80", "\xF5\x80\x80\x80"})
        EXPECT_FALSE(text::isValidUtf8(bad)) << testing::PrintToString(std::string(bad));
}

TEST(Text, AppendsNoHalfCharacters) {
    std::string out;
    for (const char32_t c : {0xD800U, 0xDFFFU, 0x110000U}) text::appendUtf8(out, c);
    EXPECT_EQ(out, "\uFFFD\uFFFD\uFFFD");
}

TEST(Text, CountsUtf16Units) {
    EXPECT_EQ(text::lengthUtf16("aé€\U0001F600"), 5U);
    EXPECT_EQ(text::lengthUtf16("\xFF"), 1U);
}

TEST(Text, ComparesFolded) {
    EXPECT_TRUE(text::equals("GLOBAL Msg", "global mSG", kFolded));
    EXPECT_FALSE(text::equals("GLOBAL Msg", "global mSG", kExact));
    EXPECT_FALSE(text::equals("ab", "abc", kFolded));
    EXPECT_FALSE(text::equals("abc", "ab", kFolded));
    EXPECT_TRUE(text::equals("\u212A", "k", kFolded));
    EXPECT_EQ(text::fold("Ab\u212AÄ\xFF"), "abkä\xFF");
}

TEST(Text, TrimsBlanksOnly) {
    EXPECT_EQ(text::trimBlanks("  a b "), "a b");
    EXPECT_EQ(text::trimBlanks("\ta "), "\ta");
    EXPECT_EQ(text::trimBlanks("   "), "");
    EXPECT_EQ(text::trimBlanks(""), "");
}

TEST(Text, ChangesAsciiLettersOnly) {
    EXPECT_EQ(text::upperAscii("a[z]{é"), "A[Z]{é");
    EXPECT_EQ(text::lowerAscii("A@Z`É"), "a@z`É");
}

}  // namespace
}  // namespace brindle
