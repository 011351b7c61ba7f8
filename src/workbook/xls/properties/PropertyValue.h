// SPDX-License-Identifier: MIT
// Typed values of a property set. Layout: [MS-OLEPS] 2.15 (TypedPropertyValue).
#pragma once

#include <cstdint>
#include <string_view>

namespace brindle::workbook::xls {

// The types by their numbers, as far as they have a name here.
namespace property_type {
inline constexpr std::uint16_t kEmpty = 0;
inline constexpr std::uint16_t kNull = 1;
inline constexpr std::uint16_t kInt16 = 2;
inline constexpr std::uint16_t kInt32 = 3;
inline constexpr std::uint16_t kFloat = 4;
inline constexpr std::uint16_t kDouble = 5;
inline constexpr std::uint16_t kCurrency = 6;  // ten-thousandths
inline constexpr std::uint16_t kDate = 7;      // a serial number of the 1900 system, local time
inline constexpr std::uint16_t kString = 8;
inline constexpr std::uint16_t kError = 10;
inline constexpr std::uint16_t kBool = 11;
inline constexpr std::uint16_t kVariant = 12;
inline constexpr std::uint16_t kDecimal = 14;
inline constexpr std::uint16_t kInt8 = 16;
inline constexpr std::uint16_t kUint8 = 17;
inline constexpr std::uint16_t kUint16 = 18;
inline constexpr std::uint16_t kUint32 = 19;
inline constexpr std::uint16_t kInt64 = 20;
inline constexpr std::uint16_t kUint64 = 21;
inline constexpr std::uint16_t kInt = 22;
inline constexpr std::uint16_t kUint = 23;
inline constexpr std::uint16_t kNarrowText = 30;  // in the code page of its section
inline constexpr std::uint16_t kWideText = 31;    // UTF-16
inline constexpr std::uint16_t kFileTime = 64;    // 100 ns since 1601-01-01 UTC
inline constexpr std::uint16_t kBlob = 65;
inline constexpr std::uint16_t kVector = 0x1000;  // in addition to the type of its elements
}  // namespace property_type

struct PropertyValue {
    static constexpr std::size_t kTypeSize = 4;  // the upper half is unused

    std::uint16_t type = property_type::kEmpty;
    std::string_view data;  // behind the type, borrowed; may have padding at its end
};

// Whether the data holds all that a value of its type is made of. Types that document properties
// do not have (arrays, types unknown to the format) count as incomplete.
bool isWholeValue(const PropertyValue& value);

}  // namespace brindle::workbook::xls
