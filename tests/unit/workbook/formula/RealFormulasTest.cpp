// SPDX-License-Identifier: MIT
// Formulas that real workbooks hold: all of them must parse, print as they stand and survive
// the way to the shown form and back.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "base/Error.h"
#include "base/Text.h"
#include "workbook/formula/Formula.h"

namespace brindle::workbook::formula {
namespace {

std::vector<std::string> storedFormulas() {
    const auto tests = std::filesystem::path(__FILE__).parent_path() / "../../../";
    std::ifstream file(tests / "data/formulas/stored.txt");
    std::vector<std::string> formulas;
    for (std::string line; std::getline(file, line);) {
        formulas.push_back(text::replaceAll(line, "\u23CE", "\n", CaseMode::Exact));
    }
    return formulas;
}

TEST(RealFormulas, SurviveEveryWayThereAndBack) {
    const std::vector<std::string> books = {"book.xls", "C:\\d\\other.xls"};
    const CellPosition here{500, 60};
    const CellPosition there{700, 3};
    const std::vector<std::string> formulas = storedFormulas();
    ASSERT_GT(formulas.size(), 500u);
    for (const std::string& stored : formulas) {
        const std::string shown = shownText(stored, books);
        EXPECT_NO_THROW(EXPECT_EQ(Formula::parse(shown).print(), shown)) << shown;
        EXPECT_EQ(storedText(shown, stored, books), stored);
        EXPECT_EQ(storedText(shown + "&Q7", stored, books), stored + "&Q7");
        std::string moved;
        SharedFormula(stored, here).appendTextAt(moved, there);
        std::string back;
        SharedFormula(moved, there).appendTextAt(back, here);
        EXPECT_EQ(text::upperAscii(back), text::upperAscii(stored));
    }
}

}  // namespace
}  // namespace brindle::workbook::formula
