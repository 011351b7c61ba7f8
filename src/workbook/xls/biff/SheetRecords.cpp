// SPDX-License-Identifier: MIT
#include "workbook/xls/biff/SheetRecords.h"

#include "workbook/xls/biff/Biff.h"

namespace brindle::workbook::xls {

SheetRecords::SheetRecords(std::string_view stream, std::size_t sheetOffset)
    : mReader(stream, sheetOffset), mBof(recordAt(stream, sheetOffset).id) {}

bool SheetRecords::next(Record& record) {
    while (!mIsAtEnd && mReader.next(record)) {
        if (record.id == mBof && mHasBegun) {
            skipSubstream();
            continue;
        }
        mHasBegun = true;
        mIsAtEnd = record.id == record::kEof;
        return !mIsAtEnd;
    }
    mIsAtEnd = true;
    return false;
}

void SheetRecords::skipSubstream() {
    Record record;
    for (std::size_t depth = 1; depth > 0 && mReader.next(record);) {
        if (record.id == mBof) ++depth;
        if (record.id == record::kEof) --depth;
    }
}

}  // namespace brindle::workbook::xls
