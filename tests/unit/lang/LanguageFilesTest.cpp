// SPDX-License-Identifier: MIT
// Every language file that is shipped must give the windows all their texts.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "base/Text.h"
#include "lang/IniFile.h"
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

class ShippedLanguage : public testing::TestWithParam<std::string> {
protected:
    std::string text(const std::string& section, const std::string& key) const {
        return languageText(mBytes, section, key);
    }
    void expectUniqueKeys(const std::string& section, const std::vector<std::string>& keys) const {
        std::set<char32_t> used;
        for (const std::string& key : keys) {
            const std::string caption = text::fold(text(section, key));
            std::size_t at = caption.find('&');
            if (at == std::string::npos) continue;
            ASSERT_LT(++at, caption.size()) << key;
            EXPECT_TRUE(used.insert(text::nextCodePoint(caption, at)).second)
                << key << ": " << caption;
        }
    }
    std::vector<std::string> captions(const std::string& names) const {
        std::vector<std::string> keys = words(names);
        for (std::string& key : keys) key += ".caption";
        return keys;
    }

    std::string mBytes = [] {
        std::ifstream file(shippedFolder() / GetParam(), std::ios::binary);
        return std::string(std::istreambuf_iterator<char>(file), {});
    }();
};

TEST_P(ShippedLanguage, HasEveryTextWithoutLoss) {
    for (const auto& [section, key] : wantedKeys()) {
        const std::string value = text(section, key);
        EXPECT_NE(value, "") << section << " " << key;
        EXPECT_TRUE(text::isValidUtf8(value)) << key;
        EXPECT_EQ(value.find("\uFFFD"), std::string::npos) << key;
    }
}

TEST_P(ShippedLanguage, HasThePlaceholdersThatAreFilledIn) {
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
            EXPECT_EQ(text::contains(text(row.section, row.key), placeholder, CaseMode::Exact),
                      text::contains(row.placeholders, placeholder, CaseMode::Exact))
                << row.key << placeholder;
}

TEST_P(ShippedLanguage, HasTheTextsThatMeanMore) {
    // The stop button tells its two states apart by these.
    EXPECT_NE(text("global msg", "1019"), text("global msg", "1020"));
    for (const char* separator : {"mnuSep1.caption", "mnuSep2.caption", "mnuSep3.caption"})
        EXPECT_EQ(text("frmMain", separator), "-");
}

TEST_P(ShippedLanguage, AccessKeysAreUniqueInEachWindowAndMenu) {
    expectUniqueKeys("frmMain", captions(std::string("mnuFile menuOption mnuHelp ") + kCaptioned));
    expectUniqueKeys("frmMain", captions("mnuOpen menuSave menuSaveAs mnuRecent mnuExit"));
    expectUniqueKeys("frmMain",
                     captions("mnuChangeLanguage mnuStartProcessing mnuImportList mnuExportList"));
    expectUniqueKeys("frmMain", captions("mnuHelp1 mnuHomePage mnuAbout"));
    expectUniqueKeys("frmChangeLanguage", captions("lblLanguage cmdOK cmdCancel"));
    expectUniqueKeys("frmProcessingDocuments", {"SSTab1.TabCaption(0)", "SSTab1.TabCaption(1)",
                                                "SSTab1.TabCaption(2)", "cmdCopyLog.caption"});
}

// A text written twice is never seen: the first one wins.
TEST_P(ShippedLanguage, NoKeyStandsTwice) {
    std::istringstream lines(mBytes);
    std::set<std::string> seen;
    std::string section;
    for (std::string line; std::getline(lines, line);) {
        line = text::lowerAscii(line);
        if (line.starts_with("[")) section = line;
        const std::size_t sign = line.find('=');
        if (line.starts_with(";") || sign == std::string::npos) continue;
        EXPECT_TRUE(seen.insert(section + line.substr(0, sign)).second) << section << line;
    }
    EXPECT_GE(seen.size(), wantedKeys().size());
}

// Names of tests are letters and digits.
std::string testName(const testing::TestParamInfo<std::string>& file) {
    std::string name = fs::path(file.param).stem().string();
    std::erase(name, ' ');
    return name;
}

std::vector<std::string> shippedFiles() {
    std::vector<std::string> names;
    for (const auto& entry : fs::directory_iterator(shippedFolder()))
        if (entry.path().extension() == ".lng") names.push_back(entry.path().filename().string());
    return names;
}

INSTANTIATE_TEST_SUITE_P(Files, ShippedLanguage, testing::ValuesIn(shippedFiles()), testName);

TEST(ShippedLanguages, EnglishIsAmongThem) {
    EXPECT_TRUE(fs::exists(shippedFolder() / "English.lng"));
}

}  // namespace
}  // namespace brindle
