// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include "support/ConnectorRun.h"

namespace brindle::test {
namespace {

using Cells = std::map<CellPosition, std::string>;

TEST(ExcelConnectorCells, countsAndReplaces) {
    const struct {
        const char* name;
        const char* find;
        const char* with;
        bool matchCase;
        bool entire;
        Cells before;
        int count;
        Cells after;
        // clang-format off
    } rows[] = {
        {"none", "dog", "cow", false, false, {{{1, 1}, "cat"}}, 0, {{{1, 1}, "cat"}}},
        {"one", "cat", "dog", false, false, {{{7, 2}, "cat"}}, 1, {{{7, 2}, "dog"}}},
        {"first cell of the sheet", "cat", "dog", false, false, {{{1, 1}, "cat"}}, 1,
         {{{1, 1}, "dog"}}},
        {"part", "cat", "dog", false, false, {{{1, 1}, "cat"}, {{1, 2}, "scatter"}, {{2, 1}, "ca"}},
         2, {{{1, 1}, "dog"}, {{1, 2}, "sdogter"}, {{2, 1}, "ca"}}},
        {"entire", "cat", "dog", false, true, {{{1, 1}, "cat"}, {{1, 2}, "scatter"}}, 1,
         {{{1, 1}, "dog"}, {{1, 2}, "scatter"}}},
        {"case ignored", "CAT", "dog", false, false, {{{3, 3}, "cat"}}, 1, {{{3, 3}, "dog"}}},
        {"case kept", "CAT", "dog", true, false, {{{3, 3}, "cat"}}, 0, {{{3, 3}, "cat"}}},
        {"per cell, not per occurrence", "a", "b", false, false, {{{1, 1}, "a-a-a"}}, 1,
         {{{1, 1}, "b-b-b"}}},
        {"replacement matches again", "a", "aa", false, false,
         {{{1, 1}, "a"}, {{1, 2}, "a"}, {{9, 1}, "a"}}, 3,
         {{{1, 1}, "aa"}, {{1, 2}, "aa"}, {{9, 1}, "aa"}}},
    };
    // clang-format on
    for (const auto& row : rows) {
        for (const bool searchOnly : {false, true}) {
            SCOPED_TRACE(std::string(row.name) + (searchOnly ? ", searched" : ", replaced"));
            ConnectorRun run;
            FakeBook& book = run.addBook("book.xls");
            book.sheets[0].cells = row.before;
            run.addEntry(row.find, row.with, 0, row.matchCase, row.entire);
            run.flags.isSearchOnly = searchOnly;
            run.go();
            ASSERT_EQ(run.reports.size(), 1u);
            EXPECT_EQ(run.reports[0].counts[0].CellCounter, row.count);
            EXPECT_EQ(book.sheets[0].cells, searchOnly ? row.before : row.after);
            EXPECT_EQ(book.saved, searchOnly ? 0 : 1);
            EXPECT_EQ(run.log(), "");
        }
    }
}

class ExcelConnectorCellsRun : public testing::Test {
protected:
    ConnectorRun run;
    FakeBook& book = run.addBook("book.xls");
};

TEST_F(ExcelConnectorCellsRun, visitsEverySheetInOrder) {
    book.sheets.assign(3, FakeSheet{});
    for (FakeSheet& sheet : book.sheets) sheet.cells = {{{1, 1}, "cat"}, {{5, 5}, "cat"}};
    run.addEntry("cat", "dog");
    run.go();
    EXPECT_EQ(run.reports[0].counts[0].CellCounter, 6);
    for (const FakeSheet& sheet : book.sheets)
        EXPECT_EQ(sheet.cells, (Cells{{{1, 1}, "dog"}, {{5, 5}, "dog"}}));
}

TEST_F(ExcelConnectorCellsRun, laterEntrySeesWhatTheEarlierLeft) {
    book.sheets[0].cells = {{{1, 1}, "apple"}};
    run.addEntry("apple", "pear");
    run.addEntry("pear", "plum");
    run.go();
    EXPECT_EQ(book.sheets[0].cells.at({1, 1}), "plum");
    EXPECT_EQ(run.reports[0].counts[0].CellCounter, 1);
    EXPECT_EQ(run.reports[0].counts[1].CellCounter, 1);
}

// The first match comes last, so the cell in row 3 is reached, refused, and nothing behind it.
TEST_F(ExcelConnectorCellsRun, refusedCellEndsTheEntryButNotTheDocument) {
    book.sheets.assign(3, FakeSheet{});
    for (FakeSheet& sheet : book.sheets) {
        sheet.cells = {{{1, 2}, "cat"}, {{2, 2}, "cat"}, {{3, 2}, "cat"}};
        sheet.links = {"cat"};
    }
    book.sheets[1].name = "Locked";
    book.sheets[1].lockedCells = {{3, 2}};
    run.addEntry("cat", "dog");
    run.addEntry("cat", "cow", 1);
    run.go();
    const Report& report = run.reports[0];
    EXPECT_FALSE(report.failed);
    EXPECT_EQ(report.counts[0].CellCounter, 3 + 1);
    EXPECT_EQ(report.counts[1].HyperlinkCounter, 3);
    EXPECT_EQ(book.sheets[0].cells.at({1, 2}), "dog");
    EXPECT_EQ(book.sheets[1].cells, (Cells{{{1, 2}, "cat"}, {{2, 2}, "dog"}, {{3, 2}, "cat"}}));
    EXPECT_EQ(book.sheets[2].cells.at({1, 2}), "cat");
    EXPECT_EQ(book.saved, 1);
    EXPECT_EQ(run.linesOf("ReplaceCell"), 1u) << run.log();
    ASSERT_EQ(report.refusals.size(), 1u);
    EXPECT_EQ(report.refusals[0].find, "cat");
    EXPECT_EQ(report.refusals[0].lookIn, 0);
    EXPECT_EQ(report.refusals[0].sheet, "Locked");
    EXPECT_EQ(report.refusals[0].place, "B3");
    EXPECT_EQ(report.refusals[0].number, 1004);
}

TEST_F(ExcelConnectorCellsRun, counterStopsAtItsWidth) {
    for (std::int32_t row = 1; row <= 40000; ++row) book.sheets[0].cells[{row, 1}] = "cat";
    run.addEntry("cat", "dog");
    run.addEntry("dog", "cow", 4);
    run.go();
    const Report& report = run.reports[0];
    EXPECT_EQ(report.counts[0].CellCounter, 32767);
    EXPECT_FALSE(report.failed);
    EXPECT_EQ(run.linesOf("ReplaceCell"), 1u);
    EXPECT_EQ(run.log().substr(0, 18), "Error 6 (Overflow ") << "with the place behind it";
    ASSERT_EQ(report.refusals.size(), 1u) << "half-done must not look done";
    EXPECT_EQ(report.refusals[0].number, 6);
}

TEST(ExcelConnectorCells, textTooLongToFindIsSaidForEachDocument) {
    ConnectorRun run;
    run.addBook("a.xls");
    run.addBook("b.xls");
    run.addEntry(std::string(256, 'x'), "y");
    run.addEntry("cat", "dog");
    run.go();
    ASSERT_EQ(run.reports.size(), 2u);
    EXPECT_EQ(run.linesOf("ReplaceCell"), 2u);
    for (const Report& report : run.reports) {
        EXPECT_FALSE(report.failed);
        ASSERT_EQ(report.refusals.size(), 1u);
        EXPECT_EQ(report.refusals[0].number, 13);
        EXPECT_EQ(report.refusals[0].sheet, "");
    }
}

TEST_F(ExcelConnectorCellsRun, damageFoundLateFailsTheDocumentUnsaved) {
    book.sheets.assign(2, FakeSheet{});
    book.sheets[0].cells = {{{1, 1}, "cat"}};
    book.sheets[1].damage = Error::damaged("A row ends too early");
    run.addEntry("cat", "dog");
    run.go();
    EXPECT_TRUE(run.reports[0].failed);
    EXPECT_EQ(run.reports[0].errorNumber, 1004);
    EXPECT_EQ(book.saved, 0);
    EXPECT_EQ(book.closed, 1);
    EXPECT_EQ(book.sheets[0].cells.at({1, 1}), "cat");
    EXPECT_EQ(run.linesOf("ReplaceFile"), 1u);
    EXPECT_EQ(run.linesOf("ReplaceCell"), 0u);
}

TEST_F(ExcelConnectorCellsRun, documentsAreToldWhatWillBeLookedFor) {
    run.addEntry("cat", "", 0, true, true);
    run.addEntry("", "x");
    run.addEntry("link", "x", 1);
    run.addEntry("dog", "x");
    run.go();
    ASSERT_EQ(book.expected.size(), 2u);
    EXPECT_EQ(book.expected[0], workbook::CellMatch("cat", CaseMode::Exact, true));
    EXPECT_EQ(book.expected[1], workbook::CellMatch("dog", CaseMode::Folded, false));
}

// Only a host with a window is asked, and what goes wrong there is not the document's business.
TEST_F(ExcelConnectorCellsRun, letsAWatchedHostWorkInsideALargeDocument) {
    book.sheets.assign(5, FakeSheet{});
    for (FakeSheet& sheet : book.sheets) sheet.findTakes = std::chrono::milliseconds(60);
    run.addEntry("cat", "dog");
    run.host.onDocumentEvents = [] { throw Error(ErrorKind::Internal, 51, "no paint"); };
    run.go();
    EXPECT_EQ(run.host.documentRounds, 0);
    run.host.watched = true;
    run.go();
    EXPECT_GE(run.host.documentRounds, 5);
    EXPECT_FALSE(run.reports.back().failed);
}

}  // namespace
}  // namespace brindle::test
