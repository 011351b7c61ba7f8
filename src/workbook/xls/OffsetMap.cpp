// SPDX-License-Identifier: MIT
#include "workbook/xls/OffsetMap.h"

#include <algorithm>

#include "workbook/xls/biff/CellRow.h"

namespace brindle::workbook::xls {

OffsetMap::OffsetMap(std::string_view stream, const std::vector<RecordSplice>& splices)
    : mStream(stream), mSplices(splices) {
    mGrowth.reserve(splices.size() + 1);
    mGrowth.push_back(0);
    for (const RecordSplice& splice : splices) {
        mGrowth.push_back(mGrowth.back() + static_cast<std::ptrdiff_t>(splice.bytes.size()) -
                          static_cast<std::ptrdiff_t>(splice.end - splice.begin));
    }
}

std::size_t OffsetMap::firstEndingAtOrBehind(std::size_t offset) const {
    const auto found = std::lower_bound(
        mSplices.begin(), mSplices.end(), offset,
        [](const RecordSplice& splice, std::size_t value) { return splice.end < value; });
    return static_cast<std::size_t>(found - mSplices.begin());
}

std::size_t OffsetMap::newBegin(std::size_t splice) const {
    return mSplices[splice].begin + static_cast<std::size_t>(mGrowth[splice]);
}

std::optional<std::size_t> OffsetMap::of(std::size_t offset) const {
    std::size_t next = firstEndingAtOrBehind(offset);
    while (next < mSplices.size() && mSplices[next].end == offset) ++next;
    if (next < mSplices.size() && mSplices[next].begin < offset) return std::nullopt;
    return offset + static_cast<std::size_t>(mGrowth[next]);
}

const std::vector<OffsetMap::RowStart>& OffsetMap::rowStarts(std::size_t splice) {
    const auto [known, isNew] = mRowStarts.try_emplace(splice);
    if (!isNew) return known->second;
    std::vector<RowStart>& starts = known->second;
    RecordReader reader(mSplices[splice].bytes);
    for (Record record; reader.next(record);) {
        const auto row = rowOfCell(record);
        if (row && (starts.empty() || starts.back().row != *row)) {
            starts.push_back({*row, record.offset});
        }
    }
    std::stable_sort(starts.begin(), starts.end(),
                     [](const RowStart& a, const RowStart& b) { return a.row < b.row; });
    return starts;
}

std::size_t OffsetMap::ofCells(std::size_t offset) {
    const auto row = rowOfCell(recordAt(mStream, offset));
    std::size_t splice = firstEndingAtOrBehind(offset);
    for (; splice < mSplices.size() && mSplices[splice].begin <= offset; ++splice) {
        if (!row) continue;
        const std::vector<RowStart>& starts = rowStarts(splice);
        const auto start = std::lower_bound(
            starts.begin(), starts.end(), *row,
            [](const RowStart& known, std::uint16_t value) { return known.row < value; });
        if (start != starts.end() && start->row == *row) return newBegin(splice) + start->offset;
    }
    const bool isInside = splice > 0 && mSplices[splice - 1].end > offset;
    const std::size_t at = isInside ? mSplices[splice - 1].end : offset;
    return at + static_cast<std::size_t>(mGrowth[splice]);
}

bool OffsetMap::isChanged(std::size_t begin, std::size_t end) const {
    std::size_t splice = firstEndingAtOrBehind(begin);
    // One that ends where the range begins is outside, unless it inserts.
    while (splice < mSplices.size() && mSplices[splice].end == begin &&
           mSplices[splice].begin < begin) {
        ++splice;
    }
    return splice < mSplices.size() && mSplices[splice].begin <= end;
}

}  // namespace brindle::workbook::xls
