// SPDX-License-Identifier: MIT
// What of a formula's text a binary workbook keeps.
#pragma once

#include <string>

#include "workbook/formula/FormulaTree.h"
#include "workbook/xls/biff/Biff.h"

namespace brindle::workbook::xls {

// The same for two formulas exactly when they differ in nothing but what the format does not tell
// apart: the letter case of names, the order of an area's ends, digits beyond the 15th, quotes
// around sheets that need none, white space that has no token (TreeCompiler.h). Not for showing.
std::string canonicalFormula(const formula::Node& root, Version version);

}  // namespace brindle::workbook::xls
