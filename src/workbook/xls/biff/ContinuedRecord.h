// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "workbook/xls/biff/Biff.h"

namespace brindle::workbook::xls {

// Writes a record that goes on in CONTINUE records. Where to break is up to the caller, as formats
// differ in what may be taken apart.
class ContinuedRecord {
public:
    // Appends to `out`, which is borrowed. No body gets longer than `limit` bytes.
    ContinuedRecord(std::string& out, std::uint16_t id,
                    std::size_t limit = longestBody(Version::Biff8));

    // Bytes that the present record still takes.
    std::size_t room() const { return mLimit - (mOut.size() - mBody); }
    // Distance from the present record's header to the next byte.
    std::size_t positionInRecord() const { return mOut.size() - mBody + 4; }
    // At most room() bytes.
    void append(std::string_view bytes);
    // Ends the present record; what follows goes into a CONTINUE.
    void startContinue();

private:
    void startRecord(std::uint16_t id);

    std::string& mOut;
    std::size_t mLimit;
    std::size_t mBody = 0;  // where the present body begins
};

}  // namespace brindle::workbook::xls
