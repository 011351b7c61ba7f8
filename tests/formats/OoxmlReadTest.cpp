// SPDX-License-Identifier: MIT
// What a search sees in Office Open XML workbooks.
#include <gtest/gtest.h>

#include <algorithm>

#include "base/CodePages.h"
#include "support/CellRuns.h"
#include "support/TempDir.h"
#include "support/Thrown.h"
#include "support/WorkbookBuilder.h"
#include "workbook/FormatTable.h"

namespace brindle::workbook {
namespace {

using namespace std::string_literals;
using namespace test;

std::vector<CellPosition> cells(std::initializer_list<const char*> names) {
    std::vector<CellPosition> list;
    for (const char* name : names) list.push_back(cell(name));
    return list;
}

// --- texts ---------------------------------------------------------------------------------------

struct Shown {
    const char* cell;
    const char* xml;   // behind <c r="...", up to </c>
    const char* text;  // empty for a blank cell
};

// clang-format off
const char* const kStrings =
    "<si><t>plain &amp; simple</t></si>"
    "<si><r><t>two </t></r><r><rPr><b/></rPr><t>runs</t></r></si>"
    R"(<si><t>kana</t><rPh sb="0" eb="1"><t>phonetic</t></rPh><phoneticPr fontId="1"/></si>)"
    "<si><t>a_x000D_b_x005F_x0041_</t></si>" "<si/>"
    R"(<si><t xml:space="preserve"> blanks </t></si>)" "<si><t><![CDATA[<1> & ]]>more</t></si>"
    "<si><t>one<!-- aside -->two</t></si>" "<si><t/></si>"
    "<si><t>line\r\nend</t></si>" "<si><t>_xD83D__xDE00_&#128512;</t></si>";
const Shown kShown[] = {
    {"A1", "><v>1000</v>", "1000"}, {"A2", R"( s="6"><v>1000</v>)", "1000"},
    {"A3", "><v>0.10000000000000001</v>", "0.1"}, {"A5", "><v>1.5E5</v>", "150000"},
    {"A8", R"( t="n"><v>-0</v>)", "0"},
    {"B1", R"( s="1"><v>0.07</v>)", "7%"}, {"B2", R"( s="11"><v>-0.125</v>)", "-12.5%"},
    {"B3", R"( s="13"><v>0.5</v>)", "0.5"}, {"B4", R"( s="999"><v>0.5</v>)", "0.5"},
    {"C1", R"( s="2"><v>42370</v>)", "1/1/2016"}, {"C2", R"( s="8"><v>42370</v>)", "1/1/2016"},
    {"C3", R"( s="10"><v>42370.5625</v>)", "1/1/2016 1:30:00 PM"},
    {"C4", R"( s="7"><v>0.0625</v>)", "1:30:00 AM"},
    {"C5", R"( s="12"><v>1.0833333333333333</v>)", "1/1/1900 2:00:00 AM"},
    {"C8", R"( s="2" t="d"><v>2016-01-01</v>)", "1/1/2016"},
    {"C9", R"( s="10" t="d"><v>2016-01-01T13:30:00Z</v>)", "1/1/2016 1:30:00 PM"},
    {"C10", R"( s="10" t="d"><v>2016-01-01T13:30:15.25Z</v>)", "1/1/2016 1:30:15 PM"},
    {"D1", R"( t="b"><v>1</v>)", "TRUE"}, {"D2", R"( t="b"><v>0</v>)", "FALSE"},
    {"D3", R"( t="b"><v>true</v>)", "TRUE"}, {"D4", R"( t="e"><v>#DIV/0!</v>)", "#DIV/0!"},
    {"D5", R"( t="e"><v>#N/A</v>)", "#N/A"}, {"E1", R"( t="s"><v>0</v>)", "plain & simple"},
    {"E2", R"( t="s"><v>1</v>)", "two runs"}, {"E3", R"( t="s"><v>2</v>)", "kana"},
    {"E4", R"( t="s"><v>3</v>)", "a\rb_x0041_"}, {"E5", R"( t="s"><v>4</v>)", ""},
    {"E6", R"( t="s"><v>5</v>)", " blanks "}, {"E7", R"( t="s"><v>6</v>)", "<1> & more"},
    {"E8", R"( t="s"><v>7</v>)", "onetwo"}, {"E9", R"( t="s"><v>8</v>)", ""},
    {"E10", R"( t="s"><v>9</v>)", "line\nend"},
    {"E11", R"( t="s"><v>10</v>)", "\U0001F600\U0001F600"}, {"E12", R"( t="s"><v>99</v>)", ""},
    {"E13", R"( t="s" s="4"><v>0</v>)", "plain & simple"},
    {"F1", R"( t="inlineStr"><is><t>in &lt;line&gt;</t></is>)", "in <line>"},
    {"F2", R"( t="inlineStr"><is><r><t>a</t></r><r><t>b</t></r><rPh sb="0" eb="1"><t>c</t></rPh>)"
     "</is>", "ab"},
    {"F3", R"( t="inlineStr"><is/>)", ""},
    {"F4", R"( t="str"><v>text_x0009_constant</v>)", "text\tconstant"},
    {"F5", R"( t="inlineStr"><is><t>_&#x78;0041_&#95;x0042_</t></is>)", "AB"},
    {"G1", "><f>SUM(A1:A2)*2</f><v>4000</v>", "=SUM(A1:A2)*2"},
    {"G2", R"( t="str"><f>A1&amp;"x"</f><v>1000x</v>)", R"(=A1&"x")"},
    {"G3", R"(><f>_xlfn.CONCAT(A1,"_xlfn.")</f>)", R"(=CONCAT(A1,"_xlfn."))"},
    {"G4", "><f>[1]Data!A1</f><v>1</v>", "='C:\\books\\[other one.xlsx]Data'!A1"},
    {"G6", R"(><f t="shared" ref="G6:G7" si="5">[1]Data!A1</f>)",
     "='C:\\books\\[other one.xlsx]Data'!A1"},
    {"G7", R"(><f t="shared" si="5"/>)", "='C:\\books\\[other one.xlsx]Data'!A2"},
    {"G5", R"( t="e"><f>1/0</f><v>#DIV/0!</v>)", "=1/0"},
    {"H1", R"(><f t="shared" ref="H1:I3" si="4">A1+$B$1+Sheet1!A$1&amp;"A1"</f><v>1</v>)",
     R"(=A1+$B$1+Sheet1!A$1&"A1")"},
    {"H2", R"(><f t="shared" si="4"/><v>1</v>)", R"(=A2+$B$1+Sheet1!A$1&"A1")"},
    {"I3", R"(><f t="shared" si="4"></f><v>1</v>)", R"(=B3+$B$1+Sheet1!B$1&"A1")"},
    {"H9", R"(><f t="shared" si="4"/>)", R"(=A9+$B$1+Sheet1!A$1&"A1")"},
    {"H10", R"(><f t="shared" si="4">own+1</f>)", "=own+1"},
    {"H11", R"(><f t="shared" si="77"/><v>5</v>)", ""},
    {"J1", R"(><f t="array" ref="J1:K2">A1:B2*2</f><v>1</v>)", "=A1:B2*2"},
    {"K1", "><v>2</v>", "=A1:B2*2"}, {"J2", R"( t="str"><v>three</v>)", "=A1:B2*2"},
    {"K2", "><v>4</v>", "=A1:B2*2"},
    {"J3", R"(><f t="array" ref="J3">SUM(A1:A2*2)</f><v>1</v>)", "=SUM(A1:A2*2)"},
    {"K3", "><v>5</v>", "5"},
    {"L1", R"(><f t="dataTable" ref="L1:L2" dt2D="1" dtr="1" r1="A1" r2="B1"/><v>1</v>)",
     "=TABLE(A1,B1)"},
    {"L2", "><v>2</v>", "=TABLE(A1,B1)"},
    {"M1", R"(><f t="dataTable" ref="M1" dtr="1" r1="A1"/><v>1</v>)", "=TABLE(A1,)"},
    {"N1", R"( s="2")", ""}, {"N2", "><v></v>", ""}, {"N3", "><v/>", ""},
    {"N4", "><extLst><ext><v>7</v></ext></extLst>", ""},
};
// clang-format on

// All cells of the table, row by row.
std::string shownRows() {
    std::vector<Shown> sorted(std::begin(kShown), std::end(kShown));
    std::stable_sort(sorted.begin(), sorted.end(),
                     [](const Shown& a, const Shown& b) { return cell(a.cell) < cell(b.cell); });
    std::string rows;
    int row = 0;
    for (const Shown& shown : sorted) {
        if (cell(shown.cell).row != row) {
            if (row != 0) rows += "</row>";
            row = cell(shown.cell).row;
            rows += R"(<row r=")" + std::to_string(row) + R"(">)";
        }
        const bool isEmpty = std::string_view(shown.xml).find('>') == std::string_view::npos;
        rows += R"(<c r=")"s + shown.cell + R"(")" + shown.xml + (isEmpty ? "/>" : "</c>");
    }
    return rows + "</row>";
}

WorkbookBuilder shownBook() {
    WorkbookBuilder book;
    book.sheet(shownRows()).strings(kStrings).externalBook("file:///C:/books/other%20one.xlsx");
    return book;
}

std::string utf16(std::string_view utf8, bool bigEndian) {
    return (bigEndian ? "\xFE\xFF"s : "\xFF\xFE"s) +
           CodePage(bigEndian ? "UTF-16BE" : "UTF-16LE").encode(utf8).value();
}

// The book with every part converted.
WorkbookBuilder converted(const std::function<std::string(std::string)>& convert) {
    WorkbookBuilder changed = shownBook();
    for (const auto& [name, text] : shownBook().parts()) changed.part(name, convert(text));
    return changed;
}

WorkbookBuilder inUtf16(bool bigEndian) {
    return converted([=](std::string text) {
        const std::size_t at = text.find("UTF-8");
        return utf16(text.replace(at, 5, "UTF-16"), bigEndian);
    });
}

TEST(OoxmlRead, ShowsEveryKindOfCellInEveryWriting) {
    const struct {
        const char* name;
        WorkbookBuilder book;
    } rows[] = {
        {"plain", shownBook()},
        {"prefix", shownBook().prefix("x")},
        {"strict", shownBook().strict()},
        {"strict with prefix", shownBook().strict().prefix("ss")},
        {"UTF-16, little end first", inUtf16(false)},
        {"UTF-16, big end first", inUtf16(true)},
        {"UTF-8 with a mark", converted([](const auto& text) { return "\xEF\xBB\xBF" + text; })},
        {"comments between cells", shownBook().inAllParts("</c>", "</c><!-- </row> -->")},
        {"comments between rows", shownBook().inAllParts("</row>", "</row><?pi </sheetData>?>")},
        {"comments in strings", shownBook().inAllParts("</si>", "<!-- </si> --></si>")},
        {"comments in values", shownBook().inAllParts("</v>", "<!-- 1 --></v>")},
        {"single quotes, places", shownBook().inAllParts(R"(<c r="C9")", "<c r='C9'")},
        {"single quotes, rows", shownBook().inAllParts(R"(<row r="13")", "<row r='13'")},
        {"single quotes, types", shownBook().inAllParts(R"(t="inlineStr")", "t='inlineStr'")},
        {"single quotes, styles", shownBook().inAllParts(R"(s="11")", "s='11'")},
        {"single quotes, formulas", shownBook().inAllParts(R"(t="shared")", "t='shared'")},
        {"white space in tags",
         shownBook().inAllParts("<f t=\"", "<f\tt = \n\"").inAllParts(" si=", " si\r\n=")},
        {"white space",
         shownBook().inAllParts("</c>", "</c>\r\n\t ").inAllParts("<row ", "\n<row\n")},
        {"spare attributes", shownBook().inAllParts("<c r=", R"(<c ph="1" xml:lang="en" r=)")},
        {"foreign attributes",
         shownBook().inAllParts("<c r=", R"(<c xmlns:o="urn:o" o:t="s" o:s="1" r=)")},
        {"foreign elements",
         shownBook().inAllParts("</c>", R"(</c><o:c xmlns:o="urn:o"><v>9</v></o:c>)")},
        {"values in CDATA", shownBook().inAllParts("<v>1000</v>", "<v><![CDATA[1000]]></v>")},
        {"part names in other case",
         shownBook().inAllParts("worksheets/sheet1.xml", "Worksheets/SHEET1.XML")},
        {"absolute targets", shownBook().inAllParts(R"("worksheets/)", R"("/xl/worksheets/)")},
        {"targets with dots", shownBook().inAllParts(R"("worksheets/)", R"("../xl/./worksheets/)")},
        {"escaped targets", shownBook().inAllParts(R"("worksheets/)", R"("work%73heets/)")},
    };
    TempDir dir;
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        const auto document = openDocument(row.book.write(dir), {});
        ASSERT_EQ(document->worksheetCount(), 1u);
        for (const Shown& shown : kShown) {
            EXPECT_TRUE(shows(document->worksheet(0), cell(shown.cell), shown.text))
                << shown.cell << shown.xml << " is not " << shown.text;
        }
    }
}

TEST(OoxmlRead, CountsDaysFrom1904) {
    TempDir dir;
    WorkbookBuilder book;
    book.sheet(R"(<row r="1"><c r="A1" s="2"><v>0</v></c><c r="B1" s="2"><v>40908</v></c>)"
               R"(<c r="C1" s="2" t="d"><v>2016-01-01</v></c></row>)")
        .settings(R"(<workbookPr date1904="1"/>)");
    const auto document = openDocument(book.write(dir), {});
    EXPECT_TRUE(shows(document->worksheet(0), cell("A1"), "1/1/1904"));
    EXPECT_TRUE(shows(document->worksheet(0), cell("B1"), "1/1/2016"));
    EXPECT_TRUE(shows(document->worksheet(0), cell("C1"), "1/1/2016"));
}

// --- places --------------------------------------------------------------------------------------

TEST(OoxmlRead, PlacesCells) {
    const std::string x = R"(<c t="str"><v>x</v></c>)";
    const auto at = [](const std::string& cell) {
        return "<c r=\"" + cell + R"(" t="str"><v>x</v></c>)";
    };
    // clang-format off
    const struct {
        const char* name;
        std::string rows;
        std::vector<CellPosition> places;  // of the text x, from A1 on
    } rows[] = {
        {"without places", "<row>" + x + "<c/>" + x + "</row><row>" + x + "</row>",
         cells({"C1", "A2", "A1"})},
        {"some places", R"(<row r="3">)" + at("C3") + x + "</row><row>" + x + "</row>",
         cells({"C3", "D3", "A4"})},
        {"cells out of order", R"(<row r="1">)" + at("C1") + at("A1") + at("B1") + "</row>",
         cells({"B1", "C1", "A1"})},
        {"rows out of order",
         R"(<row r="2">)" + at("A2") + R"(</row><row r="1">)" + at("B1") + "</row>",
         cells({"B1", "A2"})},
        {"the last cell", R"(<row r="1048576">)" + at("XFD1048576") + "</row>",
         cells({"XFD1048576"})},
        {"empty rows", R"(<row r="1"/><row r="5"></row><row>)" + x + "</row>", cells({"A6"})},
        {"nothing", "", {}},
    };
    // clang-format on
    TempDir dir;
    for (const auto& row : rows) {
        for (const char* prefix : {"", "x"}) {
            SCOPED_TRACE(row.name + " "s + prefix);
            WorkbookBuilder book;
            book.sheet(row.rows).prefix(prefix);
            const auto document = openDocument(book.write(dir), {});
            EXPECT_EQ(found(document->worksheet(0), part("x")), row.places);
        }
    }
}

TEST(OoxmlRead, ListsWorksheetsOnly) {
    TempDir dir;
    WorkbookBuilder book;
    const std::string row = R"(<row><c t="str"><v>x</v></c></row>)";
    book.sheet(row).named("One &amp; only").chartSheet().sheet("").sheet(row, "<tail/>", "<head/>");
    book.settings(R"(<bookViews><workbookView activeTab="3"/></bookViews>)");
    const auto document = openDocument(book.write(dir), {});
    ASSERT_EQ(document->worksheetCount(), 3u);
    EXPECT_EQ(document->worksheet(0).name(), "One & only");
    EXPECT_EQ(document->worksheet(1).name(), "Sheet3");
    EXPECT_EQ(document->worksheet(2).name(), "Sheet4");
    EXPECT_EQ(document->activeSheet(), 2u);
    EXPECT_EQ(found(document->worksheet(0), part("x")), cells({"A1"}));
    EXPECT_EQ(found(document->worksheet(1), part("x")), cells({}));
    EXPECT_EQ(found(document->worksheet(2), part("x")), cells({"A1"}));
}

TEST(OoxmlRead, ReadsASheetWithoutCells) {
    const char* const start =
        R"(<worksheet xmlns="http://schemas.openxmlformats.org/spreadsheetml/2006/main">)";
    for (const char* content : {"", "<sheetData/>", "<sheetData></sheetData>", "<sheetData />"}) {
        SCOPED_TRACE(content);
        TempDir dir;
        WorkbookBuilder book;
        book.rawSheet(start + std::string(content) + "</worksheet>");
        const auto document = openDocument(book.write(dir), {});
        EXPECT_EQ(found(document->worksheet(0), part("*")), cells({}));
        EXPECT_EQ(document->worksheet(0).usedRange().lastRow, 0);
    }
}

// Cells and strings longer than any piece in which a part is read, and boundaries everywhere.
TEST(OoxmlRead, ReadsPartsOfManyPieces) {
    std::string rows;
    std::string strings;
    for (int i = 1; i <= 400; ++i) {
        const std::string filler(static_cast<std::size_t>(i * 7 % 1999), 'a');
        const std::string row = std::to_string(i);
        strings += "<si><t>" + filler + "s" + row + "s</t></si>";
        rows += R"(<row r=")" + row + R"("><c r="A)" + row + R"(" t="s"><v>)" +
                std::to_string(i - 1) + R"(</v></c><c r="B)" + row + R"(" t="inlineStr"><is><t>)" +
                filler + "i" + row + "i</t></is></c></row>";
    }
    // Not of one letter: a part that is packed too densely is refused.
    std::string huge;
    for (int i = 0; huge.size() < 700'000; ++i) huge += std::to_string(i * 7919) + "h";
    rows += R"(<row r="401"><c r="A401" t="str"><v>)" + huge + "end</v></c></row>";
    strings += "<si><t>" + huge + "</t></si><si><t>last</t></si>";
    rows += R"(<row r="402"><c r="A402" t="s"><v>401</v></c></row>)";
    TempDir dir;
    WorkbookBuilder book;
    book.sheet(rows).strings(strings);
    for (const char* prefix : {"", "x"}) {
        const auto document = openDocument(book.prefix(prefix).write(dir), {});
        Worksheet& sheet = document->worksheet(0);
        for (int i = 1; i <= 400; i += 57) {
            const std::string row = std::to_string(i);
            EXPECT_EQ(found(sheet, part("s" + row + "s")), (std::vector<CellPosition>{{i, 1}}));
            EXPECT_EQ(found(sheet, part("i" + row + "i")), (std::vector<CellPosition>{{i, 2}}));
        }
        EXPECT_EQ(found(sheet, part("hend")), cells({"A401"}));
        EXPECT_EQ(found(sheet, part("last")), cells({"A402"}));
    }
}

// Names that the quick readers look for, in places where they mean nothing.
TEST(OoxmlRead, IsNotMisledByTags) {
    const std::string ns = "xmlns=\"http://schemas.openxmlformats.org/spreadsheetml/2006/main\"";
    const std::string row = "<row><c t=\"s\"><v>0</v></c></row>";
    const std::string data = "<sheetData>" + row + "</sheetData>";
    const auto sheet = [&](const std::string& content) {
        return "<worksheet " + ns + ">" + content + "</worksheet>";
    };
    const auto inlined = [&](const std::string& item) {
        return sheet("<sheetData><row><c t=\"inlineStr\"><is>" + item +
                     "</is></c></row></sheetData>");
    };
    const auto strings = [&](const char* items) { return "<sst " + ns + ">" + items + "</sst>"; };
    // clang-format off
    const struct {
        const char* name;
        std::string sheet;
        std::string strings;
    } rows[] = {
        {"comments in front", "<!-- <sheetData> -->" + sheet(data),
         "<!-- <sst> -->" + strings("<si><t>x</t></si>")},
        {"angle brackets in attributes", sheet("<sheetData a=\">\">" + row + "</sheetData>"),
         "<sst a=\">\" " + ns + "><si><t>x</t></si></sst>"},
        {"end tags in CDATA", inlined("<t><![CDATA[</is>x]]></t>"),
         strings("<si><t><![CDATA[</si>x]]></t></si>")},
        {"end tags in comments", inlined("<t>x</t><!--</is>-->"),
         strings("<si><!--</si>--><t>x</t></si>")},
        {"end and start tags in comments",
         sheet(R"(<!-- <sheetData><row r="3"><c t="s"><v>0</v></c></row></sheetData> -->)" + data),
         strings("<si><t>x</t><!--</si><si>--></si>")},
        {"sheet data in an extension", sheet("<extLst><ext>" + data + "</ext></extLst>" + data),
         strings("<si><t>x</t></si><extLst><ext><si/></ext></extLst>")},
    };
    // clang-format on
    TempDir dir;
    for (const auto& odd : rows) {
        SCOPED_TRACE(odd.name);
        WorkbookBuilder book;
        book.rawSheet(odd.sheet).sheet(row).strings("").part("xl/sharedStrings.xml", odd.strings);
        const auto document = openDocument(book.write(dir), {});
        EXPECT_EQ(found(document->worksheet(0), part("x")), cells({"A1"}));
        EXPECT_EQ(found(document->worksheet(1), part("x")), cells({"A1"}));
    }
}

// --- values --------------------------------------------------------------------------------------

TEST(OoxmlRead, TellsValuesForLists) {
    TempDir dir;
    const auto document = openDocument(shownBook().write(dir), {});
    Worksheet& sheet = document->worksheet(0);
    using Kind = CellValue::Kind;
    const struct {
        const char* cell;
        Kind kind;
        const char* text;
        double number;
        // clang-format off
    } rows[] = {
        {"A1", Kind::Number, "1000", 1000}, {"B1", Kind::Number, "7%", 0.07},
        {"C1", Kind::Number, "1/1/2016", 42370}, {"D1", Kind::Boolean, "TRUE", 0},
        {"C8", Kind::Number, "1/1/2016", 42370}, {"D4", Kind::Error, "#DIV/0!", 0},
        {"E2", Kind::Text, "two runs", 0}, {"F1", Kind::Text, "in <line>", 0},
        {"G1", Kind::Number, "4000", 4000}, {"G2", Kind::Text, "1000x", 0},
        {"K2", Kind::Number, "4", 4}, {"N1", Kind::Blank, "", 0}, {"Z99", Kind::Blank, "", 0},
    };
    // clang-format on
    for (const auto& row : rows) {
        SCOPED_TRACE(row.cell);
        const CellValue value = sheet.cellValue(cell(row.cell));
        EXPECT_EQ(value.kind, row.kind);
        EXPECT_EQ(value.text, row.text);
        EXPECT_EQ(value.number, row.number);
    }
    EXPECT_TRUE(sheet.cellValue(cell("D1")).boolean);
    const CellRange range = sheet.usedRange();
    EXPECT_EQ(range.firstRow, 1);
    EXPECT_EQ(range.firstColumn, 1);
    EXPECT_EQ(range.lastRow, 13);
    EXPECT_EQ(range.lastColumn, 13);
}

}  // namespace
}  // namespace brindle::workbook
