// SPDX-License-Identifier: MIT
#pragma once

#include <string_view>
#include <vector>

#include "workbook/ooxml/CellEdit.h"
#include "workbook/ooxml/CellTexts.h"
#include "workbook/package/Inflate.h"

namespace brindle::workbook::ooxml {

// The part with the cells of `edits` written anew and all other bytes as they are; except that
// a shared formula whose defining cell is among the edits moves to the next of its cells.
package::Buffer changedSheet(std::string_view part, const CellTexts& texts,
                             const std::vector<const CellEdit*>& edits);

}  // namespace brindle::workbook::ooxml
