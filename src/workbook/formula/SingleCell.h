// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "workbook/DocumentModel.h"

namespace brindle::workbook::formula {

// A formula that is nothing but a reference to one cell of this workbook.
struct SingleCell {
    std::string sheet;  // empty: the sheet that the formula belongs to
    CellPosition position;
};

// `formula` without "="; nothing for any other formula.
std::optional<SingleCell> singleCell(std::string_view formula);

}  // namespace brindle::workbook::formula
