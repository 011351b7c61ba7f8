// SPDX-License-Identifier: MIT
#include "lang/IniFile.h"

#include <gtest/gtest.h>

namespace brindle {
namespace {

struct Row {
    const char* name;
    const char* text;
    const char* expected;  // value of [Section] Key; null when there is none
};

class Value : public testing::TestWithParam<Row> {};

TEST_P(Value, IsReadByTheRulesOfPrivateProfiles) {
    const auto value = IniFile(GetParam().text).value("Section", "Key");
    if (GetParam().expected == nullptr) {
        EXPECT_FALSE(value) << *value;
    } else {
        EXPECT_EQ(value, GetParam().expected);
    }
}

INSTANTIATE_TEST_SUITE_P(
    Table, Value,
    testing::Values(Row{"plain", "[Section]\nKey=value\n", "value"},
                    Row{"otherCase", "[sECTION]\nkEY=Value\n", "Value"},
                    Row{"blanksAround", "  [ Section ]  \n \t Key \t =  a b \t\n", "a b"},
                    Row{"crlf", "[Section]\r\nKey=value\r\nOther=x\r\n", "value"},
                    Row{"noLineEnd", "[Section]\nKey=value", "value"},
                    Row{"firstKeyWins", "[Section]\nKey=1\nKey=2\n", "1"},
                    Row{"firstSectionWins", "[Section]\nKey=1\n[Section]\nKey=2\n", "1"},
                    Row{"sectionInTwoPieces", "[Section]\nOther=1\n[X]\nKey=0\n[section]\nKey=2\n",
                        "2"},
                    Row{"otherSection", "[Else]\nKey=1\n", nullptr},
                    Row{"beforeAnySection", "Key=1\n[Section]\n", nullptr},
                    Row{"sectionEnds", "[Section]\n[Else]\nKey=1\n", nullptr},
                    Row{"longerKey", "[Section]\nKeys=1\nKe=2\n", nullptr},
                    Row{"comment", "[Section]\n;Key=1\n ; Key=2\nKey=3\n", "3"},
                    Row{"signInValue", "[Section]\nKey=a=b;c\n", "a=b;c"},
                    Row{"empty", "[Section]\nKey=\n", ""},
                    Row{"noSign", "[Section]\nKey\nKey=1\n", "1"},
                    Row{"doubleQuotes", "[Section]\nKey= \" a \" \n", " a "},
                    Row{"singleQuotes", "[Section]\nKey='a'\n", "a"},
                    Row{"oneQuote", "[Section]\nKey=\"\n", R"(")"},
                    Row{"unequalQuotes", "[Section]\nKey=\"a'\n", R"("a')"},
                    Row{"onePairOnly", "[Section]\nKey=\"\"a\"\"\n", R"("a")"},
                    Row{"unfinishedSection", "[Section\nKey=1\n", "1"},
                    Row{"bracketValue", "[Section]\nKey=[x]\n", "[x]"}),
    [](const auto& row) { return row.param.name; });

TEST(IniFile, FindsKeysOutsideAscii) {
    EXPECT_EQ(IniFile("[Größe]\nÄ=1\n").value("GRÖßE", "ä"), "1");
}

}  // namespace
}  // namespace brindle
