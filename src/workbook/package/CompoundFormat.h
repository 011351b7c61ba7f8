// SPDX-License-Identifier: MIT
// Header, sector numbers and directory entries of a compound file: [MS-CFB] 2.1 to 2.6. All
// numbers are little-endian. Internal to this folder.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

namespace brindle::workbook::package::cfb {

inline constexpr std::string_view kSignature = "\xD0\xCF\x11\xE0\xA1\xB1\x1A\xE1";

// Values of a sector allocation table beside the number of the next sector.
inline constexpr std::uint32_t kMaxSector = 0xFFFFFFFA;  // the largest sector number
inline constexpr std::uint32_t kDifatSector = 0xFFFFFFFC;
inline constexpr std::uint32_t kFatSector = 0xFFFFFFFD;
inline constexpr std::uint32_t kEndOfChain = 0xFFFFFFFE;
inline constexpr std::uint32_t kFree = 0xFFFFFFFF;

// Streams shorter than this live in the mini stream.
inline constexpr std::uint64_t kMiniCutoff = 4096;
// The sector that holds this byte of the file is never used; programs lock its bytes.
inline constexpr std::uint64_t kRangeLock = 0x7FFFFF00;

namespace header {
inline constexpr std::size_t kSize = 512;
inline constexpr std::size_t kMajorVersion = 26, kByteOrder = 28, kSectorShift = 30,
                             kMiniSectorShift = 32, kDirectorySectors = 40, kFatSectors = 44,
                             kFirstDirectory = 48, kMiniCutoffSize = 56, kFirstMiniFat = 60,
                             kMiniFatSectors = 64, kFirstDifat = 68, kDifatSectors = 72,
                             kDifat = 76;
inline constexpr std::size_t kDifatEntries = 109;
}  // namespace header

namespace entry {
inline constexpr std::size_t kSize = 128;
inline constexpr std::size_t kNameBytes = 64;
inline constexpr std::size_t kNameLength = 64, kType = 66, kColour = 67, kLeft = 68, kRight = 72,
                             kChild = 76, kClassId = 80, kStateBits = 96, kCreated = 100,
                             kModified = 108, kStart = 116, kStreamSize = 120;
inline constexpr std::size_t kLongestName = 31;  // in UTF-16 units, without the terminator
inline constexpr std::uint32_t kNone = 0xFFFFFFFF;
enum Type : unsigned char { kUnused = 0, kStorage = 1, kStream = 2, kRoot = 5 };
enum Colour : unsigned char { kRed = 0, kBlack = 1 };
}  // namespace entry

// The sectors of a stream, in its order.
using Chain = std::vector<std::uint32_t>;

inline std::uint64_t unitsFor(std::uint64_t bytes, unsigned shift) {
    return (bytes >> shift) + ((bytes & ((std::uint64_t{1} << shift) - 1)) != 0 ? 1 : 0);
}

}  // namespace brindle::workbook::package::cfb
