// SPDX-License-Identifier: MIT
#include "project/PropertyBag.h"

#include <charconv>
#include <limits>

#include "base/Error.h"
#include "base/Text.h"

namespace brindle {

namespace {

constexpr std::string_view kMagic{"BPB\x01", 4};
// Far beyond any project; keeps a foreign file from claiming minutes and the memory of the machine.
constexpr std::uint32_t kMostValues = 1U << 20;

// As they stand in the bytes; the order is that of the variant in PropertyValue.
enum Type : std::uint8_t { kEmpty, kText, kInt16, kInt32, kBoolean, kBytes };

[[noreturn]] void throwTypeMismatch() {
    throw Error(ErrorKind::Argument, error_number::kTypeMismatch, "Type mismatch");
}

[[noreturn]] void throwOverflow() {
    throw Error(ErrorKind::TooLarge, error_number::kOverflow, "Overflow");
}

std::int32_t numberIn(std::string_view text) {
    text = text::trimBlanks(text);
    std::int32_t number = 0;
    const char* end = text.data() + text.size();
    const auto [stop, failure] = std::from_chars(text.data(), end, number);
    if (failure == std::errc::result_out_of_range) throwOverflow();
    if (failure != std::errc() || stop != end) throwTypeMismatch();
    return number;
}

bool booleanIn(std::string_view text) {
    const std::string word = text::lowerAscii(text::trimBlanks(text));
    if (word == "true" || word == "false") return word == "true";
    return numberIn(word) != 0;
}

// One function for each type that a value may have.
struct AsText {
    std::string operator()(std::monostate) const { return {}; }
    std::string operator()(const std::string& text) const { return text; }
    std::string operator()(std::int32_t number) const { return std::to_string(number); }
    std::string operator()(bool flag) const { return flag ? "True" : "False"; }
    std::string operator()(const PropertyValue::Bytes&) const { throwTypeMismatch(); }
};

struct AsNumber {
    std::int32_t operator()(std::monostate) const { return 0; }
    std::int32_t operator()(const std::string& text) const { return numberIn(text); }
    std::int32_t operator()(std::int32_t number) const { return number; }
    std::int32_t operator()(bool flag) const { return flag ? -1 : 0; }
    std::int32_t operator()(const PropertyValue::Bytes&) const { throwTypeMismatch(); }
};

struct AsBoolean {
    bool operator()(std::monostate) const { return false; }
    bool operator()(const std::string& text) const { return booleanIn(text); }
    bool operator()(std::int32_t number) const { return number != 0; }
    bool operator()(bool flag) const { return flag; }
    bool operator()(const PropertyValue::Bytes&) const { throwTypeMismatch(); }
};

}  // namespace

class BagWriter {
public:
    void magic() { raw(std::as_bytes(std::span(kMagic))); }
    void name(const std::string& name) {
        number<std::uint16_t>(name.size());
        raw(std::as_bytes(std::span(name)));
    }
    void value(const PropertyValue& value) {
        number<std::uint8_t>(value.mValue.index());
        std::visit(*this, value.mValue);
    }
    template <typename Number, typename From>
    void number(From value) {
        auto bits = static_cast<std::make_unsigned_t<Number>>(value);
        for (std::size_t i = 0; i < sizeof(Number); ++i) {
            mBytes.push_back(static_cast<std::byte>(bits & 0xFF));
            bits = static_cast<decltype(bits)>(std::uint64_t{bits} >> 8);
        }
    }
    PropertyValue::Bytes take() { return std::move(mBytes); }

    void operator()(std::monostate) {}
    void operator()(const std::string& text) { counted(std::as_bytes(std::span(text))); }
    void operator()(std::int16_t value) { number<std::int16_t>(value); }
    void operator()(std::int32_t value) { number<std::int32_t>(value); }
    void operator()(bool flag) { number<std::uint8_t>(flag); }
    void operator()(const PropertyValue::Bytes& bytes) { counted(bytes); }

private:
    void raw(std::span<const std::byte> bytes) {
        mBytes.insert(mBytes.end(), bytes.begin(), bytes.end());
    }
    void counted(std::span<const std::byte> bytes) {
        if (bytes.size() > std::numeric_limits<std::uint32_t>::max()) throwOverflow();
        number<std::uint32_t>(bytes.size());
        raw(bytes);
    }

    PropertyValue::Bytes mBytes;
};

namespace {

class BagReader {
public:
    explicit BagReader(std::span<const std::byte> bytes) : mBytes(bytes) {}

    void magic() {
        if (text(kMagic.size()) != kMagic) fail();
    }
    std::string name() { return text(number<std::uint16_t>()); }
    PropertyValue value() {
        switch (number<std::uint8_t>()) {
            case kEmpty:
                return {};
            case kText:
                return text(number<std::uint32_t>());
            case kInt16:
                return static_cast<std::int16_t>(number<std::uint16_t>());
            case kInt32:
                return static_cast<std::int32_t>(number<std::uint32_t>());
            case kBoolean:
                return flag();
            case kBytes:
                return bytes(number<std::uint32_t>());
            default:
                fail();
        }
    }
    template <typename Number>
    Number number() {
        std::uint64_t value = 0;
        const std::span<const std::byte> raw = next(sizeof(Number));
        for (std::size_t i = 0; i < raw.size(); ++i)
            value |= std::to_integer<std::uint64_t>(raw[i]) << (8 * i);
        return static_cast<Number>(value);
    }
    void end() const {
        if (mPosition != mBytes.size()) fail();
    }

    [[noreturn]] void fail() const {
        throw Error(ErrorKind::Damaged, error_number::kInvalidFileFormat, "Invalid file format")
            .atOffset(mPosition);
    }

private:
    std::span<const std::byte> next(std::size_t length) {
        if (length > mBytes.size() - mPosition) fail();
        const std::span<const std::byte> part = mBytes.subspan(mPosition, length);
        mPosition += length;
        return part;
    }
    bool flag() {
        const auto value = number<std::uint8_t>();
        if (value > 1) fail();
        return value == 1;
    }
    PropertyValue::Bytes bytes(std::size_t length) {
        const std::span<const std::byte> part = next(length);
        return {part.begin(), part.end()};
    }
    std::string text(std::size_t length) {
        std::string text;
        for (const std::byte b : next(length)) text += static_cast<char>(b);
        return text;
    }

    std::span<const std::byte> mBytes;
    std::size_t mPosition = 0;
};

}  // namespace

std::string PropertyValue::toText() const {
    return std::visit(AsText{}, mValue);
}

std::int32_t PropertyValue::toInt32() const {
    return std::visit(AsNumber{}, mValue);
}

std::int16_t PropertyValue::toInt16() const {
    const std::int32_t number = toInt32();
    const auto narrow = static_cast<std::int16_t>(number);
    if (narrow != number) throwOverflow();
    return narrow;
}

bool PropertyValue::toBoolean() const {
    return std::visit(AsBoolean{}, mValue);
}

const PropertyValue::Bytes& PropertyValue::toBytes() const {
    static const Bytes kNone;
    if (isEmpty()) return kNone;
    const Bytes* bytes = std::get_if<Bytes>(&mValue);
    if (bytes == nullptr) throwTypeMismatch();
    return *bytes;
}

void PropertyBag::WriteProperty(const std::string& name, PropertyValue value) {
    if (name.size() > std::numeric_limits<std::uint16_t>::max())
        throw Error(ErrorKind::Argument, error_number::kInvalidArgument,
                    "Invalid procedure call or argument");
    const auto [row, isNew] = mPositions.try_emplace(name, mValues.size());
    if (isNew)
        mValues.emplace_back(name, std::move(value));
    else
        mValues[row->second].second = std::move(value);
}

const PropertyValue& PropertyBag::ReadProperty(const std::string& name) const {
    static const PropertyValue kAbsent;
    const auto row = mPositions.find(name);
    return row == mPositions.end() ? kAbsent : mValues[row->second].second;
}

PropertyValue::Bytes PropertyBag::Contents() const {
    BagWriter writer;
    writer.magic();
    writer.number<std::uint32_t>(mValues.size());
    for (const auto& [name, value] : mValues) {
        writer.name(name);
        writer.value(value);
    }
    return writer.take();
}

void PropertyBag::Contents(std::span<const std::byte> bytes) {
    BagReader reader(bytes);
    reader.magic();
    const auto count = reader.number<std::uint32_t>();
    if (count > kMostValues) reader.fail();
    PropertyBag read;
    for (std::uint32_t i = 0; i < count; ++i) {
        const std::string name = reader.name();
        if (read.mPositions.count(name) != 0) reader.fail();
        read.WriteProperty(name, reader.value());
    }
    reader.end();
    *this = std::move(read);
}

}  // namespace brindle
