// SPDX-License-Identifier: MIT
// Whoever waits for long work on a document hears of it, in every format and at every stage.
#include <gtest/gtest.h>

#include <string>

#include "support/TempDir.h"
#include "support/WorkbookBuilder.h"
#include "support/XlsBook.h"
#include "support/XlsCells.h"
#include "workbook/FormatTable.h"

namespace brindle::workbook {
namespace {

constexpr int kRows = 40000;

std::string xlsxOf(const test::TempDir& dir, const std::string& odd) {
    std::string rows = odd;
    std::string strings;
    for (int row = 1; row <= kRows; ++row) {
        const std::string number = std::to_string(row);
        rows += "<row r=\"" + number + "\"><c r=\"A" + number + "\" t=\"s\"><v>" +
                std::to_string(row - 1) + "</v></c><c r=\"B" + number +
                "\" t=\"inlineStr\"><is><t>apple " + number + "</t></is></c></row>";
        strings += "<si><t>a text of its own, " + number + "</t></si>";
    }
    return test::WorkbookBuilder().sheet(rows).strings(odd + strings).write(dir);
}

std::string xlsOf(const test::TempDir& dir) {
    std::string records;
    for (int row = 1; row <= kRows; ++row)
        records += test::stringCell("A" + std::to_string(row), 0);
    return test::XlsBook().strings({test::plain("apple")}).sheet(records).write(dir);
}

std::string csvOf(const test::TempDir& dir) {
    std::string text = "apple\n";
    for (int i = 0; i < 20 * kRows; ++i) text += "pear,plum\n";
    return dir.write("list.csv", text);
}

TEST(LongWork, isHeardOfWhileADocumentIsSearchedChangedAndSaved) {
    const test::TempDir dir;
    const std::vector<CellMatch> patterns{CellMatch("apple", CaseMode::Exact, false)};
    for (const std::string& path :
         {xlsxOf(dir, ""), xlsxOf(dir, "<!-- read the long way -->"), xlsOf(dir), csvOf(dir)}) {
        int beats = 0;
        const std::function<void()> count = [&] { ++beats; };
        OpenOptions options;
        options.expectedPatterns = &patterns;
        options.pulse = Pulse(count);
        const auto document = openDocument(path, options);
        const auto found = document->worksheet(0).findCell(patterns[0], {1, 1});
        ASSERT_TRUE(found) << path;
        EXPECT_GE(beats, 8) << path;
        document->worksheet(0).replaceInCell(*found, patterns[0], "fig");
        beats = 0;
        document->save();
        EXPECT_GE(beats, 3) << path;
    }
}

}  // namespace
}  // namespace brindle::workbook
