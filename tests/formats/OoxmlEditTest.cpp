// SPDX-License-Identifier: MIT
// What replacing makes of cells in Office Open XML workbooks, by the bytes that are written.
#include <gtest/gtest.h>

#include "base/Error.h"
#include "support/CellRuns.h"
#include "support/TempDir.h"
#include "support/Thrown.h"
#include "support/WorkbookBuilder.h"

namespace brindle::workbook {
namespace {

using namespace std::string_literals;
using namespace test;

std::string rowOf(const std::string& path) {
    return cut(memberText(path, kSheet), "<row", "</row>");
}

WorkbookBuilder oneRow(const std::string& cells, const std::string& tail = {}) {
    WorkbookBuilder book;
    return book.row(cells, tail).strings("<si><t>unused</t></si>");
}

// The cell A1 from what follows its place; a cell as it stands is taken so.
std::string a1(const std::string& rest) {
    return rest[0] == '<' ? rest : "<c r=\"A1\"" + rest + "</c>";
}
std::string text(const std::string& text, int style = 0) {
    return " s=\"" + std::to_string(style) + R"(" t="inlineStr"><is><t>)" + text + "</t></is>";
}
WorkbookBuilder oneText(const std::string& content, int style = 0) {
    return oneRow(a1(text(content, style)));
}

// --- what is entered ---------------------------------------------------------------------------

struct Entering {
    const char* name;
    std::string before;  // the cell A1: all of it, or what follows its place
    CellMatch match;
    std::string with;
    std::string after;  // the cell as written; empty when it must not match
    std::string shown;  // its text then
};

// clang-format off
const Entering kEntered[] = {
    {"grouping is not searched", R"( s="6"><v>1000</v>)", part("1,000"), "x", "", "1000"},
    {"percent", R"( s="1"><v>0.5</v>)", exactly("50%"), "60%", R"( s="1"><v>0.6</v>)", "60%"},
    {"percent without its sign", R"( s="1"><v>0.5</v>)", part("0%"), "", R"( s="1"><v>5</v>)",
     "500%"},
    {"date into text", R"( s="2"><v>42370</v>)", part("/"), ".", R"( s="2" t="s"><v>1</v>)",
     "1.1.2016"},
    {"formula result is not searched", R"( t="str"><f>B1&amp;"x"</f><v>abcx</v>)", part("abc"), "z",
     "", R"(=B1&"x")"},
    {"wildcard", text("abc"), {"A*", CaseMode::Folded, true}, "z", text("z"), "z"},
    {"sign in front of a name", text("a*b axxb"), part("a~*b"), "-", R"( s="0"><f>- axxb</f>)",
     "=- axxb"},
    {"sign in front of a sheet that is not there", text("x-No!a"), part("x"), "", text("-No!a"),
     "-No!a"},
    {"shortest run", text("x (y) z (w)"), part("(*)"), "",
     R"( s="0" t="inlineStr"><is><t xml:space="preserve">x  z </t></is>)", "x  z "},
    {"text into number", text("007"), part("0"), "", R"( s="0"><v>7</v>)", "7"},
    {"apostrophe is not searched", text("abc", 4), part("'"), "z", "", "abc"},
    {"function", R"(><f>SUM(B1:B2)</f><v>3</v>)", part("SUM"), "average",
     R"(><f>AVERAGE(B1:B2)</f>)", "=AVERAGE(B1:B2)"},
    {"emptied", text("abc", 9), exactly("abc"), "", R"(<c r="A1" s="9"/>)", ""},
    {"boolean, letter case", R"( t="b"><v>1</v>)", part("true"), "x", "", "TRUE"},
    {"boolean", R"( t="b"><v>1</v>)", part("TRUE"), "false", R"( t="b"><v>0</v>)", "FALSE"},
    {"error", R"( t="e"><v>#N/A</v>)", part("N/A"), "REF!", R"( t="e"><v>#REF!</v>)", "#REF!"},
    {"text into boolean", text("xtrue"), part("x"), "", R"( s="0" t="b"><v>1</v>)", "TRUE"},
    {"text into formula", text("x1+2"), part("x"), "=", R"( s="0"><f>1+2</f>)", "=1+2"},
    {"formula into text", R"( cm="1"><f>B1</f><v>2</v>)", part("="), "", R"( t="s"><v>1</v>)",
     "B1"},
    {"formula into number", R"(><f>1</f><v>1</v>)", part("="), "", R"(><v>1</v>)", "1"},
    {"text format stays", text("x007", 3), part("x"), "", text("007", 3), "007"},
    {"apostrophe stays", text("1_2", 4), part("_"), "-", text("1-2", 4), "1-2"},
    {"number with text format", R"( s="3"><v>12</v>)", part("1"), "0", R"( s="3" t="s"><v>1</v>)",
     "02"},
    {"other attributes and children stay",
     R"(<c ph="1" r="A1" xml:lang="de" t="n"><v>1</v><extLst><ext uri="u"/></extLst></c>)",
     part("1"), "2",
     R"(<c ph="1" r="A1" xml:lang="de"><v>2</v><extLst><ext uri="u"/></extLst></c>)", "2"},
    {"text constant of another kind", R"( t="str"><v>a_x000D_b</v>)", part("a"), "c",
     R"( t="s"><v>1</v>)", "c\rb"},
    {"rich value", R"( t="e" vm="3"><v>#VALUE!</v>)", part("VALUE!"), "N/A",
     R"( t="e"><v>#N/A</v>)", "#N/A"},
    {"one-cell array", R"( cm="1"><f t="array" aca="1" ref="A1">SUM(B1:B2*2)</f><v>1</v>)",
     part("2*2"), "3*2", R"( cm="1"><f t="array" ref="A1" aca="1">SUM(B1:B3*2)</f>)",
     "=SUM(B1:B3*2)"},
    {"sheet that is there", "><f>sheet1!B1+1</f>", part("+1"), "+2", "><f>sheet1!B1+2</f>",
     "=sheet1!B1+2"},
    {"column of a table that was there", "><f>SUM(T[a])+1</f>", part("+1"), "+2",
     "><f>SUM(T[a])+2</f>", "=SUM(T[a])+2"},
    {"always calculated", R"(><f ca="1">NOW()+1</f><v>1</v>)", part("1"), "2",
     R"(><f ca="1">NOW()+2</f>)", "=NOW()+2"},
    {"future function", R"(><f>_xlfn.CONCAT(B1,"a")</f>)", part(R"("a")"), R"("b")",
     R"(><f>_xlfn.CONCAT(B1,"b")</f>)", R"(=CONCAT(B1,"b"))"},
    {"markup in a formula", R"(><f>B1&amp;"&lt;"</f>)", part("<"), ">&",
     R"(><f>B1&amp;"&gt;&amp;"</f>)", R"(=B1&">&")"},
    {"characters that no part may hold", text("a_xFFFF_b_x0001_"), part("a"), "c",
     text("c_xFFFF_b_x0001_"), "c\uFFFFb\x01"},
    {"ISO date", R"( s="2" t="d"><v>2016-01-01</v>)", part("2016"), "2017",
     R"( s="2"><v>42736</v>)", "1/1/2017"},
    {"what XML knows in the new text", text("a"), part("a"), "]]></t>\r&<_x0041_",
     text("]]&gt;&lt;/t&gt;_x000D_&amp;&lt;_x005F_x0041_"), "]]></t>\r&<_x0041_"},
    {"control characters in the new text", text("a"), part("a"), "\x01\x1F", text("_x0001__x001F_"),
     "\x01\x1F"},
};
// clang-format on

TEST(OoxmlEdit, EntersTheNewTextAsIfTyped) {
    TempDir dir;
    for (const Entering& row : kEntered) {
        SCOPED_TRACE(row.name);
        const bool isChanged = !row.after.empty();
        const std::string path = oneRow(a1(row.before)).write(dir);
        const auto document = openDocument(path, {});
        EXPECT_EQ(replaceAll(*document, row.match, row.with), isChanged ? 1u : 0u);
        EXPECT_TRUE(shows(document->worksheet(0), {1, 1}, row.shown));
        EXPECT_EQ(document->isChanged(), isChanged);
        document->save();
        const std::string expected = a1(isChanged ? row.after : row.before);
        EXPECT_EQ(rowOf(path), R"(<row r="1">)" + expected + "</row>");
        EXPECT_TRUE(shows(openDocument(path, {})->worksheet(0), {1, 1}, row.shown));
    }
}

// --- formats that come with a number -------------------------------------------------------------

TEST(OoxmlEdit, SetsAFormatOnGeneralCells) {
    const struct {
        const char* typed;
        double number;
        int formatId;  // of the style that the cell takes on
        // clang-format off
    } rows[] = {
        {"12%", 0.12, 9}, {"1,234.5", 1234.5, 4}, {"1E3", 1000, 11}, {"1/2/2003", 37623, 14},
        {"1/2", 38719, 16}, {"Jan 2003", 37622, 17}, {"1:30", 0.0625, 20}, {"1:30 PM", 0.5625, 18},
        {"1 1/2", 1.5, 12}, {"$5", 5, 6}, {"1:30:15.5", 0.06267939814814815, 47},
    };
    // clang-format on
    TempDir dir;
    OpenOptions options;
    options.currentYear = 2006;
    for (const auto& row : rows) {
        for (const std::string prefix : {"", "x"}) {
            SCOPED_TRACE(row.typed + " "s + prefix);
            const std::string path = oneText("?", 9).prefix(prefix).write(dir);
            ASSERT_EQ(replaceIn(path, part("~?"), row.typed, options), 1u);
            EXPECT_EQ(openDocument(path, options)->worksheet(0).cellValue({1, 1}).number,
                      row.number);
            const std::string mark = prefix.empty() ? "" : prefix + ":";
            const std::string styles = memberText(path, "xl/styles.xml");
            const std::string xfs = cut(styles, "<" + mark + "cellXfs", "</" + mark + "cellXfs>");
            const std::string added = cut(xfs.substr(xfs.rfind("<" + mark + "xf ")), "<", ">");
            EXPECT_TRUE(holds(xfs, R"(count="15")"));
            EXPECT_TRUE(holds(added, R"(fontId="1")") && holds(added, R"(applyNumberFormat="1")") &&
                        holds(added, "numFmtId=\"" + std::to_string(row.formatId) + "\""))
                << added;
        }
    }
}

TEST(OoxmlEdit, AddsAFormatWhereABuiltInOneIsTaken) {
    TempDir dir;
    // The workbook gives number 9 to a format of its own.
    const std::string path = oneText("x12%").inAllParts(R"("165")", R"("9")").write(dir);
    EXPECT_EQ(replaceIn(path, part("x"), ""), 1u);
    const std::string styles = memberText(path, "xl/styles.xml");
    EXPECT_TRUE(holds(styles, R"(<numFmts count="3">)"));
    EXPECT_TRUE(holds(styles, R"(<numFmt numFmtId="167" formatCode="0%"/></numFmts>)"));
    EXPECT_TRUE(holds(styles, R"(<xf applyNumberFormat="1" numFmtId="167")"));
    EXPECT_TRUE(shows(openDocument(path, {})->worksheet(0), {1, 1}, "12%"));
}

TEST(OoxmlEdit, ReusesStyles) {
    TempDir dir;
    const std::string cells =
        R"(<c r="A1" t="str"><v>x1%</v></c><c r="B1" t="str"><v>x2%</v></c>)"
        R"(<c r="C1" s="2" t="str"><v>x3%</v></c><c r="D1" t="str"><v>x4.5%</v></c>)";
    const std::string path = oneRow(cells).write(dir);
    EXPECT_EQ(replaceIn(path, part("x"), ""), 4u);
    // In the order of the walk, which begins behind the first match.
    EXPECT_EQ(rowOf(path),
              R"(<row r="1"><c r="A1" s="15"><v>0.01</v></c><c r="B1" s="15"><v>0.02</v></c>)"
              R"(<c r="C1" s="2"><v>0.03</v></c><c r="D1" s="14"><v>0.045</v></c></row>)");
}

TEST(OoxmlEdit, WritesNoFormatWithoutStyles) {
    TempDir dir;
    const std::string path = oneText("x5%").withoutStyles().write(dir);
    EXPECT_EQ(replaceIn(path, part("x"), ""), 1u);
    EXPECT_EQ(rowOf(path), R"(<row r="1"><c r="A1" s="0"><v>0.05</v></c></row>)");
}

// --- texts with formats of their own -------------------------------------------------------------

struct Rich {
    const char* name;
    std::string before;
    const char* find;
    const char* with;
    std::string after;
};

std::string plain(const std::string& text) {
    return "<r><t>" + text + "</t></r>";
}
std::string bold(const std::string& text) {
    return "<r><rPr><b/></rPr><t>" + text + "</t></r>";
}

// clang-format off
const Rich kRich[] = {
    {"in one run", plain("ab") + bold("cd"), "c", "X", plain("ab") + bold("Xd")},
    {"over two runs", plain("ab") + bold("cd"), "bc", "X", plain("aX") + bold("d")},
    {"a run emptied", plain("ab") + bold("cd"), "cd", "", plain("ab")},
    {"over three runs", plain("ab") + bold("c") + plain("de"), "bcd", "X",
     plain("aX") + plain("e")},
    {"several matches", plain("aXbX") + bold("Xc"), "X", "yy", plain("ayybyy") + bold("yyc")},
    {"blanks come to an end", plain("a b") + bold("c"), "b", "",
     R"(<r><t xml:space="preserve">a </t></r>)" + bold("c")},
    {"phonetic text goes", R"(<t>ab</t><rPh sb="0" eb="1"><t>a</t></rPh><phoneticPr fontId="1"/>)",
     "a", "X", "<t>Xb</t>"},
    {"empty run stays", "<r><rPr><b/></rPr><t/></r>" + plain("ab"), "a", "",
     "<r><rPr><b/></rPr><t/></r>" + plain("b")},
    {"two texts in a run", bold("ab</t><t>ac"), "a", "", bold("b</t><t>c")},
    {"one of two texts emptied", bold("a</t><t>ac"), "a", "", bold("c")},
    {"texts beside runs", "<t>ab</t>" + plain("ab"), "b", "", "<t>a</t>" + plain("a")},
    {"escapes", plain("a_x000D_b") + plain("_x005F_x0041_"), "b", "c",
     plain("a_x000D_c") + plain("_x005F_x0041_")},
    {"CDATA", "<t><![CDATA[<ab>]]></t>", "a", "X", "<t>&lt;Xb&gt;</t>"},
    {"numbered character", "<t>&#97;b &amp;</t>", "ab", "X", "<t>X &amp;</t>"},
    {"comment and instruction", "<r><t>a<?ab?></t></r><!-- ab -->" + plain("b"), "b", "X",
     "<r><t>a<?ab?></t></r><!-- ab -->" + plain("X")},
};
// clang-format on

TEST(OoxmlEdit, KeepsTheFormatsOfWhatIsNotReplaced) {
    TempDir dir;
    for (const Rich& row : kRich) {
        SCOPED_TRACE(row.name);
        const std::string inlined = R"(<c r="B1" t="inlineStr"><is>)" + row.before + "</is></c>";
        const std::string path = oneRow(R"(<c r="A1" t="s"><v>0</v></c>)" + inlined)
                                     .strings("<si>" + row.before + "</si>")
                                     .write(dir);
        EXPECT_EQ(replaceIn(path, part(row.find), row.with), 2u);
        EXPECT_EQ(cut(memberText(path, kStringsPart), "<si>", "</si>"),
                  "<si>" + row.after + "</si>");
        EXPECT_EQ(cut(rowOf(path), "<is>", "</is>"), "<is>" + row.after + "</is>");
    }
}

// --- shared formulas -----------------------------------------------------------------------------

TEST(OoxmlEdit, ChangesOneCellOfASharedFormula) {
    const auto child = [](const std::string& cell) {
        return "<c r=\"" + cell + R"("><f t="shared" si="0"/><v>1</v></c>)";
    };
    const auto own = [](const std::string& cell, const std::string& formula) {
        return "<c r=\"" + cell + "\"><f>" + formula + R"(&amp;"a"</f></c>)";
    };
    const std::string master = R"(<c r="A1"><f t="shared" ca="1" ref="A1:D1" si="0">)"
                               R"(A2+1&amp;"a"</f><v>1</v></c>)";
    // What B1 to D1 become when A1 does not share the formula any more.
    const std::string promoted =
        R"(<c r="B1"><f t="shared" si="0" ref="B1:D1">B2+1&amp;"a"</f><v>1</v></c>)" + child("C1") +
        child("D1");
    const struct {
        const char* name;
        const char* find;  // replaced by 9
        std::string after;
        // clang-format off
    } rows[] = {
        {"a child", "C2", master + child("B1") + own("C1", "9+1") + child("D1")},
        {"the one that defines it", "A2", R"(<c r="A1"><f ca="1">9+1&amp;"a"</f></c>)" + promoted},
        {"into a text", "=A2+1&\"a\"", R"(<c r="A1"><v>9</v></c>)" + promoted},
        {"two of them", "?2+1", R"(<c r="A1"><f ca="1">9&amp;"a"</f></c>)" + own("B1", "9") +
         own("C1", "9") + own("D1", "9")},
    };
    // clang-format on
    TempDir dir;
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        const std::string path =
            oneRow(master + child("B1") + child("C1") + child("D1")).write(dir);
        EXPECT_GE(replaceIn(path, part(row.find), "9"), 1u);
        EXPECT_EQ(rowOf(path), R"(<row r="1">)" + row.after + "</row>");
    }
}

TEST(OoxmlEdit, PromotesOverSeveralRows) {
    TempDir dir;
    WorkbookBuilder book;
    book.prefix("x").sheet(
        R"(<row r="1"><c r="A1"><f t="shared" ref="A1:B3" si="7">C1*2</f></c></row>)"
        R"(<row r="2"><c r="B2"><f t="shared" si="7"/></c></row>)"
        R"(<row r="3"><c r="A3"><f t="shared" si="7"/></c></row>)");
    const std::string path = book.write(dir);
    auto document = openDocument(path, {});
    document->worksheet(0).replaceInCell({1, 1}, part("C1"), "D1");
    document->save();
    document = openDocument(path, {});
    EXPECT_TRUE(shows(document->worksheet(0), cell("A1"), "=D1*2"));
    EXPECT_TRUE(shows(document->worksheet(0), cell("B2"), "=D2*2"));
    EXPECT_TRUE(shows(document->worksheet(0), cell("A3"), "=C3*2"));
    EXPECT_TRUE(holds(memberText(path, kSheet), R"(si="7" ref="A2:B3">D2*2</x:f>)"));
}

// --- refusals ------------------------------------------------------------------------------------

const char* const kProtection = R"(<sheetProtection sheet="1" objects="1"/>)";

WorkbookBuilder signedBook() {
    const std::string first = R"(<Relationship Id="main")";
    const std::string signature =
        R"(<Relationship Id="sig" Type="http://schemas.openxmlformats.org/package/2006/)"
        R"(relationships/digital-signature/origin" Target="_xmlsignatures/origin.sigs"/>)";
    return oneText("x").part("_xmlsignatures/origin.sigs", "").inAllParts(first, signature + first);
}

TEST(OoxmlEdit, RefusesAndLeavesTheCell) {
    const std::string array =
        R"(<c r="A1"><f t="array" ref="A1:B1">C1:D1*2</f><v>1</v></c><c r="B1"><v>1</v></c>)";
    const std::string table = R"(<c r="A1"><f t="dataTable" ref="A1:B1" dtr="1" r1="C1"/><v>1</v>)"
                              R"(</c><c r="B1"><v>1</v></c>)";
    const std::string formula = R"(<c r="A1"><f>SUM(B1)</f><v>1</v></c>)";
    const std::string isWrong = "The formula you typed contains an error";
    const std::string isArray = "You cannot change part of an array";
    std::string names = "B1";
    for (int i = 0; i < 2800; ++i) names += "+B1";
    const std::string ns = "http://schemas.openxmlformats.org/spreadsheetml/2006/main";
    WorkbookBuilder odd;
    odd.rawSheet("<x:worksheet xmlns:x=\"" + ns + "\"><x:sheetData><row xmlns=\"" + ns +
                 R"("><c r="A1" t="str"><v>x</v></c></row></x:sheetData></x:worksheet>)");
    const std::string isLocked =
        "The cell or chart that you are trying to change is protected and therefore read-only";
    const struct {
        const char* name;
        WorkbookBuilder book;
        const char* cell;
        CellMatch match;
        std::string with;
        std::string text;  // begins with
    } rows[] = {
        {"first of an array", oneRow(array), "A1", part("C1"), "E1", isArray},
        {"another of an array", oneRow(array), "B1", part("C1"), "E1", isArray},
        {"data table", oneRow(table), "B1", part("TABLE"), "X",
         "Cannot change part of a data table"},
        {"protected", oneRow(a1(text("x")), kProtection), "A1", part("x"), "y", isLocked},
        {"protected array", oneRow(array, kProtection), "B1", part("C1"), "E1", isLocked},
        {"signed", signedBook(), "A1", part("x"), "y", "The workbook is signed"},
        {"no formula", oneRow(formula), "A1", part(")"), "", isWrong},
        {"no formula, from a text", oneText("x1+"), "A1", part("x"), "=", isWrong},
        {"no such sheet", oneRow(formula), "A1", part("B1"), "Nowhere!B1", isWrong},
        {"new column of a table", oneRow(a1("><f>SUM(T[a])</f>")), "A1", part("[a]"), "[b]",
         isWrong},
        {"no such book", oneRow(formula), "A1", part("B1"), "[other.xlsx]Sheet1!B1", ""},
        {"long text", oneText("x" + std::string(32767, 'y')), "A1", part("x"), "xx", ""},
        {"long formula", oneRow(a1("><f>B1&amp;\"" + std::string(250, 'a') + "\"</f>")), "A1",
         part("B1"), names, "Formula is too long"},
        {"no number", oneRow(a1("><v>1.2oops3</v>")), "A1", part("1.2"), "y",
         "The cell should hold a number"},
        {"a namespace of the row", odd, "A1", part("x"), "y", "The cell is written in a form"},
        {"no character in a formula", oneRow(formula), "A1", part("B1"), "\"\x01\"",
         "The text contains a character that is not allowed"},
        {"no character", oneText("x"), "A1", part("x"), "\xED\xA0\x80", ""},
    };
    TempDir dir;
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        const std::string path = row.book.write(dir);
        const std::string before = dir.read("book.xlsx");
        const auto document = openDocument(path, {});
        Worksheet& sheet = document->worksheet(0);
        const auto places = found(sheet, row.match);
        ASSERT_EQ(std::count(places.begin(), places.end(), cell(row.cell)), 1);
        const auto error =
            thrownBy([&] { sheet.replaceInCell(cell(row.cell), row.match, row.with); });
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
    book.row(R"(<c r="A1" s="5" t="str"><v>x</v></c><c r="B1" t="str"><v>x</v></c>)", kProtection)
        .row(R"(<c r="A1" t="str"><v>x</v></c>)", R"(<sheetProtection sheet="0"/>)")
        .settings(R"(<workbookProtection lockStructure="1"/>)");
    const auto document = openDocument(book.write(dir), {});
    for (std::size_t i = 0; i < 2; ++i) {
        document->worksheet(i).replaceInCell(cell("A1"), part("x"), "y");
        EXPECT_EQ(found(document->worksheet(i), part("y")).size(), 1u);
    }
    // The same text again is no change, so nothing is refused.
    document->worksheet(0).replaceInCell(cell("B1"), part("x"), "x");
}

// --- tables --------------------------------------------------------------------------------------

TEST(OoxmlEdit, RenamesTableColumns) {
    const struct {
        const char* name;
        const char* find;
        const char* with;
        const char* columns;  // empty when refused
        // clang-format off
    } rows[] = {
        {"renamed", "Price", "Cost <1>",
         R"(name="Cost &lt;1&gt;"/><tableColumn id="2" name="Used"/>)"
         R"(<tableColumn id="3" name="A_x000a_B"/>)"},
        {"looks like a number", "Price", "2024", R"(name="2024"/>)"},
        {"looks like a formula", "Price", "=1", R"(name="=1"/>)"},
        {"line break", "Price", "P\nQ", R"(name="P_x000A_Q"/>)"},
        {"used in a formula", "Used", "Other", ""},
        {"another column's name", "Price", "uSED", ""},
        {"emptied", "Price", "", ""},
        {"not writable", "Price", "\xED\xA0\x80", ""},
    };
    // clang-format on
    TempDir dir;
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        WorkbookBuilder book;
        book.sheet(
                "<row><c t=\"str\"><v>Price</v></c><c t=\"str\"><v>Used</v></c>"
                "<c t=\"str\"><v>A\nB</v></c></row><row><c t=\"str\"><v>Price </v></c></row>")
            .table("A1:C2", {"Price", "Used", "A_x000a_B"})
            .row(R"(<c r="A1"><f>SUM(Table1[used])</f><v>1</v></c>)");
        const std::string path = book.write(dir);
        const std::string before = memberText(path, "xl/tables/table1.xml");
        const auto document = openDocument(path, {});
        Worksheet& sheet = document->worksheet(0);
        const auto place = sheet.findCell(exactly(row.find), {9, 9});
        ASSERT_TRUE(place.has_value());
        const int number =
            numberOf([&] { sheet.replaceInCell(*place, exactly(row.find), row.with); });
        const bool isRefused = row.columns[0] == '\0';
        EXPECT_EQ(number, isRefused ? 1004 : 0);
        EXPECT_TRUE(shows(sheet, *place, isRefused ? row.find : row.with));
        // A cell of the table's body makes sure that something is saved.
        sheet.replaceInCell(cell("A2"), part("Price "), "body");
        document->save();
        const std::string after = memberText(path, "xl/tables/table1.xml");
        EXPECT_EQ(after == before, isRefused);
        EXPECT_TRUE(isRefused || holds(after, "<tableColumn id=\"1\" "s + row.columns)) << after;
    }
}

// --- runs of several patterns --------------------------------------------------------------------

TEST(OoxmlEdit, LaterPatternsSeeEarlierChanges) {
    for (const bool isExpected : {true, false}) {
        TempDir dir;
        std::vector<CellMatch> expected = {part("red"), part("green"), part("1")};
        OpenOptions options;
        if (isExpected) options.expectedPatterns = &expected;
        const std::string path =
            oneRow(R"(<c r="A1" t="s"><v>0</v></c><c r="B1" t="s"><v>1</v></c>)"
                   R"(<c r="C1"><f>A1&amp;"red"</f></c>)")
                .strings("<si><t>red</t></si><si><t>green</t></si>")
                .write(dir);
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
    for (int i = 1000; i < 1150; ++i) {
        const std::string key = "key_" + std::to_string(i);
        expected.push_back(part(key));
        rows += R"(<row><c t="inlineStr"><is><t>)" + key + "</t></is></c><c><f>" + key +
                "+1</f></c></row>";
    }
    OpenOptions options;
    options.expectedPatterns = &expected;
    WorkbookBuilder book;
    const auto document = openDocument(book.sheet(rows).write(dir), options);
    for (std::size_t i = 0; i < 150; ++i) {
        const std::string next = i == 149 ? "end" : expected[i + 1].what();
        ASSERT_EQ(replaceAll(*document, expected[i], next), i * 2 + 2) << i;
    }
    EXPECT_EQ(found(document->worksheet(0), part("end")).size(), 300u);
}

}  // namespace
}  // namespace brindle::workbook
