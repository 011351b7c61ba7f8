// SPDX-License-Identifier: MIT
#include "workbook/xls/biff/SheetRecords.h"

#include "base/Error.h"
#include "base/LittleEndian.h"

namespace brindle::workbook::xls {

bool beginsWorksheet(const Record& bof) {
    if (bof.body.size() < 4) return false;
    switch (getLittleEndian<std::uint16_t>(bof.body.data() + 2)) {
        case substream::kGlobals:
        case substream::kModule:
        case substream::kChart:
        case substream::kMacro:
        case substream::kWorkspace:
            return false;
        default:
            return true;
    }
}

SheetRecords::SheetRecords(std::string_view stream, std::size_t sheetOffset)
    : mReader(stream, sheetOffset), mBof(recordAt(stream, sheetOffset).id) {
    const bool isBof = mBof == 0x0009 || mBof == 0x0209 || mBof == 0x0409 || mBof == record::kBof;
    if (!isBof) throw Error::damaged("No sheet begins where one should").atOffset(sheetOffset);
}

void SheetRecords::skipSubstream(const Record& bof) {
    Record record = bof;
    for (std::size_t depth = 1; depth > 0; depth -= record.id == record::kEof) {
        mIsAtEnd = record.id == mBof && beginsWorksheet(record);
        if (mIsAtEnd || !mReader.next(record)) return;
        depth += record.id == mBof;
    }
}

}  // namespace brindle::workbook::xls
