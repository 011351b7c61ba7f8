// SPDX-License-Identifier: MIT
// The records of one sheet, without those of the charts that are embedded in it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>

#include "workbook/xls/biff/Biff.h"
#include "workbook/xls/biff/RecordReader.h"

namespace brindle::workbook::xls {

// Whether a BOF begins a worksheet or a dialog sheet; programs for charts give their table a number
// of their own.
bool beginsWorksheet(const Record& bof);

class SheetRecords {
public:
    // `sheetOffset` is that of the sheet's BOF. Borrows the stream. Throws Error (Damaged) when
    // there is none.
    SheetRecords(std::string_view stream, std::size_t sheetOffset);

    // The first one is the BOF. False behind the sheet's EOF, and where the stream ends or another
    // worksheet begins without one, lest many sheets are as long as the rest of the stream. Throws
    // Error (Damaged) for a record that runs past the end.
    bool next(Record& record);
    // The id of the record right behind the last one, whatever it belongs to.
    std::optional<std::uint16_t> peek() const { return mReader.peek(); }

private:
    void skipSubstream(const Record& bof);

    RecordReader mReader;
    std::uint16_t mBof;  // its id differs between the versions
    bool mHasBegun = false;
    bool mIsAtEnd = false;
};

inline bool SheetRecords::next(Record& record) {
    while (!mIsAtEnd && mReader.next(record)) {
        if (record.id == mBof && mHasBegun) {
            skipSubstream(record);
            continue;
        }
        mHasBegun = true;
        mIsAtEnd = record.id == record::kEof;
        return !mIsAtEnd;
    }
    mIsAtEnd = true;
    return false;
}

}  // namespace brindle::workbook::xls
