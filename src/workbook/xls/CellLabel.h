// SPDX-License-Identifier: MIT
// Cells that hold their text themselves: LABEL, and RSTRING with formatting runs. Layout: [MS-XLS]
// 2.4.148 (Label); before BIFF8 characters, runs and their count are bytes.
#pragma once

#include <string>

#include "workbook/xls/biff/StringCodec.h"
#include "workbook/xls/CellRecord.h"
#include "workbook/xls/StringItem.h"

namespace brindle::workbook::xls {

// Of a cell of the kinds Label and RichLabel. Throws Error (Damaged).
StringItem readLabel(const CellRecord& cell, const StringCodec& codec);

// Appends the record, before BIFF8, of which `head` is row, column and format. Throws Error 1004
// for a text that the code page or a cell does not hold.
void appendLabel(std::string& out, std::string head, const StringItem& item,
                 const StringCodec& codec);

}  // namespace brindle::workbook::xls
