// SPDX-License-Identifier: MIT
// References that are put together of others and mean the same cells wherever they are
// calculated.
#pragma once

#include <optional>
#include <vector>

#include "workbook/formula/FormulaTree.h"
#include "workbook/xls/formula/TokenWriter.h"

namespace brindle::workbook::xls {

// The areas that a tree of ranges, unions and intersections stands for; none when an intersection
// is empty. Nothing when the tree has anything but references of the formula's own sheet, or
// comes to more areas than are worth keeping. Throws Error 1004 for a reference beyond the sheet.
std::optional<std::vector<CellArea>> constantAreas(const formula::Node& root,
                                                   const TokenWriter& writer);

}  // namespace brindle::workbook::xls
