// SPDX-License-Identifier: MIT
// Shared formulas that lose some of their cells. Layout: [MS-XLS] 2.4.260 (ShrFmla), 2.5.198.58
// (PtgExp).
#pragma once

#include <cstddef>
#include <string_view>
#include <vector>

#include "workbook/xls/biff/Biff.h"
#include "workbook/xls/biff/RecordReader.h"
#include "workbook/xls/biff/RecordSplice.h"

namespace brindle::workbook::xls {

// The changes of the sheet whose BOF stands at `sheetOffset` that become necessary when the FORMULA
// records `leaving`, in any order, are written over: a shared formula counts its cells, and one
// that stood behind a leaving cell moves on to the next that uses it. What stands behind a leaving
// formula is taken to go with it.
std::vector<RecordSplice> sharedFormulasWithout(std::string_view stream, std::size_t sheetOffset,
                                                Version version, std::vector<Record> leaving);

}  // namespace brindle::workbook::xls
