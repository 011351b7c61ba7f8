// SPDX-License-Identifier: MIT
// The calculation chain: the list of all formula cells. An entry for a cell without a formula
// makes the application repair the file. Layout: ECMA-376 part 1, section 18.6.
#pragma once

#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <utility>

#include "workbook/DocumentModel.h"

namespace brindle::workbook::ooxml {

// Cells by sheet id.
using FormulaCells = std::set<std::pair<int, CellPosition>>;

// The part without the entries of `lost`. Nothing when no entry would be left (a chain may not
// be empty, the part has to go).
std::optional<std::string> withoutCells(std::string_view part, const FormulaCells& lost);

}  // namespace brindle::workbook::ooxml
