// SPDX-License-Identifier: MIT
// Where the strings of an SST record and its CONTINUE records stand. A string may go on in the
// next record; its head (length, flags, sizes of what follows) is never taken apart, and characters
// that go on begin with a flags byte of their own, which may change their width.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

namespace brindle::workbook::xls {

class SharedStringIndex {
public:
    // Borrows the stream. Throws Error (Damaged) for a table that breaks off before the number of
    // strings that it states; strings beyond that number are taken as well.
    SharedStringIndex(std::string_view stream, std::optional<std::size_t> sst);

    std::size_t size() const { return mOffsets.size(); }

private:
    struct Segment {  // body of one record
        std::uint32_t begin;
        std::uint32_t end;
    };
    std::string_view mStream;
    std::vector<Segment> mSegments;
    std::vector<std::uint32_t> mOffsets;  // of the heads, in the stream
};

}  // namespace brindle::workbook::xls
