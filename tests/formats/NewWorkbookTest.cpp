// SPDX-License-Identifier: MIT
// Workbooks that are made from nothing, as our own readers see them.
#include <gtest/gtest.h>

#include "engine/excel/Application.h"
#include "engine/excel/Workbook.h"
#include "support/Archives.h"
#include "support/CellRuns.h"
#include "support/TempDir.h"
#include "support/Thrown.h"
#include "workbook/NewDocument.h"

namespace brindle::test {
namespace {

using workbook::CellValue;
using Kind = CellValue::Kind;

class NewWorkbook : public testing::Test {
protected:
    NewWorkbook() : book(app.Workbooks().Add(2026)), sheet(*book.ActiveSheet()) {}

    excel::Range at(std::string_view name) const {
        return sheet.Cells(cell(name).row, cell(name).column);
    }

    TempDir dir;
    excel::Application app;
    excel::Workbook& book;
    excel::Worksheet sheet;
};

TEST_F(NewWorkbook, entersValuesAsTyped) {
    const struct {
        CellValue set;
        Kind kind;
        std::string text;
    } rows[] = {
        {CellValue::ofText("red"), Kind::Text, "red"},
        {CellValue::ofText(" a <b> & \"c\"\r\n_x0041_ \x01"), Kind::Text,
         " a <b> & \"c\"\r\n_x0041_ \x01"},
        {CellValue::ofText("007"), Kind::Number, "7"},
        {CellValue::ofText("5%"), Kind::Number, "5%"},
        {CellValue::ofText("3/4"), Kind::Number, "3/4/2026"},
        {CellValue::ofText("true"), Kind::Boolean, "TRUE"},
        {CellValue::ofText("=A1+"), Kind::Text, "=A1+"},
        {CellValue::ofText("-x"), Kind::Text, "-x"},
        {CellValue::ofText("#n/a"), Kind::Text, "#n/a"},
        {CellValue::ofText("'q"), Kind::Text, "'q"},
        {CellValue::ofText(""), Kind::Blank, ""},
        {CellValue::ofNumber(-0.1), Kind::Number, "-0.1"},
        {CellValue::ofBoolean(false), Kind::Boolean, "FALSE"},
    };
    std::int32_t row = 0;
    for (const auto& each : rows) sheet.Cells(++row, 2).setValue(each.set);
    for (const char* name : {"new.XLSX", "new.xls"}) {
        book.SaveAs(dir.path(name));
        EXPECT_EQ(book.FullName(), dir.path(name));
        const auto read = workbook::openDocument(book.FullName(), {});
        row = 0;
        for (const auto& each : rows) {
            SCOPED_TRACE(name + (": " + each.set.text));
            ++row;
            for (const CellValue& value :
                 {sheet.Cells(row, 2).Value(), read->worksheet(0).cellValue({row, 2})}) {
                EXPECT_EQ(value.kind, each.kind);
                EXPECT_EQ(value.text, each.text);
            }
        }
    }
    EXPECT_EQ(readMembers(dir.path("new.XLSX")).count("error"), 0U);
}

TEST_F(NewWorkbook, takesCellsInAnyOrderAndAgain) {
    at("C7").setValue(CellValue::ofText("last"));
    at("D2").setValue(CellValue::ofNumber(1));
    at("B2").setValue(CellValue::ofNumber(2));
    at("D2").setValue(CellValue::ofText("again"));
    at("A9").setValue(CellValue::ofNumber(3));
    at("A9").setValue({});
    EXPECT_EQ(at("D2").Value().text, "again");
    const excel::Range used = sheet.UsedRange();
    EXPECT_EQ(used.Row(), 2);
    EXPECT_EQ(used.Column(), 2);
    EXPECT_EQ(used.RowsCount(), 6);
    EXPECT_EQ(used.ColumnsCount(), 3);
    EXPECT_EQ(numberOf([&] { book.Save(); }), 1004);
    book.SaveAs(dir.path("a.xlsx"));
    at("B2").setValue(CellValue::ofText("later"));
    book.Save();
    const auto read = workbook::openDocument(dir.path("a.xlsx"), {});
    EXPECT_EQ(read->worksheet(0).cellValue(cell("B2")).text, "later");
    EXPECT_EQ(read->worksheet(0).usedRange().lastRow, 7);
}

TEST_F(NewWorkbook, refusesWhatNoFileCanHold) {
    const auto set = [&](std::int32_t row, std::int32_t column, const std::string& text) {
        return numberOf([&] { sheet.Cells(row, column).setValue(CellValue::ofText(text)); });
    };
    EXPECT_EQ(set(1, 1, std::string(32767, 'x')), 0);
    EXPECT_EQ(set(1, 2, std::string(32768, 'x')), 1004);
    EXPECT_EQ(set(1, 2, '=' + std::string(32767, 'x')), 1004);
    EXPECT_EQ(set(1, 2, "\xFF"), 1004);
    EXPECT_EQ(set(0, 1, "x"), 1004);
    EXPECT_EQ(set(1, 16385, "x"), 1004);
    EXPECT_EQ(set(1048577, 1, "x"), 1004);
    EXPECT_EQ(numberOf([&] { at("A2").setValue(CellValue::ofNumber(1.0 / 0.0)); }), 1004);
    EXPECT_EQ(sheet.UsedRange().ColumnsCount(), 1);

    EXPECT_EQ(numberOf([&] { book.SaveAs(dir.path("a.xlsm")); }), 1004);
    EXPECT_EQ(numberOf([&] { sheet.Cells().Find(part("x")); }), 438);
    book.SaveAs(dir.path("a.xlsx"));
    excel::Workbook& opened = app.Workbooks().Open(dir.path("a.xlsx"), {});
    EXPECT_EQ(numberOf([&] { opened.ActiveSheet()->Cells(1, 1).setValue({}); }), 438);
    EXPECT_EQ(numberOf([&] { opened.SaveAs(dir.path("b.xlsx")); }), 438);
}

TEST_F(NewWorkbook, keepsTheOldFileWhenTheBinaryFormatIsTooSmall) {
    for (const char* name : {"A65537", "IW1"}) {
        SCOPED_TRACE(name);
        at("A1").setValue(CellValue::ofText("x"));
        at(name).setValue(CellValue::ofText("x"));
        EXPECT_EQ(numberOf([&] { book.SaveAs(dir.write("a.xls", "old")); }), 1004);
        EXPECT_EQ(dir.read("a.xls"), "old");
        at(name).setValue({});
        book.SaveAs(dir.path("a.xls"));
        EXPECT_EQ(dir.read("a.xls").substr(1, 3), "\xCF\x11\xE0");
    }
}

}  // namespace
}  // namespace brindle::test
