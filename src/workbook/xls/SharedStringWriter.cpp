// SPDX-License-Identifier: MIT
#include "workbook/xls/SharedStringWriter.h"

#include <algorithm>

#include "base/LittleEndian.h"
#include "workbook/xls/StringFlags.h"

namespace brindle::workbook::xls {

namespace {

// Some readers decode what stands in a record by itself, so surrogates stay together.
bool endsInsidePair(std::string_view characters, std::size_t width) {
    return width == 2 && !characters.empty() &&
           (static_cast<unsigned char>(characters.back()) & 0xFC) == 0xD8;
}

}  // namespace

std::uint16_t usualBucketSize(std::size_t strings) {
    return static_cast<std::uint16_t>(std::clamp<std::size_t>(strings / 128 + 1, 8, UINT16_MAX));
}

SharedStringWriter::SharedStringWriter(std::uint32_t references, std::uint32_t strings,
                                       std::uint16_t bucketSize, std::size_t limit)
    : mRecord(mTable, record::kSst, limit), mBucketSize(bucketSize), mLimit(limit) {
    mRecord.append(littleEndian(references) + littleEndian(strings));
}

void SharedStringWriter::add(StoredString string) {
    const std::string_view head = string.head();
    const auto whole = string.whole();
    const bool fits = whole && whole->size() <= mRecord.room();
    if (!fits && mRecord.room() < head.size()) mRecord.startContinue();
    if (mAdded++ % mBucketSize == 0) {
        mPlaces.push_back({static_cast<std::uint32_t>(mTable.size()),
                           static_cast<std::uint16_t>(mRecord.positionInRecord())});
    }
    if (fits) {
        mRecord.append(*whole);
        return;
    }
    mRecord.append(head);
    addCharacters(string);
    addData(string);
}

void SharedStringWriter::addCharacters(StoredString& string) {
    const std::size_t flags = mTable.size() - string.head().size() + sizeof(std::uint16_t);
    bool isFirst = true;
    bool wasWide = false;
    StoredString::Characters piece;
    while (string.nextCharacters(piece)) {
        if (isFirst) {
            // The first characters may have been behind a break right at the head.
            mTable[flags] = static_cast<char>((mTable[flags] & ~string_flag::kWide) |
                                              (piece.isWide ? string_flag::kWide : 0));
        }
        const std::size_t width = piece.isWide ? 2 : 1;
        bool mustBreak = !isFirst && piece.isWide != wasWide;
        while (!piece.bytes.empty()) {
            if (mustBreak || mRecord.room() < width) {
                mRecord.startContinue();
                mRecord.append(std::string_view(piece.isWide ? "\x01" : "\0", 1));
                mustBreak = false;
            }
            std::size_t size = std::min(piece.bytes.size(), mRecord.room() / width * width);
            if (size < piece.bytes.size() && endsInsidePair(piece.bytes.substr(0, size), width)) {
                size -= width;
                mustBreak = true;
            }
            mRecord.append(piece.bytes.substr(0, size));
            piece.bytes.remove_prefix(size);
        }
        isFirst = false;
        wasWide = piece.isWide;
    }
}

void SharedStringWriter::addData(StoredString& string) {
    std::string data;
    for (std::string_view piece; string.nextData(piece);) data += piece;
    const std::size_t runsSize = string.runCount() * kFormatRunSize;
    const std::string_view all(data);
    addUnits(all.substr(0, runsSize), kFormatRunSize);
    // Phonetic data begins with two structures that are not taken apart either: ExtRst up to its
    // size, then the formats and counts. What follows are 16-bit units.
    const std::string_view phonetic = all.substr(runsSize);
    constexpr std::size_t kHead = 4;
    constexpr std::size_t kCounts = 10;
    addUnits(phonetic.substr(0, kHead), kHead);
    if (phonetic.size() > kHead) addUnits(phonetic.substr(kHead, kCounts), kCounts);
    if (phonetic.size() > kHead + kCounts) addUnits(phonetic.substr(kHead + kCounts), 2);
}

// Breaks stand between units only.
void SharedStringWriter::addUnits(std::string_view bytes, std::size_t unit) {
    while (!bytes.empty()) {
        if (mRecord.room() < std::min(unit, bytes.size())) mRecord.startContinue();
        const std::size_t room = mRecord.room();
        const std::size_t size = bytes.size() <= room ? bytes.size() : room / unit * unit;
        mRecord.append(bytes.substr(0, size));
        bytes.remove_prefix(size);
    }
}

std::string SharedStringWriter::places(std::size_t tableOffset) const {
    constexpr std::size_t kPlaceSize = 8;
    std::string out;
    ContinuedRecord record(out, record::kExtSst, mLimit);
    record.append(littleEndian(mBucketSize));
    for (const Place& place : mPlaces) {
        if (record.room() < kPlaceSize) record.startContinue();
        record.append(littleEndian(static_cast<std::uint32_t>(tableOffset + place.inTable)) +
                      littleEndian(place.inRecord) + littleEndian(std::uint16_t{0}));
    }
    return out;
}

}  // namespace brindle::workbook::xls
