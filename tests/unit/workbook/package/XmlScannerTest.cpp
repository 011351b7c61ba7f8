// SPDX-License-Identifier: MIT
#include "workbook/package/XmlScanner.h"

#include <gtest/gtest.h>
#include <zip.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <random>

#include "base/Error.h"
#include "unit/workbook/package/ExpatEvents.h"

namespace brindle::workbook::package {
namespace {

using testing::judgeByExpat;
using testing::judgeByScanner;

struct Document {
    const char* text;
    bool isGood;
};

constexpr Document kDocuments[] = {
    {"<a/>", true},
    {"<a></a>", true},
    {"<a>\n</a >\n", true},
    {"\n <!-- c --><?pi x?><a/><!----><?pi?> ", true},
    {"<?xml version=\"1.0\"?><a/>", true},
    {"<?xml version='1.0' encoding='UTF-8' standalone='yes' ?>\n<a/>", true},
    {"<?xml  version = \"1.0\"\tstandalone = 'no'?><a/>", true},
    {"<a b='1' c=\"2\"\n d = '3' />", true},
    {"<a b='\"' c=\"'\" d='>' e=']]>'/>", true},
    {"<a>&lt;&gt;&amp;&quot;&apos;&#65;&#x4a;&#x10FFFF;&#9;</a>", true},
    {"<a b='&lt;&gt;&amp;&quot;&apos;&#65;&#x4a;&#10;&#13; x\ty\nz\r\n'/>", true},
    {"<a>one<![CDATA[<two>&amp;]]]]><![CDATA[>]]>three\r\nfour\rfive</a>", true},
    {"<a>]] > ] ]> ]</a>", true},
    {"<a>Gr\xC3\xB6\xC3\x9F"
     "e \xE2\x82\xAC \xF0\x9F\x98\x80 \x7F</a>",
     true},
    {"<\xC3\xA9l\xC3\xA9ment \xCE\xB1='1'/>", true},
    {"<a.b-c_d1 x.y-z='1'/>", true},
    {"<a xml:space='preserve'/>", true},
    {"<a xmlns='u'><b xmlns=''><c/></b></a>", true},
    {"<p:a xmlns:p='u' p:x='1' x='2'/>", true},
    {"<a xmlns:p='u' xmlns:q='v' p:x='1' q:x='2'/>", true},
    {"<p:a xmlns:p='u'><p:b xmlns:p='v'/><p:c/></p:a>", true},
    {"<a xmlns='u&amp;v&#10;w' b='1'/>", true},
    {"<a xmlns:xml='http://www.w3.org/XML/1998/namespace'/>", true},
    {"<a><!-- - -- --></a>", false},
    {"<a><!-- x ---></a>", false},
    {"", false},
    {"  ", false},
    {"text", false},
    {"<a>", false},
    {"</a>", false},
    {"<a", false},
    {"<", false},
    {"<a/", false},
    {"<a/ >", false},
    {"<a//>", false},
    {"< a/>", false},
    {"<a></b>", false},
    {"<a></ab>", false},
    {"<ab></a>", false},
    {"<a><b></a></b>", false},
    {"<a></a", false},
    {"<a/><b/>", false},
    {"<a/>text", false},
    {"<a/></a>", false},
    {"<a/><![CDATA[x]]>", false},
    {"<a/>&amp;", false},
    {" <?xml version='1.0'?><a/>", false},
    {"<a><?xml version='1.0'?></a>", false},
    {"<a/><?XmL x?>", false},
    {"<?xml?><a/>", false},
    {"<?xml encoding='UTF-8'?><a/>", false},
    {"<?xml version='1.0'encoding='UTF-8'?><a/>", false},
    {"<?xml version='1.0' standalone='maybe'?><a/>", false},
    {"<?xml version='1.0' encoding='-x'?><a/>", false},
    {"<?xml version='1.0' standalone='no' encoding='UTF-8'?><a/>", false},
    {"<?xml version='1.0' other='x'?><a/>", false},
    {"<a><?p:q x?></a>", false},
    {"<a><? x?></a>", false},
    {"<a><?x</a>", false},
    {"<a><?x!?></a>", false},
    {"<a b/>", false},
    {"<a b=/>", false},
    {"<a b=1/>", false},
    {"<a b='1/>", false},
    {"<a b='1\"/>", false},
    {"<a b='1'c='2'/>", false},
    {"<a b='<'/>", false},
    {"<a b='&'/>", false},
    {"<a b='1' b='2'/>", false},
    {"<a 1b='1'/>", false},
    {"<a -b='1'/>", false},
    {"<1/>", false},
    {"<a>]]></a>", false},
    {"<a>]]]></a>", false},
    {"<a>&</a>", false},
    {"<a>&amp</a>", false},
    {"<a>& amp;</a>", false},
    {"<a>&AMP;</a>", false},
    {"<a>&unknown;</a>", false},
    {"<a>&#;</a>", false},
    {"<a>&#x;</a>", false},
    {"<a>&#X41;</a>", false},
    {"<a>&#0;</a>", false},
    {"<a>&#8;</a>", false},
    {"<a>&#xD800;</a>", false},
    {"<a>&#xFFFE;</a>", false},
    {"<a>&#x110000;</a>", false},
    {"<a>&#99999999999999999999;</a>", false},
    {"<a>\x01</a>", false},
    {"<a b='\x1F'/>", false},
    {"<a><!--\x02--></a>", false},
    {"<a><?p \x03?></a>", false},
    {"<a><![CDATA[\x04]]></a>", false},
    {"<a><![CDATA[x]]</a>", false},
    {"<a><![cdata[x]]></a>", false},
    {"<a>\x80</a>", false},
    {"<a>\xC0\x80</a>", false},
    {"<a>\xC3</a>", false},
    {"<a>\xE0\x80\x80</a>", false},
    {"<a>\xED\xA0\x80</a>", false},
    {"<a>\xEF\xBF\xBE</a>", false},
    {"<a>\xEF\xBF\xBF</a>", false},
    {"<a>\xF0\x80\x80\x80</a>", false},
    {"<a>\xF4\x90\x80\x80</a>", false},
    {"<a>\xF5\x80\x80\x80</a>", false},
    {"<a\xC3/>", false},
    {"<\xC3\x97/>", false},
    {"<p:a/>", false},
    {"<a p:b='1'/>", false},
    {"<a><b xmlns:p='u'/><p:c/></a>", false},
    {"<a:/>", false},
    {"<:a/>", false},
    {"<a:b:c xmlns:a='u'/>", false},
    {"<a:1 xmlns:a='u'/>", false},
    {"<a xmlns:p=''/>", false},
    {"<a xmlns:='u'/>", false},
    {"<a xmlns:xmlns='u'/>", false},
    {"<xmlns:a/>", false},
    {"<a xmlns:xml='u'/>", false},
    {"<a xmlns:p='http://www.w3.org/XML/1998/namespace'/>", false},
    {"<a xmlns:p='http://www.w3.org/2000/xmlns/'/>", false},
    {"<a xmlns:p='u' xmlns:p='v'/>", false},
    {"<a xmlns:p='u' xmlns:q='u' p:x='1' q:x='2'/>", false},
    {"<a xmlns:p='u&amp;v' xmlns:q='u&#38;v' p:x='1' q:x='2'/>", false},
};

// Judged alike by expat, the events being the same where a document is good.
TEST(XmlScannerTest, AcceptsWellFormedDocumentsOnly) {
    for (const Document& document : kDocuments) {
        const auto ours = judgeByScanner(document.text);
        const auto theirs = judgeByExpat(document.text);
        EXPECT_EQ(ours.isAccepted, document.isGood) << document.text << ": " << ours.reason;
        EXPECT_EQ(theirs.isAccepted, document.isGood) << document.text << ": " << theirs.reason;
        if (document.isGood) {
            EXPECT_EQ(ours.events, theirs.events) << document.text;
        }
    }
}

TEST(XmlScannerTest, RefusesNulAnywhere) {
    const std::string good = "<a b='c'>d<!--e--><![CDATA[f]]><?g h?></a>";
    for (std::size_t i = 0; i <= good.size(); ++i) {
        std::string bad = good;
        bad.insert(i, 1, '\0');
        EXPECT_FALSE(judgeByScanner(bad).isAccepted) << i;
    }
}

TEST(XmlScannerTest, RefusesEveryTruncation) {
    const std::string good =
        "<?xml version='1.0'?><a b='c&lt;'>d&#10;<!--e--><![CDATA[f]]><?g h?></a>";
    ASSERT_TRUE(judgeByScanner(good).isAccepted);
    for (std::size_t i = 0; i < good.size(); ++i) {
        // In memory of its own, so that a read behind the end is seen by the sanitizers.
        const std::vector<char> cut(good.begin(), good.begin() + static_cast<std::ptrdiff_t>(i));
        EXPECT_FALSE(judgeByScanner({cut.data(), cut.size()}).isAccepted) << i;
    }
}

TEST(XmlScannerTest, RefusesDocumentTypes) {
    const char* documents[] = {"<!DOCTYPE a><a/>",
                               "<?xml version='1.0'?>\n<!DOCTYPE a [<!ENTITY b 'c'>]><a>&b;</a>",
                               "<!DOCTYPE a SYSTEM 'file:///etc/hostname'><a/>"};
    for (const char* document : documents) EXPECT_TRUE(judgeByScanner(document).isDoctype);
}

TEST(XmlScannerTest, TellsByteRangesAndDepths) {
    const std::string input =
        "<?xml version='1.0'?>\n<p:a xmlns:p='u' k = \"v&amp;w\">x<b/><!--c-->y</p:a>";
    XmlScanner scanner(input);
    std::vector<std::string> seen;
    while (scanner.next() != XmlToken::EndOfInput) {
        seen.push_back(std::to_string(scanner.depth()) + " " +
                       input.substr(scanner.begin(), scanner.end() - scanner.begin()));
    }
    const std::vector<std::string> expected = {"0 <?xml version='1.0'?>",
                                               "1 <p:a xmlns:p='u' k = \"v&amp;w\">",
                                               "1 x",
                                               "2 <b/>",
                                               "2 ",
                                               "1 <!--c-->",
                                               "1 y",
                                               "1 </p:a>"};
    EXPECT_EQ(seen, expected);
}

TEST(XmlScannerTest, TellsAttributes) {
    const std::string input =
        "<a xmlns:r='rel' xmlns:id='x' r:id='one' id = \"two&lt;\" r:only='3'/>";
    XmlScanner scanner(input);
    ASSERT_EQ(scanner.next(), XmlToken::StartElement);
    EXPECT_EQ(scanner.attribute("id")->rawValue, "two&lt;");
    EXPECT_EQ(scanner.attribute("id", "rel")->rawValue, "one");
    EXPECT_EQ(scanner.attribute("only")->rawValue, "3");
    EXPECT_EQ(scanner.attribute("only", ""), nullptr);
    EXPECT_EQ(scanner.attribute("r"), nullptr);
    const XmlAttribute& id = *scanner.attribute("id");
    EXPECT_EQ(input.substr(id.begin, id.end - id.begin), "id = \"two&lt;\"");
    EXPECT_EQ(input.substr(id.valueBegin, id.valueEnd - id.valueBegin), "two&lt;");
    EXPECT_TRUE(scanner.isEmptyElement());
}

TEST(XmlScannerTest, SkipsElements) {
    const std::string input = "<a><b><b/>text<c/></b><d/></a>";
    XmlScanner scanner(input);
    scanner.next();
    scanner.next();
    scanner.skipElement();
    EXPECT_EQ(scanner.qualifiedName(), "b");
    EXPECT_EQ(scanner.depth(), 2u);
    EXPECT_EQ(scanner.end(), input.find("<d/>"));
    ASSERT_EQ(scanner.next(), XmlToken::StartElement);
    EXPECT_EQ(scanner.qualifiedName(), "d");
    scanner.skipElement();
    ASSERT_EQ(scanner.next(), XmlToken::EndElement);
    EXPECT_EQ(scanner.qualifiedName(), "a");
    EXPECT_EQ(scanner.next(), XmlToken::EndOfInput);
}

std::string repeated(std::size_t count, const std::function<std::string(std::size_t)>& piece) {
    std::string all;
    for (std::size_t i = 0; i < count; ++i) all += piece(i);
    return all;
}

// Each would take minutes or crash if time were quadratic or the nesting recursive.
TEST(XmlScannerTest, StaysLinearForHostileInput) {
    constexpr std::size_t kMany = 1'000'000;
    const auto number = [](std::size_t i) { return std::to_string(i); };
    const std::string longUri(10'000'000, 'u');
    const std::string documents[] = {
        repeated(kMany, [](std::size_t) { return "<a>"; }) +
            repeated(kMany, [](std::size_t) { return "</a>"; }),
        "<a" + repeated(kMany, [&](std::size_t i) { return " b" + number(i) + "=''"; }) + "/>",
        "<a b='" + std::string(100 * kMany, 'x') + "'/>",
        "<a b='" + repeated(2 * kMany, [](std::size_t) { return "&lt;"; }) + "'/>",
        "<a>" + std::string(50 * kMany, ']') + "</a>",
        "<a" + repeated(kMany, [&](std::size_t i) { return " xmlns:p" + number(i) + "='u'"; }) +
            repeated(kMany / 10,
                     [&](std::size_t i) { return " p" + number(i) + ":b" + number(i) + "=''"; }) +
            "/>",
        repeated(kMany / 4,
                 [&](std::size_t i) { return "<a xmlns:p" + number(i) + "='u' p0:b=''>"; }) +
            repeated(kMany / 4, [](std::size_t) { return "</a>"; }),
        "<a xmlns:p='" + longUri + "1' xmlns:q='" + longUri + "2'>" +
            repeated(kMany / 10, [](std::size_t) { return "<b p:c='' q:c=''/>"; }) + "</a>",
    };
    for (const std::string& document : documents) {
        const auto start = std::chrono::steady_clock::now();
        XmlScanner scanner(document);
        while (scanner.next() != XmlToken::EndOfInput) {
        }
        const std::chrono::duration<double> taken = std::chrono::steady_clock::now() - start;
        EXPECT_LT(taken.count(), 20) << document.substr(0, 40);
    }
}

TEST(XmlScannerTest, FindsDoubleAttributesAmongMany) {
    const std::string many =
        repeated(5000, [](std::size_t i) { return " b" + std::to_string(i) + "=''"; });
    EXPECT_TRUE(judgeByScanner("<a" + many + "/>").isAccepted);
    EXPECT_FALSE(judgeByScanner("<a" + many + " b77=''/>").isAccepted);
    const std::string declared = " xmlns:p='u' xmlns:q='u' xmlns:r='v' p:x='' r:x='' x=''";
    EXPECT_TRUE(judgeByScanner("<a" + many + declared + "/>").isAccepted);
    EXPECT_FALSE(judgeByScanner("<a" + many + declared + " q:x=''/>").isAccepted);
}

// Changes a few places of a document: bytes deleted, doubled, swapped, or set to one that
// matters to a parser.
std::string mutated(std::string document, std::mt19937& random) {
    static constexpr std::string_view kBytes = "<>/&;:='\"!?-[] \n\rxa1#]\x01\x80\xC3";
    const auto below = [&random](std::size_t limit) { return random() % limit; };
    for (std::size_t i = 1 + below(3); i > 0 && !document.empty(); --i) {
        const std::size_t at = below(document.size());
        const std::size_t length = 1 + below(4);
        switch (below(5)) {
            case 0:
                document.erase(at, length);
                break;
            case 1:
                document.insert(at, document.substr(below(document.size()), length));
                break;
            case 2:
                document[at] = kBytes[below(kBytes.size())];
                break;
            case 3:
                document.insert(at, 1, kBytes[below(kBytes.size())]);
                break;
            default:
                std::swap(document[at], document[below(document.size())]);
                break;
        }
    }
    return document;
}

bool isOutsideAscii(const std::string& document, std::size_t at) {
    return at < document.size() && static_cast<unsigned char>(document[at]) >= 0x80;
}

// expat 2.5 holds to the names of the fourth edition and takes any version number; a mark it
// skips by itself.
bool isKnownDifference(const std::string& document, const testing::XmlVerdict& ours,
                       const testing::XmlVerdict& theirs) {
    return ours.isDoctype || isOutsideAscii(document, ours.failedAt) ||
           isOutsideAscii(document, theirs.failedAt) ||
           ours.reason == "The XML declaration is not well formed";
}

struct Agreement {
    int accepted = 0;
    int refused = 0;
    int setAside = 0;
};

void compare(const std::string& document, Agreement& agreement) {
    const auto ours = judgeByScanner(document);
    const auto theirs = judgeByExpat(document);
    if (ours.isAccepted == theirs.isAccepted) {
        ++(ours.isAccepted ? agreement.accepted : agreement.refused);
        if (ours.isAccepted) {
            ASSERT_EQ(ours.events, theirs.events) << document;
        }
        return;
    }
    ASSERT_TRUE(isKnownDifference(document, ours, theirs))
        << "ours: " << ours.reason << " at " << ours.failedAt << "; expat: " << theirs.reason
        << " at " << theirs.failedAt << "\n"
        << document;
    ++agreement.setAside;
}

TEST(XmlScannerTest, AgreesWithExpatOnMutatedDocuments) {
    std::mt19937 random(20240601);
    Agreement agreement;
    for (const Document& document : kDocuments) {
        for (int i = 0; i < 300; ++i) compare(mutated(document.text, random), agreement);
    }
    EXPECT_GT(agreement.accepted, 1000);
    EXPECT_GT(agreement.refused, 1000);
    EXPECT_LT(agreement.setAside, 500);
}

// The XML parts of a package, by an independent reader, up to a size.
std::vector<std::string> partsOf(const std::string& path) {
    std::vector<std::string> parts;
    zip_t* archive = zip_open(path.c_str(), ZIP_RDONLY, nullptr);
    if (archive == nullptr) return parts;
    for (zip_int64_t i = 0; i < zip_get_num_entries(archive, 0); ++i) {
        const auto index = static_cast<zip_uint64_t>(i);
        zip_stat_t status;
        const bool isStated = zip_stat_index(archive, index, 0, &status) == 0;
        zip_file_t* file =
            isStated && status.size < 20000 ? zip_fopen_index(archive, index, 0) : nullptr;
        if (file == nullptr) continue;
        std::string part(status.size, '\0');
        const bool isRead =
            zip_fread(file, part.data(), part.size()) == static_cast<zip_int64_t>(part.size());
        zip_fclose(file);
        if (isRead && part.substr(0, 2) == "<?") parts.push_back(std::move(part));
    }
    zip_discard(archive);
    return parts;
}

TEST(XmlScannerTest, AgreesWithExpatOnMutatedParts) {
    const char* corpus = std::getenv("BRINDLE_CORPUS");
    if (corpus == nullptr) GTEST_SKIP() << "BRINDLE_CORPUS does not name a folder of workbooks";
    std::mt19937 random(20240602);
    Agreement agreement;
    for (const auto& entry : std::filesystem::directory_iterator(std::string(corpus) + "/xlsx")) {
        for (const std::string& part : partsOf(entry.path().string())) {
            compare(part, agreement);
            for (int i = 0; i < 10; ++i) compare(mutated(part, random), agreement);
            if (HasFatalFailure()) return;
        }
    }
    EXPECT_GT(agreement.accepted, 500);
    EXPECT_GT(agreement.refused, 500);
    EXPECT_LT(agreement.setAside * 50, agreement.refused);
}

TEST(XmlTextTest, ExpandsAndNormalises) {
    EXPECT_EQ(xmlText("a&#x20AC;b&amp;lt;\r\nc\rd\te"),
              "a\xE2\x82\xAC"
              "b&lt;\nc\nd\te");
    EXPECT_EQ(xmlAttributeText("a\r\nb\rc\nd\te&#10;f"), "a b c d e\nf");
    EXPECT_THROW(xmlText("a&b;"), Error);
    EXPECT_THROW(xmlText("&#xFFFF;"), Error);
}

TEST(XmlTextTest, EscapesSoThatReadingGivesTheTextBack) {
    const std::string text = "<a b=\"c\">&amp; ]]> '\t\n\r\n\xF0\x9F\x98\x80";
    EXPECT_EQ(xmlText(xmlEscaped(text)), text);
    EXPECT_EQ(xmlAttributeText(xmlAttributeEscaped(text)), text);
    const auto verdict =
        judgeByExpat("<a b=\"" + xmlAttributeEscaped(text) + "\">" + xmlEscaped(text) + "</a>");
    ASSERT_TRUE(verdict.isAccepted);
    EXPECT_EQ(verdict.events[0], "start a b=" + text);
    EXPECT_EQ(verdict.events[1], "text " + text);
}

TEST(XmlTextTest, RefusesWhatXmlCannotHold) {
    for (const char* text : {"a\x01", "\x1F", "\xEF\xBF\xBF", "\xED\xA0\x80", "\xFF"}) {
        try {
            xmlEscaped(text);
            ADD_FAILURE() << text;
        } catch (const Error& error) {
            EXPECT_EQ(error.kind(), ErrorKind::Refused);
            EXPECT_EQ(error.number(), 1004);
        }
    }
}

std::string utf16(std::string_view ascii, bool isBig) {
    std::string out;
    for (const char c : ascii) out += isBig ? std::string{'\0', c} : std::string{c, '\0'};
    return out;
}

TEST(XmlEncodingTest, ConvertsToUtf8) {
    const std::string declared = "<?xml version='1.0' encoding='UTF-16'?><a/>";
    const std::string result = "<?xml version='1.0' encoding='UTF-8'?><a/>";
    const std::pair<std::string, std::string> rows[] = {
        {"\xEF\xBB\xBF<a/>", "<a/>"},
        {"\xFF\xFE" + utf16(declared, false), result},
        {"\xFE\xFF" + utf16(declared, true), result},
        {utf16(declared, false), result},
        {utf16("<a/>", true), "<a/>"},
        {std::string("\xFF\xFE<\0a\0>\0\x3D\xD8\x00\xDE<\0/\0a\0>\0", 20),
         "<a>\xF0\x9F\x98\x80</a>"},
        {"<?xml version='1.0' encoding='ISO-8859-1'?><a>\xE9</a>",
         "<?xml version='1.0' encoding='UTF-8'?><a>\xC3\xA9</a>"},
        {"<?xml version='1.0' encoding=\"Windows-1252\" ?><a>\x80</a>",
         "<?xml version='1.0' encoding=\"UTF-8\" ?><a>\xE2\x82\xAC</a>"},
        {"<?xml version='1.0' encoding='us-ascii'?><a/>", result},
    };
    for (const auto& [input, expected] : rows) EXPECT_EQ(toUtf8(input).value_or("none"), expected);
    EXPECT_EQ(toUtf8("<a>\xC3\xA9</a>"), std::nullopt);
    EXPECT_EQ(toUtf8("<?xml version='1.0' encoding='utf-8'?><a/>"), std::nullopt);
    EXPECT_EQ(toUtf8(""), std::nullopt);
}

TEST(XmlEncodingTest, RefusesOtherEncodingsAndContradictions) {
    const std::string utf7 = "<?xml version='1.0' encoding='UTF-7'?><a/>";
    const std::pair<std::string, ErrorKind> rows[] = {
        {utf7, ErrorKind::Unsupported},
        {"\xFF\xFE" + utf16(utf7, false), ErrorKind::Unsupported},
        {"<?xml version='1.0' encoding='UTF-16'?><a/>", ErrorKind::Damaged},
        {"\xEF\xBB\xBF<?xml version='1.0' encoding='ISO-8859-1'?><a/>", ErrorKind::Damaged},
        {"\xFF\xFE" + utf16("<?xml version='1.0' encoding='UTF-8'?><a/>", false),
         ErrorKind::Damaged},
        {"<?xml version='1.0' encoding='US-ASCII'?><a>\xE9</a>", ErrorKind::Damaged},
        {std::string("\xFF\xFE<\0a", 5), ErrorKind::Damaged},
        {std::string("\xFF\xFE\x3D\xD8<\0", 6), ErrorKind::Damaged},
        {std::string("\xFF\xFE\x00\xDE<\0", 6), ErrorKind::Damaged},
    };
    for (const auto& [input, kind] : rows) {
        try {
            toUtf8(input);
            ADD_FAILURE() << input;
        } catch (const Error& error) {
            EXPECT_EQ(error.kind(), kind) << input;
        }
    }
}

}  // namespace
}  // namespace brindle::workbook::package
