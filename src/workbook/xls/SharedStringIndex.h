// SPDX-License-Identifier: MIT
// Where the strings of the shared string table stand. Layout: [MS-XLS] 2.4.265 (SST).
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

#include "workbook/xls/StoredString.h"

namespace brindle::workbook::xls {

class SharedStringIndex {
public:
    // `sst` is the offset of the SST record; without one the table is empty. Borrows the stream.
    // The strings that are there count, not the number that the file states. Throws Error
    // (Damaged) for a table that breaks off inside one of the stated strings.
    SharedStringIndex(std::string_view stream, std::optional<std::size_t> sst);

    std::size_t size() const { return mOffsets.size(); }
    // Of the head of a string, in the stream.
    std::size_t offset(std::size_t index) const { return mOffsets[index]; }
    StoredString string(std::size_t index) const;
    // The first string behind `index` whose head is behind `offset`; size() when there is none.
    std::size_t firstBehind(std::size_t offset, std::size_t index) const;

    const std::vector<Segment>& segments() const { return mSegments; }
    // Behind the last record of the table.
    std::size_t end() const { return mSegments.empty() ? 0 : mSegments.back().end; }
    // Whether there is any string in characters of that width.
    bool hasNarrow() const { return mHasNarrow; }
    bool hasWide() const { return mHasWide; }

private:
    void takeSegments(std::size_t sst);
    void takeStrings(std::size_t position);

    std::string_view mStream;
    std::vector<Segment> mSegments;
    std::vector<std::uint32_t> mOffsets;
    bool mHasNarrow = false;
    bool mHasWide = false;
};

}  // namespace brindle::workbook::xls
