// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <cerrno>

#include "engine/excel/Workbook.h"
#include "support/FakeDocument.h"
#include "support/Thrown.h"

namespace brindle::test {
namespace {

class ExcelObjects : public testing::Test {
protected:
    ExcelObjects() : app(files.opener()) {
        FakeBook& book = files["a.xls"];
        book.sheets.assign(2, FakeSheet{});
        book.sheets[1].name = "Second";
        book.sheets[1].cells = {{{2, 3}, "cat"}, {{4, 1}, "cat"}, {{4, 2}, "dog"}};
        book.sheets[1].links = {"first", "second"};
        book.sheets[1].shapes = {"round"};
        book.properties[1] = {"custom"};
    }

    FakeFiles files;
    excel::Application app;
};

TEST_F(ExcelObjects, collectionsCountFromOneAndRefuseOtherIndexes) {
    excel::Workbook& book = app.Workbooks().Open("a.xls", {});
    const auto sheets = book.Worksheets();
    const auto second = sheets.Item(2);
    EXPECT_EQ(second.Name(), "Second");
    EXPECT_EQ(second.Hyperlinks().Item(2).Address(), "second");
    EXPECT_EQ(second.Shapes().Item(1).Text(), "round");
    EXPECT_EQ(book.CustomDocumentProperties().Item(1).Value(), "custom");
    for (const std::int32_t index : {0, -1, 3}) {
        EXPECT_EQ(numberOf([&] { sheets.Item(index); }), 9);
        EXPECT_EQ(numberOf([&] { second.Hyperlinks().Item(index); }), 9);
        EXPECT_EQ(numberOf([&] { second.Shapes().Item(index); }), 9);
        EXPECT_EQ(numberOf([&] { book.CustomDocumentProperties().Item(index); }), 9);
        EXPECT_EQ(numberOf([&] { app.Workbooks().Item(index); }), 9);
    }
    EXPECT_EQ(book.BuiltinDocumentProperties().Count(), 0);
}

TEST_F(ExcelObjects, findNextGoesRoundTheSheet) {
    excel::Workbook& book = app.Workbooks().Open("a.xls", {});
    excel::Range cells = book.Worksheets().Item(2).Cells();
    EXPECT_FALSE(cells.FindNext(cells)) << "nothing was looked for yet";
    const auto first = cells.Find({"cat", CaseMode::Folded, false});
    ASSERT_TRUE(first);
    EXPECT_EQ(first->Row(), 2);
    EXPECT_EQ(first->Column(), 3);
    const auto next = cells.FindNext(*first);
    ASSERT_TRUE(next);
    EXPECT_EQ(next->Row(), 4);
    const auto again = cells.FindNext(*next);
    ASSERT_TRUE(again);
    EXPECT_EQ(again->Row(), 2);
}

TEST_F(ExcelObjects, onlySavingReachesTheFile) {
    files["b.xls"].sheets[0].links = {"old"};
    app.Workbooks().Open("a.xls", {});
    excel::Workbook& book = app.Workbooks().Open("b.xls", {});
    EXPECT_EQ(app.ActiveWorkbook(), &book);
    book.Worksheets().Item(1).Hyperlinks().Item(1).setAddress("new");
    app.Quit();
    EXPECT_EQ(files["b.xls"].sheets[0].links[0], "old");
    EXPECT_EQ(files["a.xls"].closed, 1);
    EXPECT_EQ(files["b.xls"].closed, 1);
    EXPECT_EQ(app.ActiveWorkbook(), nullptr);

    excel::Workbook& anew = app.Workbooks().Open("b.xls", {});
    anew.Worksheets().Item(1).Hyperlinks().Item(1).setAddress("new");
    anew.Close(true);
    EXPECT_EQ(files["b.xls"].sheets[0].links[0], "new");
    EXPECT_EQ(app.Workbooks().Count(), 0);
}

TEST_F(ExcelObjects, failingSaveLeavesTheWorkbookOpen) {
    files["a.xls"].saveError = Error::system(ENOSPC, "write a.xls");
    excel::Workbook& book = app.Workbooks().Open("a.xls", {});
    EXPECT_EQ(numberOf([&] { book.Close(true); }), 61);
    EXPECT_EQ(app.Workbooks().Count(), 1);
}

}  // namespace
}  // namespace brindle::test
