// SPDX-License-Identifier: MIT
#include "workbook/xls/biff/ContinuedRecord.h"

#include "base/LittleEndian.h"

namespace brindle::workbook::xls {

ContinuedRecord::ContinuedRecord(std::string& out, std::uint16_t id, std::size_t limit)
    : mOut(out), mLimit(limit) {
    startRecord(id);
}

void ContinuedRecord::startRecord(std::uint16_t id) {
    mOut += littleEndian(id);
    mOut.append(sizeof(std::uint16_t), '\0');
    mBody = mOut.size();
}

void ContinuedRecord::append(std::string_view bytes) {
    mOut += bytes;
    putLittleEndian(mOut.data() + mBody - sizeof(std::uint16_t),
                    static_cast<std::uint16_t>(mOut.size() - mBody));
}

void ContinuedRecord::startContinue() {
    startRecord(record::kContinue);
}

}  // namespace brindle::workbook::xls
