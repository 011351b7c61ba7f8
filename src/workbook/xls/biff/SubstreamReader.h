// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <string_view>

#include "workbook/xls/biff/Biff.h"
#include "workbook/xls/biff/RecordReader.h"

namespace brindle::workbook::xls {

// The records of a whole workbook stream with the nesting of its substreams. Behind the last EOF
// anything may stand, so the reading ends there where records do.
class SubstreamReader {
public:
    // Borrows the stream.
    explicit SubstreamReader(std::string_view stream) : mReader(stream) {}

    // Throws Error (Damaged) for a record of a substream that runs past the end.
    bool next(Record& record);
    // Of the record read last: 1 in a substream of its own, BOF and EOF included, more in one that
    // is nested, 0 outside.
    std::size_t depth() const { return mDepth; }
    // Behind the last EOF or, if that is later, the last record that was read in a substream.
    std::size_t end() const { return mEnd; }

private:
    bool nextOutside(Record& record);

    RecordReader mReader;
    std::size_t mDepth = 0;
    std::size_t mEnd = 0;
    bool mIsBehindEof = false;
};

inline bool SubstreamReader::next(Record& record) {
    if (mIsBehindEof) --mDepth;
    mIsBehindEof = false;
    if (!(mDepth == 0 ? nextOutside(record) : mReader.next(record))) return false;
    if (isBof(record.id)) ++mDepth;
    if (mDepth > 0) {
        mIsBehindEof = record.id == record::kEof;
        mEnd = record.end();
    }
    return true;
}

}  // namespace brindle::workbook::xls
