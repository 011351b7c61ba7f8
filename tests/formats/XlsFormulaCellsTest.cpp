// SPDX-License-Identifier: MIT
// What replacing makes of formulas that serve several cells, and what a changed formula asks for.
#include <gtest/gtest.h>

#include "base/Error.h"
#include "support/CellRuns.h"
#include "support/Thrown.h"
#include "support/XlsCells.h"

namespace brindle::workbook {
namespace {

using namespace std::string_literals;
using namespace test;

// The cell to the left, and one more.
const std::string kLeft = "\x4C\0\0\xFF\xC0"s;
const std::string kNext = kLeft + intToken(1) + kAdd;

std::string leftOf(std::string_view cell) {
    std::string at = place(cell);
    return '\x44' + at.substr(0, 2) + static_cast<char>(at[2] - 1) + '\xC0' + intToken(7) + kAdd;
}
std::string user(std::string_view cell, std::string_view host,
                 const std::string& result = bits(1)) {
    return formulaCell(cell, named(host), result, 8);
}
// Cells B1, B2 and so on with the shared formula behind the first, which names `users`.
std::string column(const std::vector<std::string>& cells, int users) {
    std::string records = user(cells[0], cells[0]) + sharedFormula("B1", "B4", users, kNext);
    for (std::size_t i = 1; i < cells.size(); ++i) records += user(cells[i], cells[0]);
    return records;
}

struct Blocks {
    const char* name;
    std::string before;
    std::vector<std::pair<std::string, std::string>> edits;
    std::string after;  // as before when it is refused
    const char* refusal = nullptr;
};

const std::string kFour = column({"B1", "B2", "B3", "B4"}, 4);
const std::string kAway = column({"B1", "B4"}, 2);
const std::string kArray = formulaCell("B1", named("B1"), bits(3), 0) +
                           arrayFormula("B1", "B2", intToken(1)) +
                           formulaCell("B2", named("B1"), bits(3), 0);
const std::string kWhatIf =
    formulaCell("B1", tableToken("B1"), bits(3), 0) +
    record(ids::kTable, blockRange("B1", "B2") + u16(0xC) + place("A1").substr(0, 4) +
                            place("A2").substr(0, 4)) +
    formulaCell("B2", tableToken("B1"), bits(3), 0);

// clang-format off
const Blocks kBlocks[] = {
    {"a user leaves", kFour, {{"=A3+1", "=A3+7"}},
     user("B1", "B1") + sharedFormula("B1", "B4", 3, kNext) + user("B2", "B1") + formulaCell("B3", leftOf("B3")) + user("B4", "B1")},
    {"the host leaves", kFour, {{"=A1+1", "=A1+7"}},
     formulaCell("B1", leftOf("B1")) + user("B2", "B2") + sharedFormula("B1", "B4", 3, kNext) + user("B3", "B2") + user("B4", "B2")},
    {"the host becomes a text", kFour, {{"=A1+1", "5"}, {"=A2+1", ""}},
     numberCell("B1", 5) + blankCell("B2") + user("B3", "B3") + sharedFormula("B1", "B4", 2, kNext) + user("B4", "B3")},
    {"all leave", kAway, {{"=A1+1", "1"}, {"=A4+1", "4"}}, numberCell("B1", 1) + numberCell("B4", 4)},
    {"and come back", kAway, {{"=A1+1", "1"}, {"=A4+1", "4"}, {"1", "=A1+1"}, {"4", "=A4+1"}}, kAway},
    {"with a text result", user("B1", "B1", kTextResult) + sharedFormula("B1", "B2", 2, kNext) + textResult("x") +
     user("B2", "B1", kTextResult) + textResult("y"), {{"=A1+1", "1"}},
     numberCell("B1", 1) + user("B2", "B2", kTextResult) + sharedFormula("B1", "B2", 1, kNext) + textResult("y")},
    {"users that name another cell of the range", user("B2", "B1") + sharedFormula("B1", "B4", 3, kNext) + user("B3", "B1") + user("B4", "B1"),
     {{"=A2+1", "2"}}, numberCell("B2", 2) + user("B3", "B3") + sharedFormula("B1", "B4", 2, kNext) + user("B4", "B3")},
    {"a count that is wrong", column({"B1", "B2"}, 0), {{"=A2+1", "2"}},
     user("B1", "B1") + sharedFormula("B1", "B4", 0, kNext) + numberCell("B2", 2)},
    {"part of an array", kArray, {{"=1", "2"}}, kArray, "You cannot change part of an array"},
    {"part of a table", kWhatIf, {{"=TABLE(A1,A2)", "2"}}, kWhatIf, "Cannot change part of a data table"},
    {"an array of one cell", formulaCell("B1", named("B1"), kTextResult, 0) + arrayFormula("B1", "B1", intToken(1)) + textResult("x"),
     {{"=1", "=2"}}, formulaCell("B1", named("B1")) + arrayFormula("B1", "B1", intToken(2), 3)},
    {"it becomes a number", formulaCell("B1", named("B1"), bits(1), 0) + arrayFormula("B1", "B1", intToken(1)), {{"=1", "2"}}, numberCell("B1", 2)},
    {"a formula without its block", user("B1", "B1"), {{"1", "2"}}, user("B1", "B1"), "cannot be changed"},
};
// clang-format on

TEST(XlsFormulaCells, LeaveTheOthersWhole) {
    TempDir dir;
    for (const Blocks& row : kBlocks) {
        SCOPED_TRACE(row.name);
        const std::string path = XlsBook().sheet(row.before).write(dir);
        const auto document = openDocument(path, {});
        const auto before = found(document->worksheet(0), part("*"));
        const auto error = thrownBy([&] {
            for (const auto& [what, with] : row.edits) replaceAll(*document, exactly(what), with);
        });
        EXPECT_EQ(error.has_value(), row.refusal != nullptr) << (error ? error->what() : "");
        const std::string told = error ? error->what() : "";
        EXPECT_NE(told.find(row.refusal ? row.refusal : ""), std::string::npos) << told;
        document->save();
        EXPECT_EQ(xlsSheet(path), row.after);
        // What was not touched shows what it did, the formulas of other cells among it.
        const auto saved = openDocument(path, {});
        for (const char* formula : {"=A1+1", "=A2+1", "=A3+1", "=A4+1"}) {
            const auto now = found(saved->worksheet(0), exactly(formula));
            EXPECT_EQ(now, found(document->worksheet(0), exactly(formula))) << formula;
        }
    }
}

TEST(XlsFormulaCells, AskForACalculation) {
    const std::string text = stringCell("A1", 0);
    const struct {
        const char* name;
        std::string cells;
        std::string with;
        bool isAsked;
    } table[] = {
        {"beside formulas", text + formulaCell("A2", intToken(1)), "y", true},
        {"no formulas", text, "y", false},
        {"the first formula", text, "=1", true},
    };
    TempDir dir;
    for (const auto& row : table) {
        SCOPED_TRACE(row.name);
        const std::string path =
            XlsBook()
                .strings({plain("x")})
                .behind(record(ids::kRecalcId, u16(0x1C1) + u16(0) + u32(191029)))
                .sheet(row.cells)
                .write(dir);
        EXPECT_EQ(replaceIn(path, exactly("x"), row.with), 1u);
        EXPECT_EQ(xlsBodies(xlsSheet(path, 0), ids::kRecalcId),
                  u16(0x1C1) + u16(0) + u32(row.isAsked ? 0 : 191029));
    }
}

TEST(XlsFormulaCells, HaveALimitedLength) {
    const auto joined = [](std::size_t length) {
        std::string formula = "=\"a\"";
        while (formula.size() + 100 < length) formula += "&\"" + std::string(97, 'b') + '"';
        return formula.insert(2, length + 1 - formula.size(), 'c');
    };
    std::string sum = "=1";
    for (int i = 0; i < 480; ++i) sum += "+1";
    const struct {
        const char* name;
        std::string formula;
        bool fits;
    } table[] = {{"1,024 characters", joined(1024), true},
                 {"one more", joined(1025), false},
                 {"many small parts", sum, false}};
    TempDir dir;
    for (const auto& row : table) {
        SCOPED_TRACE(row.name);
        const std::string path =
            XlsBook().strings({plain("x")}).sheet(stringCell("A1", 0)).write(dir);
        const auto error = thrownBy([&] { replaceIn(path, exactly("x"), row.formula); });
        EXPECT_EQ(!error, row.fits);
        const std::string told = error ? error->what() : "Formula is too long";
        EXPECT_NE(told.find("Formula is too long"), std::string::npos) << told;
        EXPECT_EQ(xlsSheet(path) == stringCell("A1", 0), !row.fits);
    }
}

}  // namespace
}  // namespace brindle::workbook
