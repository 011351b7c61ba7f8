// SPDX-License-Identifier: MIT
// The workbook stream with changes: records replaced, and every offset that the stream holds of
// itself brought in line. Layout: [MS-XLS] 2.4.28 (BoundSheet8), 2.4.144 (Index), 2.4.78 (DBCell),
// 2.4.107 (ExtSST).
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "workbook/xls/biff/RecordSplice.h"

namespace brindle::workbook::xls {

// The new stream, for a stream in clear of any version. The splices come in any order. What no
// splice covers is copied as it is, bytes behind the last record included, but for the offsets in
// BOUNDSHEET, INDEX, DBCELL and EXTSST. A stored offset that did not point where it should keeps
// its value.
//
// BOF and the records that hold offsets must not be inside a splice, EXTSST excepted: its splice is
// written as it is. A splice may cover cells of several rows. Where the cells of one row grow
// beyond what DBCELL can tell, INDEX and DBCELL of that sheet go, which readers may do without.
//
// Throws Error (Damaged) when the records of the old stream cannot be followed, Error (TooLarge)
// when the new stream gets too large for 32-bit offsets, Error (Internal) for splices that overlap
// or do not cover whole records.
std::string splicedStream(std::string_view stream, std::vector<RecordSplice> splices);

}  // namespace brindle::workbook::xls
