// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <string_view>

#include "workbook/xls/biff/Biff.h"
#include "workbook/xls/biff/RecordReader.h"

namespace brindle::workbook::xls {

// The records of one substream, its BOF and EOF left out; substreams inside it, such as charts,
// are passed over.
class SheetRecords {
public:
    // `offset` is that of the BOF. Borrows the stream.
    SheetRecords(std::string_view stream, std::size_t offset) : mReader(stream, offset) {}

    // Throws Error (Damaged) for a record that runs past the end of the stream. A stream may end
    // without an EOF.
    bool next(Record& record) {
        while (mReader.next(record)) {
            if (isBof(record.id)) {
                ++mDepth;
            } else if (record.id == record::kEof) {
                if (--mDepth <= 0) return false;
            } else if (mDepth == 1) {
                return true;
            }
        }
        return false;
    }
    // Behind the record that next() gave last.
    std::size_t offset() const { return mReader.offset(); }

private:
    RecordReader mReader;
    int mDepth = 0;
};

}  // namespace brindle::workbook::xls
