// SPDX-License-Identifier: MIT
#include "workbook/xls/StreamOffsets.h"

#include <algorithm>

#include "base/LittleEndian.h"
#include "workbook/xls/biff/SubstreamReader.h"

namespace brindle::workbook::xls {

namespace {

constexpr std::size_t kHeader = Record::kHeaderSize;

bool isDefColWidth(std::uint16_t id) {
    return id == record::kDefColWidth;
}
bool isDbCell(std::uint16_t id) {
    return id == record::kDbCell;
}
bool isStringTable(std::uint16_t id) {
    return id == record::kSst || id == record::kContinue;
}
std::uint32_t number32(std::string_view bytes, std::size_t position) {
    return getLittleEndian<std::uint32_t>(bytes.data() + position);
}
std::uint16_t number16(std::string_view bytes, std::size_t position) {
    return getLittleEndian<std::uint16_t>(bytes.data() + position);
}

}  // namespace

Version layoutVersion(std::string_view stream) {
    if (stream.size() < kHeader + sizeof(std::uint16_t)) return Version::Biff8;
    switch (number16(stream, 0)) {
        case record::kBof2:
            return Version::Biff2;
        case record::kBof3:
            return Version::Biff3;
        case record::kBof4:
            return Version::Biff4;
        default:
            return number16(stream, kHeader) < 0x0600 ? Version::Biff5 : Version::Biff8;
    }
}

StreamOffsets::StreamOffsets(std::string_view stream, OffsetMap& map)
    : mStream(stream), mVersion(layoutVersion(stream)), mMap(map) {
    if (mVersion >= Version::Biff5) return;
    SubstreamReader reader(stream);
    for (Record record; reader.next(record);) mRecords.push_back(record.offset);
}

bool StreamOffsets::pointsTo(std::size_t offset, bool (*isWanted)(std::uint16_t id)) const {
    if (!isWanted) return std::binary_search(mRecords.begin(), mRecords.end(), offset);
    return mStream.size() >= kHeader && offset <= mStream.size() - kHeader &&
           isWanted(number16(mStream, offset));
}

void StreamOffsets::updateOffset(const Record& record, std::size_t position,
                                 bool (*isWanted)(std::uint16_t id)) {
    if (position + sizeof(std::uint32_t) > record.body.size()) return;
    const std::uint32_t old = number32(record.body, position);
    if (!pointsTo(old, isWanted)) return;
    const auto now = mMap.of(old);
    if (!now || *now == old) return;
    mPatches.push_back(
        {record.offset, kHeader + position, littleEndian(static_cast<std::uint32_t>(*now))});
}

void StreamOffsets::updateBoundSheet(std::size_t record) {
    updateOffset(recordAt(mStream, record), 0, isBof);
}

void StreamOffsets::updateExtSst(std::size_t offset) {
    constexpr std::size_t kBucketSize = 2;  // bytes that tell the size of a bucket
    constexpr std::size_t kPlaceSize = 8;
    const Record record = recordAt(mStream, offset);
    std::size_t end = 0;
    std::string body = continuedBody(mStream, record, &end);
    for (std::size_t at = kBucketSize; at + kPlaceSize <= body.size(); at += kPlaceSize) {
        const std::uint32_t inStream = number32(body, at);
        const std::uint16_t inRecord = number16(body, at + sizeof(std::uint32_t));
        if (inRecord > inStream || !pointsTo(inStream - inRecord, isStringTable)) continue;
        if (const auto now = mMap.of(inStream - inRecord)) {
            putLittleEndian(body.data() + at, static_cast<std::uint32_t>(*now + inRecord));
        }
    }
    RecordReader reader(mStream, offset);
    std::size_t done = 0;
    for (Record piece; reader.offset() < end && reader.next(piece); done += piece.body.size()) {
        mPatches.push_back({piece.offset, kHeader, body.substr(done, piece.body.size())});
    }
}

bool StreamOffsets::updateSheet(const OffsetRecords::Sheet& sheet) {
    for (const std::size_t index : sheet.indexes) updateIndex(recordAt(mStream, index));
    std::size_t blockBegin = sheet.begin;
    for (const std::size_t dbCell : sheet.dbCells) {
        const Record record = recordAt(mStream, dbCell);
        if (!updateDbCell(record, blockBegin)) return false;
        blockBegin = record.end();
    }
    return true;
}

void StreamOffsets::updateIndex(const Record& record) {
    constexpr std::size_t kSize = sizeof(std::uint32_t);
    const bool isOld = mVersion < Version::Biff5;
    // Older ones point to the places of names, of formats and of blocks of rows, which may be
    // empty.
    if (isOld) updateOffset(record, 0, nullptr);
    const std::size_t first = mVersion == Version::Biff8 ? 12 : 8;
    updateOffset(record, first, isOld ? nullptr : isDefColWidth);
    for (std::size_t at = first + kSize; at + kSize <= record.body.size(); at += kSize) {
        updateOffset(record, at, isOld ? nullptr : isDbCell);
    }
}

// `blockBegin` is the earliest place for the rows of the block.
bool StreamOffsets::updateDbCell(const Record& record, std::size_t blockBegin) {
    if (record.body.size() < sizeof(std::uint32_t)) return true;
    const std::uint32_t back = number32(record.body, 0);
    if (back > record.offset || record.offset - back < blockBegin) return true;
    const std::size_t firstRow = record.offset - back;
    if (!mMap.isChanged(firstRow, record.offset)) return true;
    if (!pointsTo(firstRow, [](std::uint16_t id) { return id == record::kRow; })) return true;
    return updateRowStarts(record, firstRow);
}

bool StreamOffsets::updateRowStarts(const Record& record, std::size_t firstRow) {
    constexpr std::size_t kRowSize = 20;  // of a whole ROW record
    constexpr std::size_t kSize = sizeof(std::uint16_t);
    std::vector<std::size_t> records;
    RecordReader reader(mStream, firstRow);
    for (Record passed; reader.offset() < record.offset && reader.next(passed);) {
        records.push_back(passed.offset);
    }
    if (reader.offset() != record.offset) return true;
    records.push_back(record.offset);
    const auto newFirstRow = mMap.of(firstRow);
    if (!newFirstRow) return false;

    std::string body(record.body);
    putLittleEndian(body.data(),
                    static_cast<std::uint32_t>(*mMap.of(record.offset) - *newFirstRow));
    // Each value is told from the place of the one before, so all are right or none is.
    std::vector<std::size_t> places{*newFirstRow + kRowSize};
    std::size_t old = firstRow + kRowSize;
    for (std::size_t at = sizeof(std::uint32_t); at + kSize <= body.size(); at += kSize) {
        old += number16(body, at);
        if (!std::binary_search(records.begin(), records.end(), old)) break;
        places.push_back(mMap.ofCells(old));
    }
    const std::size_t count = (body.size() - sizeof(std::uint32_t)) / kSize;
    for (std::size_t i = 0; i < count && places.size() == count + 1; ++i) {
        const std::size_t distance = places[i + 1] - places[i];
        if (places[i + 1] < places[i] || distance > UINT16_MAX) return false;
        putLittleEndian(body.data() + sizeof(std::uint32_t) + i * kSize,
                        static_cast<std::uint16_t>(distance));
    }
    mPatches.push_back({record.offset, kHeader, std::move(body)});
    return true;
}

}  // namespace brindle::workbook::xls
