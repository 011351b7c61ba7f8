// SPDX-License-Identifier: MIT
#include "ui/main/EntryListFile.h"

#include <gtest/gtest.h>

#include "support/TempDir.h"
#include "support/Thrown.h"

namespace brindle {
namespace {

using test::TempDir;

const std::string kHeader =
    "Find What,Replace With,Look In,MatchCase,Match entire cell contents\r\n";

// "key|find|with|scope|case|entire" for each entry.
std::vector<std::string> contentOf(const Entries& list) {
    std::vector<std::string> rows;
    for (const Entry* entry : list.NewEnum()) {
        rows.push_back(entry->Key + "|" + entry->FindWhat + "|" + entry->ReplaceWith + "|" +
                       std::to_string(entry->Look_In) + "|" + (entry->MatchCase ? "c" : "-") + "|" +
                       (entry->MatchEntireCellContents ? "e" : "-"));
    }
    return rows;
}

TEST(EntryListFile, ReadsRowsByTheirRules) {
    const struct {
        const char* row;
        std::vector<std::string> entries;
    } rows[] = {
        {"red,blue,0,True,False", {"Item-2|red|blue|0|c|-"}},
        {"red,,6,false,TRUE", {"Item-2|red||6|-|e"}},
        {"red,blue,7,True,yes", {"Item-2|red|blue|0|c|-"}},
        {"red,blue,-1,1,-1", {"Item-2|red|blue|0|-|-"}},
        {"red,blue,Cells,,", {"Item-2|red|blue|0|-|-"}},
        {"red,blue,2.5,,", {"Item-2|red|blue|2|-|-"}},
        {"red,blue,6.2,,", {"Item-2|red|blue|0|-|-"}},
        {"007,true,1,,", {"Item-2|7|True|1|-|-"}},
        {"-b,+a,0,,\r\n=x,@y,0,,", {"Item-2|-b|+a|0|-|-", "Item-3|=x|@y|0|-|-"}},
        {R"(" a,""b""",x,3,,)", {R"(Item-2| a,"b"|x|3|-|-)"}},
        {"  ,x,1,True,True", {}},
        {",x,1,True,True\r\nred,blue,1,,", {"Item-3|red|blue|1|-|-"}},
    };
    TempDir dir;
    for (const auto& row : rows) {
        SCOPED_TRACE(row.row);
        Entries list;
        const std::string path = dir.write("list.csv", kHeader + row.row + "\r\n");
        EXPECT_EQ(readEntryList(path, {}, list), EntryListOutcome::Read);
        EXPECT_EQ(contentOf(list), row.entries);
    }
}

TEST(EntryListFile, SaysWhatIsWrong) {
    const std::string row = "red,blue,0,True,False\r\n";
    const std::string tabbed =
        "FIND what\tReplace With\tLook In\tMatchCase\tMatch entire cell contents\n";
    const struct {
        const char* file;
        std::string content;
        EntryListOutcome outcome;
        bool opens;
    } rows[] = {
        {"list.csv", kHeader + row, EntryListOutcome::Read, true},
        {"list.tab", tabbed + "a\tb", EntryListOutcome::Read, true},
        {"list.csv", kHeader + "a,b,0,True,False,x", EntryListOutcome::WrongColumns, true},
        {"list.csv", "", EntryListOutcome::WrongColumns, true},
        {"list.tab", kHeader + row, EntryListOutcome::WrongColumns, true},
        {"list.csv", row + row, EntryListOutcome::WrongHeader, true},
        {"list.csv", "," + kHeader + "," + row, EntryListOutcome::WrongHeader, true},
        {"LIST.CSV", kHeader + row, EntryListOutcome::WrongType, false},
        {"list.txt", tabbed, EntryListOutcome::WrongType, false},
        {"list", kHeader, EntryListOutcome::WrongType, false},
    };
    TempDir dir;
    for (const auto& wanted : rows) {
        SCOPED_TRACE(std::string(wanted.file) + ": " + wanted.content);
        bool opened = false;
        EntryListReceiver receiver;
        receiver.opened = [&] { opened = true; };
        receiver.entry = [](Entry&, std::int32_t) {};
        const std::string path = dir.write(wanted.file, wanted.content);
        EXPECT_EQ(readEntryList(path, {}, receiver), wanted.outcome);
        EXPECT_EQ(opened, wanted.opens);
    }
    EntryListOptions any;
    any.anyType = true;
    Entries list;
    EXPECT_EQ(readEntryList(dir.write("LIST.CSV", kHeader + row), any, list),
              EntryListOutcome::Read);
}

TEST(EntryListFile, RefusesMoreRowsThanItCanCount) {
    TempDir dir;
    std::string content = kHeader;
    for (int row = 2; row <= 32767; ++row) content += "a,b,0,,\n";
    Entries list;
    EXPECT_EQ(readEntryList(dir.write("list.csv", content), {}, list), EntryListOutcome::Read);
    EXPECT_EQ(list.Count(), 32766);
    Entries more;
    const std::string path = dir.write("list.csv", content + "a,b,0,,\n");
    EXPECT_EQ(test::numberOf([&] { readEntryList(path, {}, more); }), error_number::kOverflow);
    EXPECT_EQ(more.Count(), 0);
    EXPECT_EQ(test::numberOf([&] { readEntryList(dir.path("none.csv"), {}, more); }),
              error_number::kFileNotFound);
}

EntryListOptions inCodePage(const std::string& name) {
    EntryListOptions options;
    options.open.ansiCodePage = name;
    return options;
}

TEST(EntryListFile, WritesWhatItReads) {
    TempDir dir;
    Entries list;
    list.Add("red", "blue", 0, true, false, "k1");
    list.Add("\u00E4 \"x\"", "", 6, false, true, "k2");
    const std::vector<std::string> same = {"Item-2|red|blue|0|c|-", "Item-3|\u00E4 \"x\"||6|-|e"};
    ASSERT_TRUE(writeEntryList(dir.path("list.CSV"), list, inCodePage("windows-1252")));
    EXPECT_EQ(dir.read("list.CSV"),
              kHeader + "red,blue,0,True,False\r\n\xE4 \"x\",,6,False,True\r\n");
    EntryListOptions options = inCodePage("UTF-8");
    options.anyType = true;
    for (const char* name : {"list.tab", "list.xlsx", "list.xls"}) {
        SCOPED_TRACE(name);
        ASSERT_TRUE(writeEntryList(dir.write(name, "old"), list, options));
        Entries read;
        EXPECT_EQ(readEntryList(dir.path(name), options, read), EntryListOutcome::Read);
        EXPECT_EQ(contentOf(read), same);
    }
    EXPECT_EQ(dir.read("list.tab").substr(0, 23), "Find What\tReplace With\t");
}

TEST(EntryListFile, EntersTextsOfWorkbooksAsTyped) {
    TempDir dir;
    EntryListOptions options;
    options.anyType = true;
    options.open.currentYear = 2026;
    Entries list;
    list.Add("007", "=A1", 2, false, false, "k1");
    list.Add("3/4", "-x", 2, false, false, "k2");
    ASSERT_TRUE(writeEntryList(dir.path("list.xlsx"), list, options));
    Entries read;
    EXPECT_EQ(readEntryList(dir.path("list.xlsx"), options, read), EntryListOutcome::Read);
    EXPECT_EQ(contentOf(read),
              (std::vector<std::string>{"Item-2|7|=A1|2|-|-", "Item-3|3/4/2026|-x|2|-|-"}));
}

TEST(EntryListFile, LeavesTheOldFileWhenItCannotWrite) {
    TempDir dir;
    const struct {
        const char* file;
        std::string find;
        int number;  // 0 for a kind that is not written
    } rows[] = {
        {"list.csv", "\u0416", error_number::kApplicationDefined},
        {"list.xls", std::string(32768, 'x'), error_number::kApplicationDefined},
        {"list.xlsx", "x", 0},
        {"list.txt", "x", 0},
        {"list", "x", 0},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.file);
        Entries list;
        list.Add(row.find, "", 0, false, false, "");
        const std::string path = dir.write(row.file, "old");
        const auto write = [&] {
            EXPECT_FALSE(writeEntryList(path, list, inCodePage("windows-1252")));
        };
        EXPECT_EQ(test::numberOf(write), row.number);
        EXPECT_EQ(dir.read(row.file), "old");
    }
    EXPECT_EQ(entryListKind("a.b/list.Xls"), "XLS");
    EXPECT_EQ(entryListKind("list"), "LIST");
}

TEST(EntryListFile, ValidatesByFindWhat) {
    EXPECT_FALSE(ValidateItem({}));
    EXPECT_FALSE(ValidateItem(std::vector<std::string>{"  ", "x"}));
    EXPECT_TRUE(ValidateItem(std::vector<std::string>{" a", ""}));
}

}  // namespace
}  // namespace brindle
