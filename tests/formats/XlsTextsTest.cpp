// SPDX-License-Identifier: MIT
// Hyperlink addresses, page headers and page footers of binary workbooks, by the records that are
// written.
#include <gtest/gtest.h>

#include "base/Error.h"
#include "base/Text.h"
#include "support/Thrown.h"
#include "support/XlsRecords.h"
#include "workbook/xls/HeaderFooter.h"
#include "workbook/xls/Hyperlinks.h"

namespace brindle::workbook::xls {

namespace {

using namespace std::string_literals;
using test::numberOf;
using test::spliced;
using test::substream;
using test::u16;
using test::u32;
using test::utf16Bytes;

const StringCodec kBiff8(Version::Biff8, "");

// --- hyperlinks ----------------------------------------------------------------------------------

const std::string kUrlTail = "\x79\x58\x81\xF4 sixteen bytes, then eight"s.substr(0, 24);

std::string counted(const std::string& text) {
    return u32(text::lengthUtf16(text) + 1) + utf16Bytes(text) + "\0\0"s;
}
std::string urlMoniker(const std::string& url, const std::string& tail = {}) {
    const std::string bytes = utf16Bytes(url) + "\0\0"s + tail;
    return "\xE0\xC9\xEA\x79\xF9\xBA\xCE\x11\x8C\x82\x00\xAA\x00\x4B\xA9\x0B"s + u32(bytes.size()) +
           bytes;
}
std::string fileMoniker(unsigned levels, const std::string& narrow, const std::string& wide = {},
                        unsigned server = 0xFFFF, const std::string& more = {}) {
    const std::string path = utf16Bytes(wide);
    const std::string extension = wide.empty() ? more : u32(path.size()) + u16(3) + path + more;
    return "\x03\x03\x00\x00\x00\x00\x00\x00\xC0\x00\x00\x00\x00\x00\x00\x46"s + u16(levels) +
           u32(narrow.size() + 1) + narrow + "\0"s + u16(server) + u16(0xDEAD) +
           std::string(20, '\0') + u32(extension.size()) + extension;
}
// With a display name, and what flags 0x20 and 0x40 announce.
std::string object(unsigned flags, const std::string& address, const std::string& place = {}) {
    return u32(2) + u32(0x70 | flags | (place.empty() ? 0 : 8)) + counted("old name") + address +
           (place.empty() ? "" : counted(place)) + "a GUID and a timestamp..";
}
std::string linkBody(const std::string& object) {
    return u16(1) + u16(1) + u16(2) + u16(2) +
           "\xD0\xC9\xEA\x79\xF9\xBA\xCE\x11\x8C\x82\x00\xAA\x00\x4B\xA9\x0B"s + object;
}
std::string link(const std::string& object) {
    return test::record(record::kHyperlink, linkBody(object));
}

struct Address {
    const char* name;
    std::string before;  // object
    std::string shown;
    std::string what;
    std::string with;
    std::string after;  // empty when the change is refused
};

const Address kAddresses[] = {
    {"a page keeps what follows it", object(3, urlMoniker("http://old/a%20b", kUrlTail)),
     "http://old/a%20b", "old", "n w", object(3, urlMoniker("http://n%20w/a%20b", kUrlTail))},
    {"its place", object(3, urlMoniker("http://old"), "old"), "http://old", "old", "new",
     object(3, urlMoniker("http://new"), "old")},
    {"a place in the address", object(3, urlMoniker("http://old/#old")), "http://old/", "old",
     "new", object(3, urlMoniker("http://new/#old"))},
    {"a new place in the address", object(3, urlMoniker("http://old")), "http://old", "old", "x#y",
     object(3, urlMoniker("http://x#y"))},
    {"a second place", object(3, urlMoniker("http://old"), "A1"), "http://old", "old", "x#y", ""},
    {"mail", object(3, urlMoniker("mailto:old@x")), "mailto:old@x", "old", "n\u00E9w",
     object(3, urlMoniker("mailto:n\u00E9w@x"))},
    {"a path as a page", object(3, urlMoniker("file:///C:\\old%20a.xls")), "C:\\old a.xls", "old",
     "x y", object(3, urlMoniker("file:///C:\\x%20y%20a.xls"))},
    {"a page becomes a path", object(3, urlMoniker("http://old/a.xls", kUrlTail), "A1"),
     "http://old/a.xls", "http://old/", "C:\\", object(3, fileMoniker(0, "C:\\a.xls"), "A1")},
    {"a page becomes a relative path", object(3, urlMoniker("http://old/a.xls")),
     "http://old/a.xls", "http://old/", "..\\", object(1, fileMoniker(1, "a.xls"))},
    {"a path, folders to go up", object(1, fileMoniker(2, "old\\my%20 a.xls")),
     "..\\..\\old\\my%20 a.xls", "old", "b b", object(1, fileMoniker(2, "b b\\my%20 a.xls"))},
    {"a folder less", object(1, fileMoniker(2, "old.xls")), "..\\..\\old.xls", "..\\..\\", "..\\",
     object(1, fileMoniker(1, "old.xls"))},
    {"folders to go up in the path", object(1, fileMoniker(0, "..\\old.xls")), "..\\old.xls", "old",
     "new", object(1, fileMoniker(0, "..\\new.xls"))},
    {"folders to go up counted and written",
     object(1, fileMoniker(2, "old.xls", "..\\..\\old.xls")), "..\\..\\old.xls", "..\\..\\old",
     "..\\new", object(1, fileMoniker(1, "new.xls", "..\\new.xls"))},
    {"a relative path becomes absolute", object(1, fileMoniker(1, "old\\a.xls")), "..\\old\\a.xls",
     "..\\old", "C:", object(3, fileMoniker(0, "C:\\a.xls"))},
    {"both forms of a path", object(3, fileMoniker(0, "C:\\\xEF\\old.xls", "C:\\\u043F\\old.xls")),
     "C:\\\u043F\\old.xls", "old", "n\u0434",
     object(3, fileMoniker(0, "C:\\\xEF\\n?.xls", "C:\\\u043F\\n\u0434.xls"))},
    {"a path needs the second form", object(3, fileMoniker(0, "C:\\old.xls")), "C:\\old.xls", "old",
     "\u00E9\u0434", object(3, fileMoniker(0, "C:\\\xE9?.xls", "C:\\\u00E9\u0434.xls"))},
    {"a code page that cannot be told", object(3, fileMoniker(0, "C:\\\xEF\\old.xls")),
     "C:\\\u00EF\\old.xls", "old", "\u0434", ""},
    {"its other letters stay", object(3, fileMoniker(0, "C:\\\xEF\\old.xls")),
     "C:\\\u00EF\\old.xls", "old", "new", object(3, fileMoniker(0, "C:\\\xEF\\new.xls"))},
    {"the notation of another system",
     object(1, fileMoniker(0, "old.xls", "", 0xFFFF, u32(8) + u16(4) + ":old.xls")), "old.xls",
     "old", "new", object(1, fileMoniker(0, "new.xls"))},
    {"a file on a server, and its share",
     object(3, fileMoniker(0, "\\\\old\\s\\a", "\\\\old\\s\\a", 7)), "\\\\old\\s\\a", "old",
     "newer", object(3, fileMoniker(0, "\\\\newer\\s\\a", "\\\\newer\\s\\a", 9))},
    {"a path moves to a server", object(3, fileMoniker(0, "C:\\old.xls")), "C:\\old.xls",
     "C:", "\\\\s\\x y", object(0x103, counted("\\\\s\\x y\\old.xls"))},
    {"a string", object(0x103, counted("\\\\old\\a%20b.xls"), "B2"), "\\\\old\\a%20b.xls", "old",
     "new", object(0x103, counted("\\\\new\\a%20b.xls"), "B2")},
    {"a string becomes a path", object(0x103, counted("\\\\old\\a.xls")), "\\\\old\\a.xls",
     "\\\\old", "Z:", object(3, fileMoniker(0, "Z:\\a.xls"))},
    {"a string becomes a page", object(0x103, counted("\\\\old\\a b.xls")), "\\\\old\\a b.xls",
     "\\\\old\\", "https://x/", object(3, urlMoniker("https://x/a%20b.xls"))},
    {"a path gets a place", object(1, fileMoniker(0, "old.xls")), "old.xls", ".xls", ".xls#S!A1",
     object(1, fileMoniker(0, "old.xls"), "S!A1")},
    {"an empty address leaves the place", object(3, urlMoniker("old"), "A1"), "old", "old", "",
     object(0, "", "A1")},
    {"a control character", object(1, fileMoniker(0, "old.xls")), "old.xls", "old", "a\n", ""},
    {"too long", object(3, urlMoniker("http://old")), "http://old", "old", std::string(2073, 'x'),
     ""},
};

TEST(XlsHyperlinks, AreShownAndStoredAsTheApplicationDoesIt) {
    for (const Address& row : kAddresses) {
        SCOPED_TRACE(row.name);
        const std::string stream = substream(link(row.before));
        Hyperlinks links(stream, 0, kBiff8);
        ASSERT_EQ(links.count(), 1u);
        EXPECT_EQ(links.address(0), row.shown);
        const std::string wanted = text::replaceAll(row.shown, row.what, row.with, CaseMode::Exact);
        const int number = numberOf([&] { links.setAddress(0, wanted); });
        EXPECT_EQ(number, row.after.empty() ? error_number::kApplicationDefined : 0);
        const std::string now = links.address(0);
        const std::string saved = substream(link(row.after.empty() ? row.before : row.after));
        EXPECT_EQ(spliced(stream, links.splices()), saved);
        EXPECT_EQ(Hyperlinks(saved, 0, kBiff8).address(0), now);
        links.setAddress(0, row.shown);
        // A place that was added behind the same address stays.
        EXPECT_EQ(links.isChanged(), !row.after.empty() && now == row.shown);
    }
}

TEST(XlsHyperlinks, OfOtherKindsAreShownEmptyAndRefuseChanges) {
    const std::string composite =
        "\x09\x03\x00\x00\x00\x00\x00\x00\xC0\x00\x00\x00\x00\x00\x00\x46"s;
    const std::string good = object(3, urlMoniker("http://old"));
    const std::string bodies[] = {
        linkBody(object(0, "", "Sheet2!A1")),
        linkBody(object(3, composite + std::string(40, '\1'))),
        linkBody(object(3, fileMoniker(0xFFFF, "a"))),
        linkBody(good).substr(0, 60),
        linkBody(u32(2) + u32(0x13) + u32(0xFFFFFFFF)),
        std::string(8, '\0') + "another class id" + good,
        "",
    };
    for (const std::string& body : bodies) {
        const std::string stream = substream(test::record(record::kHyperlink, body));
        Hyperlinks links(stream, 0, kBiff8);
        ASSERT_EQ(links.count(), 1u);
        EXPECT_EQ(links.address(0), "");
        EXPECT_EQ(numberOf([&] { links.setAddress(0, "x"); }), error_number::kApplicationDefined);
        EXPECT_TRUE(links.splices().empty());
    }
}

TEST(XlsHyperlinks, GoWithTheirTooltips) {
    const std::string tooltip =
        test::record(record::kHyperlinkTooltip,
                     u16(record::kHyperlinkTooltip) + linkBody({}).substr(0, 8) + "text");
    const std::string inChart = link(object(3, urlMoniker("in a chart")));
    const std::string chart =
        substream(substream(inChart, substream::kChart) + inChart, substream::kChart);
    const std::string one = link(object(3, urlMoniker("one")));
    const std::string two = link(object(3, urlMoniker("two"), "A1"));
    const std::string other = test::record(record::kWsBool, "ab");
    const std::string next = substream(one + "next sheet");
    const std::string stream =
        substream(chart + one + tooltip + two + tooltip + one + other + tooltip) + next;
    Hyperlinks links(stream, 0, kBiff8);
    ASSERT_EQ(links.count(), 3u);
    for (std::size_t i = 0; i < links.count(); ++i) links.setAddress(i, "");
    const std::string twoAfter = link(object(0, "", "A1"));
    EXPECT_EQ(spliced(stream, links.splices()),
              substream(chart + twoAfter + tooltip + other + tooltip) + next);
}

// --- headers and footers -------------------------------------------------------------------------

std::string page(std::uint16_t id, const std::string& text) {
    std::string body;
    if (!text.empty()) kBiff8.appendLong(body, text);
    return test::record(id, body);
}
std::string header(const std::string& text) {
    return page(record::kHeader, text);
}
std::string footer(const std::string& text) {
    return page(record::kFooter, text);
}
std::string otherPages(unsigned flags, const std::vector<std::string>& texts, char view = '\0') {
    std::string body =
        u16(record::kHeaderFooter) + std::string(10, '\0') + std::string(16, view) + u16(flags);
    for (const auto& text : texts) body += u16(static_cast<unsigned>(text::lengthUtf16(text)));
    for (const auto& text : texts) {
        if (!text.empty()) kBiff8.appendLong(body, text);
    }
    return test::record(record::kHeaderFooter, body);
}
const std::string kWsBoolRecord = test::record(record::kWsBool, "ab");
const std::string kSetup = test::record(0x00A1, "setup");
const std::string kWidths = test::record(record::kDefColWidth, "cd");

struct Pages {
    const char* name;
    std::string before;
    PageKind kind;
    PageSection section;
    std::string shown;
    std::string with;
    std::string after;  // empty when the change is refused
};

const std::string kView = test::record(record::kViewBegin, "view") + header("&Lold") +
                          footer("&Lold") + test::record(record::kViewEnd, "");

const Pages kPages[] = {
    {"a section among others", header("&Lold&Cold&R&8old") + footer("&Lold") + kView, PageKind::Odd,
     PageSection::CenterHeader, "old", "new &P",
     header("&Lold&Cnew &P&R&8old") + footer("&Lold") + kView},
    {"no code is centre", header("x") + footer("old"), PageKind::Odd, PageSection::CenterFooter,
     "old", "\u043F", header("x") + footer("\u043F")},
    {"the last text goes", header("&Rold") + footer(""), PageKind::Odd, PageSection::RightHeader,
     "old", "", header("") + footer("")},
    {"a text for a record without one", header("") + footer("&Rx"), PageKind::Odd,
     PageSection::LeftHeader, "", "new", header("&Lnew") + footer("&Rx")},
    {"a header in front of a footer", kWsBoolRecord + footer("x"), PageKind::Odd,
     PageSection::RightHeader, "", "new", kWsBoolRecord + header("&Rnew") + footer("x")},
    {"a footer behind a header", kWsBoolRecord + header("x") + kSetup, PageKind::Odd,
     PageSection::LeftFooter, "", "new", kWsBoolRecord + header("x") + footer("&Lnew") + kSetup},
    {"no record at all", kWsBoolRecord + kWidths + kSetup, PageKind::Odd, PageSection::LeftFooter,
     "", "new", kWsBoolRecord + footer("&Lnew") + kWidths + kSetup},
    {"widths too far in front", kWidths + kWsBoolRecord + kSetup, PageKind::Odd,
     PageSection::LeftHeader, "", "new", kWidths + kWsBoolRecord + header("&Lnew") + kSetup},
    {"only in views", kWsBoolRecord + kSetup + kView, PageKind::Odd, PageSection::LeftHeader, "",
     "new", kWsBoolRecord + header("&Lnew") + kSetup + kView},
    {"even pages, not those of a view",
     otherPages(2, {"&Lold", "", "", ""}, 'v') + otherPages(1, {"&Lold", "x", "", "&Lold"}),
     PageKind::Even, PageSection::LeftHeader, "old", "\u043F",
     otherPages(2, {"&Lold", "", "", ""}, 'v') + otherPages(1, {"&L\u043F", "x", "", "&Lold"})},
    {"the first page", otherPages(15, {"", "", "", "&Lold"}), PageKind::First,
     PageSection::LeftFooter, "old", "", otherPages(15, {"", "", "", ""})},
    {"no even pages", header("x"), PageKind::Even, PageSection::LeftHeader, "", "new", ""},
    {"into another section", header("&Lold"), PageKind::Odd, PageSection::LeftHeader, "old",
     "a&R b", ""},
    {"as long as may be", header("&Lold"), PageKind::Odd, PageSection::LeftHeader, "old",
     std::string(253, 'x'), header("&L" + std::string(253, 'x'))},
    {"too long", header("&Lold"), PageKind::Odd, PageSection::LeftHeader, "old",
     std::string(254, 'x'), ""},
};

TEST(XlsHeaderFooter, ChangesOneSection) {
    for (const Pages& row : kPages) {
        SCOPED_TRACE(row.name);
        const std::string stream = substream(row.before);
        HeaderFooter pages(stream, 0, kBiff8);
        EXPECT_EQ(pages.usesPages(row.kind), row.kind == PageKind::Odd || !row.after.empty());
        EXPECT_EQ(pages.section(row.kind, row.section), row.shown);
        const int number = numberOf([&] { pages.setSection(row.kind, row.section, row.with); });
        EXPECT_EQ(number, row.after.empty() ? error_number::kApplicationDefined : 0);
        EXPECT_EQ(pages.section(row.kind, row.section), row.after.empty() ? row.shown : row.with);
        EXPECT_EQ(spliced(stream, pages.splices()),
                  substream(row.after.empty() ? row.before : row.after));
        pages.setSection(row.kind, row.section, row.shown);
        EXPECT_FALSE(pages.isChanged());
    }
}

TEST(XlsHeaderFooter, AddsBothAtOnePlace) {
    const std::string stream = substream(kWsBoolRecord + kSetup);
    HeaderFooter pages(stream, 0, kBiff8);
    pages.setSection(PageKind::Odd, PageSection::LeftFooter, "f");
    pages.setSection(PageKind::Odd, PageSection::LeftHeader, "h");
    EXPECT_EQ(spliced(stream, pages.splices()),
              substream(kWsBoolRecord + header("&Lh") + footer("&Lf") + kSetup));
}

TEST(XlsHeaderFooter, OfOlderVersionsIsInTheCodePage) {
    const StringCodec codec(Version::Biff5, "windows-1251");
    const auto book = [](const std::string& text) {
        return substream(test::record(record::kHeader, static_cast<char>(text.size()) + text));
    };
    const std::string stream = book("&L\xEF old");
    HeaderFooter pages(stream, 0, codec);
    EXPECT_EQ(pages.section(PageKind::Odd, PageSection::LeftHeader), "\u043F old");
    const auto set = [&](const std::string& text) {
        return numberOf([&] { pages.setSection(PageKind::Odd, PageSection::LeftHeader, text); });
    };
    EXPECT_EQ(set("\u00EF"), error_number::kApplicationDefined);
    EXPECT_EQ(set("\u043F \u0434"), 0);
    EXPECT_EQ(spliced(stream, pages.splices()), book("&L\xEF \xE4"));
}

}  // namespace

}  // namespace brindle::workbook::xls
