// SPDX-License-Identifier: MIT
// Texts of shapes in Office Open XML workbooks: what is seen, and what is written.
#include <gtest/gtest.h>

#include "base/Error.h"
#include "base/Text.h"
#include "support/CellRuns.h"
#include "support/DrawingBook.h"
#include "support/TempDir.h"
#include "support/Thrown.h"
#include "workbook/FormatTable.h"

namespace brindle::workbook {
namespace {

using namespace brindle::test;
using Texts = std::vector<std::string>;

Texts shapeTexts(Worksheet& sheet) {
    Texts texts;
    for (std::size_t i = 0; i < sheet.shapeCount(); ++i) texts.push_back(sheet.shapeText(i));
    return texts;
}

Texts shapeTexts(const std::string& path) {
    return shapeTexts(openDocument(path, {})->worksheet(0));
}

// As a run does it.
void replaceIn(Worksheet& sheet, std::string_view what, std::string_view with) {
    for (std::size_t i = 0; i < sheet.shapeCount(); ++i) {
        sheet.setShapeText(i, text::replaceAll(sheet.shapeText(i), what, with, CaseMode::Exact));
    }
}

void replaceIn(const std::string& path, std::string_view what, std::string_view with) {
    const auto document = openDocument(path, {});
    replaceIn(document->worksheet(0), what, with);
    document->save();
}

// --- what is written -----------------------------------------------------------------------------

struct Change {
    const char* name;
    std::string before;  // paragraphs, or content of the box of a legacy drawing
    std::string shown;
    std::string what;
    std::string with;
    std::string after;
};

const std::string kBold = "b=\"1\"";
const std::string kDate =
    "<a:fld id=\"{1}\" type=\"datetime\"><a:rPr i=\"1\"/><a:pPr/><a:t>1/2</a:t></a:fld>";

std::string par(const std::string& content) {
    return "<a:p>" + content + "</a:p>";
}

// clang-format off
const Change kChanges[] = {
    {"one run", par(run("a cat &amp; b", kBold) + "<a:endParaRPr/>"), "a cat & b", "cat", "<dog>",
     par(run("a &lt;dog&gt; &amp; b", kBold) + "<a:endParaRPr/>")},
    {"over runs", par(run("Hel", kBold) + run("lo") + run(" wor") + run("ld", kBold)),
     "Hello world", "lo wor", "X", par(run("Hel", kBold) + run("X") + run("ld", kBold))},
    {"begins in one format", par(run("re", kBold) + run("port")), "report", "report", "summary",
     par(run("summary", kBold))},
    {"several, each in its format",
     par(run("cat", kBold) + run(" and cat, ") + run("cat", "i=\"1\"")), "cat and cat, cat", "cat",
     "dog", par(run("dog", kBold) + run(" and dog, ") + run("dog", "i=\"1\""))},
    {"lines stay",
     par("<a:pPr algn=\"r\"/>" + run("one") + "<a:br><a:rPr/></a:br>" + run("two")) +
     "\n<a:p/>" + par(run("two")), "one\ntwo\n\ntwo", "two", "2",
     par("<a:pPr algn=\"r\"/>" + run("one") + "<a:br><a:rPr/></a:br>" + run("2")) +
     "\n<a:p></a:p>" + par(run("2"))},
    {"a line break goes", par(run("one", kBold) + "<a:br/>" + run("two")), "one\ntwo", "\n", ", ",
     par(run("one, ", kBold) + run("two"))},
    {"paragraphs are joined",
     par(run("one") + "<a:endParaRPr/>") +
     par("<a:pPr/>" + run("two", kBold) + "<a:endParaRPr b=\"1\"/>"), "one\ntwo", "e\ntw", "-",
     par(run("on-") + run("o", kBold) + "<a:endParaRPr b=\"1\"/>")},
    {"between kept breaks", par(run("a", kBold) + "<a:br/><a:br/><a:br/>" + run("b")), "a\n\n\nb",
     "\n\n\n", "\nx\n",
     par(run("a", kBold) + "<a:br/>" + run("x", kBold) + "<a:br/>" + run("b"))},
    {"a new line", par(run("one two", kBold)), "one two", " ", "\n",
     par(run("one", kBold) + "<a:br><a:rPr b=\"1\"/></a:br>" + run("two", kBold))},
    {"emptied", par(run("one")) + par(run("two")), "one\ntwo", "one", "",
     par("") + par(run("two"))},
    {"a field becomes a text", par(run("on ") + kDate), "on 1/2", "1", "3",
     par(run("on ") + run("3/2", "i=\"1\""))},
    {"a field of its own stays", par(run("on ") + kDate), "on 1/2", "on", "at",
     par(run("at ") + kDate)},
    {"no escapes of cells", par(run("_x0041_ &#65;")), "_x0041_ A", "A", "_x0042_",
     par(run("_x0041_ _x0042_"))},
    {"what is not understood stays",
     par(run("a ") + "<a14:m><n/></a14:m>" + run("a")) + "<mc:AlternateContent/><a:p/>", "a a\n",
     "a", "b",
     par(run("b ") + "<a14:m><n/></a14:m>" + run("b")) + "<mc:AlternateContent/><a:p></a:p>"},
};
// clang-format on

TEST(OoxmlShapes, areChangedInPlace) {
    const TempDir dir;
    for (const Change& row : kChanges) {
        SCOPED_TRACE(row.name);
        const std::string path = drawingBook(drawingPart(anchored(shape(row.before)))).write(dir);
        ASSERT_EQ(shapeTexts(path), Texts{row.shown});
        replaceIn(path, row.what, row.with);
        EXPECT_EQ(memberText(path, kDrawing), drawingPart(anchored(shape(row.after))));
        EXPECT_EQ(shapeTexts(path),
                  Texts{text::replaceAll(row.shown, row.what, row.with, CaseMode::Exact)});
    }
}

TEST(OoxmlShapes, areRefusedWhereATextHasNoPlace) {
    const TempDir dir;
    const std::string path =
        drawingBook(drawingPart(anchored(shape(paragraph("a"))) + anchored(shape("<a:p/><a:p/>"))))
            .write(dir);
    const auto before = packedMembers(path);
    const auto document = openDocument(path, {});
    Worksheet& sheet = document->worksheet(0);
    EXPECT_EQ(numberOf([&] { sheet.setShapeText(0, "\x01"); }), 1004);
    EXPECT_EQ(numberOf([&] { sheet.setShapeText(1, "x"); }), 1004);
    EXPECT_EQ(shapeTexts(sheet), (Texts{"a", "\n"}));
    EXPECT_FALSE(document->isChanged());
    document->save();
    EXPECT_EQ(packedMembers(path), before);
}

// --- what counts ---------------------------------------------------------------------------------

std::string alternatives(const std::string& choice, const std::string& fallback) {
    return "<mc:AlternateContent><mc:Choice Requires=\"a14\">" + choice +
           "</mc:Choice><mc:Fallback>" + fallback + "</mc:Fallback></mc:AlternateContent>";
}

TEST(OoxmlShapes, countInTheOrderOfTheDrawing) {
    const TempDir dir;
    const std::string group = "<xdr:grpSp><xdr:nvGrpSpPr/><xdr:grpSpPr/>" + shape(paragraph("g1")) +
                              "<xdr:grpSp>" + shape(paragraph("g2")) + "</xdr:grpSp></xdr:grpSp>";
    std::string connector = shape(paragraph("line"));
    connector = text::replaceAll(connector, "xdr:sp>", "xdr:cxnSp>", CaseMode::Exact);
    const std::string picture =
        "<xdr:pic><xdr:nvPicPr><xdr:cNvPr id=\"7\" name=\"p\"/></xdr:nvPicPr></xdr:pic>";
    const std::string frame =
        "<xdr:graphicFrame><a:graphic><a:graphicData><a:t>chart</a:t></a:graphicData></a:graphic>"
        "</xdr:graphicFrame>";
    const std::string drawing =
        drawingPart(anchored(shape(paragraph("first"))) + anchored(group) + anchored(shape("")) +
                    anchored(picture) + anchored(frame) + anchored(connector) +
                    alternatives(anchored(shape(paragraph("both"))),
                                 anchored(shape(paragraph("both"), "", "0"))) +
                    alternatives(anchored(frame), anchored(shape(paragraph("This is a slicer")))) +
                    anchored(shape(paragraph("caption"), "", "1026", controlId("_x0000_s1026"))) +
                    anchored(shape("", "", "1027", controlId("_x0000_s1027"))) +
                    anchored(shape("", "", "1028", controlId("_x0000_s1028"))));
    const std::string vml = vmlPart(
        vmlShape("_x0000_s1025", "Note", "<div>comment</div>") +
        vmlShape("_x0000_s1027", "Checkbox", "<div>check</div>") +
        vmlShape("_x0000_s1026", "Button", "<div>caption</div>") +
        vmlShape("old", "Label", "<div>only here</div>") + vmlShape("x", "Pict", "") +
        "<v:group id=\"g\">" + vmlShape("in group", "Radio", "<div>radio</div>") + "</v:group>");
    const std::string path = drawingBook(drawing, vml).write(dir);
    EXPECT_EQ(shapeTexts(path), (Texts{"first", "g1", "g2", "line", "both", "caption", "check",
                                       "only here", "radio"}));
    replaceIn(path, "both", "same");
    EXPECT_EQ(memberText(path, kDrawing),
              text::replaceAll(drawing, "both", "same", CaseMode::Exact));
    EXPECT_EQ(memberText(path, kVml), vml);
    replaceIn(path, "c", "k");
    EXPECT_EQ(shapeTexts(path)[5], "kaption");
    EXPECT_NE(memberText(path, kDrawing).find(">kaption<"), std::string::npos);
    std::string newVml = text::replaceAll(vml, "caption", "kaption", CaseMode::Exact);
    newVml = text::replaceAll(newVml, "<div>check", "<div>khekk", CaseMode::Exact);
    EXPECT_EQ(memberText(path, kVml), newVml);
}

TEST(OoxmlShapes, ofSheetsWithoutDrawings) {
    const TempDir dir;
    const WorkbookBuilder legacy =
        drawingBook("", vmlPart(vmlShape("a", "Button", "<div>text</div>")));
    WorkbookBuilder ofHeaders = legacy;
    ofHeaders.inAllParts("<legacyDrawing r:id=\"v\"/>", "<legacyDrawingHF r:id=\"v\"/>");
    WorkbookBuilder withoutPart = legacy;
    withoutPart.withoutPart(kVml);
    for (const WorkbookBuilder& book : {WorkbookBuilder().sheet(""), ofHeaders, withoutPart}) {
        EXPECT_EQ(shapeTexts(book.write(dir)), Texts{});
    }
    // Other prefixes, and the strict variant.
    std::string strict = drawingPart(anchored(shape(paragraph("text"))));
    strict = text::replaceAll(strict, "http://schemas.openxmlformats.org/drawingml/2006/",
                              "http://purl.oclc.org/ooxml/drawingml/", CaseMode::Exact);
    strict = text::replaceAll(strict, "xdr", "q", CaseMode::Exact);
    EXPECT_EQ(shapeTexts(drawingBook(strict).strict().prefix("x").write(dir)), Texts{"text"});
    EXPECT_EQ(thrownBy([&] { shapeTexts(drawingBook("<broken>").write(dir)); })->kind(),
              ErrorKind::Damaged);
}

// A run that does not look in shapes never meets their parts.
TEST(OoxmlShapes, areReadWhenAskedFor) {
    const TempDir dir;
    const std::string rows = "<row r=\"1\"><c r=\"A1\" t=\"inlineStr\"><is><t>a</t></is></c></row>";
    const std::string path = drawingBook("<broken>", "<broken>", "", rows).write(dir);
    const auto document = openDocument(path, {});
    document->worksheet(0).replaceInCell(cell("A1"), part("a"), "b");
    document->save();
    EXPECT_EQ(memberText(path, kDrawing), "<broken>");
    EXPECT_EQ(found(openDocument(path, {})->worksheet(0), part("b")).size(), 1u);
}

// --- legacy drawings -----------------------------------------------------------------------------

const Change kVmlChanges[] = {
    {"white space", "\n   <div style='x'><font face=\"A\">Dialog\n   Title </font></div>\n  ",
     "Dialog Title", "Dialog T", "t",
     "\n   <div style='x'><font face=\"A\">title</font></div>\n  "},
    {"other texts are not touched", "<div><font>a\n  b</font> <font>c</font></div>", "a b c", "c",
     "d", "<div><font>a\n  b</font> <font>d</font></div>"},
    {"breaks", "<div>one<br/>\n   two</div>", "one\ntwo", "two", "2 &",
     "<div>one<br/>2 &amp;</div>"},
    {"unclosed breaks", "<div>one<br>\n   two<BR></div>", "one\ntwo\n", "two", "2",
     "<div>one<br>2<BR></div>"},
    {"an unclosed break goes, another comes", "<div>one<br>two three<br></div>", "one\ntwo three\n",
     "\ntwo ", " 2\n", "<div>one 2<br>three<br></div>"},
    {"entity", "<div>a&nbsp;b<br></div>", "a\u00A0b\n", "b", "c", "<div>a\u00A0c<br></div>"},
    {"marks of ours in a text", "<div>a<br>b</div>", "a\nb", "b", " brindle-unclosed=\"\"/",
     "<div>a<br> brindle-unclosed=\"\"/</div>"},
    {"paragraphs", "<div>one</div>\n <div></div><div>two</div>", "one\n\ntwo", "two", "2",
     "<div>one</div>\n <div></div><div>2</div>"},
    {"a new line", "<div>one two</div>", "one two", " ", "\n", "<div>one<br/>two</div>"},
};

TEST(OoxmlShapes, ofLegacyDrawings) {
    const TempDir dir;
    for (const Change& row : kVmlChanges) {
        SCOPED_TRACE(row.name);
        const auto part = [](const std::string& box) {
            return vmlPart(vmlShape("a", "Button", box, "<x:Anchor>\n 1, 2</x:Anchor>"));
        };
        const std::string path = drawingBook("", part(row.before)).write(dir);
        ASSERT_EQ(shapeTexts(path), Texts{row.shown});
        replaceIn(path, row.what, row.with);
        EXPECT_EQ(memberText(path, kVml), part(row.after));
    }
    const std::string divs = vmlPart(vmlShape("a", "Button", "<div>a</div><div>b</div>"));
    const std::string path = drawingBook("", divs).write(dir);
    EXPECT_EQ(numberOf([&] { replaceIn(path, "\n", ""); }), 1004);
}

TEST(OoxmlShapes, ofLegacyDrawingsThatCannotBeRead) {
    const TempDir dir;
    const std::string drawing =
        drawingPart(anchored(shape(paragraph("control"), "", "9", controlId("c"))) +
                    anchored(shape(paragraph("shape"))));
    const std::string path = drawingBook(drawing, "<xml><v:shape></xml>").write(dir);
    const auto document = openDocument(path, {});
    Worksheet& sheet = document->worksheet(0);
    EXPECT_EQ(shapeTexts(sheet), (Texts{"control", "shape"}));
    EXPECT_EQ(numberOf([&] { sheet.setShapeText(0, "x"); }), 1004);
    sheet.setShapeText(1, "x");
    document->save();
    EXPECT_EQ(memberText(path, kVml), "<xml><v:shape></xml>");
    EXPECT_EQ(shapeTexts(path), (Texts{"control", "x"}));
}

// --- protection ----------------------------------------------------------------------------------

struct Lock {
    const char* name;
    std::string protection;  // element; that of a relationship signs the workbook
    std::string shape;       // attributes
    std::string clientData;  // attributes
    std::string vmlData;
    bool isRefused;
};

const std::string kSignature =
    "<Relationship Id=\"s\" Type=\"http://schemas.openxmlformats.org/package/2006/relationships/"
    "digital-signature/origin\" Target=\"sig\"/>";
const std::string kObjects = "<sheetProtection sheet=\"1\" objects=\"1\"/>";

// clang-format off
const Lock kLocks[] = {
    {"unprotected", "", "", "", "", false},
    {"objects protected", kObjects, "", "", "", true},
    {"cells protected", "<sheetProtection sheet=\"1\"/>", "", "", "", false},
    {"switched off", "<sheetProtection sheet=\"0\" objects=\"1\"/>", "", "", "", false},
    {"unlocked shape", "<sheetProtection sheet=\"1\" objects=\"true\"/>", "",
     " fLocksWithSheet=\"0\"", "", false},
    {"unlocked text", kObjects, " fLocksText=\"0\"", "", "", false},
    {"locked control", kObjects, "", "", "<x:Locked>True</x:Locked>", true},
    {"unlocked control", kObjects, "", "", "<x:Locked>\n False</x:Locked>", false},
    {"unlocked caption", kObjects, "", "", "<x:LockText>False</x:LockText>", false},
    {"signed", kSignature, "", "", "", true},
};
// clang-format on

TEST(OoxmlShapes, ofProtectedSheetsAndSignedWorkbooks) {
    const TempDir dir;
    for (const Lock& row : kLocks) {
        SCOPED_TRACE(row.name);
        const bool isControl = !row.vmlData.empty();
        const std::string drawing =
            drawingPart(anchored(shape(paragraph("text"), row.shape), row.clientData));
        const std::string vml = vmlPart(vmlShape("a", "Button", "<div>text</div>", row.vmlData));
        const bool isSigned = row.protection == kSignature;
        const std::string first = "<Relationship Id=\"main\"";
        const std::string path = drawingBook(isControl ? "" : drawing, isControl ? vml : "",
                                             isSigned ? "" : row.protection)
                                     .inAllParts(first, (isSigned ? kSignature : "") + first)
                                     .write(dir);
        const auto document = openDocument(path, {});
        Worksheet& sheet = document->worksheet(0);
        sheet.setShapeText(0, "text");
        const auto error = thrownBy([&] { sheet.setShapeText(0, "other"); });
        EXPECT_EQ(error.has_value(), row.isRefused);
        EXPECT_TRUE(!error || error->kind() == ErrorKind::Refused);
        EXPECT_EQ(sheet.shapeText(0), row.isRefused ? "text" : "other");
        EXPECT_EQ(document->isChanged(), !row.isRefused);
    }
}

// --- links to cells ------------------------------------------------------------------------------

TEST(OoxmlShapes, thatShowACell) {
    const TempDir dir;
    const std::string field =
        "<a:p><a:fld id=\"{1}\" type=\"TxLink\"><a:rPr b=\"1\"/><a:pPr/>"
        "<a:t>old name</a:t></a:fld></a:p>";
    const std::string linked = " textlink=\"Sheet1!$A$1\"";
    const std::string drawing = drawingPart(anchored(shape(field, linked)));
    const std::string rows =
        "<row r=\"1\"><c r=\"A1\" t=\"inlineStr\"><is><t>old name</t></is></c></row>";
    const WorkbookBuilder book = drawingBook(drawing, "", "", rows);

    // Typing over the text ends the link.
    const std::string path = book.write(dir);
    replaceIn(path, "old", "new");
    EXPECT_EQ(memberText(path, kDrawing),
              drawingPart(anchored(shape(par(run("new name", kBold)), " textlink=\"\""))));

    // A changed cell changes what the shape shows, and the link stays.
    book.write(dir);
    const auto document = openDocument(path, {});
    Worksheet& sheet = document->worksheet(0);
    sheet.replaceInCell(cell("A1"), part("old"), "new");
    EXPECT_EQ(shapeTexts(sheet), Texts{"new name"});
    replaceIn(sheet, "old", "new");
    document->save();
    EXPECT_EQ(memberText(path, kDrawing), drawing);

    // What a number would show is not worked out.
    const auto other = openDocument(book.write(dir), {});
    other->worksheet(0).replaceInCell(cell("A1"), part("old name"), "12");
    EXPECT_EQ(shapeTexts(other->worksheet(0)), Texts{"old name"});
}

// --- saving --------------------------------------------------------------------------------------

TEST(OoxmlShapes, changeNothingElse) {
    const TempDir dir;
    const std::string drawing = drawingPart(anchored(shape(paragraph("one two"))));
    const std::string rows = "<row r=\"1\"><c r=\"A1\"><f>1+1</f><v>2</v></c></row>";
    const std::string path =
        drawingBook(drawing, "", "", rows).calcChain("<c r=\"A1\" i=\"1\"/>").write(dir);
    const auto before = packedMembers(path);
    const std::vector<CellMatch> patterns = {part("1")};
    OpenOptions options;
    options.expectedPatterns = &patterns;

    const auto document = openDocument(path, options);
    Worksheet& sheet = document->worksheet(0);
    sheet.setShapeText(0, "three");
    EXPECT_TRUE(document->isChanged());
    sheet.setShapeText(0, "one two");
    EXPECT_FALSE(document->isChanged());
    sheet.setShapeText(0, "three two");
    document->save();
    auto after = packedMembers(path);
    EXPECT_NE(after[kDrawing], before.at(kDrawing));
    after[kDrawing] = before.at(kDrawing);
    EXPECT_EQ(after, before);
}

TEST(OoxmlShapes, ofOneDrawingOnTwoSheets) {
    const TempDir dir;
    WorkbookBuilder book = drawingBook(drawingPart(anchored(shape(paragraph("a b")))));
    const std::string links = book.parts().at("xl/worksheets/_rels/sheet1.xml.rels");
    book.sheet("", "<drawing r:id=\"d\"/>").part("xl/worksheets/_rels/sheet2.xml.rels", links);
    const std::string path = book.write(dir);
    const auto document = openDocument(path, {});
    replaceIn(document->worksheet(0), "a", "c");
    EXPECT_EQ(shapeTexts(document->worksheet(1)), Texts{"c b"});
    replaceIn(document->worksheet(1), "b", "d");
    document->save();
    EXPECT_EQ(shapeTexts(path), Texts{"c d"});
}

}  // namespace
}  // namespace brindle::workbook
