// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include "support/ConnectorRun.h"

namespace brindle::test {
namespace {

enum Scope : std::int16_t { kLinks = 1, kHeaders, kFooters, kShapes, kBuiltIn, kCustom };

// The n-th text of a scope, made when it is not there.
std::string& itemOf(FakeBook& book, Scope scope, std::size_t n = 0, std::size_t sheet = 0) {
    FakeSheet& in = book.sheets[sheet];
    if (scope == kHeaders || scope == kFooters) {
        const auto section = static_cast<PageSection>(scope == kHeaders ? n : n + 3);
        return in.sections[{PageKind::Odd, section}];
    }
    if (scope == kBuiltIn || scope == kCustom) {
        auto& properties = book.properties[scope == kCustom];
        while (properties.size() <= n) properties.emplace_back("");
        return *properties[n];
    }
    auto& texts = scope == kLinks ? in.links : in.shapes;
    texts.resize(std::max(texts.size(), n + 1));
    return texts[n];
}

int countOf(const clsCounts& counts, Scope scope) {
    const std::int16_t all[] = {counts.HyperlinkCounter,   counts.HeaderCounter,
                                counts.FooterCounter,      counts.ShapesCounter,
                                counts.BuiltInPropCounter, counts.CustomPropCounter};
    return all[scope - 1];
}

int sumOf(const clsCounts& counts) {
    int sum = counts.CellCounter;
    for (const Scope scope : {kLinks, kHeaders, kFooters, kShapes, kBuiltIn, kCustom})
        sum += countOf(counts, scope);
    return sum;
}

TEST(ExcelConnectorTexts, countsAndReplaces) {
    const struct {
        const char* name;
        std::vector<Scope> scopes;
        const char* find;
        const char* with;
        bool matchCase;
        std::string before;
        int count;
        std::string after;
        // clang-format off
    } rows[] = {
        {"link", {kLinks}, "old", "new", false, "..\\Old\\old.xls", 1, "..\\new\\new.xls"},
        {"property", {kBuiltIn, kCustom}, "report", "summary", false, "Quarterly Report", 1,
         "Quarterly summary"},
        {"number", {kBuiltIn, kCustom}, "202", "199", false, "2023", 1, "1993"},
        {"letter case needs the whole text", {kLinks, kBuiltIn, kCustom}, "Old", "new", true,
         "..\\Old\\a.xls", 0, "..\\Old\\a.xls"},
        {"letter case, equal", {kLinks, kBuiltIn, kCustom}, "Old", "new", true, "Old", 1, "new"},
        {"letter case differs", {kLinks, kBuiltIn, kCustom}, "Old", "new", true, "old", 0, "old"},
        {"page", {kHeaders, kFooters}, "final", "Draft", false, "FINAL Final", 1, "Draft Draft"},
        {"page, letter case", {kHeaders, kFooters}, "Final", "Draft", true, "FINAL Final", 1,
         "FINAL Draft"},
        {"page, codes", {kHeaders, kFooters}, "&B", "&I", true, "&BTotal", 1, "&ITotal"},
        {"shape, occurrences", {kShapes}, "a", "x", false, "a b A b a", 3, "x b x b x"},
        {"shape, letter case", {kShapes}, "a", "x", true, "a b A b a", 2, "x b A b x"},
        {"shape, no overlap", {kShapes}, "aa", "b", false, "aaaaa", 2, "bba"},
        {"shape, outside ASCII", {kShapes}, "Ä", "x", false, "ä Ä", 2, "x x"},
    };
    // clang-format on
    for (const auto& row : rows) {
        for (const Scope scope : row.scopes) {
            for (const int flags : {0, 1, 2, 3}) {
                const bool searchOnly = (flags & 1) != 0;
                SCOPED_TRACE(std::string(row.name) + " in " + std::to_string(scope));
                ConnectorRun run;
                FakeBook& book = run.addBook("book.xls");
                // The other kind of property stays as it is.
                itemOf(book, kBuiltIn) = itemOf(book, kCustom) = row.before;
                itemOf(book, scope) = row.before;
                run.addEntry(row.find, row.with, scope, row.matchCase, (flags & 2) != 0);
                run.flags.isSearchOnly = searchOnly;
                run.go();
                const clsCounts& counts = run.reports.at(0).counts.at(0);
                EXPECT_EQ(countOf(counts, scope), row.count);
                EXPECT_EQ(sumOf(counts), row.count) << "another scope's counter grew";
                EXPECT_EQ(itemOf(book, scope), searchOnly ? row.before : row.after);
                EXPECT_EQ(itemOf(book, scope == kCustom ? kBuiltIn : kCustom), row.before);
                EXPECT_EQ(run.log(), "");
            }
        }
    }
}

class ExcelConnectorTextsRun : public testing::Test {
protected:
    ConnectorRun run;
    FakeBook& book = run.addBook("book.xls");
};

TEST_F(ExcelConnectorTextsRun, eachSectionCountsOnceAndOnlyItsOwnHalf) {
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

TEST_F(ExcelConnectorTextsRun, pagesOfTheirOwnCountWhenTheSheetUsesThem) {
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

// A refused section ends only itself; a refused link or shape the whole scope.
TEST(ExcelConnectorTexts, refusedTextIsKeptAndLogged) {
    const struct {
        Scope scope;
        const char* locked;
        const char* procedure;
        const char* place;
        int count;  // of three items on the first sheet, the second locked, and one on the next
        const char* last;  // the third item of the first sheet afterwards
    } rows[] = {
        {kLinks, "hyperlink 2", "ConvertHyperlinks", "hyperlink 2", 2, "cat"},
        {kHeaders, "section 1", "headerfooter", "CenterHeader", 4, "dog"},
        {kFooters, "section 4", "headerfooter", "CenterFooter", 4, "dog"},
        {kShapes, "shape 2", "shapes", "shape 2", 2, "cat"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.locked);
        ConnectorRun run;
        FakeBook& book = run.addBook("book.xls");
        book.sheets.assign(2, FakeSheet{});
        for (const Scope scope : {kLinks, kHeaders, kFooters, kShapes}) {
            for (std::size_t n = 0; n < 3; ++n) itemOf(book, scope, n) = "cat";
            itemOf(book, scope, 0, 1) = "cat";
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
        EXPECT_EQ(itemOf(book, row.scope, 2), row.last);
    }
}

TEST_F(ExcelConnectorTextsRun, lockedItemsWithoutAMatchAreNoRefusal) {
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
TEST_F(ExcelConnectorTextsRun, searchWritesNothingBack) {
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

// Three properties that match: without a value, locked, ordinary.
TEST_F(ExcelConnectorTextsRun, builtInWalkPassesOverWhatFails) {
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

TEST_F(ExcelConnectorTextsRun, customWalkEndsAtTheFirstFailure) {
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
