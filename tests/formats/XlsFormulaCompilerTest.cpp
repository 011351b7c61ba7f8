// SPDX-License-Identifier: MIT
// Formulas of binary workbooks: text to tokens. How the formulas of real workbooks come out is
// scripts/check_formulas.py's to tell.
#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <vector>

#include "support/Thrown.h"
#include "support/XlsLinks.h"
#include "workbook/xls/formula/FormulaCompiler.h"

namespace brindle::workbook::xls {
namespace {

std::string toHex(std::string_view bytes) {
    constexpr char kDigits[] = "0123456789abcdef";
    std::string hex;
    for (const char c : bytes) {
        hex += kDigits[static_cast<unsigned char>(c) >> 4];
        hex += kDigits[static_cast<unsigned char>(c) & 15];
    }
    return hex;
}

struct Case {
    const char* text;
    const char* tokens;  // hexadecimal
    const char* extra = "";
};

void expectTokens(const Links& links, const std::vector<Case>& cases,
                  FormulaUse use = FormulaUse::Cell) {
    LinkTable table = links.table();
    FormulaCompiler compiler(links.codec, table);
    for (const Case& item : cases) {
        const CompiledFormula compiled = compiler.compile(item.text, {0, {10, 5}, use});
        EXPECT_EQ(toHex(compiled.tokens), toHex(fromHex(item.tokens))) << item.text;
        EXPECT_EQ(toHex(compiled.extra), toHex(fromHex(item.extra))) << item.text;
    }
}

TEST(XlsFormulaCompilerTest, LiteralsOperatorsAndWhiteSpace) {
    expectTokens(
        biff8Links(),
        {
            {"65535+65536", "1effff 1f00000000 0000f040 03"},
            {"-1.5", "1f000000000000f83f 13"},
            {"+5%", "1e0500 12 14"},
            {"(1+2)*3", "1e0100 1e0200 03 15 1e0300 05"},
            {"1<>2&3", "1e0100 1e0200 1e0300 08 0e"},
            {"\"a\"\"b\"&\"\u20ac\"", "1703 00 612262 1701 01 ac20 08"},
            {"TRUE=#N/A", "1d01 1c2a 0b"},
            {"{1,\"x\";FALSE,#REF!}", "40 00000000000000",
             "01 0100 01 000000000000f03f 02 0100 00 78 04 0000000000000000 10 1700000000000000"},
            {" 1\n\n+  2", "19400001 1e0100 19400002 1e0200 19400102 03"},
            {"( (1 ) )", "1e0100 19400201 19400401 15 19400401 15"},
            {" ABS( 1 )", "19400001 1e0100 19400001 19400401 41 1800"},
            {" NOW( )", "19410001 19400401 41 4a00"},
            // No token holds these
            {"SUM (1 ,{1 , 2}) ", "1e0100 60 00000000000000 4202 0400",
             "01 0000 01 000000000000f03f 01 0000000000000040"},
        });
}

TEST(XlsFormulaCompilerTest, ReferencesAndNames) {
    expectTokens(
        biff8Links(),
        {
            {"e10", "44 0900 04c0"},
            {"$IV$65536", "44 ffff ff00"},
            {"AREAS(B$2:$A1)", "25 0000 0100 0080 0140 41 4b00"},
            {"ROWS(C:$E)", "25 0000 ffff 0240 0400 41 4c00"},
            {"ROWS($7:5)", "25 0400 0600 0080 ff00 41 4c00"},
            {"'My sheet'!A1+sheet1!B2", "5a 0100 0000 00c0 5a 0000 0100 01c0 03"},
            {"SUM(Sheet1:Last!A1:B2)", "3b 0200 0000 0100 00c0 01c0 19100000"},
            {"#REF!A1", "5a 0300 0000 00c0"},
            {"'My sheet'!#REF!", "5c 0100 00000000"},
            {"'C:\\dir\\[b''s.xls]S 1'!A1", "5a 0600 0000 00c0"},
            {"total", "43 01000000"},
            {"'C:\\dir\\b''s.xls'!Rate", "59 0800 0100 0000"},
            // References put together: with their result where it is the same everywhere
            {"SUM((A1,B2:C3))", "26 00000000 0f00 24000000c0 25 0100 0200 01c0 02c0 10 15 19100000",
             "0200 0000 0000 0000 0000 0100 0200 0100 0200"},
            {"A1:B2 B1:C3", "46 00000000 1300 25 0000 0100 00c0 01c0 25 0000 0200 01c0 02c0 0f",
             "0100 0000 0100 0100 0100"},
            {"A1 B2", "47 00000000 0b00 24 0000 00c0 24 0100 01c0 0f"},
            {"SUM(A1:INDEX(B:B,2))",
             "29 1600 24000000c0 25 0000 ffff 0140 0140 1e0200 2202 1d00 11 19100000"},
        });
}

TEST(XlsFormulaCompilerTest, Functions) {
    expectTokens(
        biff8Links(),
        {
            {"PI()", "41 1300"},
            {"sum(A1)", "24000000c0 19100000"},
            {"SUM(A1,1)", "24000000c0 1e0100 4202 0400"},
            {"1+RAND()", "19010000 1e0100 41 3f00 03"},
            {"IF(A1,1,)", "44000000c0 1902 0700 1e0100 1908 0800 16 1908 0300 4203 0100"},
            {"1+ IF(A1,1)", "1e0100 44000000c0 1902 0b00 1e0100 19400001 1908 0300 4202 0100 03"},
            {"CHOOSE(2,1,B2)",
             "1e0200 1904 0200 0600 0d00 1600 1e0100 1908 0c00 24 0100 01c0 1908 0300 4203 6400"},
            {"Udf(A1,Total)", "23 05000000 24000000c0 23 01000000 4203ff00"},
            {"EDATE(A1)", "39 0500 0100 0000 24000000c0 4202ff00"},
            {"iferror(A1,A1)", "23 02000000 44000000c0 24000000c0 4203ff00"},
            // Classes: within what takes arrays values become arrays, however deep
            {"SUMPRODUCT(LEN(A1:A2)*1)", "65 0000 0100 00c0 00c0 61 2000 1e0100 05 4201 e400"},
            {"SUM(LEN(A1:A2))", "45 0000 0100 00c0 00c0 41 2000 19100000"},
            {"ABS(INDEX(A1:A2,1))", "25 0000 0100 00c0 00c0 1e0100 4202 1d00 41 1800"},
        });
    expectTokens(biff8Links(),
                 {
                     {"A1:A2+1", "45 0000 0100 00c0 00c0 1e0100 03"},
                     {"SUM(LEN(A1:A2))", "65 0000 0100 00c0 00c0 61 2000 19100000"},
                     {"TRANSPOSE(A1:A2)", "65 0000 0100 00c0 00c0 41 5300"},
                 },
                 FormulaUse::Array);
}

TEST(XlsFormulaCompilerTest, OlderVersions) {
    expectTokens(Links(Version::Biff5),
                 {
                     {"E10+\"\u00e9\"", "44 09c0 04 1701 e9 03"},
                     {"ROWS(C:$E)", "25 0040 ff3f 02 04 41 4c00"},
                     {"{1,\"ab\"}", "40 00000000000000", "02 0100 01 000000000000f03f 02 02 6162"},
                     {"SUM((A1,B2))", "26 00000000 0900 24 00c0 00 24 01c0 01 10 15 19100000",
                      "0200 0000 0000 00 00 0100 0100 01 01"},
                 });
    expectTokens(Links(Version::Biff2),
                 {
                     {"IF(TRUE,1,2)", "1d01 1902 06 1e0100 1908 08 1e0200 1908 02 42 03 01"},
                     {"ABS(B1)", "44 00c0 01 41 18"},
                 });
}

TEST(XlsFormulaCompilerTest, RefusesWhatTheFormatCannotHold) {
    const std::string nested = "ABS(ABS(ABS(ABS(ABS(ABS(ABS(ABS(";
    std::string many = "SUM(1";
    for (int i = 0; i < 30; ++i) many += ",1";
    std::string longest = "1";
    for (int i = 0; i < 450; ++i) longest += "+1";
    const Links links = biff8Links();
    LinkTable table = links.table();
    FormulaCompiler compiler(links.codec, table);
    const auto compile = [&](const std::string& text) {
        return compiler.compile(text, {0, {1, 1}, FormulaUse::Cell});
    };
    EXPECT_NO_THROW(compile(nested + "1))))))))"));
    EXPECT_NO_THROW(compile(longest.substr(0, 2 * 449 + 1)));
    std::vector<std::string> refused = {
        "A65537",     "IW1",  "Sheet2!A1", "[other.xls]T!A1", "unknown",
        "UNKNOWN(1)", "LN()", "LN(1,2)",   "GOTO(A1)",        "XLOOKUP(1,A1,B1)",
        "@A1",        "A1#",  "Table1[x]", "LAMBDA(x,x)(1)",  "#SPILL!",
        "1+\t2",      "1+"};
    refused.insert(refused.end(), {'"' + std::string(256, 'x') + '"',
                                   "ABS(" + nested + "1)))))))))", many + ")", longest});
    for (const std::string& text : refused) {
        EXPECT_EQ(test::numberOf([&] { compile(text); }), 1004) << text;
    }
    EXPECT_FALSE(table.isChanged());
}

TEST(XlsFormulaCompilerTest, EditedFormulasKeepWhatTheirTextDoesNotTell) {
    const Links links = biff8Links();
    LinkTable table = links.table();
    FormulaCompiler compiler(links.codec, table);
    const struct {
        const char* stored;
        const char* text;
        const char* tokens;
    } edits[] = {
        // A class of its own, a mark and bytes without a meaning
        {"19010000 24000000c0 43 01001234 03", "B1+Total", "19010000 24000001c0 43 01001234 03"},
        // Digits that no text shows, an integer as another program writes it
        {"1f 9b9999999999b93f 1f 0000000000000040 03 15 1e0100 05", "(0.1+2)*7",
         "1f 9b9999999999b93f 1f 0000000000000040 03 15 1e0700 05"},
        // Jumps go along with what changes its size; the class of the function stays
        {"44000000c0 1902 0700 1e0100 1908 0c00 24000001c0 1908 0300 2203 0100",
         "IF(A1,\"abc\",B1)",
         "44000000c0 1902 0a00 1703 00 616263 1908 0c00 24000001c0 1908 0300 2203 0100"},
        // From a shared formula
        {"4c 0000 ffc0 4c 0100 00c0 03", "D11+E11", "44 0a00 03c0 44 0a00 04c0 03"},
        // Functions in each other's place; one that needs other tokens around it is compiled anew
        {"25 0000 0100 00c0 00c0 4201 0400", "MAX(A1:A2)", "25 0000 0100 00c0 00c0 4201 0700"},
        {"1e0100 61 1800", "SIN(1)", "1e0100 61 0f00"},
        {"41 1300", "NOW()", "19010000 41 4a00"},
        {"61 1300", "1+1", "1e0100 1e0100 03"},
    };
    for (const auto& edit : edits) {
        const std::string stored = fromHex(edit.stored);
        const FormulaTokens old{stored, {}};
        const CompiledFormula result =
            compiler.compile(edit.text, {0, {10, 5}, FormulaUse::Cell}, &old);
        EXPECT_EQ(toHex(result.tokens), toHex(fromHex(edit.tokens))) << edit.text;
    }
}

}  // namespace
}  // namespace brindle::workbook::xls
