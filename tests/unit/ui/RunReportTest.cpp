// SPDX-License-Identifier: MIT
#include "ui/processing/RunReport.h"

#include "support/TempDir.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <limits>
#include <string>
#include <vector>

namespace brindle {
namespace {

using Filed = RunReport::Filed;

struct Found {
    std::string find;
    clsCounts counts;
};

Entries entriesWith(const std::vector<Found>& found) {
    Entries entries;
    for (const Found& item : found) {
        entries.Add(item.find, "new", 0, false, false, {})->counts = item.counts;
    }
    return entries;
}

clsCounts inCells(std::int16_t count) {
    return {count};
}

const clsCounts kNothing;

std::vector<std::string> pathsOf(const std::list<RunReport::Document>& documents) {
    std::vector<std::string> paths;
    for (const auto& document : documents) paths.push_back(document.path);
    return paths;
}

TEST(RunReport, TextListsFindsThenTheRestAndNoFailures) {
    RunReport report;
    clsCounts total = inCells(3);
    total.HeaderCounter = 1;
    report.AddChangedFiles("C:\\Data\\b.xls", entriesWith({{"Total", kNothing}}), false);
    report.AddChangedFiles("C:\\Data\\c.xls", entriesWith({{"Total", total}}), true);
    report.AddChangedFiles("C:\\Data\\a.xls", entriesWith({{"Total", total}}), false);
    EXPECT_EQ(report.text(),
              "C:\\Data\\a.xls - At least 1 occurrence(s) found \r\n\tTotal (Cell) : "
              "3\r\n\tTotal (Header) : 1\r\nC:\\Data\\b.xls - No occurrence(s) found \r\n");
    EXPECT_EQ(pathsOf(report.failed()), std::vector<std::string>{"C:\\Data\\c.xls"});
    EXPECT_EQ(report.mChangeCount, 4);
    EXPECT_EQ(report.changedFileCount, 1);
}

TEST(RunReport, ChildrenStandInTheOrderOfEntriesAndScopes) {
    const clsCounts all{1, 2, 3, 4, 5, 6, 32767};
    RunReport report;
    report.AddChangedFiles("p", entriesWith({{"x", all}, {"none", kNothing}, {"y", inCells(8)}}),
                           false);
    EXPECT_THAT(
        report.changed().front().children,
        testing::ElementsAre("x (Cell) : 1", "x (HyperLink) : 2", "x (Header) : 3",
                             "x (Footer) : 4", "x (Shapes) : 5", "x (Built in Properties) : 6",
                             "x (Custom Properties) : 32767", "y (Cell) : 8"));
}

TEST(RunReport, ASecondReportOnAPathCanOnlyMoveItToChanged) {
    const Entries none = entriesWith({{"x", kNothing}});
    const Entries some = entriesWith({{"x", inCells(1)}});
    const Entries more = entriesWith({{"x", inCells(9)}});
    RunReport report;
    EXPECT_EQ(report.AddChangedFiles("a", none, false), Filed::NotChanged);
    EXPECT_EQ(report.AddChangedFiles("b", none, false), Filed::NotChanged);
    EXPECT_EQ(report.AddChangedFiles("a", none, false), Filed::Nowhere);
    EXPECT_EQ(report.AddChangedFiles("a", some, false), Filed::Changed);
    EXPECT_EQ(report.AddChangedFiles("a", more, false), Filed::Nowhere);
    EXPECT_EQ(report.AddChangedFiles("a", none, false), Filed::Nowhere);
    EXPECT_EQ(report.AddChangedFiles("a", more, true), Filed::Failed);
    EXPECT_EQ(report.AddChangedFiles("a", none, true), Filed::Nowhere);
    EXPECT_EQ(pathsOf(report.changed()), std::vector<std::string>{"a"});
    EXPECT_EQ(report.changed().front().children, std::vector<std::string>{"x (Cell) : 1"});
    EXPECT_EQ(pathsOf(report.notChanged()), std::vector<std::string>{"b"});
    EXPECT_EQ(report.mChangeCount, 1);
    EXPECT_EQ(report.changedFileCount, 1);
}

TEST(RunReport, AnEntryWithoutAFindDoesNotHideOneThatHas) {
    const std::vector<std::vector<Found>> orders{{{"no", kNothing}, {"yes", inCells(1)}},
                                                 {{"yes", inCells(1)}, {"no", kNothing}}};
    for (const auto& order : orders) {
        RunReport report;
        report.AddChangedFiles("a", entriesWith(order), false);
        EXPECT_EQ(pathsOf(report.changed()), std::vector<std::string>{"a"});
        EXPECT_TRUE(report.notChanged().empty());
    }
}

TEST(RunReport, RemarksStandInTheFullTextOnlyAndMoveWithTheirDocument) {
    const Entries none = entriesWith({{"x", kNothing}});
    const Entries some = entriesWith({{"x", inCells(2)}});
    RunReport report;
    std::vector<std::string> left;
    report.leavesNotChanged = [&](const RunReport::Document& document) {
        left.push_back(document.path);
        EXPECT_EQ(document.children.size(), 0U) << "told too late";
    };
    report.AddChangedFiles("a", none, false, {"refused 1"});
    report.AddChangedFiles("b", none, false, {"refused 2"});
    report.AddChangedFiles("c", some, true, {"broken"});
    report.AddChangedFiles("d", some, false);
    report.AddChangedFiles("a", some, false, {"refused 3"});
    EXPECT_EQ(left, std::vector<std::string>{"a"});
    EXPECT_EQ(pathsOf(report.changed()), (std::vector<std::string>{"d", "a"}));
    EXPECT_LT(report.changed().front().order, report.changed().back().order);
    EXPECT_EQ(report.text(),
              "d - At least 1 occurrence(s) found \r\n\tx (Cell) : 2\r\n"
              "a - At least 1 occurrence(s) found \r\n\tx (Cell) : 2\r\n"
              "b - No occurrence(s) found \r\n");
    EXPECT_EQ(report.fullText(),
              "d - At least 1 occurrence(s) found \r\n\tx (Cell) : 2\r\n"
              "a - At least 1 occurrence(s) found \r\n\tx (Cell) : 2\r\n"
              "\trefused 1\r\n\trefused 3\r\n"
              "b - No occurrence(s) found \r\n\trefused 2\r\n"
              "c - Error \r\n\tbroken\r\n");
}

TEST(RunReport, NoEntriesFileADocumentNowhere) {
    RunReport report;
    EXPECT_EQ(report.AddChangedFiles("a", Entries(), false), Filed::Nowhere);
    EXPECT_EQ(report.AddChangedFiles("a", Entries(), true), Filed::Nowhere);
    EXPECT_TRUE(report.failed().empty());
    EXPECT_EQ(report.text(), "");
}

TEST(RunReport, ASumBeyondItsWidthEndsTheChildrenOfThatDocument) {
    const test::TempDir home;
    setenv("BRINDLE_HOME", home.path().c_str(), 1);
    RunReport report;
    report.mChangeCount = std::numeric_limits<std::int32_t>::max() - 1;
    const Entries entries = entriesWith({{"x", inCells(1)}, {"y", inCells(1)}, {"z", inCells(1)}});
    report.AddChangedFiles("a", entries, false);
    EXPECT_EQ(report.changed().front().children.size(), 2U);
    EXPECT_EQ(report.mChangeCount, std::numeric_limits<std::int32_t>::max());
    EXPECT_EQ(report.changedFileCount, 1);
    EXPECT_NE(home.read("Errors.Log").find("Error 6 (Overflow) in procedure AddChildNode"),
              std::string::npos);
}

TEST(RunReport, ClearingKeepsFailuresWhenAskedTo) {
    RunReport report;
    const Entries entries = entriesWith({{"x", inCells(1)}});
    report.AddChangedFiles("a", entries, false);
    report.AddChangedFiles("b", entriesWith({{"x", kNothing}}), false);
    report.AddChangedFiles("c", entries, true);
    report.clear(true);
    EXPECT_EQ(report.text(), "");
    EXPECT_EQ(report.mChangeCount, 0);
    EXPECT_EQ(report.failed().size(), 1U);
    EXPECT_EQ(report.AddChangedFiles("a", entries, false), Filed::Changed);
    report.clear();
    EXPECT_TRUE(report.failed().empty());
}

}  // namespace
}  // namespace brindle
