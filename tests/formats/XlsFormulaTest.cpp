// SPDX-License-Identifier: MIT
// Formulas of binary workbooks: tokens to text, and the links that they refer to by number.
// How real workbooks fare is scripts/check_formulas.py's to tell.
#include <gtest/gtest.h>
#include <algorithm>
#include <cctype>

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "support/XlsLinks.h"
#include "workbook/formula/SheetPrefix.h"
#include "workbook/xls/biff/RecordReader.h"
#include "workbook/xls/formula/FormulaDecoder.h"
#include "workbook/xls/formula/LetterRuns.h"
#include "workbook/xls/formula/LinkTable.h"
#include "workbook/xls/formula/TokenReader.h"

namespace brindle::workbook::xls {
namespace {

using formula::parseSheetPrefix;

struct Case {
    const char* tokens;  // hexadecimal
    const char* text;    // null: has none
    const char* extra = "";
};

// That no long word of a formula's text is missing where they are told by its tokens alone.
void expectLetterRuns(std::string_view tokens, const std::string& text, Version version) {
    std::string told;
    if (!appendLetterRuns(told, tokens, version)) return;
    const auto isLetter = [](unsigned char c) { return std::isalpha(c) != 0 && c < 0x80; };
    for (auto at = text.begin(); at != text.end();) {
        const auto begin = std::find_if(at, text.end(), isLetter);
        at = std::find_if_not(begin, text.end(), isLetter);
        if (at - begin < 4) continue;
        EXPECT_NE(told.find(std::string(begin, at)), std::string::npos) << text;
    }
}

void expectTexts(const Links& links, const std::vector<Case>& cases, CellPosition at = {10, 5}) {
    const LinkTable table = links.table();
    const FormulaDecoder decoder(links.codec, table);
    for (const Case& item : cases) {
        const std::string tokens = fromHex(item.tokens);
        const std::string extra = fromHex(item.extra);
        const auto text = decoder.text({tokens, extra}, at);
        EXPECT_EQ(text.value_or("(none)"), item.text != nullptr ? item.text : "(none)")
            << item.tokens;
        if (text) expectLetterRuns(tokens, *text, links.codec.version());
    }
}

TEST(XlsFormulaTest, LongWordsAreToldByTheTokens) {
    std::string told;
    // AVERAGE(A1)+SUM(A1), then a text
    EXPECT_TRUE(appendLetterRuns(told, fromHex("24000000c0 42010500 24000000c0 42010400 03"),
                                 Version::Biff8));
    EXPECT_EQ(told, "AVERAGE ");
    EXPECT_FALSE(appendLetterRuns(told, fromHex("1703 00 612262"), Version::Biff8));
}

TEST(XlsFormulaTest, ExpressionsOfTheCurrentVersion) {
    expectTexts(
        biff8Links(),
        {
            {"1e0100 1e0200 03 15 1e0300 05", "(1+2)*3"},
            // Parentheses that another writer left out
            {"1e0100 1e0200 03 1e0300 05", "(1+2)*3"},
            {"1e0100 1e0200 1e0300 04 04", "1-(2-3)"},
            {"1e0200 13 1e0200 07", "-2^2"},
            {"1e0200 1e0200 07 13", "-(2^2)"},
            {"1e0200 14 13", "-2%"},
            {"24000000c0 24010001c0 10 420104 00", "SUM((A1,B2))"},
            // Constants
            {"1703 00 612262 1705 01 e900ea0065000a0022 00 08", "\"a\"\"b\"&\"éêe\n\"\"\""},
            {"1d01 1c2a 0b", "TRUE=#N/A"},
            {"1f 9a9999999999b93f", "0.1"},
            {"60 00000000000000", "{1,\"x\";TRUE,#REF!}",
             "01 0100 01 000000000000f03f 02 0100 00 78 04 0100000000000000 10 1700000000000000"},
            // References, by distance too, and beyond the edge of the sheet
            {"44 0900 0400", "$E$10"},
            {"44 0900 04c0", "E10"},
            {"4c 0100 ffc0", "D11"},
            {"4c f6ff fbc0", "IV65536"},
            {"25 0000 ffff 02c0 0400", "C:$E"},
            {"25 0400 0600 0000 ffc0", "$5:7"},
            {"25 0000 ffff 0000 ff00", "$1:$65536"},
            {"2a 00000000", "#REF!"},
            {"24000000c0 24010001c0 11 24000001c0 0f", "A1:B2 B1"},
            // Functions; the last argument is left out
            {"1d01 1e0100 16 4203 0100", "IF(TRUE,1,)"},
            {"2201 08 80", nullptr},
            {"4200 3500", nullptr},
            {"41 1300", "PI()"},
            {"24000000c0 19100000", "SUM(A1)"},
            {"19010000 41 3f00", "RAND()"},
            // White space: in front of operands, operators and parentheses
            {"19400001 1e0100 19400102 1e0200 19400001 03", " 1 +\n\n2"},
            {"1e0100 19400201 19400403 15", " (1   )"},
            {"1e0100 19400001 41 1800 ", " ABS(1)"},
            {"24000000c0 19400002 24010001c0 19400001 0f", "A1    B2"},
            // What was computed before it was stored
            {"29 0b00 24000000c0 24010001c0 10 15 420104 00", "SUM((A1,B2))"},
            {"26 00000000 0b00 24000000c0 24010001c0 10 15 60 00000000000000 420204 00",
             "SUM((A1,B2),{1})", "0100 0000 0000 0000 0000 00 0000 01 000000000000f03f"},
            // Not to be decoded
            {"", nullptr},
            {"03", nullptr},
            {"1e0100 1e0200", nullptr},
            {"1e01", nullptr},
            {"16", nullptr},
            {"1e0100 16 03", nullptr},
            {"1801 00000000", nullptr},
            {"1c99", nullptr},
            {"ff", nullptr},
            {"1710 00 6162", nullptr},
            {"60 00000000000000", nullptr, "01 0100 01 0000"},
            {"01 0000 0000", nullptr},
        });
}

TEST(XlsFormulaTest, LinksOfTheCurrentVersion) {
    expectTexts(biff8Links(),
                {
                    {"3a 0000 0000 00c0", "Sheet1!A1"},
                    {"3a 0100 0000 00c0", "'My sheet'!A1"},
                    {"3b 0200 0000 0100 00c0 01c0", "Sheet1:Last!A1:B2"},
                    {"3a 0300 0000 00c0", "#REF!A1"},
                    {"3c 0100 00000000", "'My sheet'!#REF!"},
                    {"3a 0600 0000 00c0", "'C:\\dir\\[b''s.xls]S 1'!A1"},
                    {"3a 0700 0000 00c0", "'C:\\dir\\[b''s.xls]S 1:Two'!A1"},
                    {"3a 0900 0000 00c0", "[plain.xls]T!A1"},
                    {"23 01000000", "Total"},
                    {"23 02000000 1e0100 1e0200 4203ff00", "IFERROR(1,2)"},
                    {"39 0400 0100 0000", "[0]!Total"},
                    {"39 0100 0300 0000", "'My sheet'!Print_Area"},
                    {"39 0500 0100 0000 1e0100 4202ff00", "EDATE(1)"},
                    {"39 0800 0100 0000", "'C:\\dir\\b''s.xls'!Rate"},
                    {"39 0800 0200 0000", "'C:\\dir\\[b''s.xls]Two'!Local"},
                    // Names that were cut off, numbers that lead nowhere, data exchange
                    {"23 04000000", nullptr},
                    {"23 05000000", "Udf"},
                    {"23 06000000", nullptr},
                    {"39 0500 0900 0000", nullptr},
                    {"39 0a00 0100 0000", nullptr},
                    {"3a 0b00 0000 00c0", nullptr},
                    {"3a 5500 0000 00c0", nullptr},
                    {"1e0100 4202ff00", nullptr},
                });
}

TEST(XlsFormulaTest, OlderVersions) {
    Links links(Version::Biff5);
    links.add(record::kExternCount, number16(3));
    links.add(record::kExternSheet, "\x08\x03My sheet");
    links.add(record::kExternSheet, "\x01\x04");
    links.add(record::kExternSheet,
              "\x10\x01\x01"
              "Cdir\x03[b.xls]S");
    links.addName("Total");
    expectTexts(links,
                {
                    {"44 09c0 04", "E10"},
                    {"4c 01c0 ff", "D11"},
                    {"25 0000 ff3f 02 04", "$C:$E"},
                    {"1702 e961", "\"éa\""},
                    {"3a ffff 0000000000000000 0100 0100 0000 00", "'My sheet'!$A$1"},
                    {"3a ffff 0000000000000000 0000 0300 0000 00", "Sheet1:Last!$A$1"},
                    {"3a 0300 0000000000000000 0000 0000 0000 00", "'C:\\dir\\[b.xls]S'!$A$1"},
                    {"39 feff 0000000000000000 0100 000000000000000000000000", "[0]!Total"},
                    {"23 0100 000000000000000000000000", "Total"},
                    {"40 00000000000000", "{1,\"ab\"}", "02 0100 01 000000000000f03f 02 02 6162"},
                });
    expectTexts(Links(Version::Biff2),
                {
                    {"1e0100 44 00c0 01 03", "1+B1"},
                    {"1e0100 21 18", "ABS(1)"},
                    {"1e0100 1e0200 22 02 04", "SUM(1,2)"},
                    {"1d01 1902 07 1e0100 1908 03 1e0200 22 03 01", "IF(TRUE,1,2)"},
                });
    expectTexts(Links(Version::Biff4), {
                                           {"1e0100 1e0200 42 02 0400", "SUM(1,2)"},
                                           {"1e0100 19400001 41 1800", " ABS(1)"},
                                       });
}

TEST(XlsFormulaTest, DeepExpressionsTakeNoLongerThanTheirText) {
    const Links links(Version::Biff8);
    const LinkTable table = links.table();
    const FormulaDecoder decoder(links.codec, table);
    constexpr std::size_t kDepth = 15000;
    const std::string one = fromHex("1e0100");
    std::string rightDeep;
    for (std::size_t i = 0; i < kDepth; ++i) rightDeep += one;
    rightDeep += one + std::string(kDepth, '\x08');
    std::string nested;
    for (std::size_t i = 1; i < kDepth; ++i) nested += "1&(";
    EXPECT_EQ(decoder.text({rightDeep, {}}, {1, 1}), nested + "1&1" + std::string(kDepth - 1, ')'));
    const std::string signs = one + std::string(kDepth, '\x13');
    EXPECT_EQ(decoder.text({signs, {}}, {1, 1}), std::string(kDepth, '-') + '1');
    // Texts that no formula can have.
    EXPECT_FALSE(decoder.text({one + std::string(100000, '\x13'), {}}, {1, 1}));
}

TEST(XlsFormulaTest, HostsOfSharedFormulas) {
    const auto host = formulaHost({fromHex("01 0400 0200"), {}}, Version::Biff8);
    ASSERT_TRUE(host);
    EXPECT_EQ(host->cell, (CellPosition{5, 3}));
    EXPECT_FALSE(host->isTable);
    EXPECT_TRUE(formulaHost({fromHex("02 0400 02"), {}}, Version::Biff2)->isTable);
    EXPECT_FALSE(formulaHost({fromHex("01 0400 0200 15"), {}}, Version::Biff8));
    EXPECT_FALSE(formulaHost({fromHex("1e 0400"), {}}, Version::Biff8));
}

// --- text to tokens

std::string prefixOf(const LinkTable& table, const std::optional<SheetLink>& link) {
    std::string text;
    if (!link) return "(none)";
    return table.appendPrefix(text, *link) ? text : "(unknown)";
}

TEST(XlsFormulaTest, KnownLinksAreFound) {
    const Links links = biff8Links();
    LinkTable table = links.table();
    for (const char* prefix : {"Sheet1!", "'My sheet'!", "Sheet1:Last!", "#REF!",
                               "'C:\\dir\\[b''s.xls]S 1'!", "[plain.xls]T!"}) {
        EXPECT_EQ(prefixOf(table, table.sheetLink(parseSheetPrefix(prefix))), prefix);
    }
    for (const char* prefix : {"Sheet2!", "Last:Sheet1!", "[plain.xls]U!", "[other.xls]T!"}) {
        EXPECT_FALSE(table.sheetLink(parseSheetPrefix(prefix))) << prefix;
    }
    EXPECT_EQ(table.name("TOTAL", 0)->index, 1);
    EXPECT_EQ(table.name("print_area", 1)->index, 3);
    EXPECT_FALSE(table.name("print_area", 0));
    EXPECT_FALSE(table.function("IFERROR", 0)->sheets);
    EXPECT_EQ(table.function("_xlfn.IFERROR", 0)->index, 2);
    EXPECT_EQ(table.function("edate", 0)->sheets->number, 5);
    EXPECT_FALSE(table.function("EOMONTH", 0));
    for (const char* shown : {"[0]!Total", "'My sheet'!Print_Area", "'C:\\dir\\b''s.xls'!Rate",
                              "'C:\\dir\\[b''s.xls]Two'!Local"}) {
        const std::string text = shown;
        const std::size_t end = text.rfind('!') + 1;
        const auto link = table.name(parseSheetPrefix(text.substr(0, end)), text.substr(end));
        std::string again;
        ASSERT_TRUE(link && link->sheets) << shown;
        EXPECT_TRUE(table.appendExternName(again, link->sheets->number, link->index));
        EXPECT_EQ(again, shown);
    }
    EXPECT_FALSE(table.isChanged());
    EXPECT_TRUE(table.splices().empty());
}

// New sheets get numbers behind the old ones, which keep their meaning.
void expectNewLinks(const Links& links) {
    LinkTable table = links.table();
    const LinkTable old = links.table();
    const auto link = table.sheetLink(parseSheetPrefix("'My sheet:R1'!"));
    const auto second = table.sheetLink(parseSheetPrefix("Last!"));
    ASSERT_TRUE(link && second);
    EXPECT_EQ(table.sheetLink(parseSheetPrefix("'my sheet:R1'!"))->number, link->number);
    ASSERT_TRUE(table.isChanged());

    const std::string stream = links.changed(table);
    const LinkTable written = links.tableOf(stream);
    EXPECT_EQ(prefixOf(written, link), "'My sheet:R1'!");
    EXPECT_EQ(prefixOf(written, second), "Last!");
    for (std::uint16_t i = 0; i < 2500; ++i) {
        std::string before;
        if (old.appendPrefix(before, {i, 0, 0})) {
            EXPECT_EQ(prefixOf(written, SheetLink{i, 0, 0}), before) << i;
        }
    }
    RecordReader reader(stream);
    Record record;
    while (reader.next(record)) {
        EXPECT_LE(record.body.size(), longestBody(links.codec.version()));
        if (record.id == record::kExternCount) {
            EXPECT_EQ(record.body, number16(2));
        }
    }
    EXPECT_EQ(reader.offset(), stream.size());
}

TEST(XlsFormulaTest, NewLinksAreWritten) {
    expectNewLinks(biff8Links());

    Links many(Version::Biff8);  // so many that they go on in another record
    many.add(record::kSupBook, fromHex("0400 0104"));
    std::string ranges = number16(2500);
    for (int i = 0; i < 2500; ++i) ranges += number16(0) + number16(0) + number16(0);
    many.add(record::kExternSheet, ranges.substr(0, 8222));
    many.add(record::kContinue, ranges.substr(8222));
    expectNewLinks(many);

    Links none(Version::Biff8);
    none.add(record::kBoundSheet, fromHex("00000000 0000") + shortText("Sheet1"));
    none.addName("Total");
    expectNewLinks(none);

    Links listed(Version::Biff5);
    listed.add(record::kExternCount, number16(1));
    listed.add(record::kExternSheet, "\x04\x03Last");
    listed.add(record::kDefColWidth, number16(8));
    expectNewLinks(listed);

    Links bare(Version::Biff5);
    bare.add(record::kDimensions, std::string(10, '\0'));
    expectNewLinks(bare);

    EXPECT_FALSE(Links(Version::Biff4).table().sheetLink(parseSheetPrefix("Last!")));
}

}  // namespace
}  // namespace brindle::workbook::xls
