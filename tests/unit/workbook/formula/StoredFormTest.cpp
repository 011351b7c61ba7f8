// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "base/Error.h"
#include "support/Thrown.h"
#include "workbook/formula/Formula.h"

namespace brindle::workbook::formula {
namespace {

const std::vector<std::string> kBooks = {"C:\\my dir\\book.xls", "b.xlsx", "it's.xlsx",
                                         "Excel|topic"};

// The stored form of `shown` plus "+0", so that the whole text is converted anew.
std::string storedAgain(const std::string& shown, const std::string& oldStored) {
    return storedText(shown + "+0", oldStored, kBooks);
}

struct Pair {
    const char* stored;
    const char* shown;
};

// clang-format off
const Pair kPairs[] = {
    {"SUM(A1)", "SUM(A1)"},
    {"_xlfn.CONCAT(A1,_xlfn.XLOOKUP(A1,B:B,C:C))", "CONCAT(A1,XLOOKUP(A1,B:B,C:C))"},
    {"_xlfn._xlws.FILTER(A1:A9,B1:B9)", "FILTER(A1:A9,B1:B9)"},
    {"\"_xlfn.CONCAT([1]S!A1)\"&_xlfn.CONCAT(A1)", "\"_xlfn.CONCAT([1]S!A1)\"&CONCAT(A1)"},
    {"NETWORKDAYS.INTL(A1,B1)", "NETWORKDAYS.INTL(A1,B1)"},
    // Parameters
    {"_xlfn.LET(_xlpm.a,1,_xlpm.b,_xlpm.a+1,_xlpm.a*_xlpm.b)", "LET(a,1,b,a+1,a*b)"},
    {"_xlfn.LAMBDA(_xlpm.x,_xlop.y,IF(_xlfn.ISOMITTED(_xlpm.y),_xlpm.x,_xlpm.y))(1)",
     "LAMBDA(x,[y],IF(ISOMITTED(y),x,y))(1)"},
    {"_xlfn.LET(_xlpm.f,_xlfn.LAMBDA(_xlpm.x,_xlpm.x),_xlpm.f(2))", "LET(f,LAMBDA(x,x),f(2))"},
    {"_xlfn.LET(_xlpm.a,a,_xlpm.a)", "LET(a,a,a)"},
    // Operators
    {"_xlfn.SINGLE(A1:A3)", "@A1:A3"}, {"_xlfn.SINGLE(INDEX(A1:A3,1))", "@INDEX(A1:A3,1)"},
    {"_xlfn.SINGLE( A1 )", "@( A1 )"}, {"_xlfn.SINGLE(A1+B1)", "@(A1+B1)"},
    {"_xlfn.SINGLE((A1))", "@((A1))"}, {"_xlfn.SINGLE((A1):B2)", "@(A1):B2"},
    {"_xlfn.SINGLE(A1:A3 B1:B3)", "@(A1:A3 B1:B3)"}, {"_xlfn.ANCHORARRAY(A1)", "A1#"},
    {"SUM(_xlfn.ANCHORARRAY(Sheet1!A1))", "SUM(Sheet1!A1#)"},
    {"_xlfn.ANCHORARRAY(A1:B2)", "ANCHORARRAY(A1:B2)"},
    {"_xlfn.ANCHORARRAY((A1))", "ANCHORARRAY((A1))"},
    {"_xlfn.SINGLE(_xlfn.ANCHORARRAY(A1))", "@A1#"},
    {"_xlfn.ANCHORARRAY(_xlfn.SINGLE(A1))", "ANCHORARRAY(@A1)"},
    {"_xlfn.ANCHORARRAY(_xlfn._xlws.SORT(A1:A3))", "SORT(A1:A3)#"},
    {"_xlfn.SINGLE(_xlfn.SINGLE(A1))", "@@A1"}, {"A1:_xlfn.SINGLE(B1)", "A1:@B1"},
    {"_xlfn.ANCHORARRAY(T[a])", "T[a]#"},
    {"_xlfn.ANCHORARRAY([1]S!n)", "'C:\\my dir\\[book.xls]S'!n#"},
    // Books
    {"[1]Sheet1!A1", "'C:\\my dir\\[book.xls]Sheet1'!A1"},
    {"'[1]a b'!A1", "'C:\\my dir\\[book.xls]a b'!A1"},
    {"[1]A:B!C1", "'C:\\my dir\\[book.xls]A:B'!C1"}, {"[1]!Name", "'C:\\my dir\\book.xls'!Name"},
    {"[2]Sheet1!A1", "[b.xlsx]Sheet1!A1"}, {"'[2]a b'!A1", "'[b.xlsx]a b'!A1"},
    {"'[2]2004'!A1+'[2]R1'!A1+'[2]A1'!A1", "'[b.xlsx]2004'!A1+'[b.xlsx]R1'!A1+'[b.xlsx]A1'!A1"},
    {"[2]!Name", "b.xlsx!Name"}, {"[2]!fn(A1)", "b.xlsx!fn(A1)"}, {"[2]#REF!A1", "[b.xlsx]#REF!A1"},
    {"[3]S!A1", "'[it''s.xlsx]S'!A1"}, {"[0]!Name", "[0]!Name"},
};
// clang-format on

TEST(StoredForm, ShowsAndStores) {
    for (const Pair& pair : kPairs) {
        EXPECT_EQ(shownText(pair.stored, kBooks), pair.shown);
        EXPECT_EQ(storedText(pair.shown, pair.stored, kBooks), pair.stored);
        // Also for a formula that was not there before
        if (std::string(pair.stored) != "_xlfn.LET(_xlpm.a,a,_xlpm.a)") {
            EXPECT_EQ(storedAgain(pair.shown, ""), std::string(pair.stored) + "+0");
        }
    }
}

TEST(StoredForm, KeepsTheOldSpellingThroughAnEdit) {
    const Pair rows[] = {
        {"CONCAT(A1)", "CONCAT(A1)"},  // stored without its prefix by some writers
        {"_xlfn.NEWEST(A1)", "NEWEST(A1)"},
        {"_xlfn.BYROW(A1:B2,_xleta.SUM)", "BYROW(A1:B2,SUM)"},
        {"'[1]Sheet1'!A1", "'C:\\my dir\\[book.xls]Sheet1'!A1"},
        {"_xlfn.SINGLE(A1):B2", "SINGLE(A1):B2"},
        {"_xlfn.LET(_xlpm.A1,1,_xlpm.A1)", "LET(_xlpm.A1,1,_xlpm.A1)"},
        {"[4]!'!item'", "[4]!'!item'"},
        {"[9]S!A1", "[9]S!A1"},
        {"SUM(_xlnm.Print_Area)", "SUM(Print_Area)"},
        {"_xludf.FOO(_xll.BAR(1))", "_xludf.FOO(_xll.BAR(1))"},
    };
    for (const Pair& row : rows) {
        EXPECT_EQ(shownText(row.stored, kBooks), row.shown);
        EXPECT_EQ(storedAgain(row.shown, row.stored), std::string(row.stored) + "+0");
    }
}

TEST(StoredForm, ConvertsEditedText) {
    struct Row {
        const char* oldStored;
        const char* shown;
        const char* stored;
    };
    const Row rows[] = {
        {"SUM(A1:A3)", "CONCAT(A1:A3)", "_xlfn.CONCAT(A1:A3)"},
        {"_xlfn.CONCAT(A1)", "sum(concat(A1))", "sum(_xlfn.concat(A1))"},
        {"[1]S!A1", "'c:\\MY DIR\\[Book.xls]Tab le'!A1", "'[1]Tab le'!A1"},
        {"[1]S!A1", "[b.xlsx]S!A1", "[2]S!A1"},
        {"1", "LET(x,1,Sheet!x+x)+x", "_xlfn.LET(_xlpm.x,1,Sheet!x+_xlpm.x)+x"},
        {"1", "b.xlsx!A1", "b.xlsx!A1"},
        {"[2]!CONCAT(A1)", "b.xlsx!CONCAT(CONCAT(A1))", "[2]!CONCAT(_xlfn.CONCAT(A1))"},
        {"1", "(A1)#+@(B1)", "_xlfn.ANCHORARRAY(A1)+_xlfn.SINGLE(B1)"},
        {"1", "(A1,B1)#", "_xlfn.ANCHORARRAY((A1,B1))"},
        {"1", "concat&Sheet1!A1", "concat&Sheet1!A1"},
    };
    for (const Row& row : rows) {
        EXPECT_EQ(storedText(row.shown, row.oldStored, kBooks), row.stored) << row.shown;
    }
}

TEST(StoredForm, RefusesBooksThatAreNotLinked) {
    for (const char* shown :
         {"[c.xlsx]S!A1", "'C:\\other\\[book.xls]S'!A1", "[7]S!A1", "'C:\\other\\book.xls'!Name"}) {
        EXPECT_EQ(test::numberOf([&] { storedText(shown, "[1]S!A1", kBooks); }),
                  error_number::kApplicationDefined)
            << shown;
    }
}

}  // namespace
}  // namespace brindle::workbook::formula
