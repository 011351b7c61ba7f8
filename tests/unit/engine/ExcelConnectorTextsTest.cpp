// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include "support/ConnectorRun.h"

namespace brindle::test {
namespace {

enum Scope : std::int16_t { kLinks = 1, kHeaders = 2, kFooters = 3, kShapes = 4 };

// One text of one scope, before and after.
struct TextRow {
    const char* name;
    Scope scope;
    const char* find;
    const char* with;
    bool matchCase;
    const char* before;
    int count;
    const char* after;
};

std::string& itemOf(FakeSheet& sheet, Scope scope) {
    switch (scope) {
        case kHeaders:
            return sheet.sections[{PageKind::Odd, PageSection::CenterHeader}];
        case kFooters:
            return sheet.sections[{PageKind::Odd, PageSection::CenterFooter}];
        case kShapes:
            sheet.shapes.resize(1);
            return sheet.shapes[0];
        case kLinks:
            break;
    }
    sheet.links.resize(1);
    return sheet.links[0];
}

int countOf(const clsCounts& counts, Scope scope) {
    const std::int16_t all[] = {counts.HyperlinkCounter, counts.HeaderCounter, counts.FooterCounter,
                                counts.ShapesCounter};
    return all[scope - 1];
}

int sumOf(const clsCounts& counts) {
    return counts.CellCounter + counts.HyperlinkCounter + counts.HeaderCounter +
           counts.FooterCounter + counts.ShapesCounter + counts.BuiltInPropCounter +
           counts.CustomPropCounter;
}

class ExcelConnectorTexts : public testing::TestWithParam<TextRow> {};

TEST_P(ExcelConnectorTexts, countsAndReplaces) {
    const TextRow& row = GetParam();
    for (const bool searchOnly : {false, true}) {
        for (const bool entire : {false, true}) {
            ConnectorRun run;
            FakeBook& book = run.addBook("book.xls");
            itemOf(book.sheets[0], row.scope) = row.before;
            run.addEntry(row.find, row.with, row.scope, row.matchCase, entire);
            run.flags.isSearchOnly = searchOnly;
            run.go();
            const clsCounts& counts = run.reports.at(0).counts.at(0);
            EXPECT_EQ(countOf(counts, row.scope), row.count);
            EXPECT_EQ(sumOf(counts), row.count) << "another scope's counter grew";
            EXPECT_EQ(itemOf(book.sheets[0], row.scope), searchOnly ? row.before : row.after);
            EXPECT_EQ(run.log(), "");
        }
    }
}

INSTANTIATE_TEST_SUITE_P(
    Table, ExcelConnectorTexts,
    testing::Values(
        TextRow{"linkPart", kLinks, "old", "new", false, "..\\Old\\old.xls", 1, "..\\new\\new.xls"},
        TextRow{"linkCaseNeedsTheWhole", kLinks, "Old", "new", true, "..\\Old\\a.xls", 0,
                "..\\Old\\a.xls"},
        TextRow{"linkCaseWhole", kLinks, "Old", "new", true, "Old", 1, "new"},
        TextRow{"linkCaseDiffers", kLinks, "Old", "new", true, "old", 0, "old"},
        TextRow{"headerPart", kHeaders, "final", "Draft", false, "FINAL Final", 1, "Draft Draft"},
        TextRow{"headerCasePart", kHeaders, "Final", "Draft", true, "FINAL Final", 1,
                "FINAL Draft"},
        TextRow{"headerCodes", kHeaders, "&B", "&I", true, "&BTotal", 1, "&ITotal"},
        TextRow{"footerPart", kFooters, "page", "sheet", false, "Page &P", 1, "sheet &P"},
        TextRow{"shapeOccurrences", kShapes, "a", "x", false, "a b A b a", 3, "x b x b x"},
        TextRow{"shapeCase", kShapes, "a", "x", true, "a b A b a", 2, "x b A b x"},
        TextRow{"shapeNoOverlap", kShapes, "aa", "b", false, "aaaaa", 2, "bba"},
        TextRow{"shapeOutsideAscii", kShapes, "Ä", "x", false, "ä Ä", 2, "x x"}),
    [](const auto& row) { return std::string(row.param.name); });

TEST(ExcelConnectorTextsRun, eachSectionCountsOnceAndOnlyItsOwnHalf) {
    ConnectorRun run;
    FakeBook& book = run.addBook("book.xls");
    auto& sections = book.sheets[0].sections;
    sections[{PageKind::Odd, PageSection::LeftHeader}] = "Final";
    sections[{PageKind::Odd, PageSection::RightHeader}] = "Final 2";
    sections[{PageKind::Odd, PageSection::LeftFooter}] = "Final 3";
    run.addEntry("Final", "Draft", kHeaders);
    run.go();
    EXPECT_EQ(run.reports[0].counts[0].HeaderCounter, 2);
    EXPECT_EQ((sections[{PageKind::Odd, PageSection::RightHeader}]), "Draft 2");
    EXPECT_EQ((sections[{PageKind::Odd, PageSection::LeftFooter}]), "Final 3");
}

TEST(ExcelConnectorTextsRun, pagesOfTheirOwnCountWhenTheSheetUsesThem) {
    ConnectorRun run;
    FakeBook& book = run.addBook("book.xls");
    book.sheets[0].usedPages = {PageKind::Odd, PageKind::First};
    auto& sections = book.sheets[0].sections;
    for (const PageKind kind : {PageKind::Odd, PageKind::Even, PageKind::First})
        sections[{kind, PageSection::RightFooter}] = "Final";
    run.addEntry("Final", "Draft", kFooters);
    run.go();
    EXPECT_EQ(run.reports[0].counts[0].FooterCounter, 2);
    EXPECT_EQ((sections[{PageKind::First, PageSection::RightFooter}]), "Draft");
    EXPECT_EQ((sections[{PageKind::Even, PageSection::RightFooter}]), "Final");
}

struct RefusedRow {
    const char* name;
    Scope scope;
    const char* locked;
    const char* procedure;
    const char* place;
    int count;         // of three items on the first sheet, the second locked, and one on the next
    const char* last;  // the third item of the first sheet afterwards
};

class ExcelConnectorRefusedText : public testing::TestWithParam<RefusedRow> {};

TEST_P(ExcelConnectorRefusedText, isKeptAndLogged) {
    const RefusedRow& row = GetParam();
    ConnectorRun run;
    FakeBook& book = run.addBook("book.xls");
    book.sheets.assign(2, FakeSheet{});
    for (std::size_t i = 0; i < 2; ++i) {
        const std::size_t items = i == 0 ? 3 : 1;
        book.sheets[i].links.assign(items, "cat");
        book.sheets[i].shapes.assign(items, "cat");
        for (std::size_t n = 0; n < items; ++n) {
            book.sheets[i].sections[{PageKind::Odd, static_cast<PageSection>(n)}] = "cat";
            book.sheets[i].sections[{PageKind::Odd, static_cast<PageSection>(n + 3)}] = "cat";
        }
    }
    book.sheets[0].name = "First";
    book.sheets[0].lockedItems = {row.locked};
    run.addEntry("cat", "dog", row.scope);
    run.go();
    const Report& report = run.reports[0];
    EXPECT_FALSE(report.failed);
    EXPECT_EQ(book.saved, 1);
    EXPECT_EQ(countOf(report.counts[0], row.scope), row.count);
    EXPECT_EQ(run.linesOf(row.procedure), 1u) << run.log();
    ASSERT_EQ(report.refusals.size(), 1u);
    EXPECT_EQ(report.refusals[0].sheet, "First");
    EXPECT_EQ(report.refusals[0].place, row.place);
    EXPECT_EQ(report.refusals[0].lookIn, row.scope);
    const std::string last =
        row.scope == kLinks    ? book.sheets[0].links[2]
        : row.scope == kShapes ? book.sheets[0].shapes[2]
        : row.scope == kHeaders
            ? book.sheets[0].sections[{PageKind::Odd, PageSection::RightHeader}]
            : book.sheets[0].sections[{PageKind::Odd, PageSection::RightFooter}];
    EXPECT_EQ(last, row.last);
}

// A refused section ends only itself; a refused link or shape the whole scope.
INSTANTIATE_TEST_SUITE_P(
    Table, ExcelConnectorRefusedText,
    testing::Values(
        RefusedRow{"link", kLinks, "hyperlink 2", "ConvertHyperlinks", "hyperlink 2", 2, "cat"},
        RefusedRow{"header", kHeaders, "section 1", "headerfooter", "CenterHeader", 4, "dog"},
        RefusedRow{"footer", kFooters, "section 4", "headerfooter", "CenterFooter", 4, "dog"},
        RefusedRow{"shape", kShapes, "shape 2", "shapes", "shape 2", 2, "cat"}),
    [](const auto& row) { return std::string(row.param.name); });

TEST(ExcelConnectorTextsRun, lockedItemsWithoutAMatchAreNoRefusal) {
    ConnectorRun run;
    FakeBook& book = run.addBook("book.xls");
    book.sheets[0].links = {"keep"};
    book.sheets[0].shapes = {"", "keep"};
    book.sheets[0].lockedItems = {"hyperlink 1", "shape 1", "shape 2", "section 0"};
    for (const std::int16_t scope : {kLinks, kHeaders, kFooters, kShapes})
        run.addEntry("cat", "dog", scope);
    run.go();
    EXPECT_TRUE(run.reports[0].refusals.empty());
    EXPECT_EQ(run.log(), "");
}

// What is locked shows that a search does not even try to write.
TEST(ExcelConnectorTextsRun, searchWritesNothingBack) {
    ConnectorRun run;
    FakeBook& book = run.addBook("book.xls");
    FakeSheet& sheet = book.sheets[0];
    sheet.cells = {{{1, 1}, "cat"}};
    sheet.lockedCells = {{1, 1}};
    sheet.links = sheet.shapes = {"cat"};
    sheet.sections[{PageKind::Odd, PageSection::LeftHeader}] = "cat";
    sheet.sections[{PageKind::Odd, PageSection::LeftFooter}] = "cat";
    sheet.lockedItems = {"hyperlink 1", "shape 1", "section 0", "section 3"};
    book.properties[0] = book.properties[1] = {"cat"};
    book.lockedProperties = {"cat"};
    for (std::int16_t scope = 0; scope <= 6; ++scope) run.addEntry("cat", "dog", scope);
    run.flags.isSearchOnly = true;
    run.go();
    EXPECT_TRUE(run.reports[0].refusals.empty());
    for (const clsCounts& counts : run.reports[0].counts) EXPECT_EQ(sumOf(counts), 1);
    EXPECT_EQ(run.log(), "");
}

struct PropertyRow {
    const char* name;
    const char* find;
    const char* with;
    bool matchCase;
    const char* before;
    int count;
    const char* after;
};

class ExcelConnectorProperties : public testing::TestWithParam<PropertyRow> {};

TEST_P(ExcelConnectorProperties, countsAndReplaces) {
    const PropertyRow& row = GetParam();
    for (const bool custom : {false, true}) {
        for (const bool searchOnly : {false, true}) {
            ConnectorRun run;
            FakeBook& book = run.addBook("book.xls");
            book.properties[custom] = {row.before};
            book.properties[!custom] = {row.before};
            run.addEntry(row.find, row.with, custom ? 6 : 5, row.matchCase);
            run.flags.isSearchOnly = searchOnly;
            run.go();
            const clsCounts& counts = run.reports.at(0).counts.at(0);
            EXPECT_EQ(custom ? counts.CustomPropCounter : counts.BuiltInPropCounter, row.count);
            EXPECT_EQ(sumOf(counts), row.count);
            EXPECT_EQ(*book.properties[custom][0], searchOnly ? row.before : row.after);
            EXPECT_EQ(*book.properties[!custom][0], row.before);
        }
    }
}

INSTANTIATE_TEST_SUITE_P(
    Table, ExcelConnectorProperties,
    testing::Values(PropertyRow{"part", "report", "summary", false, "Quarterly Report", 1,
                                "Quarterly summary"},
                    PropertyRow{"caseNeedsTheWhole", "Report", "x", true, "Quarterly Report", 0,
                                "Quarterly Report"},
                    PropertyRow{"caseWhole", "Report", "x", true, "Report", 1, "x"},
                    PropertyRow{"number", "202", "199", false, "2023", 1, "1993"}),
    [](const auto& row) { return std::string(row.param.name); });

// Three properties that match: without a value, locked, ordinary.
TEST(ExcelConnectorPropertiesRun, builtInWalkPassesOverWhatFails) {
    ConnectorRun run;
    FakeBook& book = run.addBook("book.xls");
    book.properties[0] = {std::nullopt, "cat locked", "cat"};
    book.lockedProperties = {"cat locked"};
    run.addEntry("cat", "dog", 5);
    run.go();
    const Report& report = run.reports[0];
    EXPECT_EQ(report.counts[0].BuiltInPropCounter, 2);
    EXPECT_EQ(*book.properties[0][1], "cat locked");
    EXPECT_EQ(*book.properties[0][2], "dog");
    EXPECT_EQ(run.log(), "");
    ASSERT_EQ(report.refusals.size(), 1u);
    EXPECT_EQ(report.refusals[0].place, "property 2");
    EXPECT_EQ(report.refusals[0].sheet, "");
}

TEST(ExcelConnectorPropertiesRun, customWalkEndsAtTheFirstFailure) {
    ConnectorRun run;
    FakeBook& book = run.addBook("book.xls");
    book.properties[1] = {"cat", "cat locked", "cat"};
    book.lockedProperties = {"cat locked"};
    run.addEntry("cat", "dog", 6);
    run.go();
    EXPECT_EQ(run.reports[0].counts[0].CustomPropCounter, 2);
    EXPECT_EQ(*book.properties[1][0], "dog");
    EXPECT_EQ(*book.properties[1][2], "cat");
    EXPECT_EQ(run.linesOf("CustomeProperties"), 1u);
    EXPECT_EQ(run.reports[0].refusals.size(), 1u);
    EXPECT_FALSE(run.reports[0].failed);
}

}  // namespace
}  // namespace brindle::test
