// SPDX-License-Identifier: MIT
// The directory of a zip archive, read and checked. Internal to this folder.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/ByteStreams.h"
#include "workbook/package/Inflate.h"
#include "workbook/package/ZipArchive.h"

namespace brindle::workbook::package::zip {

// The bytes of the archive. Those of a small file are read in one go.
class FileBytes {
public:
    // `source` is borrowed.
    explicit FileBytes(const ByteSource& source);

    std::uint64_t size() const { return mSource.size(); }
    Pulse pulse() const { return mSource.pulse(); }
    // A range that lies in the file, in memory or else read into `scratch`.
    std::string_view at(std::uint64_t offset, std::uint64_t length, Buffer& scratch) const;
    // Appends the range to `out`.
    void copyTo(ByteSink& out, std::uint64_t begin, std::uint64_t end) const;

private:
    const ByteSource& mSource;
    Buffer mRead;
    std::optional<std::string_view> mWhole;  // nothing for a large file
};

// Where a field that may need 64 bits stands: its extra field in a header or directory record.
struct Zip64Field {
    std::size_t begin = 0;   // of the extra field's head, in the extra fields
    std::size_t length = 0;  // without the head of four bytes
};

// The first zip64 field among extra fields; a list that does not hold together ends early.
std::optional<Zip64Field> findZip64Field(std::string_view extraFields);

struct Directory {
    std::vector<ZipMember> members;       // in the directory's order
    std::vector<std::size_t> recordAt;    // of each member in `records`
    std::vector<std::uint32_t> byOffset;  // indexes of members, by their place in the file
    std::vector<std::uint64_t>
        extentEnd;  // of each member: where the next one or the directory begins
    std::string records;
    std::string endRecords;  // everything behind the directory: zip64 records, end record, comment
    bool hasZip64 = false;   // endRecords begins with a zip64 end record and its locator
    std::uint64_t offset = 0;  // of the directory in the file
    std::uint64_t base = 0;    // what was put in front of the archive without changing its offsets

    std::string_view record(std::size_t index) const;
};

// Throws Error (Damaged, TooLarge, Unsupported).
Directory readDirectory(const FileBytes& bytes, const ZipLimits& limits);

// The local header of a member with name and extra fields, as it is stored. Throws Error
// (Damaged) when it is none, or when the member's data behind it would not end before the next
// member begins.
std::string readLocalHeader(const FileBytes& bytes, const Directory& directory, std::size_t index);

}  // namespace brindle::workbook::package::zip
