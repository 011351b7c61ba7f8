// SPDX-License-Identifier: MIT
#include "workbook/xls/SharedStringIndex.h"

#include <algorithm>

#include "base/ByteReader.h"
#include "workbook/xls/biff/Biff.h"
#include "workbook/xls/biff/RecordReader.h"
#include "workbook/xls/StringFlags.h"

namespace brindle::workbook::xls {

namespace {

constexpr std::size_t kShortestHead = 3;

}  // namespace

SharedStringIndex::SharedStringIndex(std::string_view stream, std::optional<std::size_t> sst)
    : mStream(stream) {
    if (!sst) return;
    if (stream.size() > UINT32_MAX) {
        throw Error(ErrorKind::TooLarge, error_number::kApplicationDefined,
                    "The workbook is too large");
    }
    takeSegments(*sst);
    ByteReader counts(recordAt(stream, *sst).body);
    counts.skip(sizeof(std::uint32_t));  // references
    const auto stated = counts.number<std::uint32_t>();
    mOffsets.reserve(std::min<std::size_t>(stated, (end() - *sst) / kShortestHead));
    try {
        takeStrings(mSegments.front().begin + counts.position());
    } catch (const Error&) {
        // Behind the stated strings anything may stand.
        if (size() < stated) throw;
    }
}

void SharedStringIndex::takeSegments(std::size_t sst) {
    Record record = recordAt(mStream, sst);
    if (record.id != record::kSst) {
        throw Error::damaged("The shared strings are not where they should be").atOffset(sst);
    }
    RecordReader reader(mStream, record.end());
    mSegments.push_back({sst + Record::kHeaderSize, record.end()});
    while (reader.peek() == record::kContinue && reader.next(record)) {
        mSegments.push_back({record.offset + Record::kHeaderSize, record.end()});
    }
}

void SharedStringIndex::takeStrings(std::size_t position) {
    const std::span<const Segment> segments(mSegments);
    std::size_t segment = 0;
    for (;;) {
        if (position == segments[segment].end) {
            if (++segment == segments.size()) return;
            position = segments[segment].begin;
            continue;
        }
        const std::size_t offset = position;
        StoredString string(mStream, segments.subspan(segment), offset);
        if (const auto whole = string.whole()) {
            position += whole->size();
        } else {
            string.skip();
            position = string.position();
            segment += string.segment();
        }
        const auto flags = static_cast<unsigned char>(string.head()[sizeof(std::uint16_t)]);
        ((flags & string_flag::kWide) != 0 ? mHasWide : mHasNarrow) = true;
        mOffsets.push_back(static_cast<std::uint32_t>(offset));
    }
}

StoredString SharedStringIndex::string(std::size_t index) const {
    const std::size_t offset = mOffsets[index];
    const auto behind = std::upper_bound(
        mSegments.begin(), mSegments.end(), offset,
        [](std::size_t value, const Segment& segment) { return value < segment.begin; });
    const auto first = static_cast<std::size_t>(behind - mSegments.begin()) - 1;
    return {mStream, std::span(mSegments).subspan(first), offset};
}

std::size_t SharedStringIndex::firstBehind(std::size_t offset, std::size_t index) const {
    // Mostly it is near.
    std::size_t step = 1;
    std::size_t low = index;
    while (low + step < mOffsets.size() && mOffsets[low + step] <= offset) {
        low += step;
        step *= 2;
    }
    const auto from = mOffsets.begin() + static_cast<std::ptrdiff_t>(low);
    const auto to =
        mOffsets.begin() + static_cast<std::ptrdiff_t>(std::min(low + step + 1, mOffsets.size()));
    return static_cast<std::size_t>(std::upper_bound(from, to, offset) - mOffsets.begin());
}

}  // namespace brindle::workbook::xls
