// SPDX-License-Identifier: MIT
#include "workbook/xls/properties/PropertyText.h"

#include <fmt/format.h>

#include <bit>
#include <charconv>
#include <cmath>
#include <cstddef>

#include "base/ByteReader.h"
#include "base/Error.h"
#include "base/LittleEndian.h"
#include "base/Text.h"
#include "workbook/NumberText.h"
#include "workbook/properties/PropertyDate.h"

namespace brindle::workbook::xls {

namespace {

using namespace property_type;

constexpr std::uint16_t kUtf16 = 1200;
constexpr const char* kDefaultCodePage = "1252";
constexpr std::uint64_t kFileTimesPerSecond = 10'000'000;
constexpr std::int64_t kSecondsFrom1601To1970 = 11'644'473'600;
constexpr double kFirstTrueDay = 61;  // the calendar of serial numbers has a 29 February 1900
constexpr const char* kUndecodable = "\uFFFD";

// A text ends at a byte 0, so that pages of wider units are none that a section can have.
bool isUsable(std::uint16_t number) {
    try {
        return CodePage(std::to_string(number)).encode("A").value_or("").size() == 1;
    } catch (const Error&) {
        return false;
    }
}

// --- numbers -------------------------------------------------------------------------------------

std::string floatText(float value) {
    if (!std::isfinite(value)) return numberText(value);
    char shortest[32];
    const auto end = std::to_chars(shortest, shortest + sizeof shortest, value).ptr;
    std::string text;
    appendNumberText(text, {shortest, static_cast<std::size_t>(end - shortest)});
    return text;
}

std::string currencyText(std::int64_t value) {
    const auto bits = static_cast<std::uint64_t>(value);
    const std::uint64_t size = value < 0 ? 0 - bits : bits;
    std::string text = fmt::format("{}{}.{:04}", value < 0 ? "-" : "", size / 10000, size % 10000);
    text.erase(text.find_last_not_of('0') + 1);
    if (text.back() == '.') text.pop_back();
    return text;
}

std::string decimalText(ByteReader& data) {
    data.skip(2);
    const int scale = data.number<std::uint8_t>();
    const bool isNegative = data.number<std::uint8_t>() != 0;
    const double high = data.number<std::uint32_t>();
    const double size = std::ldexp(high, 64) + static_cast<double>(data.number<std::uint64_t>());
    return numberText((isNegative ? -size : size) / std::pow(10, scale));
}

std::string dateTextOf(double serial) {
    return serial < kFirstTrueDay ? numberText(serial)
                                  : dateText(serial, NumberFormatKind::Date, false);
}

std::string fileTimeText(std::uint64_t fileTime) {
    const auto seconds = static_cast<std::int64_t>(fileTime / kFileTimesPerSecond);
    return propertyDateText(seconds - kSecondsFrom1601To1970).value_or("");
}

double doubleOf(ByteReader& data) {
    return std::bit_cast<double>(data.number<std::uint64_t>());
}

std::string numberTextOf(std::uint16_t type, ByteReader data) {
    switch (type) {
        case kInt8:
            return std::to_string(data.number<std::int8_t>());
        case kUint8:
            return std::to_string(data.number<std::uint8_t>());
        case kInt16:
            return std::to_string(data.number<std::int16_t>());
        case kUint16:
            return std::to_string(data.number<std::uint16_t>());
        case kInt32:
        case kInt:
            return std::to_string(data.number<std::int32_t>());
        case kUint32:
        case kUint:
            return std::to_string(data.number<std::uint32_t>());
        case kInt64:
            return std::to_string(data.number<std::int64_t>());
        case kUint64:
            return std::to_string(data.number<std::uint64_t>());
        case kFloat:
            return floatText(std::bit_cast<float>(data.number<std::uint32_t>()));
        case kDouble:
            return numberText(doubleOf(data));
        case kCurrency:
            return currencyText(data.number<std::int64_t>());
        case kDecimal:
            return decimalText(data);
        case kDate:
            return dateTextOf(doubleOf(data));
        case kFileTime:
            return fileTimeText(data.number<std::uint64_t>());
        case kBool:
            return data.number<std::uint16_t>() != 0 ? "True" : "False";
        case kError:
            return fmt::format("0x{:08X}", data.number<std::uint32_t>());
        default:
            return {};
    }
}

// --- strings -------------------------------------------------------------------------------------

bool isString(std::uint16_t type) {
    return type == kString || type == kNarrowText || type == kWideText;
}

// How the characters of a string are counted and made up.
struct Layout {
    bool isWide = false;
    std::size_t bytesPerCount = 1;
};

constexpr Layout kBlobLayout = {true, 1};

Layout layoutOf(std::uint16_t type, bool isPageWide) {
    return type == kWideText ? Layout{true, sizeof(char16_t)} : Layout{isPageWide, 1};
}

struct Characters {
    std::string_view text;  // before the first NUL
    std::string_view tail;  // from there on
};

Characters charactersOf(const PropertyValue& value, const Layout& layout) {
    ByteReader data(value.data);
    const std::size_t count = data.number<std::uint32_t>();
    const std::string_view all = data.bytes(count * layout.bytesPerCount);
    const std::size_t unit = layout.isWide ? sizeof(char16_t) : 1;
    std::size_t end = 0;
    while (all.size() - end >= unit && (all[end] != 0 || all[end + unit - 1] != 0)) end += unit;
    return {all.substr(0, end), all.substr(end)};
}

std::string decodeWide(std::string_view characters) {
    std::u16string units;
    for (ByteReader data(characters); data.remaining() >= sizeof(char16_t);) {
        units += data.number<char16_t>();
    }
    return text::fromUtf16(units);
}

std::string encodeWide(std::string_view text) {
    std::string bytes;
    for (const char16_t unit : text::toUtf16(text)) bytes += littleEndian(unit);
    return bytes;
}

std::string typed(std::uint16_t type, std::string_view data) {
    return littleEndian(std::uint32_t{type}).append(data);
}

// A text gets a NUL behind it unless it had none before.
std::string counted(std::string_view characters, const Characters& old, const Layout& layout) {
    std::string bytes(characters);
    bytes += old.tail;
    if (old.text.empty() && old.tail.empty()) bytes.append(layout.isWide ? 2 : 1, '\0');
    const std::size_t count = bytes.size() / layout.bytesPerCount;
    return littleEndian(static_cast<std::uint32_t>(count)) + bytes;
}

void checkCharacters(std::string_view text) {
    if (text.find('\0') == std::string_view::npos) return;
    throw Error::refused("The text has a character that a document property cannot hold");
}

}  // namespace

PropertyText::PropertyText(std::uint16_t codePage)
    : mCodePage(kDefaultCodePage),
      mIsWide(codePage == kUtf16),
      mIsKnown(codePage == 0 || mIsWide || isUsable(codePage)) {
    if (mIsKnown && codePage != 0) mCodePage = CodePage(std::to_string(codePage));
}

std::string PropertyText::text(const PropertyValue& value) const {
    if (isString(value.type)) {
        const Layout layout = layoutOf(value.type, mIsWide);
        const std::string_view characters = charactersOf(value, layout).text;
        return layout.isWide ? decodeWide(characters) : mCodePage.decode(characters);
    }
    if (value.type != kVariant) return numberTextOf(value.type, ByteReader(value.data));
    ByteReader data(value.data);
    PropertyValue inner;
    inner.type = static_cast<std::uint16_t>(data.number<std::uint32_t>());
    inner.data = data.rest();
    return inner.type == kVariant ? std::string() : text(inner);
}

std::string PropertyText::decode(std::string_view characters) const {
    return mIsWide ? decodeWide(characters) : mCodePage.decode(characters);
}

std::string PropertyText::stored(std::string_view text, const PropertyValue& old) const {
    checkCharacters(text);
    std::uint16_t type = old.type;
    Characters replaced;
    if (isString(type)) {
        const Layout layout = layoutOf(type, mIsWide);
        replaced = charactersOf(old, layout);
        if (!layout.isWide) checkNothingIsLost(replaced.text);
    } else {
        type = mIsWide ? kWideText : kNarrowText;
    }
    const Layout layout = layoutOf(type, mIsWide);
    const auto bytes = layout.isWide ? std::optional(encodeWide(text)) : mCodePage.encode(text);
    if (bytes) return typed(type, counted(*bytes, replaced, layout));
    return typed(kWideText, counted(encodeWide(text), {}, layoutOf(kWideText, mIsWide)));
}

void PropertyText::checkNothingIsLost(std::string_view characters) const {
    const std::string text = mCodePage.decode(characters);
    if (text.find(kUndecodable) == std::string::npos) return;
    if (mCodePage.encode(text) == characters) return;
    throw Error::refused("The text has bytes that are no characters of its code page");
}

std::string blobText(const PropertyValue& value) {
    return decodeWide(charactersOf(value, kBlobLayout).text);
}

std::string storedBlob(std::string_view text, const PropertyValue& old) {
    checkCharacters(text);
    return typed(kBlob, counted(encodeWide(text), charactersOf(old, kBlobLayout), kBlobLayout));
}

std::string storedFileTime(std::time_t moment) {
    const auto seconds = static_cast<std::uint64_t>(moment + kSecondsFrom1601To1970);
    return typed(kFileTime, littleEndian(seconds * kFileTimesPerSecond));
}

}  // namespace brindle::workbook::xls
