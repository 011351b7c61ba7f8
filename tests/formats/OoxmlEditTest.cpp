// SPDX-License-Identifier: MIT
// What replacing makes of cells in Office Open XML workbooks, by the bytes that are written.
#include <gtest/gtest.h>

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
using test::exactly;
using test::found;
using test::memberText;
using test::part;
using test::replaceAll;
using test::shows;
using test::TempDir;
using test::WorkbookBuilder;

constexpr const char* kSheet = "xl/worksheets/sheet1.xml";
constexpr const char* kStringsPart = "xl/sharedStrings.xml";

// From `begin` to the next `end`, both included; empty when there is none.
std::string cut(const std::string& text, const std::string& begin, const std::string& end) {
    const std::size_t at = text.find(begin);
    const std::size_t stop = text.find(end, at == std::string::npos ? at : at + begin.size());
    return stop == std::string::npos ? "" : text.substr(at, stop + end.size() - at);
}

std::string rowOf(const std::string& path) {
    return cut(memberText(path, kSheet), "<row", "</row>");
}

WorkbookBuilder oneCell(const std::string& xml) {
    WorkbookBuilder book;
    book.sheet("<row r=\"1\">" + xml + "</row>").strings("<si><t>unused</t></si>");
    return book;
}

std::string textCell(const std::string& text, int style = 0) {
    return "<c r=\"A1\" s=\"" + std::to_string(style) + "\" t=\"inlineStr\"><is><t>" + text +
           "</t></is></c>";
}

// --- what is entered ---------------------------------------------------------------------------

struct Entering {
    const char* name;
    std::string before;  // the cell A1
    CellMatch match;
    std::string with;
    std::string after;  // the cell as written; empty when it must not match
    std::string shown;  // its text then
};

const Entering kEntered[] = {
    {"grouping is not searched", "<c r=\"A1\" s=\"6\"><v>1000</v></c>", part("1,000"), "x", "",
     "1000"},
    {"percent", "<c r=\"A1\" s=\"1\"><v>0.5</v></c>", exactly("50%"), "60%",
     "<c r=\"A1\" s=\"1\"><v>0.6</v></c>", "60%"},
    {"percent without its sign", "<c r=\"A1\" s=\"1\"><v>0.5</v></c>", part("0%"), "",
     "<c r=\"A1\" s=\"1\"><v>5</v></c>", "500%"},
    {"part of a date", "<c r=\"A1\" s=\"8\"><v>42675</v></c>", part("1/1/2016"), "2/2/2017",
     "<c r=\"A1\" s=\"8\"><v>43071</v></c>", "12/2/2017"},
    {"date into text", "<c r=\"A1\" s=\"2\"><v>42370</v></c>", part("/"), ".",
     "<c r=\"A1\" s=\"2\" t=\"s\"><v>1</v></c>", "1.1.2016"},
    {"formula result is not searched", "<c r=\"A1\" t=\"str\"><f>B1&amp;\"x\"</f><v>abcx</v></c>",
     part("abc"), "z", "", "=B1&\"x\""},
    {"wildcard",
     textCell("abc"),
     {"A*", CaseMode::Folded, true},
     "z",
     "<c r=\"A1\" s=\"0\" t=\"inlineStr\"><is><t>z</t></is></c>",
     "z"},
    {"tilde", textCell("a*b axxb"), part("a~*b"), "z",
     "<c r=\"A1\" s=\"0\" t=\"inlineStr\"><is><t>z axxb</t></is></c>", "z axxb"},
    {"sign in front of a name", textCell("a*b axxb"), part("a~*b"), "-",
     "<c r=\"A1\" s=\"0\"><f>- axxb</f></c>", "=- axxb"},
    {"sign in front of a sheet that is not there", textCell("x-No!a"), part("x"), "",
     "<c r=\"A1\" s=\"0\" t=\"inlineStr\"><is><t>-No!a</t></is></c>", "-No!a"},
    {"shortest run", textCell("x (y) z (w)"), part("(*)"), "",
     "<c r=\"A1\" s=\"0\" t=\"inlineStr\"><is><t xml:space=\"preserve\">x  z </t></is></c>",
     "x  z "},
    {"text into number", textCell("007"), part("0"), "", "<c r=\"A1\" s=\"0\"><v>7</v></c>", "7"},
    {"apostrophe is not searched", textCell("abc", 4), part("'"), "z", "", "abc"},
    {"function", "<c r=\"A1\"><f>SUM(B1:B2)</f><v>3</v></c>", part("SUM"), "average",
     "<c r=\"A1\"><f>AVERAGE(B1:B2)</f></c>", "=AVERAGE(B1:B2)"},
    {"emptied", "<c r=\"A1\" s=\"9\" t=\"inlineStr\"><is><t>abc</t></is></c>", exactly("abc"), "",
     "<c r=\"A1\" s=\"9\"/>", ""},
    {"boolean, letter case", "<c r=\"A1\" t=\"b\"><v>1</v></c>", part("true"), "x", "", "TRUE"},
    {"boolean", "<c r=\"A1\" t=\"b\"><v>1</v></c>", part("TRUE"), "false",
     "<c r=\"A1\" t=\"b\"><v>0</v></c>", "FALSE"},
    {"error", "<c r=\"A1\" t=\"e\"><v>#N/A</v></c>", part("N/A"), "REF!",
     "<c r=\"A1\" t=\"e\"><v>#REF!</v></c>", "#REF!"},
    {"number into text", "<c r=\"A1\"><v>1234</v></c>", part("2"), "x",
     "<c r=\"A1\" t=\"s\"><v>1</v></c>", "1x34"},
    {"number into number", "<c r=\"A1\" s=\"9\"><v>1234</v></c>", part("2"), "5",
     "<c r=\"A1\" s=\"9\"><v>1534</v></c>", "1534"},
    {"text into boolean", textCell("xtrue"), part("x"), "",
     "<c r=\"A1\" s=\"0\" t=\"b\"><v>1</v></c>", "TRUE"},
    {"text into formula", textCell("x1+2"), part("x"), "=", "<c r=\"A1\" s=\"0\"><f>1+2</f></c>",
     "=1+2"},
    {"lone equals sign", textCell("x"), part("x"), "=",
     "<c r=\"A1\" s=\"0\" t=\"inlineStr\"><is><t>=</t></is></c>", "="},
    {"formula into text", "<c r=\"A1\" cm=\"1\"><f>B1</f><v>2</v></c>", part("="), "",
     "<c r=\"A1\" t=\"s\"><v>1</v></c>", "B1"},
    {"formula into number", "<c r=\"A1\"><f>1</f><v>1</v></c>", part("="), "",
     "<c r=\"A1\"><v>1</v></c>", "1"},
    {"text format stays", textCell("x007", 3), part("x"), "",
     "<c r=\"A1\" s=\"3\" t=\"inlineStr\"><is><t>007</t></is></c>", "007"},
    {"text format, no formula", textCell("x1+1", 3), part("x"), "=",
     "<c r=\"A1\" s=\"3\" t=\"inlineStr\"><is><t>=1+1</t></is></c>", "=1+1"},
    {"apostrophe stays", textCell("1_2", 4), part("_"), "-",
     "<c r=\"A1\" s=\"4\" t=\"inlineStr\"><is><t>1-2</t></is></c>", "1-2"},
    {"number with text format", "<c r=\"A1\" s=\"3\"><v>12</v></c>", part("1"), "0",
     "<c r=\"A1\" s=\"3\" t=\"s\"><v>1</v></c>", "02"},
    {"other attributes and children stay",
     "<c ph=\"1\" r=\"A1\" xml:lang=\"de\" t=\"n\"><v>1</v><extLst><ext uri=\"u\"/></extLst></c>",
     part("1"), "2",
     "<c ph=\"1\" r=\"A1\" xml:lang=\"de\"><v>2</v><extLst><ext uri=\"u\"/></extLst></c>", "2"},
    {"text constant of another kind", "<c r=\"A1\" t=\"str\"><v>a_x000D_b</v></c>", part("a"), "c",
     "<c r=\"A1\" t=\"s\"><v>1</v></c>", "c\rb"},
    {"rich value", "<c r=\"A1\" t=\"e\" vm=\"3\"><v>#VALUE!</v></c>", part("VALUE!"), "N/A",
     "<c r=\"A1\" t=\"e\"><v>#N/A</v></c>", "#N/A"},
    {"one-cell array",
     "<c r=\"A1\" cm=\"1\"><f t=\"array\" aca=\"1\" ref=\"A1\">SUM(B1:B2*2)</f><v>1</v></c>",
     part("2*2"), "3*2",
     "<c r=\"A1\" cm=\"1\"><f t=\"array\" ref=\"A1\" aca=\"1\">SUM(B1:B3*2)</f></c>",
     "=SUM(B1:B3*2)"},
    {"always calculated", "<c r=\"A1\"><f ca=\"1\">NOW()+1</f><v>1</v></c>", part("1"), "2",
     "<c r=\"A1\"><f ca=\"1\">NOW()+2</f></c>", "=NOW()+2"},
    {"future function", "<c r=\"A1\"><f>_xlfn.CONCAT(B1,\"a\")</f></c>", part("\"a\""), "\"b\"",
     "<c r=\"A1\"><f>_xlfn.CONCAT(B1,\"b\")</f></c>", "=CONCAT(B1,\"b\")"},
    {"markup in a formula", "<c r=\"A1\"><f>B1&amp;\"&lt;\"</f></c>", part("<"), ">&",
     "<c r=\"A1\"><f>B1&amp;\"&gt;&amp;\"</f></c>", "=B1&\">&\""},
    {"markup in a text", textCell("a &lt; b"), part("<"), "<&>",
     "<c r=\"A1\" s=\"0\" t=\"inlineStr\"><is><t>a &lt;&amp;&gt; b</t></is></c>", "a <&> b"},
    {"what looks like an escape", textCell("a"), part("a"), "_x0041_",
     "<c r=\"A1\" s=\"0\" t=\"inlineStr\"><is><t>_x005F_x0041_</t></is></c>", "_x0041_"},
    {"characters that no part may hold", textCell("a_xFFFF_b_x0001_"), part("a"), "c",
     "<c r=\"A1\" s=\"0\" t=\"inlineStr\"><is><t>c_xFFFF_b_x0001_</t></is></c>", "c\uFFFFb\x01"},
    {"ISO date", "<c r=\"A1\" s=\"2\" t=\"d\"><v>2016-01-01</v></c>", part("2016"), "2017",
     "<c r=\"A1\" s=\"2\"><v>42736</v></c>", "1/1/2017"},
};

TEST(OoxmlEdit, EntersTheNewTextAsIfTyped) {
    TempDir dir;
    for (const Entering& row : kEntered) {
        SCOPED_TRACE(row.name);
        const std::string path = oneCell(row.before).write(dir);
        const auto document = openDocument(path, {});
        EXPECT_EQ(replaceAll(*document, row.match, row.with), row.after.empty() ? 0u : 1u);
        EXPECT_TRUE(shows(document->worksheet(0), {1, 1}, row.shown));
        EXPECT_EQ(document->isChanged(), !row.after.empty());
        document->save();
        const std::string expected = row.after.empty() ? row.before : row.after;
        EXPECT_EQ(rowOf(path), "<row r=\"1\">" + expected + "</row>");
        const auto again = openDocument(path, {});
        EXPECT_TRUE(shows(again->worksheet(0), {1, 1}, row.shown));
    }
}

// --- formats that come with a number -------------------------------------------------------------

struct Formatting {
    const char* typed;
    double number;
    int formatId;  // of the style that the cell takes on
};

const Formatting kFormatted[] = {
    {"12%", 0.12, 9},
    {"1,234.5", 1234.5, 4},
    {"1E3", 1000, 11},
    {"1/2/2003", 37623, 14},
    {"1/2", 38719, 16},
    {"Jan 2003", 37622, 17},
    {"1:30", 0.0625, 20},
    {"1:30 PM", 0.5625, 18},
    {"1 1/2", 1.5, 12},
    {"$5", 5, 6},
    {"1:30:15.5", 0.06267939814814815, 47},
};

TEST(OoxmlEdit, SetsAFormatOnGeneralCells) {
    TempDir dir;
    OpenOptions options;
    options.currentYear = 2006;
    for (const Formatting& row : kFormatted) {
        SCOPED_TRACE(row.typed);
        for (const char* prefix : {"", "x"}) {
            const std::string path = oneCell(textCell("?"s, 9)).prefix(prefix).write(dir);
            const auto document = openDocument(path, options);
            ASSERT_EQ(replaceAll(*document, part("~?"), row.typed), 1u);
            document->save();
            EXPECT_EQ(openDocument(path, options)->worksheet(0).cellValue({1, 1}).number,
                      row.number);
            const std::string mark = *prefix ? prefix + ":"s : "";
            const std::string styles = memberText(path, "xl/styles.xml");
            const std::string xfs = cut(styles, "<" + mark + "cellXfs", "</" + mark + "cellXfs>");
            EXPECT_NE(xfs.find("count=\"15\""), std::string::npos);
            const std::size_t last = xfs.rfind("<" + mark + "xf ");
            const std::string added = xfs.substr(last, xfs.find('>', last) - last);
            EXPECT_NE(added.find("fontId=\"1\""), std::string::npos) << added;
            EXPECT_NE(added.find("applyNumberFormat=\"1\""), std::string::npos) << added;
            const std::string id = "numFmtId=\"" + std::to_string(row.formatId) + "\"";
            EXPECT_NE(added.find(id), std::string::npos) << added;
        }
    }
}

TEST(OoxmlEdit, AddsAFormatWhereABuiltInOneIsTaken) {
    TempDir dir;
    // The workbook gives number 9 to a format of its own.
    const std::string path = oneCell(textCell("x12%")).inAllParts("\"165\"", "\"9\"").write(dir);
    const auto document = openDocument(path, {});
    EXPECT_EQ(replaceAll(*document, part("x"), ""), 1u);
    document->save();
    const std::string styles = memberText(path, "xl/styles.xml");
    EXPECT_NE(styles.find("<numFmts count=\"3\">"), std::string::npos);
    EXPECT_NE(styles.find("<numFmt numFmtId=\"167\" formatCode=\"0%\"/></numFmts>"),
              std::string::npos);
    EXPECT_NE(styles.find("<xf applyNumberFormat=\"1\" numFmtId=\"167\""), std::string::npos);
    EXPECT_TRUE(shows(openDocument(path, {})->worksheet(0), {1, 1}, "12%"));
}

TEST(OoxmlEdit, ReusesStyles) {
    TempDir dir;
    WorkbookBuilder book;
    book.sheet(
        "<row r=\"1\"><c r=\"A1\" t=\"str\"><v>x1%</v></c><c r=\"B1\" t=\"str\"><v>x2%</v></c>"
        "<c r=\"C1\" s=\"2\" t=\"str\"><v>x3%</v></c><c r=\"D1\" t=\"str\"><v>x4.5%</v></c></row>");
    const std::string path = book.write(dir);
    const auto document = openDocument(path, {});
    EXPECT_EQ(replaceAll(*document, part("x"), ""), 4u);
    document->save();
    // In the order of the walk, which begins behind the first match.
    EXPECT_EQ(
        rowOf(path),
        "<row r=\"1\"><c r=\"A1\" s=\"15\"><v>0.01</v></c><c r=\"B1\" s=\"15\"><v>0.02</v></c>"
        "<c r=\"C1\" s=\"2\"><v>0.03</v></c><c r=\"D1\" s=\"14\"><v>0.045</v></c></row>");
}

TEST(OoxmlEdit, WritesNoFormatWithoutStyles) {
    TempDir dir;
    const std::string path = oneCell(textCell("x5%")).withoutStyles().write(dir);
    const auto document = openDocument(path, {});
    EXPECT_EQ(replaceAll(*document, part("x"), ""), 1u);
    document->save();
    EXPECT_EQ(rowOf(path), "<row r=\"1\"><c r=\"A1\" s=\"0\"><v>0.05</v></c></row>");
}

// --- texts with formats of their own -------------------------------------------------------------

struct Rich {
    const char* name;
    const char* before;
    const char* find;
    const char* with;
    const char* after;
};

const Rich kRich[] = {
    {"in one run", "<r><t>ab</t></r><r><rPr><b/></rPr><t>cd</t></r>", "c", "X",
     "<r><t>ab</t></r><r><rPr><b/></rPr><t>Xd</t></r>"},
    {"over two runs", "<r><t>ab</t></r><r><rPr><b/></rPr><t>cd</t></r>", "bc", "X",
     "<r><t>aX</t></r><r><rPr><b/></rPr><t>d</t></r>"},
    {"a run emptied", "<r><t>ab</t></r><r><rPr><b/></rPr><t>cd</t></r>", "cd", "",
     "<r><t>ab</t></r>"},
    {"over three runs", "<r><t>ab</t></r><r><rPr><b/></rPr><t>c</t></r><r><t>de</t></r>", "bcd",
     "X", "<r><t>aX</t></r><r><t>e</t></r>"},
    {"several matches", "<r><t>aXbX</t></r><r><rPr><i/></rPr><t>Xc</t></r>", "X", "yy",
     "<r><t>ayybyy</t></r><r><rPr><i/></rPr><t>yyc</t></r>"},
    {"blanks come to an end", "<r><t>a b</t></r><r><rPr><i/></rPr><t>c</t></r>", "b", "",
     "<r><t xml:space=\"preserve\">a </t></r><r><rPr><i/></rPr><t>c</t></r>"},
    {"phonetic text goes",
     "<t>ab</t><rPh sb=\"0\" eb=\"1\"><t>a</t></rPh><phoneticPr fontId=\"1\"/>", "a", "X",
     "<t>Xb</t>"},
    {"empty run stays", "<r><rPr><b/></rPr><t/></r><r><t>ab</t></r>", "a", "",
     "<r><rPr><b/></rPr><t/></r><r><t>b</t></r>"},
    {"two texts in a run", "<r><rPr><b/></rPr><t>ab</t><t>ac</t></r>", "a", "",
     "<r><rPr><b/></rPr><t>b</t><t>c</t></r>"},
    {"one of two texts emptied", "<r><rPr><b/></rPr><t>a</t><t>ac</t></r>", "a", "",
     "<r><rPr><b/></rPr><t>c</t></r>"},
    {"texts beside runs", "<t>ab</t><r><t>ab</t></r>", "b", "", "<t>a</t><r><t>a</t></r>"},
    {"escapes", "<r><t>a_x000D_b</t></r><r><t>_x005F_x0041_</t></r>", "b", "c",
     "<r><t>a_x000D_c</t></r><r><t>_x005F_x0041_</t></r>"},
};

TEST(OoxmlEdit, KeepsTheFormatsOfWhatIsNotReplaced) {
    TempDir dir;
    for (const Rich& row : kRich) {
        SCOPED_TRACE(row.name);
        WorkbookBuilder book;
        book.sheet(
            "<row r=\"1\"><c r=\"A1\" t=\"s\"><v>0</v></c><c r=\"B1\" t=\"inlineStr\"><is>"s +
            row.before + "</is></c></row>");
        book.strings("<si>"s + row.before + "</si>");
        const std::string path = book.write(dir);
        const auto document = openDocument(path, {});
        EXPECT_EQ(replaceAll(*document, part(row.find), row.with), 2u);
        document->save();
        EXPECT_EQ(cut(memberText(path, kStringsPart), "<si>", "</si>"),
                  "<si>"s + row.after + "</si>");
        EXPECT_EQ(cut(rowOf(path), "<is>", "</is>"), "<is>"s + row.after + "</is>");
    }
}

// --- shared formulas -----------------------------------------------------------------------------

struct Family {
    const char* name;
    const char* find;  // replaced by 9
    const char* after;
};

TEST(OoxmlEdit, ChangesOneCellOfASharedFormula) {
    const std::string before =
        "<c r=\"A1\"><f t=\"shared\" ca=\"1\" ref=\"A1:D1\" si=\"0\">A2+1&amp;\"a\"</f><v>1</v></c>"
        "<c r=\"B1\"><f t=\"shared\" si=\"0\"/><v>1</v></c><c r=\"C1\"><f t=\"shared\" "
        "si=\"0\"/><v>1</v></c>"
        "<c r=\"D1\"><f t=\"shared\" si=\"0\"/><v>1</v></c>";
    const Family rows[] = {
        {"a child", "C2",
         "<c r=\"A1\"><f t=\"shared\" ca=\"1\" ref=\"A1:D1\" "
         "si=\"0\">A2+1&amp;\"a\"</f><v>1</v></c>"
         "<c r=\"B1\"><f t=\"shared\" si=\"0\"/><v>1</v></c><c r=\"C1\"><f>9+1&amp;\"a\"</f></c>"
         "<c r=\"D1\"><f t=\"shared\" si=\"0\"/><v>1</v></c>"},
        {"the one that defines it", "A2",
         "<c r=\"A1\"><f ca=\"1\">9+1&amp;\"a\"</f></c>"
         "<c r=\"B1\"><f t=\"shared\" si=\"0\" ref=\"B1:D1\">B2+1&amp;\"a\"</f><v>1</v></c>"
         "<c r=\"C1\"><f t=\"shared\" si=\"0\"/><v>1</v></c><c r=\"D1\"><f t=\"shared\" "
         "si=\"0\"/><v>1</v></c>"},
        {"into a text", "=A2+1&\"a\"",
         "<c r=\"A1\"><v>9</v></c>"
         "<c r=\"B1\"><f t=\"shared\" si=\"0\" ref=\"B1:D1\">B2+1&amp;\"a\"</f><v>1</v></c>"
         "<c r=\"C1\"><f t=\"shared\" si=\"0\"/><v>1</v></c><c r=\"D1\"><f t=\"shared\" "
         "si=\"0\"/><v>1</v></c>"},
        {"two of them", "?2+1",
         "<c r=\"A1\"><f ca=\"1\">9&amp;\"a\"</f></c><c r=\"B1\"><f>9&amp;\"a\"</f></c>"
         "<c r=\"C1\"><f>9&amp;\"a\"</f></c><c r=\"D1\"><f>9&amp;\"a\"</f></c>"},
    };
    TempDir dir;
    for (const Family& row : rows) {
        SCOPED_TRACE(row.name);
        const std::string path = oneCell(before).write(dir);
        const auto document = openDocument(path, {});
        EXPECT_GE(replaceAll(*document, part(row.find), "9"), 1u);
        document->save();
        EXPECT_EQ(rowOf(path), "<row r=\"1\">"s + row.after + "</row>");
    }
}

TEST(OoxmlEdit, PromotesOverSeveralRows) {
    TempDir dir;
    WorkbookBuilder book;
    book.prefix("x").sheet(
        "<row r=\"1\"><c r=\"A1\"><f t=\"shared\" ref=\"A1:B3\" si=\"7\">C1*2</f></c></row>"
        "<row r=\"2\"><c r=\"B2\"><f t=\"shared\" si=\"7\"/></c></row>"
        "<row r=\"3\"><c r=\"A3\"><f t=\"shared\" si=\"7\"/></c></row>");
    const std::string path = book.write(dir);
    auto document = openDocument(path, {});
    document->worksheet(0).replaceInCell({1, 1}, part("C1"), "D1");
    document->save();
    document = openDocument(path, {});
    EXPECT_TRUE(shows(document->worksheet(0), cell("A1"), "=D1*2"));
    EXPECT_TRUE(shows(document->worksheet(0), cell("B2"), "=D2*2"));
    EXPECT_TRUE(shows(document->worksheet(0), cell("A3"), "=C3*2"));
    EXPECT_NE(memberText(path, kSheet).find("si=\"7\" ref=\"A2:B3\">D2*2</x:f>"),
              std::string::npos);
}

// --- refusals ------------------------------------------------------------------------------------

struct Refusal {
    const char* name;
    WorkbookBuilder book;
    const char* cell;
    CellMatch match;
    std::string with;
    const char* text;  // begins with
};

const char* const kProtection = "<sheetProtection sheet=\"1\" objects=\"1\"/>";

TEST(OoxmlEdit, RefusesAndLeavesTheCell) {
    const std::string array =
        "<c r=\"A1\"><f t=\"array\" ref=\"A1:B1\">C1:D1*2</f><v>1</v></c><c r=\"B1\"><v>1</v></c>";
    const std::string table =
        "<c r=\"A1\"><f t=\"dataTable\" ref=\"A1:B1\" dtr=\"1\" r1=\"C1\"/><v>1</v></c>"
        "<c r=\"B1\"><v>1</v></c>";
    WorkbookBuilder locked;
    locked.sheet("<row><c r=\"A1\" t=\"str\"><v>x</v></c></row>", kProtection);
    WorkbookBuilder isSigned = oneCell(textCell("x"));
    isSigned.part("_xmlsignatures/origin.sigs", "")
        .inAllParts(
            "<Relationship Id=\"main\"",
            "<Relationship Id=\"sig\" Type=\"http://schemas.openxmlformats.org/package/2006/"
            "relationships/digital-signature/origin\" Target=\"_xmlsignatures/origin.sigs\"/>"
            "<Relationship Id=\"main\"");
    const std::string formula = "<c r=\"A1\"><f>SUM(B1)</f><v>1</v></c>";
    const std::string ns = "http://schemas.openxmlformats.org/spreadsheetml/2006/main";
    WorkbookBuilder odd;
    odd.rawSheet("<x:worksheet xmlns:x=\"" + ns + "\"><x:sheetData><row xmlns=\"" + ns +
                 "\"><c r=\"A1\" t=\"str\"><v>x</v></c></row></x:sheetData></x:worksheet>");
    const Refusal rows[] = {
        {"first of an array", oneCell(array), "A1", part("C1"), "E1",
         "You cannot change part of an array"},
        {"another of an array", oneCell(array), "B1", part("C1"), "E1",
         "You cannot change part of an array"},
        {"data table", oneCell(table), "B1", part("TABLE"), "X",
         "Cannot change part of a data table"},
        {"protected", locked, "A1", part("x"), "y",
         "The cell or chart that you are trying to change is protected and therefore read-only"},
        {"signed", isSigned, "A1", part("x"), "y", "The workbook is signed"},
        {"no formula", oneCell(formula), "A1", part(")"), "",
         "The formula you typed contains an error"},
        {"no formula, from a text", oneCell(textCell("x1+")), "A1", part("x"), "=",
         "The formula you typed contains an error"},
        {"no such sheet", oneCell(formula), "A1", part("B1"), "Nowhere!B1",
         "The formula you typed contains an error"},
        {"no such book", oneCell(formula), "A1", part("B1"), "[other.xlsx]Sheet1!B1", ""},
        {"long text", oneCell(textCell("x"s + std::string(32767, 'y'))), "A1", part("x"), "xx", ""},
        {"long formula", oneCell("<c r=\"A1\"><f>B1&amp;\"" + std::string(250, 'a') + "\"</f></c>"),
         "A1", part("B1"),
         [] {
             std::string names = "B1";
             for (int i = 0; i < 2800; ++i) names += "+B1";
             return names;
         }(),
         "Formula is too long"},
        {"a namespace of the row", odd, "A1", part("x"), "y", "The cell is written in a form"},
        {"no character in a formula", oneCell(formula), "A1", part("B1"), "\"\x01\"",
         "The text contains a character that is not allowed"},
        {"no character", oneCell(textCell("x")), "A1", part("x"), "\xED\xA0\x80", ""},
    };
    TempDir dir;
    for (const Refusal& row : rows) {
        SCOPED_TRACE(row.name);
        const std::string path = row.book.write(dir);
        const std::string before = dir.read("book.xlsx");
        const auto document = openDocument(path, {});
        Worksheet& sheet = document->worksheet(0);
        const auto places = found(sheet, row.match);
        ASSERT_NE(std::find(places.begin(), places.end(), cell(row.cell)), places.end());
        const auto error =
            test::thrownBy([&] { sheet.replaceInCell(cell(row.cell), row.match, row.with); });
        ASSERT_TRUE(error.has_value());
        EXPECT_EQ(error->number(), error_number::kApplicationDefined);
        EXPECT_EQ(error->kind(), ErrorKind::Refused);
        EXPECT_TRUE(error->description().starts_with(row.text)) << error->description();
        EXPECT_EQ(error->place().cell, row.cell);
        EXPECT_EQ(found(sheet, row.match), places);
        EXPECT_FALSE(document->isChanged());
        document->save();
        EXPECT_EQ(dir.read("book.xlsx"), before);
    }
}

TEST(OoxmlEdit, ChangesWhatIsNotLocked) {
    TempDir dir;
    WorkbookBuilder book;
    book.sheet(
        "<row><c r=\"A1\" s=\"5\" t=\"str\"><v>x</v></c><c r=\"B1\" t=\"str\"><v>x</v></c></row>",
        kProtection);
    book.sheet("<row><c r=\"A1\" t=\"str\"><v>x</v></c></row>", "<sheetProtection sheet=\"0\"/>");
    book.settings("<workbookProtection lockStructure=\"1\"/>");
    const auto document = openDocument(book.write(dir), {});
    document->worksheet(0).replaceInCell(cell("A1"), part("x"), "y");
    document->worksheet(1).replaceInCell(cell("A1"), part("x"), "y");
    // The same text again is no change, so nothing is refused.
    document->worksheet(0).replaceInCell(cell("B1"), part("x"), "x");
    EXPECT_EQ(found(document->worksheet(0), part("y")).size(), 1u);
    EXPECT_EQ(found(document->worksheet(1), part("y")).size(), 1u);
}

// --- tables --------------------------------------------------------------------------------------

TEST(OoxmlEdit, RenamesTableColumns) {
    const struct {
        const char* name;
        const char* find;
        const char* with;
        const char* columns;  // empty when refused
    } rows[] = {
        {"renamed", "Price", "Cost <1>",
         "name=\"Cost &lt;1&gt;\"/><tableColumn id=\"2\" name=\"Used\"/>"
         "<tableColumn id=\"3\" name=\"A_x000a_B\"/>"},
        {"looks like a number", "Price", "2024", "name=\"2024\"/>"},
        {"looks like a formula", "Price", "=1", "name=\"=1\"/>"},
        {"line break", "Price", "P\nQ", "name=\"P_x000A_Q\"/>"},
        {"used in a formula", "Used", "Other", ""},
        {"another column's name", "Price", "uSED", ""},
        {"emptied", "Price", "", ""},
        {"not writable", "Price", "\xED\xA0\x80", ""},
    };
    TempDir dir;
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        WorkbookBuilder book;
        book.sheet(
            "<row r=\"1\"><c r=\"A1\" t=\"str\"><v>Price</v></c><c r=\"B1\" "
            "t=\"str\"><v>Used</v></c>"
            "<c r=\"C1\" t=\"str\"><v>A\nB</v></c></row>"
            "<row r=\"2\"><c r=\"A2\" t=\"str\"><v>Price </v></c></row>");
        book.table("A1:C2", {"Price", "Used", "A_x000a_B"});
        book.sheet("<row r=\"1\"><c r=\"A1\"><f>SUM(Table1[used])</f><v>1</v></c></row>");
        const std::string path = book.write(dir);
        const std::string before = memberText(path, "xl/tables/table1.xml");
        const auto document = openDocument(path, {});
        Worksheet& sheet = document->worksheet(0);
        const auto place = sheet.findCell(exactly(row.find), {9, 9});
        ASSERT_TRUE(place.has_value());
        const auto error =
            test::thrownBy([&] { sheet.replaceInCell(*place, exactly(row.find), row.with); });
        EXPECT_EQ(error.has_value(), row.columns[0] == '\0');
        EXPECT_EQ(error ? error->number() : 1004, 1004);
        EXPECT_TRUE(shows(sheet, *place, error ? row.find : row.with));
        // A cell of the table's body makes sure that something is saved.
        sheet.replaceInCell(cell("A2"), part("Price "), "body");
        document->save();
        const std::string after = memberText(path, "xl/tables/table1.xml");
        if (error) {
            EXPECT_EQ(after, before);
        } else {
            EXPECT_NE(after.find("<tableColumn id=\"1\" "s + row.columns), std::string::npos)
                << after;
        }
    }
}

// --- runs of several patterns --------------------------------------------------------------------

TEST(OoxmlEdit, LaterPatternsSeeEarlierChanges) {
    for (const bool isExpected : {true, false}) {
        TempDir dir;
        std::vector<CellMatch> expected = {part("red"), part("green"), part("1")};
        OpenOptions options;
        if (isExpected) options.expectedPatterns = &expected;
        WorkbookBuilder book;
        book.sheet(
                "<row r=\"1\"><c r=\"A1\" t=\"s\"><v>0</v></c><c r=\"B1\" t=\"s\"><v>1</v></c>"
                "<c r=\"C1\"><f>A1&amp;\"red\"</f></c></row>")
            .strings("<si><t>red</t></si><si><t>green</t></si>");
        const std::string path = book.write(dir);
        auto document = openDocument(path, options);
        EXPECT_EQ(replaceAll(*document, part("red"), "green"), 2u);
        EXPECT_EQ(replaceAll(*document, part("green"), "11"), 3u);
        EXPECT_EQ(replaceAll(*document, part("1"), "2"), 3u);
        EXPECT_EQ(replaceAll(*document, part("22"), "blue"), 3u);
        EXPECT_EQ(replaceAll(*document, part("lu"), "o"), 3u);
        EXPECT_EQ(replaceAll(*document, part("red"), "x"), 0u);
        document->save();
        document = openDocument(path, {});
        EXPECT_TRUE(shows(document->worksheet(0), cell("A1"), "boe"));
        EXPECT_TRUE(shows(document->worksheet(0), cell("B1"), "boe"));
        EXPECT_TRUE(shows(document->worksheet(0), cell("C1"), "=A2&\"boe\""));
    }
}

TEST(OoxmlEdit, TakesMorePatternsThanAWordHasBits) {
    TempDir dir;
    std::vector<CellMatch> expected;
    std::string rows;
    for (int i = 0; i < 150; ++i) {
        const std::string number = std::to_string(1000 + i);
        expected.push_back(part("key_" + number));
        rows += "<row><c t=\"inlineStr\"><is><t>key_" + number + "</t></is></c><c><f>key_" +
                number + "+1</f></c></row>";
    }
    OpenOptions options;
    options.expectedPatterns = &expected;
    WorkbookBuilder book;
    const auto document = openDocument(book.sheet(rows).write(dir), options);
    for (int i = 0; i < 150; ++i) {
        const std::string next =
            i == 149 ? "end" : expected[static_cast<std::size_t>(i) + 1].what();
        const std::size_t count =
            replaceAll(*document, expected[static_cast<std::size_t>(i)], next);
        ASSERT_EQ(count, static_cast<std::size_t>(i) * 2 + 2) << i;
    }
    EXPECT_EQ(found(document->worksheet(0), part("end")).size(), 300u);
}

}  // namespace

}  // namespace brindle::workbook
