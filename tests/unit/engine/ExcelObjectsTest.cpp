// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include "engine/excel/Workbook.h"
#include "support/FakeDocument.h"
#include "support/Thrown.h"

namespace brindle::test {
namespace {

class ExcelObjects : public testing::Test {
protected:
    ExcelObjects() : app(files.opener()) {
        FakeBook& book = files["a.xls"];
        book.sheets.assign(2, FakeSheet{});
        book.sheets[1].name = "Second";
        book.sheets[1].links = {"first", "second"};
        book.sheets[1].shapes = {"round"};
        book.properties[1] = {"custom"};
    }

    FakeFiles files;
    excel::Application app;
};

TEST_F(ExcelObjects, collectionsCountFromOneAndRefuseOtherIndexes) {
    excel::Workbook& book = app.Workbooks().Open("a.xls", {});
    const auto sheets = book.Worksheets();
    const auto second = sheets.Item(2);
    EXPECT_EQ(second.Name(), "Second");
    EXPECT_EQ(second.Hyperlinks().Item(2).Address(), "second");
    EXPECT_EQ(second.Shapes().Item(1).Text(), "round");
    EXPECT_EQ(book.CustomDocumentProperties().Item(1).Value(), "custom");
    for (const std::int32_t index : {0, -1, 3}) {
        EXPECT_EQ(numberOf([&] { sheets.Item(index); }), 9);
        EXPECT_EQ(numberOf([&] { second.Hyperlinks().Item(index); }), 9);
        EXPECT_EQ(numberOf([&] { second.Shapes().Item(index); }), 9);
        EXPECT_EQ(numberOf([&] { book.CustomDocumentProperties().Item(index); }), 9);
        EXPECT_EQ(numberOf([&] { app.Workbooks().Item(index); }), 9);
    }
    EXPECT_EQ(book.BuiltinDocumentProperties().Count(), 0);
}

}  // namespace
}  // namespace brindle::test
