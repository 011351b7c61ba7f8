// SPDX-License-Identifier: MIT
#include "workbook/xls/biff/SubstreamReader.h"

#include "base/Error.h"
#include "workbook/xls/biff/Biff.h"

namespace brindle::workbook::xls {

bool SubstreamReader::next(Record& record) {
    if (mIsBehindEof) --mDepth;
    mIsBehindEof = false;
    try {
        if (!mReader.next(record)) return false;
    } catch (const Error&) {
        if (mDepth == 0) return false;
        throw;
    }
    if (isBof(record.id)) ++mDepth;
    if (mDepth > 0) {
        mIsBehindEof = record.id == record::kEof;
        mEnd = record.end();
    }
    return true;
}

}  // namespace brindle::workbook::xls
