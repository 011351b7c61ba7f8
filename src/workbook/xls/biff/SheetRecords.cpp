// SPDX-License-Identifier: MIT
#include "workbook/xls/biff/SheetRecords.h"

#include "base/Error.h"

namespace brindle::workbook::xls {

SheetRecords::SheetRecords(std::string_view stream, std::size_t sheetOffset)
    : mReader(stream, sheetOffset), mBof(recordAt(stream, sheetOffset).id) {
    const bool isBof = mBof == 0x0009 || mBof == 0x0209 || mBof == 0x0409 || mBof == record::kBof;
    if (!isBof) throw Error::damaged("No sheet begins where one should").atOffset(sheetOffset);
}

void SheetRecords::skipSubstream() {
    Record record;
    for (std::size_t depth = 1; depth > 0 && mReader.next(record);) {
        if (record.id == mBof) ++depth;
        if (record.id == record::kEof) --depth;
    }
}

}  // namespace brindle::workbook::xls
