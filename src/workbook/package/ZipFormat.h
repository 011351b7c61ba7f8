// SPDX-License-Identifier: MIT
// Records of a zip archive: signatures, sizes and the offsets of their fields. Layout: PKWARE
// APPNOTE.TXT, sections 4.3 and 4.5. All numbers are little-endian. Internal to this folder.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace brindle::workbook::package::zip {

inline constexpr std::uint16_t kStored = 0;
inline constexpr std::uint16_t kDeflated = 8;
inline constexpr std::uint16_t kFlagEncrypted = 1u << 0;
inline constexpr std::uint16_t kFlagDescriptor = 1u << 3;
inline constexpr std::uint16_t kFlagUtf8 = 1u << 11;
inline constexpr std::uint16_t kFlagMasked = 1u << 13;
inline constexpr std::uint16_t kZip64Field = 0x0001;
inline constexpr std::uint16_t kMax16 = 0xFFFF;
inline constexpr std::uint32_t kMax32 = 0xFFFFFFFF;

namespace local {
inline constexpr std::uint32_t kSignature = 0x04034B50;
inline constexpr std::size_t kSize = 30;
inline constexpr std::size_t kVersionNeeded = 4, kFlags = 6, kMethod = 8, kDate = 10, kCrc = 14,
                             kCompressedSize = 18, kUnpackedSize = 22, kNameLength = 26,
                             kExtraLength = 28;
}  // namespace local

namespace descriptor {
inline constexpr std::uint32_t kSignature = 0x08074B50;
inline constexpr std::size_t kLongest = 24;
}  // namespace descriptor

namespace central {
inline constexpr std::uint32_t kSignature = 0x02014B50;
inline constexpr std::size_t kSize = 46;
inline constexpr std::size_t kVersionMadeBy = 4, kVersionNeeded = 6, kFlags = 8, kMethod = 10,
                             kDate = 12, kCrc = 16, kCompressedSize = 20, kUnpackedSize = 24,
                             kNameLength = 28, kExtraLength = 30, kCommentLength = 32, kDisk = 34,
                             kHeaderOffset = 42;
}  // namespace central

namespace end64 {
inline constexpr std::uint32_t kSignature = 0x06064B50;
inline constexpr std::size_t kSize = 56;
inline constexpr std::size_t kRecordSize = 4, kVersionMadeBy = 12, kVersionNeeded = 14, kDisk = 16,
                             kDirectoryDisk = 20, kCountHere = 24, kCount = 32, kDirectorySize = 40,
                             kDirectoryOffset = 48;
}  // namespace end64

namespace locator64 {
inline constexpr std::uint32_t kSignature = 0x07064B50;
inline constexpr std::size_t kSize = 20;
inline constexpr std::size_t kDisk = 4, kEndOffset = 8, kDisks = 16;
}  // namespace locator64

namespace end {
inline constexpr std::uint32_t kSignature = 0x06054B50;
inline constexpr std::size_t kSize = 22;
inline constexpr std::size_t kDisk = 4, kDirectoryDisk = 6, kCountHere = 8, kCount = 10,
                             kDirectorySize = 12, kDirectoryOffset = 16, kCommentLength = 20;
}  // namespace end

template <typename Number>
Number get(const char* at) {
    std::uint64_t value = 0;
    for (std::size_t i = sizeof(Number); i-- > 0;) {
        value = value << 8 | static_cast<unsigned char>(at[i]);
    }
    return static_cast<Number>(value);
}

inline std::uint16_t get16(const char* at) {
    return get<std::uint16_t>(at);
}
inline std::uint32_t get32(const char* at) {
    return get<std::uint32_t>(at);
}
inline std::uint64_t get64(const char* at) {
    return get<std::uint64_t>(at);
}

inline void put(char* at, std::uint64_t value, std::size_t bytes) {
    for (std::size_t i = 0; i < bytes; ++i) at[i] = static_cast<char>(value >> (8 * i));
}

inline void put16(std::string& record, std::size_t at, std::uint64_t value) {
    put(record.data() + at, value, 2);
}
inline void put32(std::string& record, std::size_t at, std::uint64_t value) {
    put(record.data() + at, value, 4);
}
inline void put64(std::string& record, std::size_t at, std::uint64_t value) {
    put(record.data() + at, value, 8);
}

}  // namespace brindle::workbook::package::zip
