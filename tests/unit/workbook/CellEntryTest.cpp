// SPDX-License-Identifier: MIT
#include "workbook/CellEntry.h"

#include <gtest/gtest.h>

#include <random>

#include "base/Error.h"
#include "base/Text.h"
#include "support/Pieces.h"
#include "support/Thrown.h"

namespace brindle::workbook {
namespace {

using Kind = EnteredCell::Kind;

constexpr int kYear = 2024;

double serial(int year, int month, int day) {
    return dateSerial(year, month, day).value();
}

EnteredCell enter(std::string_view typed, EntryContext context = {}) {
    context.currentYear = kYear;
    return recogniseEntry(typed, context);
}

struct NumberRow {
    std::string typed;
    double number;
    std::string formatCode;
};

void expectNumbers(const std::vector<NumberRow>& rows) {
    EntryContext formatted;
    formatted.generalFormat = false;
    for (const NumberRow& row : rows) {
        const EnteredCell cell = enter(row.typed);
        EXPECT_EQ(cell.kind, Kind::Number) << row.typed;
        EXPECT_EQ(cell.number, row.number) << row.typed;
        EXPECT_EQ(cell.formatCode, row.formatCode) << row.typed;
        EXPECT_EQ(enter("  " + row.typed + " ").number, row.number) << row.typed;
        EXPECT_EQ(enter(row.typed, formatted).formatCode, "") << row.typed;
    }
}

// clang-format off
TEST(CellEntry, RecognisesNumbers) {
    const std::string kMoney = R"("$"#,##0_);[Red]\("$"#,##0\))";
    const std::string kCents = R"("$"#,##0.00_);[Red]\("$"#,##0.00\))";
    expectNumbers({
        {"123", 123, ""}, {"-123", -123, ""}, {"+123", 123, ""}, {"007", 7, ""}, {".5", 0.5, ""},
        {"5.", 5, ""}, {"-0", 0, ""}, {"(5)", -5, ""}, {"1E5", 1e5, "0.00E+00"},
        {"-2E+3", -2000, "0.00E+00"}, {"1E-400", 0, "0.00E+00"}, {"1.5e-3", 0.0015, "0.00E+00"},
        {"1,234", 1234, "#,##0"}, {"1,234.5", 1234.5, "#,##0.00"}, {"( 1,000 )", -1000, "#,##0"},
        {"-1,234,567", -1234567, "#,##0"}, {"$5", 5, kMoney}, {"-$5", -5, kMoney},
        {"$-5", -5, kMoney}, {"($5)", -5, kMoney}, {"$1,234.50", 1234.5, kCents},
        {"5%", 0.05, "0%"}, {"%5", 0.05, "0%"}, {"7 %", 0.07, "0%"}, {"(5%)", -0.05, "0%"},
        {"-12.5%", -0.125, "0.00%"}, {"1 1/2", 1.5, "# ?/?"}, {"0 3/4", 0.75, "# ?/?"},
        {"-2 1/4", -2.25, "# ?/?"}, {"3 5/16", 3.3125, "# ?\?/?\?"},
        {"12345678901234567", 12345678901234500.0, ""}, {"0.30000000000000004", 0.3, ""},
        {"0.1234567890123456789", 0.123456789012345, ""},
    });
}

TEST(CellEntry, RecognisesDates) {
    const double second = serial(2003, 1, 2);
    expectNumbers({
        {"1/2/2003", second, "m/d/yyyy"}, {"01/02/2003", second, "m/d/yyyy"},
        {"1-2-2003", second, "m/d/yyyy"}, {"1/2/03", second, "m/d/yyyy"},
        {"2003/1/2", second, "m/d/yyyy"}, {"2003-01-02", second, "m/d/yyyy"},
        {"12/31/29", serial(2029, 12, 31), "m/d/yyyy"}, {"1/1/30", serial(1930, 1, 1), "m/d/yyyy"},
        {"2/29/1900", 60, "m/d/yyyy"}, {"1/2", serial(kYear, 1, 2), "d-mmm"},
        {"1-2", serial(kYear, 1, 2), "d-mmm"}, {"2-Jan", serial(kYear, 1, 2), "d-mmm"},
        {"Jan 2", serial(kYear, 1, 2), "d-mmm"}, {"29 february", serial(kYear, 2, 29), "d-mmm"},
        {"2 Jan 2003", second, "d-mmm-yy"}, {"2-JAN-03", second, "d-mmm-yy"},
        {"January 2, 2003", second, "d-mmm-yy"},
        {"Dec  24,  1999", serial(1999, 12, 24), "d-mmm-yy"},
        {"Jan 2003", serial(2003, 1, 1), "mmm-yy"},
    });
}

TEST(CellEntry, RecognisesTimes) {
    expectNumbers({
        {"1:30", 5400 / 86400.0, "h:mm"}, {"13:30", 48600 / 86400.0, "h:mm"},
        {"1:30:15", 5415 / 86400.0, "h:mm:ss"}, {"1:30 PM", 48600 / 86400.0, "h:mm AM/PM"},
        {"12:00 am", 0, "h:mm AM/PM"}, {"12:00:01 PM", 43201 / 86400.0, "h:mm:ss AM/PM"},
        {"1:05 p", 47100 / 86400.0, "h:mm AM/PM"}, {"26:15", 94500 / 86400.0, "[h]:mm:ss"},
        {"1:30:15.5", 5415.5 / 86400, "mm:ss.0"},
        {"Jan 2, 2003 0:00", serial(2003, 1, 2), "m/d/yyyy h:mm"},
        {"1/2/2003 1:30 PM", serial(2003, 1, 2) + 48600 / 86400.0, "m/d/yyyy h:mm"},
        {"2003-01-02  13:30:00", serial(2003, 1, 2) + 48600 / 86400.0, "m/d/yyyy h:mm"},
    });
}
// clang-format on

TEST(CellEntry, TakesNoLongTextForANumber) {
    EXPECT_EQ(enter(std::string(254, '0') + "1").number, 1);
    EXPECT_EQ(enter(std::string(255, '0') + "1").kind, Kind::Text);
}

TEST(CellEntry, LeavesEverythingElseText) {
    std::vector<std::string> rows = test::pieces(R"(
        = | abc | 1x34 | 1.2.2003 | 1,23 | 12,34 | 1234,567 | 1,2345 | ,5 | . | $ | % | 5%% | %5%
        $5% | 1E | E5 | 1E400 | (-5) | () | (5 | 1 1/0 | 1 2 | $1 1/2 | 1/2/3/4 | 13/1/2003
        2/30/2003 | 2/29/2003 | 0/1/2003 | 1/2-2003 | 1/2/203 | 1/1/1899 | 1/0/1900 | 32-Jan | Jan
        Foo 2 | 2 Janu | May 2003 4 | Jan 2, | 1: | :30 | 1:60 | 1:30:60 | 13:30 PM | 1:30PM
        1:30 XM | 1:30.5 | 1::2 | 10000:00 | 1/2/2003 24:00 | 1/2/2003 abc | 1:30 1/2/2003 | x 1:30
        @name | true! | TRUE FALSE | #N/A! | #FOO! | # | 12a | 0x10 | inf | nan)");
    for (const char* odd : {" ", "$ ", "5\xC2\xA0", "1\n2"}) rows.emplace_back(odd);
    for (const std::string& typed : rows) {
        const EnteredCell cell = enter(typed);
        EXPECT_EQ(cell.kind, Kind::Text) << typed;
        EXPECT_EQ(cell.text, typed);
        EXPECT_EQ(cell.formatCode, "") << typed;
    }
    EXPECT_EQ(enter("").kind, Kind::Blank);
}

TEST(CellEntry, RecognisesBooleansAndErrors) {
    for (const char* typed : {"TRUE", "true", " True "}) {
        EXPECT_EQ(enter(typed).kind, Kind::Boolean) << typed;
        EXPECT_TRUE(enter(typed).boolean) << typed;
    }
    EXPECT_EQ(enter("false").kind, Kind::Boolean);
    EXPECT_FALSE(enter("false").boolean);
    for (const std::string name :
         {"#NULL!", "#DIV/0!", "#VALUE!", "#REF!", "#NAME?", "#NUM!", "#N/A", "#GETTING_DATA"}) {
        EXPECT_EQ(enter(name).kind, Kind::Error) << name;
        EXPECT_EQ(enter(text::lowerAscii(name)).text, name);
    }
    EXPECT_EQ(enter("#SPILL!").kind, Kind::Text);
    std::string canonical = "untouched";
    EXPECT_FALSE(isErrorName("#N/B", &canonical));
    EXPECT_EQ(canonical, "untouched");
    EXPECT_TRUE(isErrorName("#n/a"));
}

TEST(CellEntry, RecognisesFormulas) {
    EXPECT_EQ(enter("=A1+1").kind, Kind::Formula);
    EXPECT_EQ(enter("=A1+1").text, "=A1+1");
    EXPECT_EQ(enter("=)").kind, Kind::Formula) << "parsing is the caller's";
    EXPECT_EQ(enter("+A1*2").text, "=+A1*2");
    EXPECT_EQ(enter("-SUM(A1)").text, "=-SUM(A1)");
    EXPECT_EQ(enter("-SUM(A1)").kind, Kind::Formula);
    for (const char* typed : {"-", "+", "-)", "- item (old", "+a b!", "--", "-1x"}) {
        EXPECT_EQ(enter(typed).kind, Kind::Text) << typed;
    }
}

TEST(CellEntry, KeepsTextCellsText) {
    EntryContext context;
    context.staysText = true;
    context.generalFormat = false;
    for (const char* typed : {"007", "1-2", "=A1", "TRUE", "#N/A", "+A1", "5%"}) {
        EXPECT_EQ(enter(typed, context).kind, Kind::Text) << typed;
        EXPECT_EQ(enter(typed, context).text, typed);
    }
    EXPECT_EQ(enter("", context).kind, Kind::Blank);
}

TEST(CellEntry, CountsDaysInTheDateSystemOfTheWorkbook) {
    EntryContext context;
    context.date1904 = true;
    EXPECT_EQ(enter("1/1/1904", context).number, 0);
    EXPECT_EQ(enter("1/2/2003", context).number, serial(2003, 1, 2) - 1462);
    EXPECT_EQ(enter("12/31/1903", context).kind, Kind::Text);
}

TEST(CellEntry, RefusesTextsThatNoCellHolds) {
    EXPECT_EQ(enter(std::string(32767, 'x')).kind, Kind::Text);
    const auto error = test::thrownBy([] { enter(std::string(32768, 'x')); });
    ASSERT_TRUE(error);
    EXPECT_EQ(error->number(), 1004);
    EXPECT_EQ(error->kind(), ErrorKind::Refused);
}

// What a cell shows for editing, entered again unchanged, leaves the cell as it is.
TEST(CellEntry, ReadsBackWhatTheEditLineShows) {
    std::mt19937_64 random(17);
    for (int round = 0; round < 40000; ++round) {
        EntryContext context;
        context.generalFormat = false;
        context.date1904 = random() % 2 == 0;
        const auto seconds = static_cast<double>(random() % 86400) / 86400;
        const auto days = static_cast<double>(random() % (round % 2 == 0 ? 3 : 2957000));
        const double number =
            static_cast<double>(random() % 1000000000000000) / (round % 3 == 0 ? 1 : 1e4);
        const std::pair<NumberFormatKind, double> kCells[] = {
            {NumberFormatKind::Date, days},
            {NumberFormatKind::Date, days + seconds},
            {NumberFormatKind::Time, days + seconds},
            {NumberFormatKind::Time, seconds},
            {NumberFormatKind::Plain, number},
            {NumberFormatKind::Plain, -number},
            {NumberFormatKind::Plain, parseDecimal(numberText(number) + "E-40").value()},
            {NumberFormatKind::Percent, number},
        };
        for (const auto& [kind, cellValue] : kCells) {
            context.cellFormat = kind;
            const std::string text = editText(cellValue, kind, context.date1904);
            const EnteredCell cell = enter(text, context);
            ASSERT_EQ(cell.kind, Kind::Number) << text;
            ASSERT_EQ(editText(cell.number, kind, context.date1904), text);
            ASSERT_EQ(cell.number, cellValue) << text;
        }
    }
}

}  // namespace
}  // namespace brindle::workbook
