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

TEST(EntryListFile, WritesWhatItReads) {
    TempDir dir;
    Entries list;
    list.Add("red", "blue", 0, true, false, "k1");
    list.Add("\u00E4 \"x\"", "", 6, false, true, "k2");
    ASSERT_TRUE(writeEntryList(dir.path("list.CSV"), list, "windows-1252"));
    EXPECT_EQ(dir.read("list.CSV"),
              kHeader + "red,blue,0,True,False\r\n\xE4 \"x\",,6,False,True\r\n");
    ASSERT_TRUE(writeEntryList(dir.path("list.tab"), list, "UTF-8"));
    EXPECT_EQ(dir.read("list.tab").substr(0, 23), "Find What\tReplace With\t");
    EntryListOptions options;
    options.open.ansiCodePage = "UTF-8";
    Entries read;
    EXPECT_EQ(readEntryList(dir.path("list.tab"), options, read), EntryListOutcome::Read);
    EXPECT_EQ(contentOf(read),
              (std::vector<std::string>{"Item-2|red|blue|0|c|-", "Item-3|\u00E4 \"x\"||6|-|e"}));
}

TEST(EntryListFile, LeavesTheOldFileWhenItCannotWrite) {
    TempDir dir;
    Entries list;
    list.Add("\u0416", "", 0, false, false, "");
    const std::string path = dir.write("list.csv", "old");
    EXPECT_EQ(test::numberOf([&] { writeEntryList(path, list, "windows-1252"); }),
              error_number::kApplicationDefined);
    EXPECT_EQ(dir.read("list.csv"), "old");
    EXPECT_FALSE(writeEntryList(dir.write("list.xls", "old"), list, "windows-1252"));
    EXPECT_EQ(dir.read("list.xls"), "old");
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
