// SPDX-License-Identifier: MIT
// The language files that are shipped: English has all texts of the windows, the others have what
// English has.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>
#include <string>
#include <vector>

#include "base/Text.h"
#include "lang/LanguageCheck.h"
#include "lang/modINI.h"

namespace brindle {
namespace {

namespace fs = std::filesystem;

fs::path shippedFolder() {
    return fs::path(__FILE__).parent_path() / "../../../data/Languages";
}

std::vector<std::string> words(const std::string& text) {
    std::istringstream stream(text);
    return {std::istream_iterator<std::string>(stream), {}};
}

const char* const kMenus =
    "mnuFile mnuOpen menuSave menuSaveAs mnuSep1 mnuRecent mnuSep2 mnuExit menuOption "
    "mnuChangeLanguage mnuStartProcessing mnuSep3 mnuImportList mnuExportList mnuHelp "
    "mnuHelp1 mnuHomePage mnuAbout";
const char* const kCaptioned =
    "optLoad(0) optLoad(1) optFileProcess(0) optFileProcess(1) cmdAdd cmdDelete "
    "cmdStartSearching cmdStartReplacing cmdBrowse1 cmdBrowse2 cmdBrowse3 "
    "lblSearchType lblSearchLocation lblStartfolder lblSpreadsheettypes lblPassword "
    "chkMatchCase chkWholeWord chkIncludesubfolders chkBackupMode chkKeepOiginal";
const char* const kWithToolTip =
    "optLoad(0) optLoad(1) optFileProcess(0) optFileProcess(1) cmdAdd cmdDelete "
    "cmdStartSearching cmdStartReplacing cmdBrowse1 cmdBrowse2 cmdBrowse3 chkMatchCase "
    "chkWholeWord chkIncludesubfolders chkBackupMode chkKeepOiginal cboLookIn "
    "cboSpreadsheetType txtLoadsearch txtStartFolder txtGetFileName txtPassword";
const char* const kMessages =
    "1001 1002 1003 1004 1005 1006 1008 1009 1010 1011 1012 1013 1014 1015 1016 1017 "
    "1018 1019 1020 1021 1023 1024 1028 1029";

struct Wanted {
    std::string section, key;
};

std::vector<Wanted> wantedKeys() {
    std::vector<Wanted> wanted = {{"language", "codepage"}, {"frmMain", "frmMain.caption"}};
    const auto add = [&](const char* section, const std::string& names, const std::string& end) {
        for (const std::string& name : words(names)) wanted.push_back({section, name + end});
    };
    add("frmMain", kMenus, ".caption");
    add("frmMain", kCaptioned, ".caption");
    add("frmMain", kWithToolTip, ".ToolTipText");
    add("frmMain", "SSTab1.TabCaption(0) SSTab1.TabCaption(1)", "");
    for (int column = 0; column < 5; ++column)
        add("frmMain", "vsflex.TextMatrix(0," + std::to_string(column) + ")", "");
    add("frmProcessingDocuments",
        "frmProcessingDocuments.caption cmdOK.caption cmdCopyLog.caption "
        "lblDocChanged.caption lblChangesMade.caption SSTab1.TabCaption(0) "
        "SSTab1.TabCaption(1) SSTab1.TabCaption(2) 101 102 103 104 105",
        "");
    add("frmChangeLanguage", "lblLanguage cmdOK cmdCancel", ".caption");
    add("global msg", kMessages, "");
    return wanted;
}

std::string bytesOf(const std::string& name) {
    std::ifstream file(shippedFolder() / name, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

std::vector<std::string> shippedFiles() {
    std::vector<std::string> names;
    for (const auto& entry : fs::directory_iterator(shippedFolder()))
        if (entry.path().extension() == ".lng") names.push_back(entry.path().filename().string());
    return names;
}

std::string english(const std::string& section, const std::string& key) {
    return languageText(bytesOf("English.lng"), section, key);
}

TEST(EnglishTexts, AreAllThere) {
    for (const auto& [section, key] : wantedKeys()) {
        EXPECT_NE(english(section, key), "") << section << " " << key;
        // The mark of a line in a menu.
        EXPECT_EQ(english(section, key) == "-", key.starts_with("mnuSep")) << key;
    }
}

TEST(EnglishTexts, HaveThePlaceholdersThatAreFilledIn) {
    const struct {
        const char* section;
        const char* key;
        const char* placeholders;
    } rows[] = {{"global msg", "1010", "%s"},
                {"global msg", "1013", "%s"},
                {"frmProcessingDocuments", "lblDocChanged.caption", "%d%i%s"},
                {"frmProcessingDocuments", "lblChangesMade.caption", "%d%s%t"},
                {"frmProcessingDocuments", "101", "%d%i"}};
    for (const auto& row : rows)
        for (const std::string placeholder : {"%d", "%i", "%s", "%t"})
            EXPECT_EQ(text::contains(english(row.section, row.key), placeholder, CaseMode::Exact),
                      text::contains(row.placeholders, placeholder, CaseMode::Exact))
                << row.key << placeholder;
}

class ShippedLanguage : public testing::TestWithParam<std::string> {};

// English among them, whose access keys and line breaks nothing else looks at.
TEST_P(ShippedLanguage, IsAsWholeAsEnglish) {
    for (const LanguageFinding& finding :
         checkLanguage(bytesOf(GetParam()), bytesOf("English.lng")))
        ADD_FAILURE() << GetParam() << ":" << finding.line << ": " << finding.section << " "
                      << finding.key << " " << finding.text;
}

INSTANTIATE_TEST_SUITE_P(Files, ShippedLanguage, testing::ValuesIn(shippedFiles()),
                         [](const auto& row) {
                             return text::replaceAll(fs::path(row.param).stem().string(), " ", "",
                                                     CaseMode::Exact);
                         });

}  // namespace
}  // namespace brindle
