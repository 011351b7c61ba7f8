// SPDX-License-Identifier: MIT
#include "lang/LanguageCheck.h"

#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "base/CodePages.h"
#include "base/Text.h"

namespace brindle {
namespace {

const std::string kReference =
    "; a comment\n"
    "[language]\n"
    "codepage=UTF-8\n"
    "locale=en\n"
    "[frmMain]\n"
    "frmMain.caption=Tarvello\n"
    "mnuFile.caption=&File\n"
    "mnuOpen.caption=&Open\n"
    "menuSave.caption=&Save\n"
    "mnuSep1.caption=-\n"
    "cmdAdd.caption=&Add\n"
    "cmdAdd.ToolTipText=Adds\\r\\nan entry\n"
    "cmdBrowse1.caption=...\n"
    "optLoad(0).ToolTipText=Load\n"
    "txtLoadsearch.caption=\n"
    "[frmProcessingDocuments]\n"
    "SSTab1.TabCaption(0)=&1 Progress\n"
    "lblDocChanged.caption=%d of %i: %s\n"
    "[Global Msg]\n"
    "1019=Close\n"
    "1020=Stop\n";

// The findings as "LINE KEY TEXT", with "w" before the line of a warning.
std::vector<std::string> findings(const std::string& file) {
    std::vector<std::string> lines;
    for (const LanguageFinding& finding : checkLanguage(file, kReference))
        lines.push_back(fmt::format(
            "{}{} {} {}", finding.severity == LanguageSeverity::Warning ? "w" : "", finding.line,
            finding.key.empty() ? finding.section : finding.key, finding.text));
    return lines;
}

std::string changed(const std::string& from, const std::string& to) {
    EXPECT_EQ(text::countOccurrences(kReference, from, CaseMode::Exact), 1U) << from;
    return text::replaceAll(kReference, from, to, CaseMode::Exact);
}

TEST(LanguageCheck, EachFaultIsFoundInItsLine) {
    const std::string longText(4096, 'x');
    const struct {
        std::string from;
        std::string to;
        std::string finding;
        // clang-format off
    } rows[] = {
        {"=UTF-8", "=Klingon", R"(3 codepage there is no code page "Klingon")"},
        {"codepage=UTF-8\n", "", "2 codepage the encoding of the file is not named"},
        {"=Tarvello", "=T\xE4", "6 frmMain.caption has bytes that are not UTF-8"},
        {"=Tarvello", "=T\uFFFD", "6 frmMain.caption has bytes that are not UTF-8"},
        {"=Tarvello", "=T\tl", "6 frmMain.caption has a control character"},
        {"=Tarvello", "=T\u0085l", "6 frmMain.caption has a control character"},
        {"=Tarvello", "=" + longText, "6 frmMain.caption is longer than 4095 characters"},
        {"=Tarvello", "=", "6 frmMain.caption is empty"},
        {"frmMain.caption=Tarvello\n", "", "5 frmMain.caption is missing"},
        {"frmMain.caption", "frmMain.capton", "w6 frmMain.capton nothing reads this key"},
        {"frmMain.caption", "frmMain.capton", "5 frmMain.caption is missing"},
        {"[Global Msg]\n1019=Close\n1020=Stop\n", "", "18 Global Msg the section is missing"},
        {"[Global Msg]", "[Msg]\n[global msg]", "w19 Msg nothing reads this section"},
        {"1020=Stop\n", "1020=Stop\nand more\n", "22 Global Msg neither a section, a key nor a comment"},
        {"; a comment\n", "1019=x\n", "1 1019 stands before the first section"},
        {"1020=Stop\n", "1020=Stop\n1019=x\n", "22 1019 stands twice; line 20 is the one that is read"},
        {"1020=Stop\n", "[GLOBAL MSG]\n1020=Stop\n1019=x\n", "23 1019 stands twice; line 20 is the one that is read"},
        {"=Stop", "=Close", "21 1020 must differ from 1019"},
        {"=-", "=x", R"(10 mnuSep1.caption must be "-", a line in a menu)"},
        {"%d of %i: %s", "%d von %i", "18 lblDocChanged.caption has %s 0 times, not 1"},
        {"%d of %i: %s", "%d %d %i %s", "18 lblDocChanged.caption has %d 2 times, not 1"},
        {"%d of %i: %s", "%d%i%s%t", "18 lblDocChanged.caption has %t 1 times, not 0"},
        {"Adds\\r\\nan", "Adds\\nan", R"(12 cmdAdd.ToolTipText has a part of a line break; one is written "\r\n")"},
        {"=Load", "=a\\r\\nb", R"(14 optLoad(0).ToolTipText shows "\r" and "\n" as they are, not as a line break)"},
        {"=Stop", "=a\\nb", R"(21 1020 shows "\r" and "\n" as they are, not as a line break)"},
        {"=&Add", "=Add", "11 cmdAdd.caption has no access key (\"&\" before a letter)"},
        {"=&Add", "=Add && Go", "11 cmdAdd.caption has no access key (\"&\" before a letter)"},
        {"=&Add", "=&Add &more", "11 cmdAdd.caption has several access keys"},
        {"=&Add", "=&Add & more", "11 cmdAdd.caption has an \"&\" before no letter; the sign itself is \"&&\""},
        {"=&Add", "=&Fett", "11 cmdAdd.caption the access key F belongs to mnuFile.caption already"},
        {"=&Save", "=S&onst", "9 menuSave.caption the access key O belongs to mnuOpen.caption already"},
        {"=&Add", "=&файл\nmnuHelp.caption=a&Файл", "12 mnuHelp.caption the access key Ф belongs to cmdAdd.caption already"},
        {"=&1 Progress", "=&4", "17 SSTab1.TabCaption(0) the access key 4 belongs to the fourth tab already"},
        {"=...", "=&...", "w13 cmdBrowse1.caption has an access key that is not expected"},
        {"=&Add", "=&" + std::string(40, 'A'), "w11 cmdAdd.caption is very long for its place (41 characters)"},
    };
    // clang-format on
    for (const auto& row : rows)
        EXPECT_THAT(findings(changed(row.from, row.to)), testing::Contains(row.finding))
            << row.from << " -> " << row.to;
}

TEST(LanguageCheck, WhatIsRightIsNoFinding) {
    const std::string crlf = text::replaceAll(kReference, "\n", "\r\n", CaseMode::Exact);
    const std::string longest(4095, 'x');
    const struct {
        const char* name;
        std::string file;
        // clang-format off
    } rows[] = {
        {"itself", kReference},
        {"crlf", crlf},
        {"marked", "\xEF\xBB\xBF" + kReference},
        {"otherCase", changed("[Global Msg]\n1019=Close", "[GLOBAL MSG]\n1019=Close")},
        {"sameKeyInTwoMenus", changed("=&Open", "=&File")},
        {"keyBehind", changed("=&Open", "=开(&O)")},
        {"bothAmpersands", changed("=&Add", "=&Add && Go")},
        {"ampersandInAMessage", changed("=Stop", "=Stop & go &x")},
        {"ampersandInATitle", changed("=Tarvello", "=T & x")},
        {"otherOrder", changed("%d of %i: %s", "%s %i %d")},
        {"longest", changed("=Tarvello", "=" + longest)},
        {"emptyAsInTheReference", changed("txtLoadsearch.caption=\n", "")},
        {"blankLines", changed("[frmMain]\n", "\n\n[frmMain]\n\n")},
    };
    // clang-format on
    for (const auto& row : rows) EXPECT_THAT(findings(row.file), testing::IsEmpty()) << row.name;
}

TEST(LanguageCheck, ReadsTheFileInItsOwnCodePage) {
    const auto encoded = [](const std::string& text, const char* page) {
        return CodePage(page).encode(text).value();
    };
    // The second byte of some of these is a backslash or a bracket in ASCII.
    const std::string big5 = changed("=UTF-8", "=Big5");
    const std::string chinese =
        text::replaceAll(big5, "=Stop", "=\u529f\u8a31\u84cb", CaseMode::Exact);
    EXPECT_THAT(findings(encoded(chinese, "Big5")), testing::IsEmpty());
    EXPECT_THAT(findings(chinese), testing::Contains("21 1020 has bytes that are not Big5"));
    EXPECT_THAT(findings("\xEF\xBB\xBF" + big5),
                testing::ElementsAre("w3 codepage the byte-order mark of the file says UTF-8"));
    EXPECT_THAT(findings("\xFF\xFE" + encoded(changed("=UTF-8", "=UTF-16LE"), "UTF-16LE")),
                testing::IsEmpty());
    EXPECT_THAT(findings(changed("=Tarvello", "=Tür")), testing::IsEmpty());
    EXPECT_THAT(findings(text::replaceAll(changed("=UTF-8", "=1252"), "Tarvello", "T\x8Fr",
                                          CaseMode::Exact)),
                testing::ElementsAre("6 frmMain.caption has a control character"));
}

}  // namespace
}  // namespace brindle
