// SPDX-License-Identifier: MIT
// What saving an Office Open XML workbook writes, and what it leaves as it is.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>

#include "base/Error.h"
#include "support/CellRuns.h"
#include "support/FileStatus.h"
#include "support/TempDir.h"
#include "support/Thrown.h"
#include "support/WorkbookBuilder.h"
#include "workbook/FormatTable.h"

namespace brindle::workbook {
namespace {

using namespace std::string_literals;
using namespace test;

constexpr const char* kWorkbook = "xl/workbook.xml";
constexpr const char* kChain = "xl/calcChain.xml";

// Names of the members that differ between two archives.
std::vector<std::string> differences(std::map<std::string, PackedMember> before,
                                     std::map<std::string, PackedMember> after) {
    auto all = before;
    all.insert(after.begin(), after.end());
    std::vector<std::string> names;
    for (const auto& [name, member] : all) {
        if (before[name] != after[name]) names.push_back(name);
    }
    return names;
}

// --- shared strings ------------------------------------------------------------------------------

struct Sharing {
    const char* name;
    WorkbookBuilder book;
    CellMatch match;
    std::string with;
    std::vector<std::string> changed;  // members
    std::string strings;               // counts and items afterwards
};

WorkbookBuilder sharedBook() {
    WorkbookBuilder book;
    book.sheet(R"(<row r="1"><c r="A1" t="s"><v>0</v></c><c r="B1" t="s"><v>1</v></c></row>)")
        .sheet(R"(<row r="1"><c r="A1" t="s"><v>0</v></c><c r="B1" s="3" t="s"><v>2</v></c></row>)")
        .strings("<si><t>red 1</t></si><si><t>blue 2</t></si><si><t>3 green</t></si>",
                 R"(count="4" uniqueCount="3")");
    return book;
}

WorkbookBuilder withRow(const std::string& row, const std::string& items = {},
                        const std::string& counts = {}) {
    WorkbookBuilder book;
    return book.row(row).strings(items, counts);
}

TEST(OoxmlSave, ChangesSharedStringsWhereTheyStandIfItCan) {
    const std::string others = "<si><t>blue 2</t></si><si><t>3 green</t></si>";
    const std::string general = R"(<c r="A1" t="s"><v>0</v></c>)";
    const std::string sheet2 = "xl/worksheets/sheet2.xml";
    // clang-format off
    const Sharing rows[] = {
        {"all cells alike", sharedBook(), part("red"), "black", {kStringsPart},
         R"(count="4" uniqueCount="3"><si><t>black 1</t></si>)" + others},
        {"all into numbers", sharedBook(), part("red "), "", {kStringsPart, kSheet, sheet2},
         R"(count="2" uniqueCount="3"><si><t>red 1</t></si>)" + others},
        {"a text cell stays text", sharedBook(), part(" green"), "", {kStringsPart},
         R"(count="4" uniqueCount="3"><si><t>red 1</t></si><si><t>blue 2</t></si><si><t>)"
         R"(3</t></si>)"},
        {"a sheet that is not looked through", sharedBook().chartSheet(), part("blue"), "black",
         {kStringsPart, kSheet},
         R"(count="4" uniqueCount="4"><si><t>red 1</t></si>)" + others + "<si><t>black 2</t></si>"},
        {"a number and a text", withRow(general + R"(<c r="B1" s="3" t="s"><v>0</v></c>)",
         "<si><t>x1</t></si>", R"(uniqueCount="1" count="2")"), part("x"), "", {kStringsPart,
         kSheet}, R"(uniqueCount="2" count="1"><si><t>x1</t></si><si><t>1</t></si>)"},
        {"two strings become one",
         withRow(general + R"(<c r="B1" t="s"><v>1</v></c><c r="C1" s="1"><v>0.01</v></c>)",
         "<si><t>1%a</t></si><si><t>1%b</t></si>", R"(count="2" uniqueCount="2")"), part("1%*"),
         "z", {kStringsPart, kSheet},
         R"(count="3" uniqueCount="3"><si><t>z</t></si><si><t>z</t></si><si><t>z</t></si>)"},
        {"numbers into texts", withRow(R"(<c r="A1"><v>12</v></c><c r="B1"><v>12</v></c>)", "", ""),
         part("1"), "x", {kStringsPart, kSheet}, "><si><t>x2</t></si>"},
        {"an empty string", withRow(general + R"(<c r="B1"><v>1</v></c>)", "<si/>", R"(count="1")"),
         part("1"), "x", {kStringsPart, kSheet}, R"(count="2"><si/><si><t>x</t></si>)"},
        {"cells without their strings",
         withRow(R"(<c r="A1"><v>1</v></c><c r="B1" t="s"><v>2</v></c>)", "<si/>",
         R"(uniqueCount="1")"), part("1"), "x", {kStringsPart, kSheet},
         R"(uniqueCount="4"><si/><si></si><si></si><si><t>x</t></si>)"},
        {"an extension behind", withRow(R"(<c r="A1"><v>1</v></c>)", "<si/><extLst/>", ""),
         part("1"), "x", {kStringsPart, kSheet}, "><si/><si><t>x</t></si><extLst/>"},
    };
    // clang-format on
    TempDir dir;
    for (const Sharing& row : rows) {
        SCOPED_TRACE(row.name);
        const std::string path = row.book.write(dir);
        const auto before = packedMembers(path);
        EXPECT_GE(replaceIn(path, row.match, row.with), 1u);
        EXPECT_EQ(differences(before, packedMembers(path)), row.changed);
        EXPECT_TRUE(holds(memberText(path, kStringsPart), row.strings + "</sst>"))
            << memberText(path, kStringsPart);
        EXPECT_EQ(replaceIn(path, row.match, row.with), 0u);
    }
}

TEST(OoxmlSave, FillsAnEmptyStringsPart) {
    for (const char* root : {R"(<sst xmlns="%" count="0"/>)", R"(<sst xmlns="%" count="0"></sst>)",
                             R"(<y:sst xmlns:y="%" count="0" />)"}) {
        SCOPED_TRACE(root);
        std::string strings = root;
        strings.replace(strings.find('%'), 1,
                        "http://schemas.openxmlformats.org/spreadsheetml/2006/main");
        TempDir dir;
        WorkbookBuilder book = withRow(R"(<c r="A1"><v>1</v></c>)", "", "");
        const std::string path = book.part(kStringsPart, strings).write(dir);
        EXPECT_EQ(replaceIn(path, part("1"), " x "), 1u);
        EXPECT_TRUE(holds(memberText(path, kStringsPart), R"(count="1")"));
        EXPECT_TRUE(shows(openDocument(path, {})->worksheet(0), cell("A1"), " x "));
    }
}

// --- calculation ---------------------------------------------------------------------------------

TEST(OoxmlSave, KeepsTheCalculationChainRight) {
    const std::string rows = R"(<row r="1"><c r="A1"><f>one</f></c><c r="B1"><f>two</f></c></row>)";
    const struct {
        const char* name;
        const char* find;
        const char* with;
        const char* chain;  // empty: the part is gone
    } cases[] = {
        {"stays a formula", "one", "three", R"(<c r="A1" i="1"/><c r="B1"/><c r="A1" i="2"/>)"},
        {"first", "=one", "x", R"(<c i="1" r="B1"/><c i="2" r="B1"/>)"},
        {"second", "=two", "x", R"(<c r="A1" i="1"/><c r="A1" i="2"/>)"},
        {"all", "=*", "x", ""},
    };
    TempDir dir;
    for (const auto& row : cases) {
        SCOPED_TRACE(row.name);
        WorkbookBuilder book;
        book.sheet(rows).sheet(rows);
        book.calcChain(R"(<c r="A1" i="1"/><c r="B1"/><c r="A1" i="2"/><c r="B1"/>)");
        if (std::string(row.find) == "one") {
            book.calcChain(R"(<c r="A1" i="1"/><c r="B1"/><c r="A1" i="2"/>)");
        }
        const std::string path = book.write(dir);
        EXPECT_GE(replaceIn(path, part(row.find), row.with), 2u);
        const bool stays = row.chain[0] != '\0';
        EXPECT_EQ(readMembers(path).count(kChain) == 1, stays);
        if (stays) {
            EXPECT_TRUE(holds(memberText(path, kChain), ">"s + row.chain + "</calcChain>"))
                << memberText(path, kChain);
        }
        EXPECT_EQ(holds(memberText(path, "[Content_Types].xml"), "calcChain"), stays);
        EXPECT_EQ(holds(memberText(path, "xl/_rels/workbook.xml.rels"), "calcChain"), stays);
    }
}

TEST(OoxmlSave, AsksForCalculationWhereThereAreFormulas) {
    const std::string formula = R"(<c r="B1"><f>1+1</f><v>2</v></c>)";
    const struct {
        const char* name;
        std::string row;
        const char* behind;  // elements behind the sheets
        const char* after;   // what they are then
        const char* prefix;
    } rows[] = {
        {"no formulas", "", R"(<calcPr calcId="1"/>)", R"(<calcPr calcId="1"/>)", ""},
        {"new element", formula, "", R"(<calcPr fullCalcOnLoad="1"/></workbook>)", ""},
        {"in its place", formula, "<definedNames/><extLst/>",
         R"(<definedNames/><calcPr fullCalcOnLoad="1"/><extLst/>)", ""},
        {"new attribute", formula, R"(<calcPr calcId="1"/>)",
         R"(<calcPr fullCalcOnLoad="1" calcId="1"/>)", ""},
        {"switched on", formula, R"(<calcPr fullCalcOnLoad="0"/>)",
         R"(<calcPr fullCalcOnLoad="1"/>)", ""},
        {"prefix", formula, "<extLst/>", R"(<x:calcPr fullCalcOnLoad="1"/><x:extLst/>)", "x"},
    };
    TempDir dir;
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        WorkbookBuilder book = withRow(R"(<c r="A1"><v>7</v></c>)" + row.row, "", "");
        const std::string path = book.settings("", row.behind).prefix(row.prefix).write(dir);
        EXPECT_EQ(replaceIn(path, part("7"), "8"), 1u);
        EXPECT_TRUE(holds(memberText(path, kWorkbook), row.after)) << memberText(path, kWorkbook);
    }
}

// --- what stays ----------------------------------------------------------------------------------

TEST(OoxmlSave, TouchesNothingWithoutAChange) {
    using Entries = std::vector<std::pair<CellMatch, std::string>>;
    const std::pair<const char*, Entries> rows[] = {
        {"nothing found", {{part("absent"), "x"}}},
        {"the same text", {{part("red"), "red"}}},
        {"there and back", {{part("red"), "\u00A4"}, {part("\u00A4"), "red"}}},
        {"back over a number", {{part("red "), ""}, {exactly("1"), "red 1"}}},
        {"formula", {{part("SUM"), "MAX"}, {part("MAX"), "SUM"}}},
        {"formula into text and back", {{part("=S"), "S"}, {part("SU"), "=SU"}}},
        {"header", {{part("Price"), "Cost"}, {part("Cost"), "Price"}}},
        {"master", {{part("C1"), "D1"}, {part("D1"), "C1"}}},
    };
    TempDir dir;
    for (const auto& [name, entries] : rows) {
        SCOPED_TRACE(name);
        WorkbookBuilder book;
        book.sheet(R"(<row r="1"><c r="A1" t="s"><v>0</v></c><c r="B1"><f>SUM(A1)</f></c>)"
                   R"(<c r="D1" t="s"><v>1</v></c></row><row r="2"><c r="A2">)"
                   R"(<f t="shared" ref="A2:A3" si="0">C1+0</f></c></row><row r="3"><c r="A3">)"
                   R"(<f t="shared" si="0"/></c></row>)")
            .table("D1:D2", {"Price"})
            .strings("<si><r><t>re</t></r><r><t>d 1</t></r></si><si><t>Price</t></si>");
        const std::string path = book.write(dir);
        const std::string bytes = dir.read("book.xlsx");
        const struct stat before = statusOf(path);
        const auto document = openDocument(path, {});
        for (const auto& [match, with] : entries) replaceAll(*document, match, with);
        EXPECT_FALSE(document->isChanged());
        document->save();
        expectUntouched(before, statusOf(path));
        EXPECT_TRUE(dir.read("book.xlsx") == bytes);
    }
}

TEST(OoxmlSave, CopiesOtherMembersAsTheyAreStored) {
    TempDir dir;
    WorkbookBuilder book = sharedBook();
    book.part("xl/media/image1.png", std::string(5000, '\x89'))
        .part("xl/vbaProject.bin", "\xD0\xCF\x11\xE0 macros")
        .part("customXml/item1.xml", "<odd   a='1'/>")
        .part("docProps/app.xml", "<not well-formed");
    const std::string path = book.write(dir);
    std::filesystem::permissions(path, std::filesystem::perms::owner_all);
    const auto before = packedMembers(path);
    const auto document = openDocument(path, {});
    EXPECT_EQ(replaceAll(*document, part("blue 2"), "7%"), 1u);
    EXPECT_TRUE(document->isChanged());
    document->save();
    EXPECT_EQ(differences(before, packedMembers(path)),
              (std::vector<std::string>{kStringsPart, "xl/styles.xml", kSheet}));
    EXPECT_EQ(statusOf(path).st_mode & 0777u, 0700u);
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(dir.path()), {}), 1);
}

TEST(OoxmlSave, RefusesAFileThatChangedMeanwhile) {
    TempDir dir;
    const std::string path = sharedBook().write(dir);
    const auto document = openDocument(path, {});
    EXPECT_EQ(replaceAll(*document, part("blue"), "x"), 1u);
    dir.write("book.xlsx", "something else");
    EXPECT_NE(numberOf([&] { document->save(); }), 0);
    EXPECT_EQ(dir.read("book.xlsx"), "something else");
}

}  // namespace
}  // namespace brindle::workbook
