// SPDX-License-Identifier: MIT
#include "workbook/xls/properties/PropertyValue.h"

#include <algorithm>
#include <cstddef>

#include "base/ByteReader.h"
#include "base/Error.h"

namespace brindle::workbook::xls {

namespace {

using namespace property_type;

// Types whose data is a count and that many bytes. Some hold the name of another stream.
constexpr std::uint16_t kFirstCounted = kBlob;
constexpr std::uint16_t kLastCounted = 71;
constexpr std::uint16_t kClassId = 72;
constexpr std::uint16_t kVersionedStream = 73;

constexpr std::size_t kAlignment = 4;

// Programs differ in whether they pad the strings inside of vectors.
enum class Packing { Padded, Packed };

// 0 for a type that is no number.
std::size_t sizeOfNumber(std::uint16_t type) {
    switch (type) {
        case kInt8:
        case kUint8:
            return 1;
        case kInt16:
        case kBool:
        case kUint16:
            return 2;
        case kInt32:
        case kFloat:
        case kError:
        case kUint32:
        case kInt:
        case kUint:
            return 4;
        case kDouble:
        case kCurrency:
        case kDate:
        case kInt64:
        case kUint64:
        case kFileTime:
            return 8;
        case kDecimal:
        case kClassId:
            return 16;
        default:
            return 0;
    }
}

class ValueSkipper {
public:
    ValueSkipper(std::string_view data, Packing packing) : mReader(data), mPacking(packing) {}

    // Throws Error when the data ends too early or the type is not known.
    void skip(std::uint16_t type) {
        if ((type & kVector) == 0) return skipScalar(type);
        const auto elementType = static_cast<std::uint16_t>(type & ~kVector);
        // An element takes a byte at least, so that a lying count ends with the data.
        if (elementType == kEmpty || elementType == kNull) refuseType();
        for (auto count = mReader.number<std::uint32_t>(); count > 0; --count) {
            skipScalar(elementType);
        }
    }

private:
    [[noreturn]] static void refuseType() {
        throw Error::damaged("A property has an unknown type");
    }

    void skipScalar(std::uint16_t type) {
        if (type != kVariant) return skipSimple(type);
        type = static_cast<std::uint16_t>(mReader.number<std::uint32_t>());
        if (type == kVariant) refuseType();
        skipSimple(type);
        // Small numbers have the room of large ones there, wherever they begin.
        const std::size_t size = sizeOfNumber(type);
        if (size != 0) mReader.skip(std::min(-size % kAlignment, mReader.remaining()));
    }

    void skipSimple(std::uint16_t type) {
        if (type == kEmpty || type == kNull) return;
        if (const std::size_t size = sizeOfNumber(type)) return mReader.skip(size);
        if (type == kVersionedStream) mReader.skip(sizeOfNumber(kClassId));
        const bool isCounted = type == kString || type == kNarrowText || type == kVersionedStream ||
                               (type >= kFirstCounted && type <= kLastCounted);
        if (!isCounted && type != kWideText) refuseType();
        const std::size_t count = mReader.number<std::uint32_t>();
        mReader.skip(type == kWideText ? count * sizeof(char16_t) : count);
        if (mPacking == Packing::Padded) pad();
    }

    // The last element may go without its padding.
    void pad() { mReader.skip(std::min(-mReader.position() % kAlignment, mReader.remaining())); }

    ByteReader mReader;
    Packing mPacking;
};

bool fits(const PropertyValue& value, Packing packing) {
    try {
        ValueSkipper(value.data, packing).skip(value.type);
        return true;
    } catch (const Error&) {
        return false;
    }
}

}  // namespace

bool isWholeValue(const PropertyValue& value) {
    return fits(value, Packing::Packed) || fits(value, Packing::Padded);
}

}  // namespace brindle::workbook::xls
