// SPDX-License-Identifier: MIT
#include "workbook/xls/biff/ContinuedString.h"

#include <algorithm>

namespace brindle::workbook::xls {

std::string continuedString(std::string_view stream, const Record& record,
                            const StringCodec& codec) {
    const bool isUnicode = codec.version() == Version::Biff8;
    ByteReader piece(record.body);
    std::size_t left = codec.version() == Version::Biff2 ? piece.number<std::uint8_t>()
                                                         : piece.number<std::uint16_t>();
    RecordReader records(stream, record.end());
    std::string text;
    while (left > 0) {
        if (piece.remaining() > 0) {
            const bool isWide = isUnicode && (piece.number<std::uint8_t>() & 1) != 0;
            const std::size_t width = isWide ? 2 : 1;
            const std::size_t count = std::min(left, piece.remaining() / width);
            text += codec.decode(piece.bytes(count * width), isWide);
            left -= count;
        }
        if (left == 0) break;
        Record next;
        if (records.peek() != record::kContinue || !records.next(next)) {
            throw Error::damaged("A text is cut").atOffset(record.offset);
        }
        piece = ByteReader(next.body);
    }
    return text;
}

}  // namespace brindle::workbook::xls
