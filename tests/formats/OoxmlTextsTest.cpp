// SPDX-License-Identifier: MIT
// Hyperlink addresses, page headers and page footers of Office Open XML workbooks, by the bytes
// that are written.
#include <gtest/gtest.h>

#include <functional>

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
using test::memberText;
using test::numberOf;
using test::packedMembers;
using test::part;
using test::replaceAll;
using test::TempDir;
using test::thrownBy;
using test::WorkbookBuilder;

using Names = std::vector<std::string>;

constexpr const char* kSheet = "xl/worksheets/sheet1.xml";
constexpr const char* kRelationships = "xl/worksheets/_rels/sheet1.xml.rels";
constexpr const char* kOffice =
    "http://schemas.openxmlformats.org/officeDocument/2006/relationships";
constexpr const char* kOfficeStrict = "http://purl.oclc.org/ooxml/officeDocument/relationships";

std::string between(const std::string& text, const std::string& begin, const std::string& end) {
    const std::size_t at = text.find(begin);
    const std::size_t stop = at == std::string::npos ? at : text.find(end, at + begin.size());
    return stop == std::string::npos ? ""
                                     : text.substr(at + begin.size(), stop - at - begin.size());
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

WorkbookBuilder linkedBook(const std::string& links, const std::string& relationships) {
    WorkbookBuilder book;
    book.sheet("<row r=\"1\"><c r=\"A1\"><f>1+1</f><v>2</v></c></row>",
               "<hyperlinks>" + links + "</hyperlinks>")
        .part(kRelationships, relationshipPart(relationships))
        .calcChain("<c r=\"A1\" i=\"1\"/>");
    return book;
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
    std::string shown;
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
    {"a path becomes absolute", "old/a.xls", "old/a.xls", "old/", "C:\\", "file:///C:\\a.xls"},
    {"a path becomes a page", "file:///C:\\old\\a%20b.xls", "C:\\old\\a b.xls", "C:\\old\\",
     "https://x/", "https://x/a%20b.xls"},
    {"a path written out", "old.xls", "old.xls", "old", "file:///C:\\new", "file:///C:\\new.xls"},
    {"a path of another system", "file:///home/old/a%20b.ods", "file:///home/old/a%20b.ods", "old",
     "new", "file:///home/new/a%20b.ods"},
    {"mail", "mailto:old@example.com?subject=a%20b", "mailto:old@example.com?subject=a%20b", "old@",
     "new@", "mailto:new@example.com?subject=a%20b"},
    {"a place in the target", "old.xlsx#Sheet1!A1", "old.xlsx", "old", "new", "new.xlsx#Sheet1!A1"},
    {"a place that is not searched", "a.xlsx#old", "a.xlsx", "old", "new", "a.xlsx#old"},
    {"a new place", "old.xlsx", "old.xlsx", ".xlsx", ".xlsx#A1", "old.xlsx#A1"},
    {"a second place", "old.xlsx#B2", "old.xlsx", ".xlsx", ".xlsx#A1", ""},
    {"escapes where they must be", "http://x/old", "http://x/old", "old", "a b\"<>^`{}|[1]%41%&",
     "http://x/a%20b%22%3c%3e%5e%60%7b%7d%7c[1]%41%25&amp;"},
    {"brackets in a path", "old.xls", "old.xls", "old", "a [1]", "a%20%5b1%5d.xls"},
    {"a broken escape", "old%zz%4.xls%", "old%zz%4.xls%", "old", "new", "new%zz%4.xls%"},
    {"escapes that stay", "old%23%00%0A%7F.xls", "old%23%00%0A%7F.xls", "old", "new",
     "new%23%00%0A%7F.xls"},
    {"a control character", "old.xls", "old.xls", "old", "a\x01", ""},
    {"a line break", "old.xls", "old.xls", "old", "a\n", ""},
    {"no character of XML", "old.xls", "old.xls", "old", "\xEF\xBF\xBF", ""},
    {"too long", "old.xls", "old.xls", "old", std::string(2076, 'x'), ""},
    {"as long as may be", "old.xls", "old.xls", "old", std::string(2075, 'x'),
     std::string(2075, 'x') + ".xls"},
};

TEST(OoxmlHyperlinks, AreShownAndStoredAsTheApplicationDoesIt) {
    TempDir dir;
    for (const Address& row : kAddresses) {
        SCOPED_TRACE(row.name);
        const std::string path =
            linkedBook(link("A1", "r:id=\"rId1\""), relationship("rId1", row.target)).write(dir);
        auto document = openDocument(path, {});
        Worksheet& sheet = document->worksheet(0);
        EXPECT_EQ(addresses(sheet), Names{row.shown});
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
    Names before;  // addresses
    std::string what;
    std::string with;
    std::string links;          // afterwards, with what is around them
    std::string relationships;  // afterwards
    Names changed;              // members
};

const std::string kOwnNamespace = " xmlns:r=\""s + kOffice + "\"";

TEST(OoxmlHyperlinks, ChangeOnlyWhatTheyMust) {
    const std::string plain =
        "<hyperlink ref=\"A1\" r:id=\"rId1\" tooltip=\"old\" display=\"old\"/>";
    const std::string shared = link("A1", "r:id=\"rId1\"") + link("A2", "r:id=\"rId1\"");
    const std::string three = shared + link("B1:B3 D1", "r:id=\"rId7\" location=\"old\"");
    const std::string two = relationship("rId1", "old") + relationship("rId7", "old.xls");
    const Linking rows[] = {
        {"one of several",
         linkedBook(plain + link("A2", "r:id=\"x\""),
                    relationship("rId1", "old.xls") + relationship("x", "b.xls")),
         {"old.xls", "b.xls"},
         "old",
         "new",
         "<hyperlinks>" + plain + link("A2", "r:id=\"x\"") + "</hyperlinks>",
         relationship("rId1", "new.xls") + relationship("x", "b.xls"),
         {kRelationships}},
        {"a shared one changes for all",
         linkedBook(three, two),
         {"old", "old", "old.xls"},
         "old",
         "new",
         "<hyperlinks>" + three + "</hyperlinks>",
         relationship("rId1", "new") + relationship("rId7", "new.xls"),
         {kRelationships}},
        {"nothing to be changed",
         linkedBook(three, two),
         {"old", "old", "old.xls"},
         "other",
         "new",
         "<hyperlinks>" + three + "</hyperlinks>",
         two,
         {}},
        {"an emptied one goes, but not its place in the workbook",
         linkedBook(link("A1", "r:id=\"rId1\"") + link("A2", "location=\"B2\" r:id=\"rId1\"") +
                        link("A3", "r:id=\"rId2\""),
                    relationship("rId1", "old") + relationship("rId2", "new")),
         {"old", "old", "new"},
         "old",
         "",
         "<hyperlinks>" + link("A2", "location=\"B2\"") + link("A3", "r:id=\"rId2\"") +
             "</hyperlinks>",
         relationship("rId2", "new"),
         {kRelationships, kSheet}},
        {"all emptied",
         linkedBook(shared, relationship("rId1", "old")),
         {"old", "old"},
         "old",
         "",
         "",
         "",
         {kRelationships, kSheet}},
        {"an emptied one with a place in its target",
         linkedBook(link("A1", "r:id=\"rId1\""), relationship("rId1", "old#B2")),
         {"old"},
         "old",
         "",
         "<hyperlinks>" + link("A1", "r:id=\"rId1\"") + "</hyperlinks>",
         relationship("rId1", "#B2"),
         {kRelationships}},
        {"links without an address",
         linkedBook(link("A1", "location=\"old\"") + link("A2", "r:id=\"gone\"") +
                        link("A3", "r:id=\"in\"") + link("A4", "r:id=\"other\"") + link("A5", "") +
                        link("A6", "id=\"a\"") + link("A7", "r:id=\"a\""),
                    "<Relationship Id=\"in\" Type=\""s + kOffice +
                        "/hyperlink\" Target=\"#old\"/><Relationship Id=\"other\" Type=\"" +
                        kOffice + "/drawing\" Target=\"old\" TargetMode=\"External\"/>" +
                        relationship("a", "old") + relationship("a", "second")),
         {"", "", "", "", "", "", "old"},
         "old",
         "new",
         "<hyperlinks>" + link("A1", "location=\"old\"") + link("A2", "r:id=\"gone\"") +
             link("A3", "r:id=\"in\"") + link("A4", "r:id=\"other\"") + link("A5", "") +
             link("A6", "id=\"a\"") + link("A7", "r:id=\"a\"") + "</hyperlinks>",
         "<Relationship Id=\"in\" Type=\""s + kOffice +
             "/hyperlink\" Target=\"#old\"/><Relationship Id=\"other\" Type=\"" + kOffice +
             "/drawing\" Target=\"old\" TargetMode=\"External\"/>" + relationship("a", "new") +
             relationship("a", "second"),
         {kRelationships}},
        {"a namespace of its own, other quotes",
         linkedBook("<hyperlink" + kOwnNamespace + " r:id='rId1' ref='A1'></hyperlink>",
                    "<Relationship Target='old\"' Id='rId1' TargetMode='External' Type='"s +
                        kOffice + "/hyperlink' ></Relationship>"),
         {"old\""},
         "old",
         "it's",
         "<hyperlinks><hyperlink" + kOwnNamespace +
             " r:id='rId1' ref='A1'></hyperlink></hyperlinks>",
         "<Relationship Target=\"it's&quot;\" Id='rId1' TargetMode='External' Type='"s + kOffice +
             "/hyperlink' ></Relationship>",
         {kRelationships}},
        {"the strict variant",
         linkedBook(shared, relationship("rId1", "old", kOfficeStrict)).strict(),
         {"old", "old"},
         "old",
         "new",
         "<hyperlinks>" + shared + "</hyperlinks>",
         relationship("rId1", "new", kOfficeStrict),
         {kRelationships}},
    };
    TempDir dir;
    for (const Linking& row : rows) {
        SCOPED_TRACE(row.name);
        const std::string path = row.book.write(dir);
        const auto members = packedMembers(path);
        auto document = openDocument(path, {});
        EXPECT_EQ(addresses(document->worksheet(0)), row.before);
        replaceInLinks(document->worksheet(0), row.what, row.with);
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
        linkedBook(link("A1", "r:id=\"rId2\"") + link("A2", "tooltip=\"t\" r:id='rId2'") +
                       link("A3", "r:id=\"rId2\"") + link("A4", "r:id=\"rId2\""),
                   relationship("RID1", "x") + relationship("rId2", "old", kOffice))
            .write(dir);
    auto document = openDocument(path, {});
    Worksheet& sheet = document->worksheet(0);
    sheet.setHyperlinkAddress(1, "new");
    sheet.setHyperlinkAddress(2, "newer");
    sheet.setHyperlinkAddress(3, "new");
    document->save();
    EXPECT_EQ(between(memberText(path, kSheet), "<hyperlinks>", "</hyperlinks>"),
              link("A1", "r:id=\"rId2\"") + link("A2", "tooltip=\"t\" r:id='rId3'") +
                  link("A3", "r:id=\"rId4\"") + link("A4", "r:id=\"rId3\""));
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
    std::string before;    // content of oddHeader, as it stands in the part
    std::string sections;  // left|centre|right
    PageSection changed;
    std::string text;
    std::string after;  // empty when the change is refused
};

constexpr auto kLeft = PageSection::LeftHeader;
constexpr auto kCentre = PageSection::CenterHeader;
constexpr auto kRight = PageSection::RightHeader;

const Section kSections[] = {
    {"all three", "&amp;La&amp;Cb&amp;Rc", "a|b|c", kCentre, "new", "&amp;La&amp;Cnew&amp;Rc"},
    {"in front of the first code", "a&amp;P&amp;Rc", "|a&P|c", kCentre, "b&P", "b&amp;P&amp;Rc"},
    {"ampersands", "&amp;L&amp;&amp;L&amp;&amp;&amp;Cb", "&&L&&|b|", kLeft, "&&R",
     "&amp;L&amp;&amp;R&amp;Cb"},
    {"a font called like a code", "&amp;L&amp;\"x&amp;Cy,B\"a&amp;Rc", "&\"x&Cy,B\"a||c", kLeft,
     "&\"x&Cy,B\"new", "&amp;L&amp;\"x&amp;Cy,B\"new&amp;Rc"},
    {"a font without its end", "&amp;L&amp;\"x&amp;Cy", "&\"x|y|", kCentre, "z",
     "&amp;L&amp;\"x&amp;Cz"},
    {"small letters, another order", "&amp;rc&amp;la", "a||c", kRight, "d", "&amp;rd&amp;la"},
    {"a code that comes again", "&amp;La&amp;Rc&amp;Lb&amp;Rd&amp;Ce", "ab|e|cd", kLeft, "x",
     "&amp;Lx&amp;Rc&amp;Rd&amp;Ce"},
    {"spellings of the rest stay", "&#38;&#76;&quot;a&apos;&#10;b&lt;&amp;R&quot;", "\"a'\nb<||\"",
     kLeft, "\"a'\nX<", "&#38;&#76;&quot;a&apos;&#10;X&lt;&amp;R&quot;"},
    {"line ends", "&amp;La\r\nb\r\nold&amp;R\r\n", "a\nb\nold||\n", kLeft, "a\nb\nnew",
     "&amp;La\r\nb\r\nnew&amp;R\r\n"},
    {"escapes", "&amp;La_x000D__x0041__xD83D__xDE00_b", "a\rA\U0001F600b||", kLeft,
     "a\rA\U0001F600_x000D_", "&amp;La_x000D_A\U0001F600_x005F_x000D_"},
    {"emptied", "&amp;La&amp;Cb", "a|b|", kLeft, "", "&amp;Cb"},
    {"emptied in front", "a&amp;Rb", "|a|b", kCentre, "", "&amp;Rb"},
    {"a new one", "&amp;La&amp;Rc", "a||c", kCentre, "b", "&amp;La&amp;Cb&amp;Rc"},
    {"a new one in front of the centre", "b&amp;Rc", "|b|c", kLeft, "a", "&amp;La&amp;Cb&amp;Rc"},
    {"an empty one that has a code", "&amp;L&amp;Cb", "|b|", kLeft, "a", "&amp;La&amp;Cb"},
    {"an end that takes the next code", "&amp;La&amp;Cb", "a|b|", kLeft, "a&", ""},
    {"an ampersand at the very end", "&amp;La&amp;Cb", "a|b|", kCentre, "b&",
     "&amp;La&amp;Cb&amp;"},
    {"a quote that takes the next code", "&amp;La&amp;Cb\"", "a|b\"|", kLeft, "a&\"", ""},
    {"a code of another section", "&amp;La", "a||", kLeft, "a&Rb", ""},
    {"255 characters", "&amp;Lold", "old||", kLeft, std::string(253, 'x'),
     "&amp;L" + std::string(253, 'x')},
    {"256 characters", "&amp;Lold", "old||", kLeft, std::string(254, 'x'), ""},
    {"pairs count twice", "&amp;Lold", "old||", kLeft, std::string(252, 'x') + "\U0001F600", ""},
};

std::string pages(const std::string& content, const std::string& attributes = "") {
    return "<headerFooter" + attributes + ">" + content + "</headerFooter>";
}

WorkbookBuilder pageBook(const std::string& tail) {
    WorkbookBuilder book;
    book.sheet("<row r=\"1\"><c r=\"A1\"><f>1+1</f><v>2</v></c></row>", tail)
        .calcChain("<c r=\"A1\" i=\"1\"/>");
    return book;
}

TEST(OoxmlPageTexts, AreSplitAndJoinedAsTheApplicationDoesIt) {
    TempDir dir;
    for (const Section& row : kSections) {
        SCOPED_TRACE(row.name);
        const std::string path =
            pageBook(pages("<oddHeader>" + row.before + "</oddHeader>")).write(dir);
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
        const std::string after = row.after.empty() ? row.before : row.after;
        EXPECT_EQ(between(memberText(path, kSheet), "<oddHeader", "</oddHeader>"),
                  (row.after.ends_with('\n') ? " xml:space=\"preserve\">" : ">") + after);
        EXPECT_EQ(changedMembers(members, path), row.after.empty() ? Names{} : Names{kSheet});
    }
}

TEST(OoxmlPageTexts, SayWhyASectionCannotBeSet) {
    TempDir dir;
    auto document =
        openDocument(pageBook(pages("<oddFooter>&amp;Cold</oddFooter>")).write(dir), {});
    const auto error = thrownBy([&] {
        document->worksheet(0).setPageSection(PageKind::Odd, PageSection::CenterFooter,
                                              std::string(300, 'x'));
    });
    ASSERT_TRUE(error);
    EXPECT_EQ(error->kind(), ErrorKind::Refused);
    EXPECT_EQ(error->description(),
              "Unable to set the CenterFooter property of the PageSetup class: "
              "more than 255 characters");
    EXPECT_EQ(document->worksheet(0).pageSection(PageKind::Odd, PageSection::CenterFooter), "old");
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
    const std::string views = "<customSheetViews><customSheetView>" +
                              pages("<oddHeader>old</oddHeader>") +
                              "</customSheetView></customSheetViews>";
    const Placing rows[] = {
        {"blanks at the ends", pages("<oddHeader>&amp;Lold</oddHeader>"), odd, kLeft, "new ",
         pages("<oddHeader xml:space=\"preserve\">&amp;Lnew </oddHeader>")},
        {"blanks that were kept already", pages("<oddHeader xml:space='default' >old </oddHeader>"),
         odd, kCentre, "new ", pages("<oddHeader xml:space=\"preserve\" >new </oddHeader>")},
        {"an empty element", pages("<oddHeader/><oddFooter>f</oddFooter>"), odd, kRight, "c",
         pages("<oddHeader>&amp;Rc</oddHeader><oddFooter>f</oddFooter>")},
        {"pieces of text", pages("<oddHeader>a<!-- x -->b<![CDATA[&C<c>]]>d</oddHeader>"), odd,
         kLeft, "e", pages("<oddHeader>&amp;Le&amp;Cab&amp;C&lt;c&gt;d</oddHeader>")},
        {"even pages", pages("<oddHeader>old</oddHeader><evenFooter>&amp;Rold</evenFooter>"),
         PageKind::Even, PageSection::RightFooter, "new",
         pages("<oddHeader>old</oddHeader><evenFooter>&amp;Rnew</evenFooter>")},
        {"a header in front of the others",
         pages("<evenHeader>e</evenHeader>\n<firstFooter/>", " scaleWithDoc=\"0\""), odd,
         PageSection::LeftFooter, "f",
         pages("<oddFooter>&amp;Lf</oddFooter><evenHeader>e</evenHeader>\n<firstFooter/>",
               " scaleWithDoc=\"0\"")},
        {"a header behind the others", pages("<evenHeader>e</evenHeader>"), PageKind::First, kLeft,
         "f", pages("<evenHeader>e</evenHeader><firstHeader>&amp;Lf</firstHeader>")},
        {"no header yet", "<pageSetup/><headerFooter alignWithMargins=\"0\"/><drawing/>", odd,
         kCentre, "a ",
         "<pageSetup/><headerFooter alignWithMargins=\"0\"><oddHeader "
         "xml:space=\"preserve\">&amp;C"
         "a </oddHeader>"
         "</headerFooter><drawing/>"},
        {"no element yet", "<pageMargins/><rowBreaks/>", odd, kCentre, "a",
         "<pageMargins/>" + pages("<oddHeader>&amp;Ca</oddHeader>") + "<rowBreaks/>"},
        {"nothing behind the cells", "", odd, kCentre, "a",
         pages("<oddHeader>&amp;Ca</oddHeader>")},
        {"views of single users", views + pages("<oddHeader>old</oddHeader>"), odd, kCentre, "new",
         views + pages("<oddHeader>new</oddHeader>")},
        {"only views of single users", views, odd, kCentre, "new",
         views + pages("<oddHeader>&amp;Cnew</oddHeader>")},
    };
    TempDir dir;
    for (const Placing& row : rows) {
        SCOPED_TRACE(row.name);
        const std::string path = pageBook(row.before).write(dir);
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
    const struct {
        std::string attributes;
        bool even;
        bool first;
    } rows[] = {{"", false, false},
                {" differentOddEven=\"1\"", true, false},
                {" differentFirst=\"true\" differentOddEven=\"false\"", false, true}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.attributes);
        auto document = openDocument(pageBook(pages("", row.attributes)).write(dir), {});
        Worksheet& sheet = document->worksheet(0);
        EXPECT_TRUE(sheet.usesPages(PageKind::Odd));
        EXPECT_EQ(sheet.usesPages(PageKind::Even), row.even);
        EXPECT_EQ(sheet.usesPages(PageKind::First), row.first);
    }
}

// --- whole sheets --------------------------------------------------------------------------------

// Rows that no fast reader can pass over, and one that looks like the end of the cells.
const std::string kOddRows =
    "<row r=\"1\"><!-- </sheetData><hyperlinks/> --><c r=\"A1\" "
    "t=\"inlineStr\"><is><t>old</t></is></c></row>";
const std::string kTexts =
    "<hyperlinks>" + link("A1", "r:id=\"rId1\"") + "</hyperlinks>" +
    pages("<oddHeader>&amp;Lold</oddHeader><oddFooter>&amp;Rold</oddFooter>");

std::string asUtf16(const std::string& ascii) {
    std::string out = "\xFF\xFE";
    for (const char c : ascii) out += {c, '\0'};
    return out;
}

TEST(OoxmlTexts, OfOneSheetAreChangedInOneGo) {
    TempDir dir;
    const auto book = [](const std::string& rows) {
        WorkbookBuilder builder;
        builder.sheet(rows, kTexts)
            .part(kRelationships, relationshipPart(relationship("rId1", "old")))
            .sheet("<row r=\"1\"/>");
        return builder;
    };
    const std::string plainRows =
        "<row r=\"1\"><c r=\"A1\" t=\"inlineStr\"><is><t>old</t></is></c></row>";
    WorkbookBuilder wide = book(plainRows);
    std::string part1 = wide.parts().at(kSheet);
    part1.replace(part1.find("UTF-8"), 5, "UTF-16");
    wide.part(kSheet, asUtf16(part1));
    const struct {
        const char* name;
        WorkbookBuilder book;
        std::string prefix;
    } rows[] = {{"plain", book(plainRows), ""},
                {"comments", book(kOddRows), ""},
                {"a prefix", book(plainRows).prefix("x"), "x:"},
                {"UTF-16", wide, ""}};
    for (const auto& row : rows) {
        for (const bool withCells : {true, false}) {
            SCOPED_TRACE(row.name + std::string(withCells ? ", cells too" : ""));
            const std::string path = row.book.write(dir);
            const std::string before = memberText(path, kSheet);
            const auto members = packedMembers(path);
            auto document = openDocument(path, {});
            Worksheet& sheet = document->worksheet(0);
            if (withCells) replaceAll(*document, part("old"), "fresh");
            sheet.setPageSection(PageKind::Odd, PageSection::LeftHeader, "newer");
            sheet.setPageSection(PageKind::Odd, PageSection::RightFooter, "");
            replaceInLinks(sheet, "old", "");
            document->save();

            const std::string after = memberText(path, kSheet);
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
    const auto book = [](const std::string& protection) {
        WorkbookBuilder builder;
        builder.sheet("", protection + kTexts)
            .part(kRelationships, relationshipPart(relationship("rId1", "old")));
        return builder;
    };
    WorkbookBuilder signedBook = book("");
    std::string root = signedBook.parts().at("_rels/.rels");
    root.insert(root.find("</Relationships>"),
                "<Relationship Id=\"s\" Type=\"http://schemas.openxmlformats.org/package/2006/"
                "relationships/digital-signature/origin\" Target=\"_xmlsignatures/origin.sigs\"/>");
    signedBook.part("_rels/.rels", root);
    const struct {
        const char* name;
        WorkbookBuilder book;
        bool isRefused;
    } rows[] = {{"protected", book("<sheetProtection sheet=\"1\"/>"), true},
                {"not protected now", book("<sheetProtection objects=\"1\"/>"), false},
                {"signed", signedBook, true}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        const std::string path = row.book.write(dir);
        auto document = openDocument(path, {});
        Worksheet& sheet = document->worksheet(0);
        const auto setAll = [&](const std::string& text) {
            const int expected = row.isRefused && text != "old" ? 1004 : 0;
            EXPECT_EQ(numberOf([&] { sheet.setHyperlinkAddress(0, text); }), expected);
            EXPECT_EQ(numberOf([&] {
                          sheet.setPageSection(PageKind::Odd, PageSection::LeftHeader, text);
                      }),
                      expected);
        };
        setAll("old");
        EXPECT_FALSE(document->isChanged());
        setAll("new");
        EXPECT_EQ(document->isChanged(), !row.isRefused);
    }
}

TEST(OoxmlTexts, AreNoChangeOnceTheyAreBack) {
    TempDir dir;
    WorkbookBuilder book;
    book.sheet("", "<hyperlinks>" + link("A1", "r:id=\"rId1\"") + "</hyperlinks>" +
                       pages("<oddHeader>&amp;Lold &quot; old</oddHeader>"))
        .part(kRelationships, relationshipPart(relationship("rId1", "old%62old")));
    auto document = openDocument(book.write(dir), {});
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
        linkedBook(link("A1", "r:id=\"rId1\""), relationship("rId1", "old")).write(dir);
    auto document = openDocument(path, {});
    Worksheet& sheet = document->worksheet(0);
    sheet.setHyperlinkAddress(0, "new");
    document->save();
    EXPECT_FALSE(document->isChanged());
    sheet.setHyperlinkAddress(0, "new");  // no change
    const auto changes = {std::function<void()>([&] { sheet.setHyperlinkAddress(0, "newer"); }),
                          std::function<void()>([&] {
                              sheet.setPageSection(PageKind::Odd, PageSection::LeftHeader, "x");
                          }),
                          std::function<void()>([&] {
                              sheet.replaceInCell({1, 1}, part("1"), "2");
                          })};
    for (const auto& change : changes) {
        const auto error = thrownBy(change);
        ASSERT_TRUE(error);
        EXPECT_EQ(error->kind(), ErrorKind::Internal);
    }
    document->save();
    EXPECT_EQ(addresses(openDocument(path, {})->worksheet(0)), Names{"new"});
}

}  // namespace

}  // namespace brindle::workbook
