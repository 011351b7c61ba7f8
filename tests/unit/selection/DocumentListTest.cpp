// SPDX-License-Identifier: MIT
#include "selection/DocumentList.h"

#include <gtest/gtest.h>

#include <cstdlib>

#include "support/FakeHost.h"
#include "support/TempDir.h"

namespace brindle {
namespace {

using test::FakeHost;
using test::TempDir;
using Paths = std::vector<std::string>;

TEST(GetFileExt, IsWhatFollowsTheLastDotOfTheName) {
    const struct {
        const char* path;
        const char* extension;
        // clang-format off
    } rows[] = {
        {"book.xls", ".xls"}, {"C:\\old.dir\\readme", ""}, {"/old.dir/readme", ""},
        {"C:\\old.dir\\a.b.XLS", ".XLS"}, {"/home/x/a.b.xlsx", ".xlsx"},
        {"mixed\\a.one/b.two", ".two"}, {"name.", "."}, {".hidden", ".hidden"}, {"folder.xls/", ""},
        {"", ""}, {"\xE9t\xE9.dbf", ".dbf"},
        // not UTF-8
    };
    // clang-format on
    for (const auto& row : rows) EXPECT_EQ(GetFileExt(row.path), row.extension) << row.path;
}

TEST(CheckFileExt, MatchesTheItemsOfTheList) {
    const struct {
        const char* name;
        const char* list;
        bool matches;
        // clang-format off
    } rows[] = {
        {"book.XLS", "*.xls;*.xl;*.xlt;", true}, {"book.xlsx", "*.xls;*.xl;*.xlt;", false},
        {"book.xl", "*.xls;*.xl;*.xlt;", true}, {"data.wk3", "*.wk?;", true},
        {"data.WKS", "*.wk?;", true}, {"data.wk", "*.wk?;", false}, {"data.wk34", "*.wk?;", false},
        {"data.wk\xC3\xA9", "*.wk?;", true},
        // one character, two bytes
        {"data.wk\xE9", "*.wk?;", true},
        // one byte that is no UTF-8
        {"data.\xC3\x89T\xC3\x89", "*.\xC3\xA9t\xC3\xA9;", true}, {"book.xls", "*.xls", false},
        // a list of one item matches nothing
        {"book.xls", "*.xls;", true}, {"book.xls", ";;*.xls", true},
        {"book.xls", ".csv;.xls", true}, {"book.xls", "*.x*ls;", true}, {"book.xls", "xls;", false},
        {"book.xls", "", false}, {"book.xls", ";", false}, {"book.xls", "*;", false},
        {"book", "*;", true}, {"book", ";", false}, {"book.xls", "*.*;", false},
        {"book.", "*.*;", true}, {"book.xls", "*.xls ;", false},
        {"a.xls/book.csv", "*.xls;*.xl;", false},
    };
    // clang-format on
    for (const auto& row : rows) {
        EXPECT_EQ(CheckFileExt(row.name, row.list), row.matches) << row.name << " in " << row.list;
    }
}

class GetFilePathsTest : public ::testing::Test {
protected:
    GetFilePathsTest() { ::setenv("BRINDLE_HOME", mDir.path().c_str(), 1); }

    TempDir mDir;
    FakeHost mHost;
};

TEST_F(GetFilePathsTest, RetainsTheLinesOfListedTypes) {
    const struct {
        std::string content;
        Paths paths;
        // clang-format off
    } rows[] = {
        {"", {}}, {"a.xls", {"a.xls"}}, {"a.xls\r\n", {"a.xls"}},
        {"b.csv\r\n\r\na.XLT\r\nb.csv\r\nc.doc\r\n", {"b.csv", "a.XLT", "b.csv"}},
        {"a.xls\nb.xls\r\nc.xls", {"a.xls\nb.xls", "c.xls"}}, {"a.xls\nb.doc\r\n", {}},
        {"a.xls\rb.dif", {"a.xls\rb.dif"}}, {"a.xls \r\n b.xls\r\n", {" b.xls"}},
        {"C:\\x\\a.wk1\r\n/home/y/b.wk9\r\n", {"C:\\x\\a.wk1", "/home/y/b.wk9"}},
        {"a.xlsx\r\nb.xlsm\r\nc.ods", {}}, {"\xEF\xBB\xBF" "a.tab\r\nb.prn", {"a.tab", "b.prn"}},
        {"\xE9.dbf\r\nc.xl" + std::string(1, '\0'), {"\xE9.dbf"}},
    };
    // clang-format on
    for (const auto& row : rows) {
        EXPECT_EQ(GetFilePaths(mDir.write("list.txt", row.content), mHost), row.paths)
            << row.content;
    }
    EXPECT_TRUE(mHost.messages.empty());
    EXPECT_FALSE(mDir.has("Errors.Log"));
}

TEST_F(GetFilePathsTest, ShowsAndThenLogsWhyAListCannotBeRead) {
    std::string logWhenShown = "not shown";
    mHost.onMessage = [&] { logWhenShown = mDir.read("Errors.Log"); };
    EXPECT_TRUE(GetFilePaths(mDir.path("missing.txt"), mHost).empty());
    ASSERT_EQ(mHost.messages.size(), 1U);
    EXPECT_EQ(mHost.messages[0].text, "File not found");
    EXPECT_EQ(mHost.messages[0].buttons, MessageButtons::Ok);
    EXPECT_EQ(logWhenShown, "");
    const std::string log = mDir.read("Errors.Log");
    EXPECT_EQ(log.rfind("Error 53 (File not found) in procedure GetFilePaths at Line No. ", 0), 0U);
    EXPECT_NE(log.find(" of Module modBrindle at time- "), std::string::npos) << log;
    EXPECT_TRUE(GetFilePaths(mDir.path(), mHost).empty());
    EXPECT_EQ(mHost.messages.size(), 2U);
}

}  // namespace
}  // namespace brindle
