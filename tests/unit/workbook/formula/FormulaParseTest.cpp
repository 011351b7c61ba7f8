// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "base/Error.h"
#include "support/Thrown.h"
#include "workbook/formula/Formula.h"

namespace brindle::workbook::formula {
namespace {

std::string repeated(std::string_view text, int times) {
    std::string result;
    for (int i = 0; i < times; ++i) result += text;
    return result;
}

// The description of the refusal, or what the text was parsed as.
std::string refusal(const std::string& text) {
    try {
        return "accepted as " + Formula::parse(text).print();
    } catch (const Error& error) {
        EXPECT_EQ(error.kind(), ErrorKind::Refused);
        EXPECT_EQ(error.number(), error_number::kApplicationDefined);
        return error.description();
    }
}

constexpr const char* kInvalid = "The formula you typed contains an error";

TEST(FormulaParse, PrintsWhatItReads) {
    const std::vector<std::string> texts = {
        "1", ".5", "5.", "1.5E-3", "1e+10", R"("a""b")", R"("")", "TRUE", "#DIV/0!", "#N/A",
        "#GETTING_DATA", "#SPILL!", "A1", "$A$1", "XFD1048576", "A1:B2", "A:C", "$A:C", "5:7",
        "$5:$7", "Name", "_x", "\\x", "été.2", "名前", "XFE1", "A1048577", "a.b?",
        // References with sheets and books
        "Sheet1!A1", "'My Sheet'!A1:B2", "'It''s'!A1", "חישוב!B19", "Sheet1:Sheet3!A1", "'A:B'!C1",
        "Sheet1!$1:$3", "Sheet1!A:A", "[1]Sheet!A1", "'[1]My Sheet'!A1", "[1]!Name", "[0]!Name",
        "[1]A:B!C3", "'C:\\dir\\[book.xls]Sheet'!A1", "'C:\\dir\\book.xls'!Name", "book.xls!Name",
        "Sheet1!Name", "Sheet1!#REF!", "#REF!A1", "#REF!$A$1:$B$2", "[1]#REF!A1",
        "Sheet1!A1:Sheet1!B2", "A1:Sheet2!B2", "[1]!Fn(1)", "Excel|'C:\\a.xls'!'!S!R1C1'",
        // Structured references
        "Table1[]", "Table1[Col]", "Table1[[#Headers],[Col]]", "[@Col]", "[@[Col Name]]", "[@]",
        "Table1[[#This Row],[a]:[b]]", "Table1[@[a]:[b]]", "Table1[[#Headers], [#Data], [a b]]",
        "T['[x'] '# '']", "SUBTOTAL(109,[Worker 1 (hrs.)])", "[1]!T[[#All],[x]]", "T[a]:T[b]",
        // Operators and white space
        "1+2", " 1 + 2 ", "-1", "--A1", "+-+1", "2^-1", "5%%", "1<>2", "a&b", "A1 B1",
        "A1:B2  B1:C3", "(A1,B1)", "( A1 , B1 C1 )", "A1:INDEX(B:B,3)", "A1 : B2", "A1#",
        "Sheet1!A1#", "@A1:A3", "@@x", "1\n+\r\n\t2", "A1:B2:C3", "(A1):B2", "f(1) (A1)",
        // Calls
        "NOW()", "NOW( )", "SUM(A1 , B1 )", "IF(A1,,)", "IF( , )", "SUM (A1)", "My.Fn(1)",
        "SUM((A1,B1),C1)", "LAMBDA(x,[y],x+y)(1,2)", "LET(a,1,a+1)", "_xlfn.LET(_xlpm.a,1,_xlpm.a)",
        "LOG10(5)", "UnknownFunction(A1)", "TRUE()", "#REF!+1",
        // Array constants
        "{1}", "{1,2;3,4}", R"({ 1 , -2 ; +3 , "x" })", "{TRUE,#N/A;FALSE,1E3}", "SUM({1;2})*2",
        // References in R1C1 notation are names here
        "R1C1", "RC"};
    for (const std::string& text : texts) {
        SCOPED_TRACE(text);
        EXPECT_NO_THROW(EXPECT_EQ(Formula::parse(text).print(), text));
    }
}

TEST(FormulaParse, PrintsInUsualLetterCase) {
    // clang-format off
    const std::pair<const char*, const char*> rows[] = {
        {"sum(a1,$b$2:c3)", "SUM(A1,$B$2:C3)"}, {"true", "TRUE"},
        {"If(False,#n/a,#Ref!)", "IF(FALSE,#N/A,#REF!)"},
        {"_xlfn.concat(a:c)", "_xlfn.CONCAT(A:C)"}, {"sheet1!a1", "sheet1!A1"},
        {"myFunction(myName,\"sum(a1)\")", "myFunction(myName,\"sum(a1)\")"},
        {"{true,#div/0!}", "{TRUE,#DIV/0!}"}, {"sum (a1)", "SUM (A1)"},
        {"book.xls!sum(a1)", "book.xls!sum(A1)"}, {"table1[col]", "table1[col]"}, {"1e5", "1e5"},
    };
    // clang-format on
    for (const auto& [written, printed] : rows) {
        EXPECT_EQ(Formula::parse(written).print(), printed) << written;
    }
}

TEST(FormulaParse, RefusesWhatIsNoFormula) {
    // clang-format off
    const std::vector<std::string> texts = {
        "", " ", "(", ")", "SUM(", "SUM(A1", "SUM(A1))", "(A1", "1+", "*1", "A1:", ":A1", "1 2",
        "A1 1", R"(A1"x")", R"("abc)", "'abc", "'Sheet'!", "Sheet1!", "Sheet1! A1", "''!A1", "A1$",
        "1A", R"(A1 "x")", "~A1", "`", "A1;B1", "1,2", "A1,B1", "(1,2)", "(A1,2)", "(A1,)", "()",
        "1:A1", R"("x":A1)", "(A1+1):B2", "A1 (1+2)", "1#", "A1 #", "{", "{}", "{1", "{1,2;3}",
        "{1;2,3}", "{A1}", "{{1}}", "{1,}", "{- 1}", "{1%}", "{SUM(1)}", "=A1", "A1==B1", "A1=>B1",
        "T[", "T[[a]", "T[[#Nothing]]", "T[[a],[b]]x", "[[]]", "T[@[a]", "Sheet1![a]", "1E999",
        "A1@B1", "%", "5%6", "A1!", R"(IF(A1 B1 "x"))", "SUM(A1:)", "$", "$A", "A1:1", "\x01",
        "\xff", "A1\xc3", "&", "@", "#", "'a'b", "-(", "FALSE:A1",
    };
    // clang-format on
    for (const std::string& text : texts) {
        EXPECT_EQ(refusal(text), kInvalid) << text;
    }
}

TEST(FormulaParse, SaysWhereTheFaultIs) {
    const std::pair<const char*, std::uint64_t> rows[] = {
        {"1+", 2}, {"SUM(A1))", 7}, {"A1 + ~B1", 5}, {R"(SUM("x)", 4}};
    for (const auto& [text, offset] : rows) {
        const auto error = test::thrownBy([&] { Formula::parse(text); });
        ASSERT_TRUE(error) << text;
        EXPECT_EQ(error->place().offset, offset) << text;
    }
}

TEST(FormulaParse, KeepsTheLimits) {
    struct Row {
        std::string text;
        std::string expected;  // empty: accepted
    };
    const std::string literal = '"' + repeated("x", 255) + '"';
    const std::string wideLiteral = '"' + repeated("\xF0\x9F\x98\x80", 128) + '"';
    const std::string tooLong = "Formula is too long";
    const std::string longText = "Text values in formulas are limited to 255 characters";
    // clang-format off
    const Row rows[] = {
        {literal, ""}, {'"' + repeated(R"("")", 255) + '"', ""},
        {'"' + repeated("x", 256) + '"', longText}, {wideLiteral, longText},
        {"1" + repeated("+1", 4095), ""}, {"1" + repeated("+1", 4096), tooLong},
        {repeated("é", 8192), ""}, {repeated("é", 8193), tooLong},
        {repeated("ABS(", 64) + "1" + repeated(")", 64), ""},
        {repeated("ABS(", 65) + "1" + repeated(")", 65), kInvalid},
        {"SUM(1" + repeated(",1", 254) + ")", ""}, {"SUM(1" + repeated(",1", 255) + ")", kInvalid},
        {repeated("(", 200) + "1" + repeated(")", 200), ""},
        {repeated("(", 4000) + "1" + repeated(")", 4000), kInvalid},
        {repeated("(", 8000), kInvalid}, {repeated("(", 10000), tooLong},
        {repeated("-", 8191) + "1", ""}, {repeated("-", 10000) + "1", tooLong},
        {repeated("@", 8191) + "x", kInvalid}, {"1" + repeated("%", 8191), ""},
        {"A1" + repeated("#", 8190), ""}, {"A1" + repeated(" A1", 2000), ""},
        {"A1" + repeated(":A1", 2000), ""}, {repeated("[", 8000), kInvalid},
        {"f" + repeated("(1)", 2000), ""},
    };
    // clang-format on
    for (const Row& row : rows) {
        SCOPED_TRACE(row.text.substr(0, 20) + " of " + std::to_string(row.text.size()));
        const std::string accepted = "accepted as " + row.text;
        EXPECT_EQ(refusal(row.text), row.expected.empty() ? accepted : row.expected);
    }
}

}  // namespace
}  // namespace brindle::workbook::formula
