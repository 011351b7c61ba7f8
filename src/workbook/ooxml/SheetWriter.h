// SPDX-License-Identifier: MIT
#pragma once

#include <string_view>
#include <vector>

#include "base/Pulse.h"
#include "workbook/ooxml/CellEdit.h"
#include "workbook/ooxml/CellTexts.h"
#include "workbook/ooxml/Splices.h"

namespace brindle::workbook::ooxml {

// The cells of `edits` written anew; and where the defining cell of a shared formula is among
// them, the next of its cells, to which the definition moves.
std::vector<Splice> changedCells(std::string_view part, const CellTexts& texts,
                                 const std::vector<const CellEdit*>& edits, Pulse pulse);

}  // namespace brindle::workbook::ooxml
