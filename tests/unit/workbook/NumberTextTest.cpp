// SPDX-License-Identifier: MIT
#include "workbook/NumberText.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <random>

#include "support/Pieces.h"
#include "workbook/PatternSet.h"

namespace brindle::workbook {
namespace {

using Kind = NumberFormatKind;

struct NumberRow {
    double value;
    std::string text;
};

// Each number as it is stored, and by its value.
TEST(NumberText, ShowsFifteenDigits) {
    for (const std::string& row : test::pieces(R"(
             0 -> 0 | 1 -> 1 | -0 -> 0 | -0.0 -> 0 | -5 -> -5 | 1000 -> 1000 | 150000 -> 150000
             12.50 -> 12.5 | 0.1 -> 0.1 | -0.25 -> -0.25 | 0.30000000000000004 -> 0.3
             0.7999999999999999 -> 0.8 | 0.3333333333333333 -> 0.333333333333333
             -0.6666666666666666 -> -0.666666666666667 | 12345678901234500 -> 12345678901234500
             12345678901234567 -> 12345678901234600 | 123456789012345678 -> 123456789012346000
             100000000000000000000 -> 100000000000000000000 | 1000000000000000000000 -> 1E+21
             1E20 -> 100000000000000000000 | 1E21 -> 1E+21 | -1.5e300 -> -1.5E+300
             1E-19 -> 0.0000000000000000001 | 1e-20 -> 1E-20 | 1.25e-18 -> 1.25E-18
             123456789012345e-9 -> 123456.789012345 | 999999999999999.9 -> 1000000000000000
             0.000123456789012345 -> 0.000123456789012345
             0.0000123456789012345 -> 0.0000123456789012345
             0.00000123456789012345 -> 1.23456789012345E-06 | 5e-324 -> 4.94065645841247E-324
             00012 -> 12 | .5 -> 0.5 | 5. -> 5 | 1E-3 -> 0.001 | 1.5e+05 -> 150000 | 1E-400 -> 0
             0.1234567890123456 -> 0.123456789012346 | 0.000000000000000000001 -> 1E-21
             4.9999999999999999E-2 -> 0.05 | 0.0000000000000000000001E-320 -> 0)")) {
        const std::size_t arrow = row.find(" -> ");
        const std::string stored = row.substr(0, arrow);
        std::string text = "|";
        EXPECT_TRUE(appendNumberText(text, stored)) << row;
        EXPECT_EQ(text, "|" + row.substr(arrow + 4)) << row;
        EXPECT_EQ(numberText(std::strtod(stored.c_str(), nullptr)), row.substr(arrow + 4)) << row;
    }
    EXPECT_EQ(numberText(std::numeric_limits<double>::infinity()), "#NUM!");
}

TEST(NumberText, RefusesWhatIsNoStoredNumber) {
    for (const char* bad : {"", "-", ".", "abc", "1x", "1e", " 1", "1 ", "inf", "nan", "1,5", "--1",
                            "+-1", "0x10", "1E400", "1.2.3", "-.", "1-2"}) {
        std::string text = "|";
        EXPECT_FALSE(appendNumberText(text, bad)) << bad;
        EXPECT_EQ(text, "|") << bad;
        EXPECT_FALSE(parseDecimal(bad)) << bad;
    }
}

// The C library rounds right too, by another way.
TEST(NumberText, RoundsAsPrintfDoes) {
    std::mt19937_64 random(5);
    for (int round = 0; round < 50000; ++round) {
        const double mantissa = static_cast<double>(random() % 1000000000000000000u);
        const double cents = std::round(mantissa / 1e4) - 5e13;
        const double value = round % 3 == 0
                                 ? cents / 100
                                 : std::ldexp(mantissa, static_cast<int>(random() % 120) - 90);
        char printed[40];
        std::snprintf(printed, sizeof printed, "%.15g", value);
        const std::string text = numberText(value);
        ASSERT_EQ(std::strtod(text.c_str(), nullptr), std::strtod(printed, nullptr)) << printed;
        // The quick way for stored texts leads to the same as the long one.
        for (const std::string& stored : {storedNumber(value), std::string(printed), text}) {
            std::string read;
            ASSERT_TRUE(appendNumberText(read, stored));
            ASSERT_EQ(read, text) << stored;
        }
        ASSERT_EQ(parseDecimal(storedNumber(value)), value);
    }
}

TEST(NumberText, NeedNotBeMadeWhereNoPatternFits) {
    const double numbers[] = {0,      98765, 98764.99, 1298765.5, -98765, 9876.5, 0.98765, 987.65,
                              1e20,   1e13,  98765e20, 100.25,    100,    99.9,   1e-5,    -100.5,
                              123.05, 50,    0.05,     -987,      986.99, 1987};
    for (const char* what : {"98765", "100", "987", "05", "12", "9*5", "1??.*5", "E+2", "50"}) {
        const PatternSet patterns({CellMatch(what, CaseMode::Folded, false)});
        for (const double number : numbers) {
            if (patterns.matching(numberText(number)) == 0) continue;
            EXPECT_TRUE(patterns.couldMatchBare(number)) << what << " in " << number;
        }
    }
    const PatternSet both(
        {CellMatch("98765", CaseMode::Exact, false), CellMatch("1234", CaseMode::Exact, true)});
    EXPECT_FALSE(both.couldMatchBare(1233.99));
    EXPECT_TRUE(both.couldMatchBare(1234));
    EXPECT_TRUE(both.couldMatchBare(0.125));
}

TEST(NumberText, StoresTheShortestText) {
    EXPECT_EQ(storedNumber(0.1), "0.1");
    EXPECT_EQ(storedNumber(-0.0), "0");
    EXPECT_EQ(storedNumber(0.1 + 0.2), "0.30000000000000004");
    EXPECT_EQ(storedNumber(1e300), "1E+300");
}

TEST(NumberText, ShowsPercentsWithoutNoise) {
    // clang-format off
    const NumberRow kRows[] = {
        {0.5, "50%"}, {0.07, "7%"}, {0.29, "29%"}, {-0.125, "-12.5%"}, {0, "0%"}, {5, "500%"},
        {1.0 / 3, "33.3333333333333%"}, {1e19, "1E+21%"}, {1e-5, "0.001%"},
    };
    // clang-format on
    for (const NumberRow& row : kRows) {
        EXPECT_EQ(editText(row.value, Kind::Percent, false), row.text);
    }
}

TEST(NumberFormats, TellTheKindByTheFirstSection) {
    const std::pair<Kind, const char*> kRows[] = {
        {Kind::Plain, R"(
             General | GENERAL | General" days" | 0.00 | #,##0.00_);[Red]\(#,##0.00\) | 0.00E+00
             0.00e+00 | # ??/?? | [Red]0 | [Magenta]0;[Cyan]0 | [>=100][Red]0 | [$-409]0
             [$USD] #,##0 | _-* #,##0.00 [$€-407]_- | 0 "days" | 0\d | 0_d*y | 0;yyyy | ";"0;yyyy
             0"unclosed yyyy | [unclosed yyyy | 0\ | [hm]0 | []0 | [ | 0\% | 0"%" | 0;0%
             General;@)"},
        {Kind::Percent, "0% | 0.00%;[Red]-0.00%"},
        {Kind::Text, "@"},
        {Kind::Date, R"(
             m/d/yyyy | MMM-YY | mmmmm | m | d | yyyy-mm-dd\Thh:mm:ss | m/d/yyyy h:mm;@
             [$-F800]dddd\,\ mmmm\ dd\,\ yyyy | yyyy"年"m"月")"},
        {Kind::Time, R"(
             h:mm | hh:mm:ss | mm:ss.0 | h:mm AM/PM | h a/p | [h]:mm | [mm]:ss | [ss]
             [$-F400]h:mm:ss AM/PM | [Red][hh]:mm;0)"},
    };
    for (const auto& [kind, codes] : kRows) {
        for (const std::string& code : test::pieces(codes)) {
            EXPECT_EQ(numberFormatKind(code), kind) << code;
        }
    }
    EXPECT_EQ(numberFormatKind(""), Kind::Plain);
}

TEST(NumberFormats, KnowTheBuiltInOnes) {
    for (int id = 0; id < 400; ++id) {
        const std::string_view code = builtInFormatCode(id);
        if (code.empty()) continue;
        EXPECT_EQ(builtInFormatKind(id), numberFormatKind(code)) << id;
    }
    for (const int id : {27, 31, 36, 50, 58}) EXPECT_EQ(builtInFormatKind(id), Kind::Date) << id;
    for (const int id : {32, 33}) EXPECT_EQ(builtInFormatKind(id), Kind::Time) << id;
    for (const int id : {23, 26, 59, 164, -1}) EXPECT_EQ(builtInFormatKind(id), Kind::Plain) << id;
    EXPECT_EQ(builtInFormatCode(14), "m/d/yyyy");
    EXPECT_EQ(builtInFormatCode(49), "@");
    EXPECT_EQ(builtInFormatKind(22), Kind::Date);
}

TEST(DateText, ShowsDatesAndTimes) {
    constexpr double kSecond = 1.0 / 86400;
    // clang-format off
    const NumberRow kDates[] = {
        {1, "1/1/1900"}, {59, "2/28/1900"}, {60, "2/29/1900"}, {61, "3/1/1900"},
        {366, "12/31/1900"}, {367, "1/1/1901"}, {42370, "1/1/2016"}, {42675, "11/1/2016"},
        {36585, "2/29/2000"}, {2958465, "12/31/9999"}, {2958465.5, "12/31/9999 12:00:00 PM"},
        {2958466, "2958466"}, {2958465.9999999, "2958465.9999999"}, {-1, "-1"}, {0, "1/0/1900"},
        {0.5, "1/0/1900 12:00:00 PM"}, {42370 + 2 * kSecond, "1/1/2016 12:00:02 AM"},
        {3 + kSecond / 4, "1/3/1900"},
    };
    const NumberRow kTimes[] = {
        {-0.5, "-0.5"}, {0, "12:00:00 AM"}, {0.5, "12:00:00 PM"}, {0.0625, "1:30:00 AM"},
        {13.5 / 24, "1:30:00 PM"}, {1 - kSecond, "11:59:59 PM"}, {1 - kSecond / 4, "1/1/1900"},
        {26.0 / 24, "1/1/1900 2:00:00 AM"},
    };
    const NumberRow kFrom1904[] = {
        {0, "1/1/1904"}, {40908, "1/1/2016"}, {2957003, "12/31/9999"}, {2957004, "2957004"},
    };
    // clang-format on
    for (const auto& [serial, text] : kDates) EXPECT_EQ(editText(serial, Kind::Date, false), text);
    for (const auto& [serial, text] : kTimes) EXPECT_EQ(editText(serial, Kind::Time, false), text);
    for (const auto& [days, text] : kFrom1904) EXPECT_EQ(editText(days, Kind::Date, true), text);
    EXPECT_EQ(editText(0.5, Kind::Time, true), "12:00:00 PM");
    EXPECT_EQ(editText(0.5, Kind::Plain, false), "0.5");
    EXPECT_EQ(editText(0.5, Kind::Text, false), "0.5");
}

TEST(DateSerial, CountsEveryDayOnce) {
    double expected = 0;
    for (int year = 1900; year <= 9999; ++year) {
        for (int month = 1; month <= 12; ++month) {
            for (int day = 1; day <= 31; ++day) {
                const auto serial = dateSerial(year, month, day);
                if (!serial) continue;
                ASSERT_EQ(*serial, ++expected) << year << '-' << month << '-' << day;
            }
        }
    }
    EXPECT_EQ(expected, 2958465);
    const std::tuple<int, int, int> missing[] = {{1899, 12, 31}, {1900, 1, 0},  {10000, 1, 1},
                                                 {2001, 2, 29},  {2100, 2, 29}, {2003, 13, 1},
                                                 {2003, 0, 1}};
    for (const auto& [y, m, d] : missing) {
        EXPECT_FALSE(dateSerial(y, m, d)) << y << '-' << m << '-' << d;
    }
}

}  // namespace
}  // namespace brindle::workbook
