// SPDX-License-Identifier: MIT
// An ordered set of named, typed values, and its form as bytes. That form is our own, laid out
// here; all numbers are little-endian:
//
//   4 bytes   'B' 'P' 'B' and the version, 1
//   uint32    number of values; then for each value, in the order of writing:
//     uint16    length of the name in bytes, followed by the name
//     uint8     type: 0 empty, 1 text, 2 16-bit integer, 3 32-bit integer, 4 boolean, 5 bytes
//     value     0 nothing; 1 and 5 a uint32 length and the bytes; 2 int16; 3 int32; 4 a byte,
//               0 or 1
//
// Nothing follows the last value, no name stands twice, and there are at most 1,048,576 values.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <variant>
#include <vector>

namespace brindle {

// A value out of a bag. Texts are UTF-8, or paths as bytes. A value may be read as another
// type than it was written; what cannot be converted throws Error 13, a number too large for
// the type asked for Error 6.
class PropertyValue {
public:
    using Bytes = std::vector<std::byte>;

    PropertyValue() = default;
    PropertyValue(std::string text) : mValue(std::move(text)) {}
    PropertyValue(const char* text) : mValue(std::string(text)) {}
    PropertyValue(std::int16_t number) : mValue(number) {}
    PropertyValue(std::int32_t number) : mValue(number) {}
    PropertyValue(bool flag) : mValue(flag) {}
    PropertyValue(Bytes bytes) : mValue(std::move(bytes)) {}

    bool isEmpty() const { return std::holds_alternative<std::monostate>(mValue); }
    bool isBytes() const { return std::holds_alternative<Bytes>(mValue); }

    // An empty value is "", 0, false and no bytes. True is -1 as a number and "True" as text.
    std::string toText() const;
    std::int16_t toInt16() const;
    std::int32_t toInt32() const;
    bool toBoolean() const;
    const Bytes& toBytes() const;

    bool operator==(const PropertyValue&) const = default;

private:
    friend class BagWriter;

    std::variant<std::monostate, std::string, std::int16_t, std::int32_t, bool, Bytes> mValue;
};

class PropertyBag {
public:
    // A name in use keeps its place and takes the new value. Throws Error 5 for a name of more
    // than 65535 bytes.
    void WriteProperty(const std::string& name, PropertyValue value);

    // An empty value when the name is absent. The reference is good until the bag changes.
    const PropertyValue& ReadProperty(const std::string& name) const;

    // The whole bag as bytes.
    PropertyValue::Bytes Contents() const;
    // Replaces the bag. Throws Error 321 for bytes that are no whole, undamaged bag; the bag
    // is then as before.
    void Contents(std::span<const std::byte> bytes);

private:
    std::vector<std::pair<std::string, PropertyValue>> mValues;
    std::unordered_map<std::string, std::size_t> mPositions;  // by name
};

}  // namespace brindle
