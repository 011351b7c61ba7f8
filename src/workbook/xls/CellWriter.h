// SPDX-License-Identifier: MIT
// The records of changed cells.
#pragma once

#include <cstddef>
#include <vector>

#include "workbook/xls/biff/RecordSplice.h"
#include "workbook/xls/CellEdit.h"
#include "workbook/xls/CellTexts.h"

namespace brindle::workbook::xls {

// The changes that bring `edits`, in the order of their positions, into the sheet whose BOF stands
// at `sheetOffset`. What belongs to an old formula goes with it; a shared formula that loses its
// first cell moves on to the next that uses it.
std::vector<RecordSplice> changedCells(const WorkbookTexts& workbook, std::size_t sheetOffset,
                                       const std::vector<CellEdit*>& edits);

// Whether a record can hold a formula beside what else stands in it.
bool fits(const CompiledFormula& formula, Version version);

}  // namespace brindle::workbook::xls
