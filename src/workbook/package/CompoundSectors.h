// SPDX-License-Identifier: MIT
// The sectors of a compound file: header, allocation tables and chains, read and checked.
// Internal to this folder.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "base/ByteStreams.h"
#include "workbook/package/CompoundFormat.h"
#include "workbook/package/Inflate.h"

namespace brindle::workbook::package::cfb {

// A range of the file.
struct Range {
    std::uint64_t offset = 0;
    std::uint64_t length = 0;
};

class Sectors {
public:
    // Reads the header and the allocation table of the sectors; `source` is borrowed.
    explicit Sectors(const ByteSource& source);
    // Reads the table of the mini sectors, which stand in the root entry's stream.
    void readMiniFat(std::uint32_t rootStart, std::uint64_t rootSize);

    const ByteSource& source() const { return mSource; }
    const std::string& header() const { return mHeader; }
    unsigned version() const { return mVersion; }
    unsigned shift() const { return mShift; }
    unsigned miniShift() const { return mMiniShift; }
    std::uint64_t sectorSize() const { return std::uint64_t{1} << mShift; }
    std::uint64_t offsetOf(std::uint32_t sector) const {
        return (std::uint64_t{sector} + 1) << mShift;
    }

    // One entry for each sector of the file.
    const std::vector<std::uint32_t>& fat() const { return mFat; }
    const Chain& fatSectors() const { return mFatSectors; }
    const Chain& difatSectors() const { return mDifatSectors; }
    const std::vector<std::uint32_t>& miniFat() const { return mMiniFat; }
    const Chain& miniFatChain() const { return mMiniFatChain; }
    const Chain& miniStream() const { return mMiniStream; }

    std::uint32_t firstDirectorySector() const { return headerNumber(header::kFirstDirectory); }
    // The sectors from `first` to the end of their chain, which then belong to the caller: a
    // sector that belongs to somebody already is an Error (Damaged).
    Chain take(std::uint32_t first);
    // The sectors, or mini sectors, that `size` bytes take. What their chain goes on with is not
    // looked at: some programs do not end the chain of the mini stream, which then runs into the
    // next stream.
    Chain take(std::uint32_t first, std::uint64_t size);
    Chain takeMini(std::uint32_t first, std::uint64_t size);

    // Where the first `size` bytes of a chain stand in the file. The chain holds them.
    std::vector<Range> ranges(const Chain& chain, std::uint64_t size) const;
    std::vector<Range> miniRanges(const Chain& chain, std::uint64_t size) const;
    // Throws Error (Damaged) when the file ends before one of them does.
    void requireWhole(const std::vector<Range>& ranges) const;
    Buffer read(const std::vector<Range>& ranges) const;
    // All bytes of whole sectors; those behind the end of the file read as zeros.
    std::string readSectors(const Chain& chain) const;

private:
    void readHeader();
    void readFat();
    void readDifat(std::uint32_t wanted);
    std::uint32_t headerNumber(std::size_t offset) const;
    std::vector<std::uint32_t> readTable(const Chain& chain, std::uint32_t padding) const;
    void own(std::uint32_t sector);

    const ByteSource& mSource;
    std::string mHeader;
    unsigned mVersion = 0;
    unsigned mShift = 0;
    unsigned mMiniShift = 0;
    std::vector<std::uint32_t> mFat;
    std::vector<bool> mIsOwned;  // by sector
    Chain mFatSectors;
    Chain mDifatSectors;
    std::vector<std::uint32_t> mMiniFat;
    std::vector<bool> mIsMiniOwned;
    Chain mMiniFatChain;
    Chain mMiniStream;
};

}  // namespace brindle::workbook::package::cfb
