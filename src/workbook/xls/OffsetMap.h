// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "workbook/xls/biff/RecordSplice.h"

namespace brindle::workbook::xls {

// From places in a workbook stream to places in the stream that splices make of it.
class OffsetMap {
public:
    // Borrows both. The splices are in order and do not overlap.
    OffsetMap(std::string_view stream, const std::vector<RecordSplice>& splices);

    // Where the record at `offset` goes. What is inserted there comes before it; a record that is
    // replaced is taken to be the first of the new ones. Nothing for one inside a splice.
    std::optional<std::size_t> of(std::size_t offset) const;
    // Where the cells of a row begin that begin at `offset` now. Cells that are inserted there are
    // told apart by their rows.
    std::size_t ofCells(std::size_t offset);
    // Whether anything from `begin` on and before `end` changes, or is inserted at `end`.
    bool isChanged(std::size_t begin, std::size_t end) const;

private:
    struct RowStart {
        std::uint16_t row;
        std::size_t offset;  // of its first cell, in the bytes of the splice
    };
    std::size_t firstEndingAtOrBehind(std::size_t offset) const;
    std::size_t newBegin(std::size_t splice) const;
    const std::vector<RowStart>& rowStarts(std::size_t splice);

    std::string_view mStream;
    const std::vector<RecordSplice>& mSplices;
    std::vector<std::ptrdiff_t> mGrowth;                                // of all splices before
    std::unordered_map<std::size_t, std::vector<RowStart>> mRowStarts;  // by row
};

}  // namespace brindle::workbook::xls
