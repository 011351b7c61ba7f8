// SPDX-License-Identifier: MIT
// Lists of entries that are imported into the grid and exported from it.
#include <gtest/gtest.h>

#include <chrono>

#include <QAction>

#include "Controls.h"
#include "FakeServices.h"
#include "lang/modINI.h"
#include "ui/common/QtText.h"
#include "ui/main/EntryGrid.h"
#include "ui/main/frmMain.h"

namespace brindle {
namespace {

constexpr const char* kHeader =
    "Find What,Replace With,Look In,MatchCase,Match entire cell contents";

class ImportExport : public testing::Test {
protected:
    ImportExport() {
        mWindow.Form_Load({});
        importFrom(list("first.csv",
                        "red,blue,0,True,False\r\n,nothing,0,False,False\r\n"
                        "one,two,9,yes,TRUE\r\n"));
        mWindow.setIsModified(false);
        mUser.dialogs.messages.clear();
    }

    std::string list(const char* name, const std::string& rows) {
        return mUser.folder.write(name, kHeader + std::string("\r\n") + rows);
    }
    void trigger(const char* menu) { test::controlOf<QAction>(mWindow, menu).trigger(); }
    void importFrom(const std::string& path) {
        mUser.dialogs.paths = {path};
        trigger("mnuImportList");
    }
    void exportTo(const std::string& path) {
        mUser.dialogs.paths = {path};
        trigger("mnuExportList");
    }
    // What the list holds; the grid must show the same.
    std::string entries() const {
        std::string text;
        for (const Entry* entry : mWindow.project().Items->NewEnum())
            text += entry->Key + "|" + entry->FindWhat + "|" + entry->ReplaceWith + "|" +
                    std::to_string(entry->Look_In) + (entry->MatchCase ? "|case" : "|") +
                    (entry->MatchEntireCellContents ? "|entire\n" : "|\n");
        const auto* grid = mWindow.findChild<EntryGrid*>("vsflex");
        EXPECT_EQ(grid->Rows() - 1, mWindow.project().Items->Count());
        for (int row = 1; row < grid->Rows(); ++row) {
            const Entry* entry = mWindow.project().Items->Item(fromQt(grid->RowData(row)));
            EXPECT_TRUE(entry && fromQt(grid->TextMatrix(row, 1)) == entry->FindWhat) << row;
        }
        return text;
    }
    MessageIcon onlyIcon() const {
        EXPECT_EQ(mUser.dialogs.messages.size(), 1u);
        return mUser.dialogs.messages.at(0).icon;
    }

    test::FakeUser mUser;
    frmMain mWindow{mUser.services};
};

constexpr const char* kFirst = "Item-1|red|blue|0|case|\nItem-2|one|two|0||entire\n";

TEST_F(ImportExport, TakesTheEntriesOfAFileInPlaceOfTheOldOnes) {
    EXPECT_EQ(entries(), kFirst);
    importFrom(list("more.csv", "a,b,6,False,False\r\n"));
    EXPECT_EQ(entries(), "Item-1|a|b|6||\n");
    EXPECT_TRUE(mWindow.IsModified());
    EXPECT_TRUE(mUser.dialogs.messages.empty());
    EXPECT_EQ(mUser.dialogs.questions.back().title, "File Import");
    EXPECT_EQ(mUser.errorLog(), "");
}

// What cannot be opened changes nothing; what is no list leaves an empty one.
TEST_F(ImportExport, SaysWhyAFileIsNoList) {
    const struct {
        const char* name;
        std::string content;
        std::string message;
        MessageIcon icon;
        bool keepsOld;
    } kFiles[] = {
        {"list.CSV", kHeader, "1006", MessageIcon::Information, true},
        {"list.txt", kHeader, "1006", MessageIcon::Information, true},
        {"four.csv", "Find What,Replace With,Look In,MatchCase\r\n", "1009", MessageIcon::None,
         false},
        {"other.csv", "a,b,c,d,e\r\nred,blue,0,True,False\r\n", "1006", MessageIcon::None, false},
    };
    for (const auto& file : kFiles) {
        importFrom(mUser.folder.path("first.csv"));
        mWindow.setIsModified(false);
        mUser.dialogs.messages.clear();
        importFrom(mUser.folder.write(file.name, file.content));
        EXPECT_EQ(onlyIcon(), file.icon) << file.name;
        EXPECT_EQ(mUser.dialogs.messages[0].text, GetLngString("global msg", file.message));
        EXPECT_EQ(entries(), file.keepsOld ? kFirst : "") << file.name;
        EXPECT_FALSE(mWindow.IsModified()) << file.name;
    }
}

TEST_F(ImportExport, LeavesEverythingWhenNothingIsOpened) {
    trigger("mnuImportList");
    EXPECT_EQ(mUser.errorLog(), "");
    importFrom(mUser.folder.path("missing.csv"));
    EXPECT_EQ(onlyIcon(), MessageIcon::Information);
    EXPECT_EQ(mUser.dialogs.messages[0].text, GetLngString("global msg", "1008"));
    mUser.dialogs.messages.clear();
    importFrom(mUser.folder.write("damaged.xls", "\xD0\xCF\x11\xE0\xA1\xB1\x1A\xE1 and no more"));
    EXPECT_EQ(entries(), kFirst);
    EXPECT_FALSE(mWindow.IsModified());
    EXPECT_TRUE(mUser.dialogs.messages.empty());
    const std::string log = mUser.errorLog();
    EXPECT_NE(log.find("in procedure ImportList at Line No. "), std::string::npos) << log;
    EXPECT_NE(log.find("of Form frmMain"), std::string::npos) << log;
}

TEST_F(ImportExport, WhatIsExportedComesBack) {
    for (const char* name : {"list.csv", "list.tab", "list.xls"}) {
        exportTo(mUser.folder.path(name));
        importFrom(mUser.folder.path(name));
        EXPECT_EQ(entries(), kFirst) << name;
    }
    EXPECT_EQ(mUser.folder.read("list.csv"),
              kHeader + std::string("\r\nred,blue,0,True,False\r\none,two,0,False,True\r\n"));
    EXPECT_EQ(mUser.dialogs.questions[1].title, "Select File To Export");
    EXPECT_TRUE(mUser.dialogs.messages.empty());
    EXPECT_EQ(mUser.errorLog(), "");
}

TEST_F(ImportExport, AsksBeforeAFileIsReplaced) {
    const std::string path = mUser.folder.write("old.CSV", "old");
    mUser.dialogs.answers = {MessageAnswer::No};
    exportTo(path);
    EXPECT_EQ(onlyIcon(), MessageIcon::Question);
    EXPECT_EQ(mUser.dialogs.messages[0].text, GetLngString("global msg", "1005"));
    EXPECT_EQ(mUser.folder.read("old.CSV"), "old");
    mUser.dialogs.answers = {MessageAnswer::Yes, MessageAnswer::Yes};
    exportTo(path);
    EXPECT_TRUE(mUser.folder.read("old.CSV").starts_with(kHeader));
    // Of no known type: asked all the same, and nothing is written.
    mUser.folder.write("old.txt", "old");
    exportTo(mUser.folder.path("old.txt"));
    EXPECT_EQ(mUser.dialogs.messages.size(), 3u);
    EXPECT_EQ(mUser.folder.read("old.txt"), "old");
    EXPECT_EQ(mUser.errorLog(), "");
}

TEST_F(ImportExport, TakesTenThousandEntriesInNoTime) {
    std::string rows;
    for (int i = 1; i <= 10000; ++i) rows += "text " + std::to_string(i) + ",x,0,False,False\r\n";
    const auto start = std::chrono::steady_clock::now();
    importFrom(list("many.csv", rows));
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(3));
    ASSERT_EQ(mWindow.project().Items->Count(), 10000);
    EXPECT_TRUE(entries().ends_with("Item-10000|text 10000|x|0||\n"));
    EXPECT_TRUE(mWindow.findChild<EntryGrid*>("vsflex")->Redraw());
}

}  // namespace
}  // namespace brindle
