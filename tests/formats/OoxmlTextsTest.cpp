// SPDX-License-Identifier: MIT
// Hyperlink addresses, page headers and page footers of Office Open XML workbooks, by the bytes
// that are written.
#include <gtest/gtest.h>

#include "base/Error.h"
#include "base/Text.h"
#include "support/CellRuns.h"
#include "support/TempDir.h"
#include "support/Thrown.h"
#include "support/WorkbookBuilder.h"
#include "workbook/FormatTable.h"

namespace brindle::workbook {
namespace {

using namespace std::string_literals;
using test::kindOf;
using test::kSheet;
using test::memberText;
using test::numberOf;
using test::packedMembers;
using test::part;
using test::replaceAll;
using test::TempDir;
using test::thrownBy;
using test::WorkbookBuilder;

using Names = std::vector<std::string>;

constexpr const char* kRelationships = "xl/worksheets/_rels/sheet1.xml.rels";
constexpr const char* kOffice =
    "http://schemas.openxmlformats.org/officeDocument/2006/relationships";
constexpr const char* kOfficeStrict = "http://purl.oclc.org/ooxml/officeDocument/relationships";

std::string between(const std::string& text, const std::string& begin, const std::string& end) {
    const std::string piece = test::cut(text, begin, end);
    return piece.empty() ? ""
                         : piece.substr(begin.size(), piece.size() - begin.size() - end.size());
}

std::string relationship(const std::string& id, const std::string& target,
                         const std::string& office = kOffice) {
    return "<Relationship Id=\"" + id + "\" Type=\"" + office + "/hyperlink\" Target=\"" + target +
           "\" TargetMode=\"External\"/>";
}

std::string relationshipPart(const std::string& content) {
    return "<Relationships "
           "xmlns=\"http://schemas.openxmlformats.org/package/2006/relationships\">" +
           content + "</Relationships>";
}

std::string link(const std::string& cell, const std::string& attributes) {
    return "<hyperlink ref=\"" + cell + "\" " + attributes + "/>";
}

std::string linked(const std::string& cell, const std::string& id) {
    return link(cell, "r:id=\"" + id + "\"");
}

WorkbookBuilder formulaBook(const std::string& tail) {
    WorkbookBuilder book;
    book.sheet("<row r=\"1\"><c r=\"A1\"><f>1+1</f><v>2</v></c></row>", tail)
        .calcChain("<c r=\"A1\" i=\"1\"/>");
    return book;
}

WorkbookBuilder linkedBook(const std::string& links, const std::string& relationships) {
    return formulaBook("<hyperlinks>" + links + "</hyperlinks>")
        .part(kRelationships, relationshipPart(relationships));
}

Names addresses(Worksheet& sheet) {
    Names list;
    for (std::size_t i = 0; i < sheet.hyperlinkCount(); ++i) {
        list.push_back(sheet.hyperlinkAddress(i));
    }
    return list;
}

// As a run does it: every address is written back, whether it changed or not.
void replaceInLinks(Worksheet& sheet, const std::string& what, const std::string& with) {
    for (std::size_t i = 0; i < sheet.hyperlinkCount(); ++i) {
        sheet.setHyperlinkAddress(
            i, text::replaceAll(sheet.hyperlinkAddress(i), what, with, CaseMode::Exact));
    }
}

Names changedMembers(const std::map<std::string, test::PackedMember>& before,
                     const std::string& path) {
    Names names;
    const auto after = packedMembers(path);
    EXPECT_EQ(after.size(), before.size());
    for (const auto& [name, member] : after) {
        if (!before.count(name) || before.at(name) != member) names.push_back(name);
    }
    return names;
}

// --- addresses and targets -----------------------------------------------------------------------

struct Address {
    const char* name;
    std::string target;  // as it stands in the part
    std::string shown;   // empty: just so
    std::string what;
    std::string with;
    std::string after;  // target; empty when the change is refused
};

const Address kAddresses[] = {
    {"a page", "http://old.example/a%20b?x=1&amp;y=%C3%A4", "http://old.example/a%20b?x=1&y=%C3%A4",
     "old", "new", "http://new.example/a%20b?x=1&amp;y=%C3%A4"},
    {"a path as the application writes it", "..\\Old\\my%20report.xls", "..\\Old\\my report.xls",
     "Old", "new", "..\\new\\my%20report.xls"},
    {"escapes of the other characters stay", "a%20b/%C3%A4/old%20c/%25.xls",
     "a b/\u00E4/old c/%25.xls", "old", "\u00FC", "a%20b/%C3%A4/\u00FC%20c/%25.xls"},
    {"an absolute path", "file:///C:\\Old\\a%20b.xls", "C:\\Old\\a b.xls", "C:\\Old", "D:\\x y",
     "file:///D:\\x%20y\\a%20b.xls"},
    {"a share", "file:///\\\\server\\old\\a.xls", "\\\\server\\old\\a.xls", "\\\\server",
     "Z:", "file:///Z:\\old\\a.xls"},
    {"a path becomes relative", "file:///C:\\old\\a%20b.xls", "C:\\old\\a b.xls", "C:\\", "..\\",
     "..\\old\\a%20b.xls"},
    {"a path becomes absolute", "old/a.xls", "", "old/", "C:\\", "file:///C:\\a.xls"},
    {"a path becomes a page", "file:///C:\\old\\a%20b.xls", "C:\\old\\a b.xls", "C:\\old\\",
     "https://x/", "https://x/a%20b.xls"},
    {"a path written out", "old.xls", "", "old", "file:///C:\\new", "file:///C:\\new.xls"},
    {"a path of another system", "file:///home/old/a%20b.ods", "", "old", "new",
     "file:///home/new/a%20b.ods"},
    {"mail", "mailto:old@example.com?subject=a%20b", "", "old@", "new@",
     "mailto:new@example.com?subject=a%20b"},
    {"a place in the target", "old.xlsx#Sheet1!A1", "old.xlsx", "old", "new", "new.xlsx#Sheet1!A1"},
    {"a place that is not searched", "a.xlsx#old", "a.xlsx", "old", "new", "a.xlsx#old"},
    {"a new place", "old.xlsx", "", ".xlsx", ".xlsx#A1", "old.xlsx#A1"},
    {"a second place", "old.xlsx#B2", "old.xlsx", ".xlsx", ".xlsx#A1", ""},
    {"escapes where they must be", "http://x/old", "", "old", "a b\"<>^`{}|[1]%41%&",
     "http://x/a%20b%22%3c%3e%5e%60%7b%7d%7c[1]%41%25&amp;"},
    {"brackets in a path", "old.xls", "", "old", "a [1]", "a%20%5b1%5d.xls"},
    {"a broken escape", "old%zz%4.xls%", "", "old", "new", "new%zz%4.xls%"},
    {"escapes that stay", "old%23%00%0A%7F.xls", "", "old", "new", "new%23%00%0A%7F.xls"},
    {"a control character", "old.xls", "", "old", "a\x01", ""},
    {"a line break", "old.xls", "", "old", "a\n", ""},
    {"no character of XML", "old.xls", "", "old", "\xEF\xBF\xBF", ""},
    {"too long", "old.xls", "", "old", std::string(2076, 'x'), ""},
    {"as long as may be", "old.xls", "", "old", std::string(2075, 'x'),
     std::string(2075, 'x') + ".xls"},
};

TEST(OoxmlHyperlinks, AreShownAndStoredAsTheApplicationDoesIt) {
    TempDir dir;
    for (const Address& row : kAddresses) {
        SCOPED_TRACE(row.name);
        const std::string path =
            linkedBook(linked("A1", "rId1"), relationship("rId1", row.target)).write(dir);
        auto document = openDocument(path, {});
        Worksheet& sheet = document->worksheet(0);
        EXPECT_EQ(addresses(sheet), Names{row.shown.empty() ? row.target : row.shown});
        const int number = numberOf([&] { replaceInLinks(sheet, row.what, row.with); });
        EXPECT_EQ(number, row.after.empty() ? error_number::kApplicationDefined : 0);
        const std::string now = sheet.hyperlinkAddress(0);
        document->save();
        const std::string after = row.after.empty() ? row.target : row.after;
        EXPECT_EQ(between(memberText(path, kRelationships), "Target=\"", "\""), after);
        EXPECT_EQ(openDocument(path, {})->worksheet(0).hyperlinkAddress(0), now);
    }
}

// --- links and relationships ---------------------------------------------------------------------

struct Linking {
    const char* name;
    WorkbookBuilder book;
    Names before;               // addresses
    std::string with;           // in place of "old"
    std::string links;          // afterwards, with what is around them
    std::string relationships;  // afterwards
    Names changed;              // members
};

TEST(OoxmlHyperlinks, ChangeOnlyWhatTheyMust) {
    const auto all = [](const std::string& links) {
        return "<hyperlinks>" + links + "</hyperlinks>";
    };
    const std::string several =
        "<hyperlink ref=\"A1\" r:id=\"rId1\" tooltip=\"old\" display=\"old\"/>" + linked("A2", "x");
    const std::string shared = linked("A1", "rId1") + linked("A2", "rId1");
    const std::string three = shared + link("B1:B3 D1", "r:id=\"rId7\" location=\"old\"");
    const std::string two = relationship("rId1", "old") + relationship("rId7", "old.xls");
    const std::string others = link("A1", "location=\"old\"") + linked("A2", "gone") +
                               linked("A3", "in") + linked("A4", "other") + link("A5", "") +
                               link("A6", "id=\"a\"") + linked("A7", "a");
    const auto otherTargets = [](const std::string& target) {
        return "<Relationship Id=\"in\" Type=\""s + kOffice +
               "/hyperlink\" Target=\"#old\"/><Relationship Id=\"other\" Type=\"" + kOffice +
               "/drawing\" Target=\"old\" TargetMode=\"External\"/>" + relationship("a", target) +
               relationship("a", "second");
    };
    const std::string odd =
        "<hyperlink xmlns:r=\""s + kOffice + "\" r:id='rId1' ref='A1'></hyperlink>";
    const auto oddTarget = [](const std::string& target) {
        return "<Relationship Target=" + target + " Id='rId1' TargetMode='External' Type='" +
               kOffice + "/hyperlink' ></Relationship>";
    };
    // clang-format off
    const Linking rows[] = {
        {"one of several",
         linkedBook(several, relationship("rId1", "old.xls") + relationship("x", "b.xls")),
         {"old.xls", "b.xls"}, "new", all(several),
         relationship("rId1", "new.xls") + relationship("x", "b.xls"), {kRelationships}},
        {"a shared one changes for all", linkedBook(three, two), {"old", "old", "old.xls"}, "new",
         all(three), relationship("rId1", "new") + relationship("rId7", "new.xls"),
         {kRelationships}},
        {"nothing to be changed", linkedBook(three, two), {"old", "old", "old.xls"}, "old",
         all(three), two, {}},
        {"an emptied one goes, but not its place in the workbook",
         linkedBook(linked("A1", "rId1") + link("A2", "location=\"B2\" r:id=\"rId1\"") +
                    linked("A3", "rId2"),
                    relationship("rId1", "old") + relationship("rId2", "new")),
         {"old", "old", "new"}, "", all(link("A2", "location=\"B2\"") + linked("A3", "rId2")),
         relationship("rId2", "new"), {kRelationships, kSheet}},
        {"all emptied", linkedBook(shared, relationship("rId1", "old")), {"old", "old"}, "", "", "",
         {kRelationships, kSheet}},
        {"an emptied one with a place in its target",
         linkedBook(linked("A1", "rId1"), relationship("rId1", "old#B2")), {"old"}, "",
         all(linked("A1", "rId1")), relationship("rId1", "#B2"), {kRelationships}},
        {"links without an address", linkedBook(others, otherTargets("old")),
         {"", "", "", "", "", "", "old"}, "new", all(others), otherTargets("new"),
         {kRelationships}},
        {"a namespace of its own, other quotes", linkedBook(odd, oddTarget("'old\"'")), {"old\""},
         "it's", all(odd), oddTarget("\"it's&quot;\""), {kRelationships}},
        {"the strict variant",
         linkedBook(shared, relationship("rId1", "old", kOfficeStrict)).strict(), {"old", "old"},
         "new", all(shared), relationship("rId1", "new", kOfficeStrict), {kRelationships}},
    };
    // clang-format on
    TempDir dir;
    for (const Linking& row : rows) {
        SCOPED_TRACE(row.name);
        const std::string path = row.book.write(dir);
        const auto members = packedMembers(path);
        auto document = openDocument(path, {});
        EXPECT_EQ(addresses(document->worksheet(0)), row.before);
        replaceInLinks(document->worksheet(0), "old", row.with);
        EXPECT_EQ(document->isChanged(), !row.changed.empty());
        document->save();
        EXPECT_EQ(between(memberText(path, kSheet), "</sheetData>", "</worksheet>"), row.links);
        EXPECT_EQ(memberText(path, kRelationships), relationshipPart(row.relationships));
        EXPECT_EQ(changedMembers(members, path), row.changed);
    }
}

TEST(OoxmlHyperlinks, PartFromASharedRelationship) {
    TempDir dir;
    const std::string path =
        linkedBook(linked("A1", "rId2") + link("A2", "tooltip=\"t\" r:id='rId2'") +
                       linked("A3", "rId2") + linked("A4", "rId2"),
                   relationship("RID1", "x") + relationship("rId2", "old"))
            .write(dir);
    auto document = openDocument(path, {});
    Worksheet& sheet = document->worksheet(0);
    sheet.setHyperlinkAddress(1, "new");
    sheet.setHyperlinkAddress(2, "newer");
    sheet.setHyperlinkAddress(3, "new");
    document->save();
    EXPECT_EQ(between(memberText(path, kSheet), "<hyperlinks>", "</hyperlinks>"),
              linked("A1", "rId2") + link("A2", "tooltip=\"t\" r:id='rId3'") +
                  linked("A3", "rId4") + linked("A4", "rId3"));
    EXPECT_EQ(memberText(path, kRelationships),
              relationshipPart(relationship("RID1", "x") + relationship("rId2", "old") +
                               relationship("rId3", "new") + relationship("rId4", "newer")));

    // All change, to different ones: the first takes what was theirs.
    auto again = openDocument(path, {});
    Worksheet& second = again->worksheet(0);
    for (std::size_t i = 0; i < 4; ++i) second.setHyperlinkAddress(i, "n" + std::to_string(i));
    again->save();
    EXPECT_EQ(addresses(openDocument(path, {})->worksheet(0)), (Names{"n0", "n1", "n2", "n3"}));
    EXPECT_EQ(between(memberText(path, kRelationships), "rId2", "/>"),
              between(relationship("rId2", "n0"), "rId2", "/>"));
}

TEST(OoxmlHyperlinks, WithoutAnAddressTakeNone) {
    TempDir dir;
    const std::string path =
        linkedBook(link("A1", "location=\"B2\"") + link("A2", "r:id=\"rId1\" location=\"x\""),
                   relationship("rId1", "a"))
            .write(dir);
    auto document = openDocument(path, {});
    Worksheet& sheet = document->worksheet(0);
    EXPECT_EQ(numberOf([&] { sheet.setHyperlinkAddress(0, "x"); }), 1004);
    EXPECT_EQ(numberOf([&] { sheet.setHyperlinkAddress(1, "a#B2"); }), 1004);
    EXPECT_FALSE(document->isChanged());
}

// --- sections ------------------------------------------------------------------------------------

struct Section {
    const char* name;
    std::string before;    // content of oddHeader, as it stands in the part; ^ is &amp;
    std::string sections;  // left|centre|right
    PageSection changed;
    std::string text;
    std::string after;  // as before; empty when the change is refused
};

constexpr auto kLeft = PageSection::LeftHeader;
constexpr auto kCentre = PageSection::CenterHeader;
constexpr auto kRight = PageSection::RightHeader;

const Section kSections[] = {
    {"all three", "^La^Cb^Rc", "a|b|c", kCentre, "new", "^La^Cnew^Rc"},
    {"in front of the first code", "a^P^Rc", "|a&P|c", kCentre, "b&P", "b^P^Rc"},
    {"ampersands", "^L^^L^^^Cb", "&&L&&|b|", kLeft, "&&R", "^L^^R^Cb"},
    {"a font called like a code", "^L^\"x^Cy,B\"a^Rc", "&\"x&Cy,B\"a||c", kLeft, "&\"x&Cy,B\"new",
     "^L^\"x^Cy,B\"new^Rc"},
    {"a font without its end", "^L^\"x^Cy", "&\"x|y|", kCentre, "z", "^L^\"x^Cz"},
    {"small letters, another order", "^rc^la", "a||c", kRight, "d", "^rd^la"},
    {"a code that comes again", "^La^Rc^Lb^Rd^Ce", "ab|e|cd", kLeft, "x", "^Lx^Rc^Rd^Ce"},
    {"spellings of the rest stay", "&#38;&#76;&quot;a&apos;&#10;b&lt;^R&quot;", "\"a'\nb<||\"",
     kLeft, "\"a'\nX<", "&#38;&#76;&quot;a&apos;&#10;X&lt;^R&quot;"},
    {"line ends", "^La\r\nb\r\nold^R\r\n", "a\nb\nold||\n", kLeft, "a\nb\nnew",
     "^La\r\nb\r\nnew^R\r\n"},
    {"escapes", "^La_x000D__x0041__xD83D__xDE00_b", "a\rA\U0001F600b||", kLeft,
     "a\rA\U0001F600_x000D_", "^La_x000D_A\U0001F600_x005F_x000D_"},
    {"emptied", "^La^Cb", "a|b|", kLeft, "", "^Cb"},
    {"emptied in front", "a^Rb", "|a|b", kCentre, "", "^Rb"},
    {"a new one", "^La^Rc", "a||c", kCentre, "b", "^La^Cb^Rc"},
    {"a new one in front of the centre", "b^Rc", "|b|c", kLeft, "a", "^La^Cb^Rc"},
    {"an empty one that has a code", "^L^Cb", "|b|", kLeft, "a", "^La^Cb"},
    {"an end that takes the next code", "^La^Cb", "a|b|", kLeft, "a&", ""},
    {"an ampersand at the very end", "^La^Cb", "a|b|", kCentre, "b&", "^La^Cb^"},
    {"a quote that takes the next code", "^La^Cb\"", "a|b\"|", kLeft, "a&\"", ""},
    {"a code of another section", "^La", "a||", kLeft, "a&Rb", ""},
    {"255 characters", "^Lold", "old||", kLeft, std::string(253, 'x'),
     "^L" + std::string(253, 'x')},
    {"256 characters", "^Lold", "old||", kLeft, std::string(254, 'x'), ""},
    {"pairs count twice", "^Lold", "old||", kLeft, std::string(252, 'x') + "\U0001F600", ""},
};

std::string pages(const std::string& content, const std::string& attributes = "") {
    return "<headerFooter" + attributes + ">" + content + "</headerFooter>";
}

std::string header(const std::string& text) {
    return pages("<oddHeader>" + text + "</oddHeader>");
}

TEST(OoxmlPageTexts, AreSplitAndJoinedAsTheApplicationDoesIt) {
    TempDir dir;
    for (const Section& row : kSections) {
        SCOPED_TRACE(row.name);
        const auto content = [](const std::string& text) {
            return text::replaceAll(text, "^", "&amp;", CaseMode::Exact);
        };
        const std::string path = formulaBook(header(content(row.before))).write(dir);
        const auto members = packedMembers(path);
        auto document = openDocument(path, {});
        Worksheet& sheet = document->worksheet(0);
        std::string sections;
        for (const PageSection section : {kLeft, kCentre, kRight}) {
            const std::string text = sheet.pageSection(PageKind::Odd, section);
            sheet.setPageSection(PageKind::Odd, section, text);
            sections += (section == kLeft ? "" : "|") + text;
        }
        EXPECT_EQ(sections, row.sections);
        EXPECT_FALSE(document->isChanged());
        const int number =
            numberOf([&] { sheet.setPageSection(PageKind::Odd, row.changed, row.text); });
        EXPECT_EQ(number, row.after.empty() ? error_number::kApplicationDefined : 0);
        document->save();
        const std::string after = content(row.after.empty() ? row.before : row.after);
        EXPECT_EQ(between(memberText(path, kSheet), "<oddHeader", "</oddHeader>"),
                  (after.ends_with('\n') ? " xml:space=\"preserve\">" : ">") + after);
        EXPECT_EQ(changedMembers(members, path), row.after.empty() ? Names{} : Names{kSheet});
    }
}

TEST(OoxmlPageTexts, SayWhyASectionCannotBeSet) {
    TempDir dir;
    auto document =
        openDocument(formulaBook(pages("<oddFooter>&amp;Cold</oddFooter>")).write(dir), {});
    Worksheet& sheet = document->worksheet(0);
    const auto centre = PageSection::CenterFooter;
    const auto error =
        thrownBy([&] { sheet.setPageSection(PageKind::Odd, centre, std::string(300, 'x')); });
    ASSERT_TRUE(error);
    EXPECT_EQ(error->kind(), ErrorKind::Refused);
    EXPECT_EQ(error->description(),
              "Unable to set the CenterFooter property of the PageSetup class: "
              "more than 255 characters");
    EXPECT_EQ(sheet.pageSection(PageKind::Odd, centre), "old");
}

// --- elements ------------------------------------------------------------------------------------

struct Placing {
    const char* name;
    std::string before;  // behind the cells
    PageKind kind;
    PageSection section;
    std::string text;
    std::string after;
};

TEST(OoxmlPageTexts, StandInTheirPlace) {
    const auto odd = PageKind::Odd;
    const std::string attribute = " scaleWithDoc=\"0\"";
    const std::string others = "<evenHeader>e</evenHeader>\n<firstFooter/>";
    const std::string views = "<customSheetViews><customSheetView>" + header("old") +
                              "</customSheetView></customSheetViews>";
    // clang-format off
    const Placing rows[] = {
        {"blanks at the ends", header("&amp;Lold"), odd, kLeft, "new ",
         pages(R"(<oddHeader xml:space="preserve">&amp;Lnew </oddHeader>)")},
        {"blanks that were kept already", pages("<oddHeader xml:space='default' >old </oddHeader>"),
         odd, kCentre, "new ", pages(R"(<oddHeader xml:space="preserve" >new </oddHeader>)")},
        {"an empty element", pages("<oddHeader/><oddFooter>f</oddFooter>"), odd, kRight, "c",
         pages("<oddHeader>&amp;Rc</oddHeader><oddFooter>f</oddFooter>")},
        {"pieces of text", header("a<!-- x -->b<![CDATA[&C<c>]]>d"), odd, kLeft, "e",
         header("&amp;Le&amp;Cab&amp;C&lt;c&gt;d")},
        {"even pages", pages("<oddHeader>old</oddHeader><evenFooter>&amp;Rold</evenFooter>"),
         PageKind::Even, PageSection::RightFooter, "new",
         pages("<oddHeader>old</oddHeader><evenFooter>&amp;Rnew</evenFooter>")},
        {"a header in front of the others", pages(others, attribute), odd, PageSection::LeftFooter,
         "f", pages("<oddFooter>&amp;Lf</oddFooter>" + others, attribute)},
        {"a header behind the others", pages("<evenHeader>e</evenHeader>"), PageKind::First, kLeft,
         "f", pages("<evenHeader>e</evenHeader><firstHeader>&amp;Lf</firstHeader>")},
        {"no header yet", "<pageSetup/><headerFooter a=\"0\"/><drawing/>", odd, kCentre, "a ",
         R"(<pageSetup/><headerFooter a="0"><oddHeader xml:space="preserve">&amp;Ca </oddHeader>)"
         "</headerFooter><drawing/>"},
        {"no element yet", "<pageMargins/><rowBreaks/>", odd, kCentre, "a",
         "<pageMargins/>" + header("&amp;Ca") + "<rowBreaks/>"},
        {"nothing behind the cells", "", odd, kCentre, "a", header("&amp;Ca")},
        {"views of single users", views + header("old"), odd, kCentre, "new",
         views + header("new")},
        {"only views of single users", views, odd, kCentre, "new", views + header("&amp;Cnew")},
    };
    // clang-format on
    TempDir dir;
    for (const Placing& row : rows) {
        SCOPED_TRACE(row.name);
        const std::string path = formulaBook(row.before).write(dir);
        auto document = openDocument(path, {});
        document->worksheet(0).setPageSection(row.kind, row.section, row.text);
        document->save();
        EXPECT_EQ(between(memberText(path, kSheet), "</sheetData>", "</worksheet>"), row.after);
        EXPECT_EQ(openDocument(path, {})->worksheet(0).pageSection(row.kind, row.section),
                  row.text);
    }
}

TEST(OoxmlPageTexts, OfEvenAndFirstPagesCountWhereTheyAreUsed) {
    TempDir dir;
    const auto used = [&](const std::string& attributes) {
        auto document = openDocument(formulaBook(pages("", attributes)).write(dir), {});
        std::vector<bool> kinds;
        for (const PageKind kind : {PageKind::Odd, PageKind::Even, PageKind::First}) {
            kinds.push_back(document->worksheet(0).usesPages(kind));
        }
        return kinds;
    };
    using Kinds = std::vector<bool>;
    EXPECT_EQ(used(""), (Kinds{true, false, false}));
    EXPECT_EQ(used(" differentOddEven=\"1\""), (Kinds{true, true, false}));
    EXPECT_EQ(used(" differentFirst=\"true\" differentOddEven=\"false\""),
              (Kinds{true, false, true}));
}

// --- whole sheets --------------------------------------------------------------------------------

const std::string kCell = "<c r=\"A1\" t=\"inlineStr\"><is><t>old</t></is></c></row>";
const std::string kPlainRows = "<row r=\"1\">" + kCell;
// Rows that no fast reader can pass over, and one that looks like the end of the cells.
const std::string kOddRows = "<row r=\"1\"><!-- </sheetData><hyperlinks/> -->" + kCell;
const std::string kTexts =
    "<hyperlinks>" + linked("A1", "rId1") + "</hyperlinks>" +
    pages("<oddHeader>&amp;Lold</oddHeader><oddFooter>&amp;Rold</oddFooter>");

WorkbookBuilder textsBook(const std::string& rows, const std::string& protection = "") {
    WorkbookBuilder book;
    return book.sheet(rows, protection + kTexts)
        .part(kRelationships, relationshipPart(relationship("rId1", "old")))
        .sheet("<row r=\"1\"/>");
}

std::string asUtf16(const std::string& ascii) {
    std::string out = "\xFF\xFE";
    for (const char c : ascii) out += {c, '\0'};
    return out;
}

TEST(OoxmlTexts, OfOneSheetAreChangedInOneGo) {
    TempDir dir;
    WorkbookBuilder wide = textsBook(kPlainRows);
    std::string part1 = wide.parts().at(kSheet);
    part1.replace(part1.find("UTF-8"), 6, "UTF-16\" standalone=\"yes\"");
    wide.part(kSheet, asUtf16(part1));
    const struct {
        const char* name;
        WorkbookBuilder book;
        std::string prefix;
        std::string declaration = R"( encoding="UTF-8"?>)";
    } rows[] = {{"plain", textsBook(kPlainRows), ""},
                {"comments", textsBook(kOddRows), ""},
                {"a prefix", textsBook(kPlainRows).prefix("x"), "x:"},
                {"UTF-16", wide, "", R"( encoding="UTF-8" standalone="yes"?>)"}};
    for (const auto& row : rows) {
        for (const bool withCells : {true, false}) {
            SCOPED_TRACE(row.name + std::string(withCells ? ", cells too" : ""));
            const std::string path = row.book.write(dir);
            const auto members = packedMembers(path);
            auto document = openDocument(path, {});
            Worksheet& sheet = document->worksheet(0);
            if (withCells) replaceAll(*document, part("old"), "fresh");
            sheet.setPageSection(PageKind::Odd, kLeft, "newer");
            sheet.setPageSection(PageKind::Odd, PageSection::RightFooter, "");
            replaceInLinks(sheet, "old", "");
            document->save();

            const std::string after = memberText(path, kSheet);
            EXPECT_TRUE(test::holds(after, row.declaration)) << after;
            const std::string p = row.prefix;
            EXPECT_EQ(between(after.substr(after.rfind("</" + p + "sheetData>")),
                              "</" + p + "sheetData>", "</" + p + "worksheet>"),
                      "<" + p + "headerFooter><" + p + "oddHeader>&amp;Lnewer</" + p +
                          "oddHeader><" + p + "oddFooter></" + p + "oddFooter></" + p +
                          "headerFooter>");
            EXPECT_EQ(between(after, "<" + p + "t>", "</"), withCells ? "fresh" : "old");
            EXPECT_EQ(changedMembers(members, path), (Names{kRelationships, kSheet}));
        }
    }
}

TEST(OoxmlTexts, AreRefusedByProtectedSheetsAndSignedWorkbooks) {
    TempDir dir;
    const std::string first = "<Relationship Id=\"main\"";
    const std::string signature =
        "<Relationship Id=\"s\" Type=\"http://schemas.openxmlformats.org/package/2006/"
        "relationships/digital-signature/origin\" Target=\"_xmlsignatures/origin.sigs\"/>";
    const struct {
        const char* name;
        WorkbookBuilder book;
        bool isRefused;
    } rows[] = {{"protected", textsBook("", "<sheetProtection sheet=\"1\"/>"), true},
                {"not protected now", textsBook("", "<sheetProtection objects=\"1\"/>"), false},
                {"signed", textsBook("").inAllParts(first, signature + first), true}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        auto document = openDocument(row.book.write(dir), {});
        Worksheet& sheet = document->worksheet(0);
        for (const std::string text : {"old", "new"}) {
            const bool isRefused = row.isRefused && text == "new";
            const int expected = isRefused ? error_number::kApplicationDefined : 0;
            EXPECT_EQ(numberOf([&] { sheet.setHyperlinkAddress(0, text); }), expected);
            EXPECT_EQ(numberOf([&] { sheet.setPageSection(PageKind::Odd, kLeft, text); }),
                      expected);
            EXPECT_EQ(document->isChanged(), text == "new" && !isRefused);
        }
    }
}

TEST(OoxmlTexts, AreNoChangeOnceTheyAreBack) {
    TempDir dir;
    const std::string path =
        textsBook("")
            .inAllParts("&amp;Lold", "&amp;Lold &quot; old")
            .part(kRelationships, relationshipPart(relationship("rId1", "old%62old")))
            .write(dir);
    auto document = openDocument(path, {});
    Worksheet& sheet = document->worksheet(0);
    for (const std::string text : {"new", "old"}) {
        sheet.setHyperlinkAddress(0, text + "b" + text);
        sheet.setPageSection(PageKind::Odd, kLeft, text + " \" " + text);
        EXPECT_EQ(document->isChanged(), text == "new");
    }
}

TEST(OoxmlTexts, CannotBeChangedOnceTheWorkbookIsSaved) {
    TempDir dir;
    const std::string path =
        linkedBook(linked("A1", "rId1"), relationship("rId1", "old")).write(dir);
    auto document = openDocument(path, {});
    Worksheet& sheet = document->worksheet(0);
    sheet.setHyperlinkAddress(0, "new");
    document->save();
    EXPECT_FALSE(document->isChanged());
    sheet.setHyperlinkAddress(0, "new");  // no change
    const auto internal = ErrorKind::Internal;
    EXPECT_EQ(kindOf([&] { sheet.setHyperlinkAddress(0, "newer"); }), internal);
    EXPECT_EQ(kindOf([&] { sheet.setPageSection(PageKind::Odd, kLeft, "x"); }), internal);
    EXPECT_EQ(kindOf([&] { sheet.replaceInCell({1, 1}, part("1"), "2"); }), internal);
    document->save();
    EXPECT_EQ(addresses(openDocument(path, {})->worksheet(0)), Names{"new"});
}

}  // namespace
}  // namespace brindle::workbook
