// SPDX-License-Identifier: MIT
// Records of binary workbooks, written by hand.
#pragma once

#include <algorithm>
#include <string>
#include <string_view>
#include <vector>

#include "base/LittleEndian.h"
#include "workbook/xls/biff/Biff.h"
#include "workbook/xls/biff/RecordReader.h"
#include "workbook/xls/biff/RecordSplice.h"
#include "workbook/xls/biff/Utf16.h"

namespace brindle::test {

using workbook::xls::utf16Bytes;

inline std::string u16(unsigned value) {
    return littleEndian(static_cast<std::uint16_t>(value));
}
inline std::string u32(std::size_t value) {
    return littleEndian(static_cast<std::uint32_t>(value));
}
inline std::string record(std::uint16_t id, const std::string& body) {
    std::string bytes;
    workbook::xls::appendRecord(bytes, id, body);
    return bytes;
}

// BOF, content, EOF.
inline std::string substream(const std::string& content,
                             std::uint16_t type = workbook::xls::substream::kWorksheet) {
    const std::string bof = std::string(2, '\0') + littleEndian(type) + std::string(12, '\0');
    return record(workbook::xls::record::kBof, bof) + content +
           record(workbook::xls::record::kEof, {});
}

inline std::string spliced(std::string stream, std::vector<workbook::xls::RecordSplice> splices) {
    std::sort(splices.begin(), splices.end(),
              [](const auto& a, const auto& b) { return a.begin > b.begin; });
    for (const auto& splice : splices) {
        stream.replace(splice.begin, splice.end - splice.begin, splice.bytes);
    }
    return stream;
}

}  // namespace brindle::test
