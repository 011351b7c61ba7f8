// SPDX-License-Identifier: MIT
// The one string of a record whose characters may go on in CONTINUE records. In BIFF8 every piece
// begins with flags of its own. Layout: [MS-XLS] 2.5.293 and 2.4.58 (Continue).
#pragma once

#include <string>
#include <string_view>

#include "workbook/xls/biff/RecordReader.h"
#include "workbook/xls/biff/StringCodec.h"

namespace brindle::workbook::xls {

// The string that begins with its count at the start of `record`, which lies in `stream`. Throws
// Error (Damaged) when the characters are not all there.
std::string continuedString(std::string_view stream, const Record& record,
                            const StringCodec& codec);

}  // namespace brindle::workbook::xls
