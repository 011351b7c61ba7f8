// SPDX-License-Identifier: MIT
#include "workbook/xls/biff/RecordReader.h"

#include "base/Error.h"
#include "base/LittleEndian.h"
#include "workbook/xls/biff/Biff.h"

namespace brindle::workbook::xls {

void RecordReader::failTooLong() const {
    throw Error::damaged("A record runs past the end of the workbook").atOffset(mOffset);
}

std::optional<std::uint16_t> RecordReader::peek() const {
    if (mStream.size() < Record::kHeaderSize || mOffset > mStream.size() - Record::kHeaderSize) {
        return std::nullopt;
    }
    return getLittleEndian<std::uint16_t>(mStream.data() + mOffset);
}

Record recordAt(std::string_view stream, std::size_t offset) {
    Record record;
    if (!RecordReader(stream, offset).next(record)) {
        throw Error::damaged("The workbook ends where a record should stand").atOffset(offset);
    }
    return record;
}

std::string continuedBody(std::string_view stream, const Record& record, std::size_t* end) {
    std::string body(record.body);
    RecordReader reader(stream, record.end());
    Record next;
    while (reader.peek() == record::kContinue && reader.next(next)) body += next.body;
    if (end) *end = reader.offset();
    return body;
}

void appendRecord(std::string& out, std::uint16_t id, std::string_view body) {
    out += littleEndian(id);
    out += littleEndian(static_cast<std::uint16_t>(body.size()));
    out += body;
}

}  // namespace brindle::workbook::xls
