// SPDX-License-Identifier: MIT
#include "lang/IniFile.h"

#include <gtest/gtest.h>

#include <iterator>

namespace brindle {
namespace {

TEST(IniFile, IsReadByTheRulesOfPrivateProfiles) {
    const struct {
        const char* name;
        const char* text;
        const char* expected;  // value of [Section] Key; null when there is none
        // clang-format off
    } rows[] = {
        {"plain", "[Section]\nKey=value\n", "value"},
        {"otherCase", "[sECTION]\nkEY=Value\n", "Value"},
        {"blanksAround", "  [ Section ]  \n \t Key \t =  a b \t\n", "a b"},
        {"crlf", "[Section]\r\nKey=value\r\nOther=x\r\n", "value"},
        {"noLineEnd", "[Section]\nKey=value", "value"},
        {"firstKeyWins", "[Section]\nKey=1\nKey=2\n", "1"},
        {"firstSectionWins", "[Section]\nKey=1\n[Section]\nKey=2\n", "1"},
        {"sectionInTwoPieces", "[Section]\nOther=1\n[X]\nKey=0\n[section]\nKey=2\n", "2"},
        {"otherSection", "[Else]\nKey=1\n", nullptr},
        {"beforeAnySection", "Key=1\n[Section]\n", nullptr},
        {"sectionEnds", "[Section]\n[Else]\nKey=1\n", nullptr},
        {"longerKey", "[Section]\nKeys=1\nKe=2\n", nullptr},
        {"comment", "[Section]\n;Key=1\n ; Key=2\nKey=3\n", "3"},
        {"signInValue", "[Section]\nKey=a=b;c\n", "a=b;c"},
        {"empty", "[Section]\nKey=\n", ""},
        {"noSign", "[Section]\nKey\nKey=1\n", "1"},
        {"doubleQuotes", "[Section]\nKey= \" a \" \n", " a "},
        {"singleQuotes", "[Section]\nKey='a'\n", "a"},
        {"oneQuote", "[Section]\nKey=\"\n", R"(")"},
        {"unequalQuotes", "[Section]\nKey=\"a'\n", R"("a')"},
        {"onePairOnly", "[Section]\nKey=\"\"a\"\"\n", R"("a")"},
        {"unfinishedSection", "[Section\nKey=1\n", "1"},
        {"bracketValue", "[Section]\nKey=[x]\n", "[x]"},
    };
    // clang-format on
    for (const auto& row : rows) {
        const auto value = IniFile(row.text).value("Section", "Key");
        EXPECT_EQ(value.value_or("none"), row.expected ? row.expected : "none") << row.name;
    }
}

TEST(IniFile, FindsKeysOutsideAscii) {
    EXPECT_EQ(IniFile("[Größe]\nÄ=1\n").value("GRÖßE", "ä"), "1");
}

TEST(IniFile, ListsItsLines) {
    const auto lines = IniFile("a=0\r\n; c=1\r\n\r\n[ S ]\n b = '2' \rrest\n[s]\nb=3").lines();
    const struct {
        IniLine::Kind kind;
        int number;
        const char* section;
        const char* key;
        const char* text;
    } expected[] = {
        {IniLine::Kind::Value, 1, "", "a", "0"},     {IniLine::Kind::Section, 4, "S", "", "[ S ]"},
        {IniLine::Kind::Value, 5, "S", "b", "2"},    {IniLine::Kind::Other, 6, "S", "", "rest"},
        {IniLine::Kind::Section, 7, "s", "", "[s]"}, {IniLine::Kind::Value, 8, "s", "b", "3"},
    };
    ASSERT_EQ(lines.size(), std::size(expected));
    for (std::size_t i = 0; i < lines.size(); ++i) {
        EXPECT_EQ(lines[i].kind, expected[i].kind) << i;
        EXPECT_EQ(lines[i].number, expected[i].number) << i;
        EXPECT_EQ(lines[i].section, expected[i].section) << i;
        EXPECT_EQ(lines[i].key, expected[i].key) << i;
        EXPECT_EQ(lines[i].text, expected[i].text) << i;
    }
}

}  // namespace
}  // namespace brindle
