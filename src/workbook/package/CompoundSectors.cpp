// SPDX-License-Identifier: MIT
#include "workbook/package/CompoundSectors.h"

#include <algorithm>

#include "base/Error.h"
#include "base/LittleEndian.h"

namespace brindle::workbook::package::cfb {

namespace {

constexpr unsigned kSmallestShift = 9;
constexpr unsigned kLargestShift = 16;
constexpr unsigned kSmallestMiniShift = 4;
constexpr std::uint16_t kLittleEndianMark = 0xFFFE;

[[noreturn]] void failHeader() {
    throw Error::damaged("The header of the compound file is broken");
}
[[noreturn]] void failChain() {
    throw Error::damaged("A stream of the compound file has fewer sectors than it needs");
}
[[noreturn]] void failCut() {
    throw Error::damaged("The compound file is cut off");
}

// Ranges of equal units behind each other become one.
void append(std::vector<Range>& ranges, std::uint64_t offset, std::uint64_t length) {
    if (!ranges.empty() && ranges.back().offset + ranges.back().length == offset) {
        ranges.back().length += length;
    } else {
        ranges.push_back({offset, length});
    }
}

// What follows the last unit of a chain was not looked at, but it must not be given out again.
void keep(std::vector<std::uint32_t>& table, const Chain& chain) {
    if (!chain.empty() && table[chain.back()] == kFree) table[chain.back()] = kEndOfChain;
}

}  // namespace

Sectors::Sectors(const ByteSource& source) : mSource(source) {
    readHeader();
    readFat();
}

std::uint32_t Sectors::headerNumber(std::size_t offset) const {
    return getLittleEndian<std::uint32_t>(mHeader.data() + offset);
}

void Sectors::readHeader() {
    if (mSource.size() < header::kSize) failCut();
    mHeader.resize(header::kSize);
    mSource.readAt(0, std::as_writable_bytes(std::span(mHeader)));
    const auto number = [this](std::size_t offset) {
        return getLittleEndian<std::uint16_t>(mHeader.data() + offset);
    };
    if (!mHeader.starts_with(kSignature)) failHeader();
    mVersion = number(header::kMajorVersion);
    if (mVersion != 3 && mVersion != 4) {
        throw Error(
            ErrorKind::Unsupported, error_number::kApplicationDefined,
            "The file is not in a recognizable format: a compound file of an unknown version");
    }
    mShift = number(header::kSectorShift);
    mMiniShift = number(header::kMiniSectorShift);
    const bool isSound = number(header::kByteOrder) == kLittleEndianMark &&
                         mShift >= kSmallestShift && mShift <= kLargestShift &&
                         mMiniShift >= kSmallestMiniShift && mMiniShift < mShift &&
                         headerNumber(header::kMiniCutoffSize) == kMiniCutoff;
    if (!isSound) failHeader();
    const std::uint64_t count = unitsFor(mSource.size(), mShift) - 1;
    if (count > kMaxSector) {
        throw Error(ErrorKind::TooLarge, error_number::kApplicationDefined,
                    "The compound file is too large");
    }
    mIsOwned.resize(static_cast<std::size_t>(count));
}

// Makes a sector somebody's.
void Sectors::own(std::uint32_t sector) {
    if (sector == kEndOfChain) failChain();
    if (sector >= mIsOwned.size()) {
        throw Error::damaged("A sector of the compound file lies outside of it");
    }
    if (mIsOwned[sector]) {
        throw Error::damaged("A sector of the compound file is used twice")
            .atOffset(offsetOf(sector));
    }
    mIsOwned[sector] = true;
}

// The table's own sectors: the first 109 stand in the header, the others in sectors of their own,
// each of which ends with the number of the next one.
void Sectors::readDifat(std::uint32_t wanted) {
    const auto take = [&](const char* entries, std::size_t count) {
        for (std::size_t i = 0; i < count && mFatSectors.size() < wanted; ++i) {
            mFatSectors.push_back(getLittleEndian<std::uint32_t>(entries + 4 * i));
            own(mFatSectors.back());
        }
    };
    take(mHeader.data() + header::kDifat, header::kDifatEntries);
    const std::size_t inSector = static_cast<std::size_t>(sectorSize()) / 4 - 1;
    std::uint32_t at = headerNumber(header::kFirstDifat);
    // Sectors of this table beyond the wanted ones would hold nothing.
    while (mFatSectors.size() < wanted) {
        own(at);
        mDifatSectors.push_back(at);
        const std::string bytes = readSectors({at});
        take(bytes.data(), inSector);
        at = getLittleEndian<std::uint32_t>(bytes.data() + 4 * inSector);
    }
}

void Sectors::readFat() {
    const std::uint32_t wanted = headerNumber(header::kFatSectors);
    if (wanted > mIsOwned.size()) failHeader();
    readDifat(wanted);
    mFat = readTable(mFatSectors, kFree);
    mFat.resize(mIsOwned.size(), kFree);
}

std::vector<std::uint32_t> Sectors::readTable(const Chain& chain, std::uint32_t padding) const {
    const std::string bytes = readSectors(chain);
    std::vector<std::uint32_t> table(bytes.size() / 4);
    for (std::size_t i = 0; i < table.size(); ++i) {
        table[i] = getLittleEndian<std::uint32_t>(bytes.data() + 4 * i);
    }
    // The last sector of a file may be cut.
    const std::size_t perSector = static_cast<std::size_t>(sectorSize()) / 4;
    for (std::size_t i = 0; i < chain.size(); ++i) {
        const std::uint64_t left = (mSource.size() - offsetOf(chain[i])) / 4;
        if (left >= perSector) continue;
        const auto begin = table.begin() + static_cast<std::ptrdiff_t>(i * perSector);
        std::fill(begin + static_cast<std::ptrdiff_t>(left),
                  begin + static_cast<std::ptrdiff_t>(perSector), padding);
    }
    return table;
}

void Sectors::readMiniFat(std::uint32_t rootStart, std::uint64_t rootSize) {
    if (rootSize == 0) return;
    mMiniStream = take(rootStart, rootSize);
    if (headerNumber(header::kMiniFatSectors) != 0) {
        mMiniFatChain = take(headerNumber(header::kFirstMiniFat));
    }
    mMiniFat = readTable(mMiniFatChain, kFree);
    const std::uint64_t there = std::uint64_t{mMiniStream.size()} << (mShift - mMiniShift);
    mMiniFat.resize(std::min<std::uint64_t>(mMiniFat.size(), there));
    mIsMiniOwned.resize(mMiniFat.size());
}

Chain Sectors::take(std::uint32_t first) {
    Chain chain;
    for (std::uint32_t at = first; at != kEndOfChain; at = mFat[at]) {
        own(at);
        chain.push_back(at);
    }
    return chain;
}

Chain Sectors::take(std::uint32_t first, std::uint64_t size) {
    Chain chain;
    std::uint32_t at = first;
    for (std::uint64_t left = unitsFor(size, mShift); left > 0; --left, at = mFat[at]) {
        own(at);
        chain.push_back(at);
    }
    keep(mFat, chain);
    return chain;
}

Chain Sectors::takeMini(std::uint32_t first, std::uint64_t size) {
    Chain chain;
    std::uint32_t at = first;
    for (std::uint64_t left = unitsFor(size, mMiniShift); left > 0; --left, at = mMiniFat[at]) {
        if (at >= mIsMiniOwned.size()) failChain();
        if (mIsMiniOwned[at]) {
            throw Error::damaged("A mini sector of the compound file is used twice");
        }
        mIsMiniOwned[at] = true;
        chain.push_back(at);
    }
    keep(mMiniFat, chain);
    return chain;
}

std::vector<Range> Sectors::ranges(const Chain& chain, std::uint64_t size) const {
    std::vector<Range> ranges;
    for (std::size_t i = 0; size > 0; ++i) {
        const std::uint64_t length = std::min(size, sectorSize());
        append(ranges, offsetOf(chain[i]), length);
        size -= length;
    }
    return ranges;
}

std::vector<Range> Sectors::miniRanges(const Chain& chain, std::uint64_t size) const {
    std::vector<Range> ranges;
    for (std::size_t i = 0; size > 0; ++i) {
        const std::uint64_t length = std::min(size, std::uint64_t{1} << mMiniShift);
        const std::uint64_t place = std::uint64_t{chain[i]} << mMiniShift;
        const std::uint32_t sector = mMiniStream[static_cast<std::size_t>(place >> mShift)];
        append(ranges, offsetOf(sector) + (place & (sectorSize() - 1)), length);
        size -= length;
    }
    return ranges;
}

void Sectors::requireWhole(const std::vector<Range>& ranges) const {
    for (const Range& range : ranges) {
        if (range.offset + range.length > mSource.size()) failCut();
    }
}

Buffer Sectors::read(const std::vector<Range>& ranges) const {
    std::uint64_t size = 0;
    for (const Range& range : ranges) size += range.length;
    Buffer bytes(static_cast<std::size_t>(size));
    char* at = bytes.data();
    for (const Range& range : ranges) {
        const auto length = static_cast<std::size_t>(range.length);
        mSource.readAt(range.offset, std::as_writable_bytes(std::span(at, length)));
        at += length;
    }
    return bytes;
}

std::string Sectors::readSectors(const Chain& chain) const {
    std::string bytes(chain.size() << mShift, '\0');
    std::size_t at = 0;
    // Behind the end of the file there is nothing to read.
    for (const Range& range : ranges(chain, bytes.size())) {
        const std::uint64_t left = mSource.size() - range.offset;
        const auto length = static_cast<std::size_t>(std::min(range.length, left));
        mSource.readAt(range.offset, std::as_writable_bytes(std::span(bytes).subspan(at, length)));
        at += static_cast<std::size_t>(range.length);
    }
    return bytes;
}

}  // namespace brindle::workbook::package::cfb
