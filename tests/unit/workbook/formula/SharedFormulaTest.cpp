// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <string>

#include "workbook/formula/Formula.h"

namespace brindle::workbook::formula {
namespace {

std::string movedText(const char* master, CellPosition from, CellPosition to) {
    std::string text = "=";
    SharedFormula(master, from).appendTextAt(text, to);
    return text.substr(1);
}

TEST(SharedFormula, MovesRelativeReferences) {
    struct Row {
        const char* master;
        const char* moved;  // one column to the right, two rows down
    };
    // clang-format off
    const Row rows[] = {
        {"A1", "B3"}, {"$A1+A$1+$A$1", "$A3+B$1+$A$1"}, {"SUM(A1:B$2)", "SUM(B3:C$2)"},
        {"Z9+ZZ99+az1", "AA11+AAA101+BA3"}, {"C:E", "D:F"}, {"$C:E", "$C:F"}, {"5:7", "7:9"},
        {"5:$7", "7:$7"}, {"'A1 B2'!A1+Sheet1!A1:B2", "'A1 B2'!B3+Sheet1!B3:C4"},
        {"A:C!A1", "A:C!B3"}, {"[1]Sheet1!A1", "[1]Sheet1!B3"}, {"#REF!A1", "#REF!B3"},
        {"Sheet1!A1:Sheet1!B2", "Sheet1!B3:Sheet1!C4"},
        {R"("A1"&"x""A1"&A1)", R"("A1"&"x""A1"&B3)"},
        {"LOG10(A1)+BIN2DEC(A1)", "LOG10(B3)+BIN2DEC(B3)"},
        {"Table1[A1]+Table1[[#This Row],[B2]]", "Table1[A1]+Table1[[#This Row],[B2]]"},
        {"[@A1]*A1", "[@A1]*B3"}, {"A1.x+Q1_x+_A1+XFE1+A1048577", "A1.x+Q1_x+_A1+XFE1+A1048577"},
        {"1E5+A1%", "1E5+B3%"}, {"A1#+@A1:A3", "B3#+@B3:B5"}, {"{1,2}*A1", "{1,2}*B3"},
        // Not in the grammar, moved all the same
        {"A1 ~ B1?? (A1", "B3 ~ B1?? (B3"}, {"", ""},
    };
    // clang-format on
    for (const Row& row : rows) {
        EXPECT_EQ(movedText(row.master, {10, 4}, {12, 5}), row.moved) << row.master;
        EXPECT_EQ(movedText(row.master, {10, 4}, {10, 4}).size(), std::string(row.master).size());
    }
}

TEST(SharedFormula, RunsOverTheEdges) {
    EXPECT_EQ(movedText("A1", {2, 2}, {1, 1}), "XFD1048576");
    EXPECT_EQ(movedText("XFD1048576", {1, 1}, {2, 2}), "A1");
    EXPECT_EQ(movedText("B:C", {1, 5}, {1, 3}), "XFD:A");
    EXPECT_EQ(movedText("A1", {1, 1}, {1048576, 16384}), "XFD1048576");
    EXPECT_EQ(movedText("XFD1048576", {1048576, 16384}, {1, 1}), "A1");
}

TEST(SharedFormula, FixedTextIsWhatEveryCellShares) {
    using namespace std::string_literals;
    EXPECT_EQ(SharedFormula(R"(IF(A1>$B$2,"yes",C$3))", {1, 1}).fixedText(),
              "IF(\0>$B$2,\"yes\",\0$3)"s);
    EXPECT_EQ(SharedFormula("A1", {1, 1}).fixedText(), "");
    EXPECT_EQ(SharedFormula("Total*2", {1, 1}).fixedText(), "Total*2");
}

}  // namespace
}  // namespace brindle::workbook::formula
