// SPDX-License-Identifier: MIT
// What saving an Office Open XML workbook writes, and what it leaves as it is.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <algorithm>
#include <filesystem>

#include "base/Error.h"
#include "support/CellRuns.h"
#include "support/TempDir.h"
#include "support/Thrown.h"
#include "support/WorkbookBuilder.h"
#include "workbook/FormatTable.h"

namespace brindle::workbook {

namespace {

using namespace std::string_literals;
using test::cell;
using test::found;
using test::memberText;
using test::packedMembers;
using test::part;
using test::replaceAll;
using test::shows;
using test::TempDir;
using test::WorkbookBuilder;

constexpr const char* kSheet = "xl/worksheets/sheet1.xml";
constexpr const char* kStringsPart = "xl/sharedStrings.xml";
constexpr const char* kWorkbook = "xl/workbook.xml";
constexpr const char* kChain = "xl/calcChain.xml";

bool holds(const std::string& text, std::string_view piece) {
    return text.find(piece) != std::string::npos;
}

// Names of the members that differ between two archives.
std::vector<std::string> differences(const std::map<std::string, test::PackedMember>& before,
                                     const std::map<std::string, test::PackedMember>& after) {
    std::vector<std::string> names;
    for (const auto& [name, member] : before) {
        const auto now = after.find(name);
        if (now == after.end() || now->second != member) names.push_back(name);
    }
    for (const auto& [name, member] : after) {
        if (!before.count(name)) names.push_back(name);
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
    book.sheet(
            "<row r=\"1\"><c r=\"A1\" t=\"s\"><v>0</v></c><c r=\"B1\" t=\"s\"><v>1</v></c></row>")
        .sheet(
            "<row r=\"1\"><c r=\"A1\" t=\"s\"><v>0</v></c>"
            "<c r=\"B1\" s=\"3\" t=\"s\"><v>2</v></c></row>")
        .strings("<si><t>red 1</t></si><si><t>blue 2</t></si><si><t>3 green</t></si>",
                 "count=\"4\" uniqueCount=\"3\"");
    return book;
}

WorkbookBuilder withRow(const std::string& row, const std::string& items,
                        const std::string& counts) {
    WorkbookBuilder book;
    book.sheet("<row r=\"1\">" + row + "</row>").strings(items, counts);
    return book;
}

TEST(OoxmlSave, ChangesSharedStringsWhereTheyStandIfItCan) {
    const std::string others = "<si><t>blue 2</t></si><si><t>3 green</t></si>";
    const std::string general = "<c r=\"A1\" t=\"s\"><v>0</v></c>";
    const std::string sheet2 = "xl/worksheets/sheet2.xml";
    const Sharing rows[] = {
        {"all cells alike",
         sharedBook(),
         part("red"),
         "black",
         {kStringsPart},
         "count=\"4\" uniqueCount=\"3\"><si><t>black 1</t></si>" + others},
        {"all into numbers",
         sharedBook(),
         part("red "),
         "",
         {kStringsPart, kSheet, sheet2},
         "count=\"2\" uniqueCount=\"3\"><si><t>red 1</t></si>" + others},
        {"a text cell stays text",
         sharedBook(),
         part(" green"),
         "",
         {kStringsPart},
         "count=\"4\" uniqueCount=\"3\"><si><t>red 1</t></si><si><t>blue 2</t></si>"
         "<si><t>3</t></si>"},
        {"a sheet that is not looked through",
         sharedBook().chartSheet(),
         part("blue"),
         "black",
         {kStringsPart, kSheet},
         "count=\"4\" uniqueCount=\"4\"><si><t>red 1</t></si>" + others +
             "<si><t>black 2</t></si>"},
        {"a number and a text",
         withRow(general + "<c r=\"B1\" s=\"3\" t=\"s\"><v>0</v></c>", "<si><t>x1</t></si>",
                 "uniqueCount=\"1\" count=\"2\""),
         part("x"),
         "",
         {kStringsPart, kSheet},
         "uniqueCount=\"2\" count=\"1\"><si><t>x1</t></si><si><t>1</t></si>"},
        {"two strings become one",
         withRow(general + "<c r=\"B1\" t=\"s\"><v>1</v></c><c r=\"C1\" s=\"1\"><v>0.01</v></c>",
                 "<si><t>1%a</t></si><si><t>1%b</t></si>", "count=\"2\" uniqueCount=\"2\""),
         part("1%*"),
         "z",
         {kStringsPart, kSheet},
         "count=\"3\" uniqueCount=\"3\"><si><t>z</t></si><si><t>z</t></si><si><t>z</t></si>"},
        {"numbers into texts",
         withRow("<c r=\"A1\"><v>12</v></c><c r=\"B1\"><v>12</v></c>", "", ""),
         part("1"),
         "x",
         {kStringsPart, kSheet},
         "><si><t>x2</t></si>"},
        {"an empty string",
         withRow(general + "<c r=\"B1\"><v>1</v></c>", "<si/>", "count=\"1\""),
         part("1"),
         "x",
         {kStringsPart, kSheet},
         "count=\"2\"><si/><si><t>x</t></si>"},
        {"cells without their strings",
         withRow("<c r=\"A1\"><v>1</v></c><c r=\"B1\" t=\"s\"><v>2</v></c>", "<si/>",
                 "uniqueCount=\"1\""),
         part("1"),
         "x",
         {kStringsPart, kSheet},
         "uniqueCount=\"4\"><si/><si></si><si></si><si><t>x</t></si>"},
        {"an extension behind",
         withRow("<c r=\"A1\"><v>1</v></c>", "<si/><extLst/>", ""),
         part("1"),
         "x",
         {kStringsPart, kSheet},
         "><si/><si><t>x</t></si><extLst/>"},
    };
    TempDir dir;
    for (const Sharing& row : rows) {
        SCOPED_TRACE(row.name);
        const std::string path = row.book.write(dir);
        const auto before = packedMembers(path);
        auto document = openDocument(path, {});
        const std::size_t count = replaceAll(*document, row.match, row.with);
        EXPECT_GE(count, 1u);
        document->save();
        EXPECT_EQ(differences(before, packedMembers(path)), row.changed);
        EXPECT_TRUE(holds(memberText(path, kStringsPart), row.strings + "</sst>"))
            << memberText(path, kStringsPart);
        document = openDocument(path, {});
        EXPECT_EQ(replaceAll(*document, row.match, row.with), 0u);
    }
}

TEST(OoxmlSave, FillsAnEmptyStringsPart) {
    for (const char* root :
         {"<sst xmlns=\"%\" count=\"0\"/>", "<sst xmlns=\"%\" count=\"0\"></sst>",
          "<y:sst xmlns:y=\"%\" count=\"0\" />"}) {
        SCOPED_TRACE(root);
        std::string strings = root;
        strings.replace(strings.find('%'), 1,
                        "http://schemas.openxmlformats.org/spreadsheetml/2006/main");
        TempDir dir;
        WorkbookBuilder book = withRow("<c r=\"A1\"><v>1</v></c>", "", "");
        const std::string path = book.part(kStringsPart, strings).write(dir);
        const auto document = openDocument(path, {});
        EXPECT_EQ(replaceAll(*document, part("1"), " x "), 1u);
        document->save();
        EXPECT_TRUE(holds(memberText(path, kStringsPart), "count=\"1\""));
        EXPECT_TRUE(shows(openDocument(path, {})->worksheet(0), cell("A1"), " x "));
    }
}

// --- calculation ---------------------------------------------------------------------------------

TEST(OoxmlSave, KeepsTheCalculationChainRight) {
    const std::string rows =
        "<row r=\"1\"><c r=\"A1\"><f>one</f></c><c r=\"B1\"><f>two</f></c></row>";
    const struct {
        const char* name;
        const char* find;
        const char* with;
        const char* chain;  // empty: the part is gone
    } cases[] = {
        {"stays a formula", "one", "three",
         "<c r=\"A1\" i=\"1\"/><c r=\"B1\"/><c r=\"A1\" i=\"2\"/>"},
        {"first", "=one", "x", "<c i=\"1\" r=\"B1\"/><c i=\"2\" r=\"B1\"/>"},
        {"second", "=two", "x", "<c r=\"A1\" i=\"1\"/><c r=\"A1\" i=\"2\"/>"},
        {"all", "=*", "x", ""},
    };
    TempDir dir;
    for (const auto& row : cases) {
        SCOPED_TRACE(row.name);
        WorkbookBuilder book;
        book.sheet(rows).sheet(rows);
        book.calcChain("<c r=\"A1\" i=\"1\"/><c r=\"B1\"/><c r=\"A1\" i=\"2\"/><c r=\"B1\"/>");
        if (std::string(row.find) == "one") {
            book.calcChain("<c r=\"A1\" i=\"1\"/><c r=\"B1\"/><c r=\"A1\" i=\"2\"/>");
        }
        const std::string path = book.write(dir);
        const auto document = openDocument(path, {});
        EXPECT_GE(replaceAll(*document, part(row.find), row.with), 2u);
        document->save();
        const bool stays = row.chain[0] != '\0';
        EXPECT_EQ(test::hasMember(path, kChain), stays);
        if (stays) {
            EXPECT_TRUE(holds(memberText(path, kChain), ">"s + row.chain + "</calcChain>"))
                << memberText(path, kChain);
        }
        EXPECT_EQ(holds(memberText(path, "[Content_Types].xml"), "calcChain"), stays);
        EXPECT_EQ(holds(memberText(path, "xl/_rels/workbook.xml.rels"), "calcChain"), stays);
    }
}

TEST(OoxmlSave, AsksForCalculationWhereThereAreFormulas) {
    const std::string formula = "<c r=\"B1\"><f>1+1</f><v>2</v></c>";
    const struct {
        const char* name;
        std::string row;
        const char* behind;  // elements behind the sheets
        const char* after;   // what they are then
        const char* prefix;
    } rows[] = {
        {"no formulas", "", "<calcPr calcId=\"1\"/>", "<calcPr calcId=\"1\"/>", ""},
        {"new element", formula, "", "<calcPr fullCalcOnLoad=\"1\"/></workbook>", ""},
        {"in its place", formula, "<definedNames/><extLst/>",
         "<definedNames/><calcPr fullCalcOnLoad=\"1\"/><extLst/>", ""},
        {"new attribute", formula, "<calcPr calcId=\"1\"/>",
         "<calcPr fullCalcOnLoad=\"1\" calcId=\"1\"/>", ""},
        {"switched on", formula, "<calcPr fullCalcOnLoad=\"0\"/>", "<calcPr fullCalcOnLoad=\"1\"/>",
         ""},
        {"prefix", formula, "<extLst/>", "<x:calcPr fullCalcOnLoad=\"1\"/><x:extLst/>", "x"},
    };
    TempDir dir;
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        WorkbookBuilder book = withRow("<c r=\"A1\"><v>7</v></c>" + row.row, "", "");
        const std::string path = book.settings("", row.behind).prefix(row.prefix).write(dir);
        const auto document = openDocument(path, {});
        EXPECT_EQ(replaceAll(*document, part("7"), "8"), 1u);
        document->save();
        EXPECT_TRUE(holds(memberText(path, kWorkbook), row.after)) << memberText(path, kWorkbook);
    }
}

// --- what stays ----------------------------------------------------------------------------------

struct State {
    std::string bytes;
    struct stat status {};
};

State stateOf(const TempDir& dir, const std::string& name) {
    State state;
    state.bytes = dir.read(name);
    EXPECT_EQ(stat(dir.path(name).c_str(), &state.status), 0);
    return state;
}

void expectUntouched(const State& before, const State& after) {
    EXPECT_TRUE(after.bytes == before.bytes);
    EXPECT_EQ(after.status.st_ino, before.status.st_ino);
    EXPECT_EQ(after.status.st_mtim.tv_sec, before.status.st_mtim.tv_sec);
    EXPECT_EQ(after.status.st_mtim.tv_nsec, before.status.st_mtim.tv_nsec);
}

TEST(OoxmlSave, TouchesNothingWithoutAChange) {
    const struct {
        const char* name;
        std::vector<std::pair<CellMatch, std::string>> entries;
    } rows[] = {
        {"nothing found", {{part("absent"), "x"}}},
        {"the same text", {{part("red"), "red"}}},
        {"there and back", {{part("red"), "\u00A4"}, {part("\u00A4"), "red"}}},
        {"back over a number", {{part("red "), ""}, {test::exactly("1"), "red 1"}}},
        {"formula", {{part("SUM"), "MAX"}, {part("MAX"), "SUM"}}},
        {"formula into text and back", {{part("=S"), "S"}, {part("SU"), "=SU"}}},
        {"header", {{part("Price"), "Cost"}, {part("Cost"), "Price"}}},
        {"master", {{part("C1"), "D1"}, {part("D1"), "C1"}}},
    };
    TempDir dir;
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        WorkbookBuilder book;
        book.sheet(
                "<row r=\"1\"><c r=\"A1\" t=\"s\"><v>0</v></c><c r=\"B1\"><f>SUM(A1)</f></c>"
                "<c r=\"D1\" t=\"s\"><v>1</v></c></row>"
                "<row r=\"2\"><c r=\"A2\"><f t=\"shared\" ref=\"A2:A3\" si=\"0\">C1+0</f></c></row>"
                "<row r=\"3\"><c r=\"A3\"><f t=\"shared\" si=\"0\"/></c></row>")
            .table("D1:D2", {"Price"})
            .strings("<si><r><t>re</t></r><r><t>d 1</t></r></si><si><t>Price</t></si>");
        const std::string path = book.write(dir);
        const State before = stateOf(dir, "book.xlsx");
        const auto document = openDocument(path, {});
        for (const auto& [match, with] : row.entries) replaceAll(*document, match, with);
        EXPECT_FALSE(document->isChanged());
        document->save();
        expectUntouched(before, stateOf(dir, "book.xlsx"));
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
    EXPECT_EQ(stateOf(dir, "book.xlsx").status.st_mode & 0777u, 0700u);
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(dir.path()), {}), 1);
}

TEST(OoxmlSave, WritesConvertedPartsAsUtf8) {
    TempDir dir;
    WorkbookBuilder book;
    book.rawSheet(
        "<?xml version=\"1.0\" encoding=\"ISO-8859-1\" standalone=\"yes\"?><worksheet "
        "xmlns=\"http://schemas.openxmlformats.org/spreadsheetml/2006/main\"><sheetData>"
        "<row><c t=\"inlineStr\"><is><t>\xE4 x</t></is></c></row></sheetData></worksheet>");
    const std::string path = book.write(dir);
    const auto document = openDocument(path, {});
    EXPECT_EQ(replaceAll(*document, part("\u00E4"), "\u4E2D"), 1u);
    document->save();
    const std::string written = memberText(path, kSheet);
    EXPECT_TRUE(holds(written, "encoding=\"UTF-8\"") && holds(written, "<t>\u4E2D x</t>"))
        << written;
    EXPECT_TRUE(shows(openDocument(path, {})->worksheet(0), cell("A1"), "\u4E2D x"));
}

TEST(OoxmlSave, RefusesAFileThatChangedMeanwhile) {
    TempDir dir;
    const std::string path = sharedBook().write(dir);
    const auto document = openDocument(path, {});
    EXPECT_EQ(replaceAll(*document, part("blue"), "x"), 1u);
    dir.write("book.xlsx", "something else");
    EXPECT_NE(test::numberOf([&] { document->save(); }), 0);
    EXPECT_EQ(dir.read("book.xlsx"), "something else");
}

}  // namespace

}  // namespace brindle::workbook
