// SPDX-License-Identifier: MIT
#include "workbook/NumberText.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <random>

namespace brindle::workbook {
namespace {

using Kind = NumberFormatKind;

struct NumberRow {
    double value;
    std::string text;
};

TEST(NumberText, ShowsFifteenDigits) {
    const NumberRow kRows[] = {
        {0, "0"},
        {-0.0, "0"},
        {1000, "1000"},
        {-5, "-5"},
        {150000, "150000"},
        {0.1, "0.1"},
        {0.30000000000000004, "0.3"},
        {0.1 + 0.7, "0.8"},
        {1.0 / 3, "0.333333333333333"},
        {-2.0 / 3, "-0.666666666666667"},
        {12345678901234500.0, "12345678901234500"},
        {123456789012345678.0, "123456789012346000"},
        {1e20, "100000000000000000000"},
        {1e21, "1E+21"},
        {-1.5e300, "-1.5E+300"},
        {1e-19, "0.0000000000000000001"},
        {1e-20, "1E-20"},
        {1.25e-18, "1.25E-18"},
        {123456789012345e-9, "123456.789012345"},
        {0.000123456789012345, "0.000123456789012345"},
        {0.0000123456789012345, "0.0000123456789012345"},
        {0.00000123456789012345, "1.23456789012345E-06"},
        {999999999999999.9, "1000000000000000"},
        {5e-324, "4.94065645841247E-324"},
        {std::numeric_limits<double>::infinity(), "#NUM!"},
    };
    for (const NumberRow& row : kRows) EXPECT_EQ(numberText(row.value), row.text);
}

struct StoredRow {
    std::string stored;
    std::string text;
};

TEST(NumberText, ReadsStoredNumbers) {
    const StoredRow kRows[] = {
        {"1", "1"},
        {"12.50", "12.5"},
        {"0.1", "0.1"},
        {"-0.25", "-0.25"},
        {"-0", "0"},
        {"-0.0", "0"},
        {"00012", "12"},
        {".5", "0.5"},
        {"5.", "5"},
        {"1E-3", "0.001"},
        {"1.5e+05", "150000"},
        {"0.30000000000000004", "0.3"},
        {"12345678901234567", "12345678901234600"},
        {"100000000000000000000", "100000000000000000000"},
        {"1000000000000000000000", "1E+21"},
        {"0.1234567890123456", "0.123456789012346"},
        {"0.000000000000000000001", "1E-21"},
        {"4.9999999999999999E-2", "0.05"},
        {"1E-400", "0"},
        {"0.0000000000000000000001E-320", "0"},
    };
    for (const StoredRow& row : kRows) {
        std::string text = "|";
        EXPECT_TRUE(appendNumberText(text, row.stored)) << row.stored;
        EXPECT_EQ(text, "|" + row.text) << row.stored;
    }
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
        const double value = std::ldexp(mantissa, static_cast<int>(random() % 120) - 90);
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

TEST(NumberText, StoresTheShortestText) {
    EXPECT_EQ(storedNumber(0.1), "0.1");
    EXPECT_EQ(storedNumber(-0.0), "0");
    EXPECT_EQ(storedNumber(0.1 + 0.2), "0.30000000000000004");
    EXPECT_EQ(storedNumber(1e300), "1E+300");
}

TEST(NumberText, ShowsPercentsWithoutNoise) {
    const NumberRow kRows[] = {
        {0.5, "50%"},
        {0.07, "7%"},
        {0.29, "29%"},
        {-0.125, "-12.5%"},
        {0, "0%"},
        {5, "500%"},
        {1.0 / 3, "33.3333333333333%"},
        {1e19, "1E+21%"},
        {1e-5, "0.001%"},
    };
    for (const NumberRow& row : kRows) {
        EXPECT_EQ(editText(row.value, Kind::Percent, false), row.text);
    }
}

struct FormatRow {
    std::string code;
    Kind kind;
};

TEST(NumberFormats, TellTheKindByTheFirstSection) {
    const FormatRow kRows[] = {
        {"", Kind::Plain},
        {"General", Kind::Plain},
        {"GENERAL", Kind::Plain},
        {"General\" days\"", Kind::Plain},
        {"0.00", Kind::Plain},
        {"#,##0.00_);[Red]\\(#,##0.00\\)", Kind::Plain},
        {"0.00E+00", Kind::Plain},
        {"0.00e+00", Kind::Plain},
        {"# ?\?/?\?", Kind::Plain},
        {"[Red]0", Kind::Plain},
        {"[Magenta]0;[Cyan]0", Kind::Plain},
        {"[>=100][Red]0", Kind::Plain},
        {"[$-409]0", Kind::Plain},
        {"[$USD] #,##0", Kind::Plain},
        {"_-* #,##0.00 [$\u20AC-407]_-", Kind::Plain},
        {"0 \"days\"", Kind::Plain},
        {"0\\d", Kind::Plain},
        {"0_d*y", Kind::Plain},
        {"0;yyyy", Kind::Plain},
        {"\";\"0;yyyy", Kind::Plain},
        {"0\"unclosed yyyy", Kind::Plain},
        {"[unclosed yyyy", Kind::Plain},
        {"0\\", Kind::Plain},
        {"[hm]0", Kind::Plain},
        {"[]0", Kind::Plain},
        {"[", Kind::Plain},
        {"0%", Kind::Percent},
        {"0.00%;[Red]-0.00%", Kind::Percent},
        {"0\\%", Kind::Plain},
        {"0\"%\"", Kind::Plain},
        {"0;0%", Kind::Plain},
        {"@", Kind::Text},
        {"General;@", Kind::Plain},
        {"m/d/yyyy", Kind::Date},
        {"MMM-YY", Kind::Date},
        {"mmmmm", Kind::Date},
        {"m", Kind::Date},
        {"d", Kind::Date},
        {"yyyy-mm-dd\\Thh:mm:ss", Kind::Date},
        {"m/d/yyyy h:mm;@", Kind::Date},
        {"[$-F800]dddd\\,\\ mmmm\\ dd\\,\\ yyyy", Kind::Date},
        {"yyyy\"\u5E74\"m\"\u6708\"", Kind::Date},
        {"h:mm", Kind::Time},
        {"hh:mm:ss", Kind::Time},
        {"mm:ss.0", Kind::Time},
        {"h:mm AM/PM", Kind::Time},
        {"h a/p", Kind::Time},
        {"[h]:mm", Kind::Time},
        {"[mm]:ss", Kind::Time},
        {"[ss]", Kind::Time},
        {"[$-F400]h:mm:ss AM/PM", Kind::Time},
        {"[Red][hh]:mm;0", Kind::Time},
    };
    for (const FormatRow& row : kRows) EXPECT_EQ(numberFormatKind(row.code), row.kind) << row.code;
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

struct DateRow {
    double serial;
    Kind kind;
    bool date1904;
    std::string text;
};

TEST(DateText, ShowsDatesAndTimes) {
    constexpr double kSecond = 1.0 / 86400;
    const DateRow kRows[] = {
        {1, Kind::Date, false, "1/1/1900"},
        {59, Kind::Date, false, "2/28/1900"},
        {60, Kind::Date, false, "2/29/1900"},
        {61, Kind::Date, false, "3/1/1900"},
        {366, Kind::Date, false, "12/31/1900"},
        {367, Kind::Date, false, "1/1/1901"},
        {42370, Kind::Date, false, "1/1/2016"},
        {42675, Kind::Date, false, "11/1/2016"},
        {36585, Kind::Date, false, "2/29/2000"},
        {2958465, Kind::Date, false, "12/31/9999"},
        {2958465.5, Kind::Date, false, "12/31/9999 12:00:00 PM"},
        {2958466, Kind::Date, false, "2958466"},
        {2958465.9999999, Kind::Date, false, "2958465.9999999"},
        {-1, Kind::Date, false, "-1"},
        {-0.5, Kind::Time, false, "-0.5"},
        {0, Kind::Date, false, "1/0/1900"},
        {0.5, Kind::Date, false, "1/0/1900 12:00:00 PM"},
        {0, Kind::Time, false, "12:00:00 AM"},
        {0.5, Kind::Time, false, "12:00:00 PM"},
        {0.0625, Kind::Time, false, "1:30:00 AM"},
        {13.5 / 24, Kind::Time, false, "1:30:00 PM"},
        {1 - kSecond, Kind::Time, false, "11:59:59 PM"},
        {1 - kSecond / 4, Kind::Time, false, "1/1/1900"},
        {26.0 / 24, Kind::Time, false, "1/1/1900 2:00:00 AM"},
        {3 + kSecond / 4, Kind::Date, false, "1/3/1900"},
        {42370 + 2 * kSecond, Kind::Date, false, "1/1/2016 12:00:02 AM"},
        {0, Kind::Date, true, "1/1/1904"},
        {40908, Kind::Date, true, "1/1/2016"},
        {0.5, Kind::Time, true, "12:00:00 PM"},
        {2957003, Kind::Date, true, "12/31/9999"},
        {2957004, Kind::Date, true, "2957004"},
    };
    for (const DateRow& row : kRows) {
        EXPECT_EQ(editText(row.serial, row.kind, row.date1904), row.text);
    }
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
    for (const auto& [y, m, d] : {std::tuple(1899, 12, 31),
                                  {1900, 1, 0},
                                  {10000, 1, 1},
                                  {2001, 2, 29},
                                  {2100, 2, 29},
                                  {2003, 13, 1},
                                  {2003, 0, 1}}) {
        EXPECT_FALSE(dateSerial(y, m, d)) << y << '-' << m << '-' << d;
    }
}

}  // namespace
}  // namespace brindle::workbook
