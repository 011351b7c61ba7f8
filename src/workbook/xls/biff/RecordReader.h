// SPDX-License-Identifier: MIT
// The records of a workbook stream: id (16 bits), size of the body (16 bits), body; little-endian.
// Layout: [MS-XLS] 2.1.4.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "base/LittleEndian.h"

namespace brindle::workbook::xls {

struct Record {
    static constexpr std::size_t kHeaderSize = 4;
    std::uint16_t id = 0;
    std::size_t offset = 0;  // of the header, in the stream
    std::string_view body;   // borrowed from the stream

    std::size_t end() const { return offset + kHeaderSize + body.size(); }
};

class RecordReader {
public:
    // Borrows the stream.
    explicit RecordReader(std::string_view stream, std::size_t offset = 0)
        : mStream(stream), mOffset(offset) {}

    // False at the end of the stream, which fewer than four bytes behind a record are as well.
    // Throws Error (Damaged) with the offset for a record that runs past the end.
    bool next(Record& record);
    // The id of the record that next() would give, if there is one.
    std::optional<std::uint16_t> peek() const;
    std::size_t offset() const { return mOffset; }

private:
    [[noreturn]] void failTooLong() const;

    std::string_view mStream;
    std::size_t mOffset;
};

// A workbook has a record for every other cell, and they are passed over more than once.
inline bool RecordReader::next(Record& record) {
    if (mStream.size() < Record::kHeaderSize || mOffset > mStream.size() - Record::kHeaderSize) {
        return false;
    }
    const char* const header = mStream.data() + mOffset;
    const std::size_t size = getLittleEndian<std::uint16_t>(header + 2);
    if (size > mStream.size() - mOffset - Record::kHeaderSize) failTooLong();
    record.id = getLittleEndian<std::uint16_t>(header);
    record.offset = mOffset;
    record.body = std::string_view(header + Record::kHeaderSize, size);
    mOffset += Record::kHeaderSize + size;
    return true;
}

// The record at an offset. Throws Error (Damaged) when there is none.
Record recordAt(std::string_view stream, std::size_t offset);

// The body of a record with those of the CONTINUE records right behind it, for records whose data
// may be cut anywhere. `end`, if given, gets the offset behind the last of them.
std::string continuedBody(std::string_view stream, const Record& record,
                          std::size_t* end = nullptr);

// Appends a record of one piece. The body must be within the format's limit.
void appendRecord(std::string& out, std::uint16_t id, std::string_view body);

}  // namespace brindle::workbook::xls
