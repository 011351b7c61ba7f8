// SPDX-License-Identifier: MIT
#include "workbook/xls/biff/SubstreamReader.h"

#include "base/Error.h"

namespace brindle::workbook::xls {

// Where no record needs to be, one that runs past the end is none.
bool SubstreamReader::nextOutside(Record& record) {
    try {
        return mReader.next(record);
    } catch (const Error&) {
        return false;
    }
}

}  // namespace brindle::workbook::xls
