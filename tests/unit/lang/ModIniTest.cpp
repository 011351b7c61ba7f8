// SPDX-License-Identifier: MIT
#include "lang/modINI.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "base/CodePages.h"
#include "ScopedEnvironment.h"
#include "TempDir.h"

namespace brindle {
namespace {

std::string textIn(const std::string& file) {
    return languageText(file, "global msg", "1019");
}

std::string utf16(const std::string& text, const char* page, const std::string& mark) {
    return mark + CodePage(page).encode(text).value();
}

TEST(LanguageText, IsDecodedByMarkThenByKeyThenByTheAnsiCodePage) {
    const std::string ascii = "[global msg]\n1019=";
    const std::string big5 = "[language]\ncodepage=Big5\n";
    EXPECT_EQ(textIn(ascii + "ä\n"), "ä");
    EXPECT_EQ(textIn(big5 + ascii + "\xC3\xF6\xB3\xAC\n"), "關閉");
    EXPECT_EQ(textIn("\xEF\xBB\xBF" + ascii + "ä\n"), "ä");
    EXPECT_EQ(textIn("\xEF\xBB\xBF" + big5 + ascii + "ä\n"), "ä");
    EXPECT_EQ(textIn(utf16(ascii + "ä\r\n", "UTF-16LE", "\xFF\xFE")), "ä");
    EXPECT_EQ(textIn(utf16(ascii + "ä\r\n", "UTF-16BE", "\xFE\xFF")), "ä");
    EXPECT_EQ(textIn("[language]\ncodepage=1252\n" + ascii + "\xE4\n"), "ä");
    EXPECT_EQ(textIn("[Language]\nCodePage= no such page\n" + ascii + "ä\n"), "ä");
    setAnsiCodePage("windows-1251");
    EXPECT_EQ(textIn(ascii + "\xCF\n"), "П");
    EXPECT_EQ(textIn("[language]\ncodepage=no such page\n" + ascii + "\xCF\n"), "П");
    setAnsiCodePage("");
}

TEST(LanguageText, EndsAfter4095Characters) {
    const std::string head = "[global msg]\n1019=";
    EXPECT_EQ(textIn(head + std::string(4095, 'x')), std::string(4095, 'x'));
    EXPECT_EQ(textIn(head + std::string(4096, 'x')), std::string(4095, 'x'));
    std::string umlauts;
    for (int i = 0; i < 4095; ++i) umlauts += "ü";
    EXPECT_EQ(textIn(head + umlauts), umlauts);
    EXPECT_EQ(textIn(head + umlauts + "üx"), umlauts);
}

class GetLngStringTest : public testing::Test {
protected:
    GetLngStringTest() { gLanguageFile = "Test.lng"; }
    ~GetLngStringTest() override { gLanguageFile = "English.lng"; }

    test::TempDir mDir;
    test::ScopedEnvironment mHome{"BRINDLE_HOME", mDir.path()};
};

TEST_F(GetLngStringTest, ReadsTheFileInUseAnewEachTime) {
    mDir.write("Languages/Test.lng", "[Global Msg]\r\n 1019 =  %d of %i  \r\n");
    EXPECT_EQ(GetLngString("global msg", "1019"), "%d of %i");
    EXPECT_EQ(GetLngString("global msg", "1020"), "");
    EXPECT_EQ(GetLngString("frmMain", "1019"), "");
    mDir.write("Languages/Test.lng", "[Global Msg]\r\n1019=new\r\n");
    EXPECT_EQ(GetLngString("GLOBAL MSG", "1019"), "new");
    mDir.write("Languages/Other.lng", "[global msg]\n1019=other\n");
    gLanguageFile = "Other.lng";
    EXPECT_EQ(GetLngString("global msg", "1019"), "other");
}

TEST_F(GetLngStringTest, WhatIsMissingIsEmptyAndNoFailure) {
    EXPECT_EQ(GetLngString("global msg", "1019"), "");
    mDir.write("Languages/Else.lng", "");
    EXPECT_EQ(GetLngString("global msg", "1019"), "");
    gLanguageFile = "";
    EXPECT_EQ(GetLngString("global msg", "1019"), "");
    EXPECT_FALSE(mDir.has("Errors.Log"));
}

TEST_F(GetLngStringTest, AFileThatCannotBeReadIsLogged) {
    std::filesystem::create_directories(mDir.path("Languages/Test.lng"));
    EXPECT_EQ(GetLngString("global msg", "1019"), "");
    const std::string log = mDir.read("Errors.Log");
    EXPECT_NE(log.find(" in procedure GetLngString at Line No. "), std::string::npos) << log;
    EXPECT_NE(log.find(" of Module modINI at time- "), std::string::npos) << log;
}

}  // namespace
}  // namespace brindle
