// SPDX-License-Identifier: MIT
#include "workbook/xls/biff/StringCodec.h"

#include <algorithm>

#include "base/Text.h"

namespace brindle::workbook::xls {

namespace {

constexpr unsigned char kWideFlag = 0x01;

void checkCount(std::size_t count, std::size_t limit) {
    if (count > limit) {
        throw Error::refused("The text is longer than " + std::to_string(limit) + " characters");
    }
}

}  // namespace

StringCodec::StringCodec(Version version, const std::string& codePage)
    : mVersion(version), mCodePage(version == Version::Biff8 ? "UTF-16LE" : codePage) {}

std::string StringCodec::readShort(ByteReader& bytes) const {
    const auto count = bytes.number<std::uint8_t>();
    return readCharacters(bytes, count);
}

std::string StringCodec::readLong(ByteReader& bytes) const {
    const auto count = bytes.number<std::uint16_t>();
    return readCharacters(bytes, count);
}

std::string StringCodec::readCharacters(ByteReader& bytes, std::size_t count) const {
    if (mVersion != Version::Biff8) return decode(bytes.bytes(count), false);
    if (count == 0 && bytes.remaining() == 0) return {};  // some leave the flags out
    const bool isWide = (bytes.number<std::uint8_t>() & kWideFlag) != 0;
    return decode(bytes.bytes(isWide ? count * 2 : count), isWide);
}

std::string StringCodec::decode(std::string_view characters, bool isWide) const {
    if (mVersion != Version::Biff8) return mCodePage.decode(characters);
    std::string utf8;
    if (!isWide) {
        utf8.reserve(characters.size());
        for (const char c : characters) text::appendUtf8(utf8, static_cast<unsigned char>(c));
        return utf8;
    }
    std::u16string units(characters.size() / 2, u'\0');
    for (std::size_t i = 0; i < units.size(); ++i) {
        units[i] = getLittleEndian<std::uint16_t>(characters.data() + 2 * i);
    }
    return text::fromUtf16(units);
}

StringCodec::Characters StringCodec::encode(std::string_view utf8) const {
    Characters characters;
    if (mVersion != Version::Biff8) {
        auto bytes = mCodePage.encode(utf8);
        if (!bytes) {
            throw Error::refused("A character has no place in the workbook's code page");
        }
        characters.bytes = std::move(*bytes);
        characters.count = characters.bytes.size();
        return characters;
    }
    const std::u16string units = text::toUtf16(utf8);
    characters.count = units.size();
    characters.isWide =
        std::any_of(units.begin(), units.end(), [](char16_t unit) { return unit > 0xFF; });
    for (const char16_t unit : units) {
        characters.bytes += static_cast<char>(unit & 0xFF);
        if (characters.isWide) characters.bytes += static_cast<char>(unit >> 8);
    }
    return characters;
}

void StringCodec::append(std::string& out, const Characters& characters) const {
    if (mVersion == Version::Biff8) out += static_cast<char>(characters.isWide ? kWideFlag : 0);
    out += characters.bytes;
}

void StringCodec::appendShort(std::string& out, std::string_view utf8, std::size_t limit) const {
    const Characters characters = encode(utf8);
    checkCount(characters.count, std::min<std::size_t>(limit, 0xFF));
    out += static_cast<char>(characters.count);
    append(out, characters);
}

void StringCodec::appendLong(std::string& out, std::string_view utf8, std::size_t limit) const {
    const Characters characters = encode(utf8);
    checkCount(characters.count, std::min<std::size_t>(limit, 0xFFFF));
    out += littleEndian(static_cast<std::uint16_t>(characters.count));
    append(out, characters);
}

}  // namespace brindle::workbook::xls
