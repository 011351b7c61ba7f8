// SPDX-License-Identifier: MIT
#include "workbook/xls/encryption/EncryptedProperties.h"

#include <algorithm>
#include <utility>

#include "base/ByteReader.h"
#include "base/Error.h"
#include "base/LittleEndian.h"
#include "base/Text.h"

namespace brindle::workbook::xls {

namespace {

constexpr std::size_t kHeaderSize = 8;  // offset and size of the directory
constexpr std::uint32_t kDirectoryBlock = 0;

std::string utf8(std::string_view utf16) {
    std::u16string units;
    for (ByteReader reader(utf16); reader.remaining() >= 2;) {
        units += static_cast<char16_t>(reader.number<std::uint16_t>());
    }
    return text::fromUtf16(units);
}

}  // namespace

EncryptedProperties::EncryptedProperties(std::string bytes, crypto::Rc4Keys keys)
    : mBytes(std::move(bytes)), mKeys(std::move(keys)) {
    readDirectory();
    requireDisjoint();
}

std::string EncryptedProperties::decrypted(std::uint32_t block, const Piece& piece) const {
    if (piece.offset > mBytes.size() || piece.size > mBytes.size() - piece.offset) {
        throw Error::damaged("An encrypted property set is not in its stream");
    }
    std::string plain = mBytes.substr(piece.offset, piece.size);
    mKeys.apply(block, plain);
    return plain;
}

void EncryptedProperties::readDirectory() {
    const std::string header = decrypted(kDirectoryBlock, {0, kHeaderSize});
    mDirectory.offset = getLittleEndian<std::uint32_t>(header.data());
    // The stored size may count the number of entries in or not; the entries tell it as well.
    mDirectory.size = mBytes.size() - std::min(mDirectory.offset, mBytes.size());
    const std::string directory = decrypted(kDirectoryBlock, mDirectory);
    ByteReader reader(directory);
    for (auto count = reader.number<std::uint32_t>(); count > 0; --count) {
        Stream& stream = mStreams.emplace_back();
        stream.descriptor = reader.position();
        stream.piece.offset = reader.number<std::uint32_t>();
        stream.piece.size = reader.number<std::uint32_t>();
        stream.block = reader.number<std::uint16_t>();
        const std::size_t length = reader.number<std::uint8_t>();
        reader.skip(1 + 4);  // flags; reserved, and not always 0
        stream.name = utf8(reader.bytes(2 * length));
        reader.skip(2);  // what ends the name
    }
    mDirectory.size = reader.position();
}

void EncryptedProperties::writeDirectory() {
    std::string directory = decrypted(kDirectoryBlock, mDirectory);
    for (const Stream& stream : mStreams) {
        char* const at = directory.data() + stream.descriptor;
        putLittleEndian(at, static_cast<std::uint32_t>(stream.piece.offset));
        putLittleEndian(at + 4, static_cast<std::uint32_t>(stream.piece.size));
    }
    mKeys.apply(kDirectoryBlock, directory);
    mBytes.replace(mDirectory.offset, directory.size(), directory);
    std::string header = decrypted(kDirectoryBlock, {0, kHeaderSize});
    putLittleEndian(header.data(), static_cast<std::uint32_t>(mDirectory.offset));
    mKeys.apply(kDirectoryBlock, header);
    mBytes.replace(0, header.size(), header);
}

void EncryptedProperties::requireDisjoint() const {
    std::vector<Piece> pieces = {{0, kHeaderSize}, mDirectory};
    for (const Stream& stream : mStreams) pieces.push_back(stream.piece);
    std::sort(pieces.begin(), pieces.end(), [](const Piece& a, const Piece& b) {
        return std::pair(a.offset, a.size) < std::pair(b.offset, b.size);
    });
    std::size_t end = 0;
    for (const Piece& piece : pieces) {
        if (piece.offset < end || piece.end() > mBytes.size()) {
            throw Error::damaged("Encrypted property sets overlap or reach out of their stream");
        }
        end = piece.end();
    }
}

const EncryptedProperties::Stream* EncryptedProperties::find(std::string_view name) const {
    const auto stream = std::find_if(mStreams.begin(), mStreams.end(),
                                     [name](const Stream& each) { return each.name == name; });
    return stream == mStreams.end() ? nullptr : &*stream;
}

std::optional<std::string> EncryptedProperties::read(std::string_view name) const {
    const Stream* const stream = find(name);
    if (!stream) return std::nullopt;
    return decrypted(stream->block, stream->piece);
}

void EncryptedProperties::replace(std::string_view name, std::string content) {
    const Stream* const changed = find(name);
    if (!changed) {
        throw Error(ErrorKind::NotFound, error_number::kApplicationDefined,
                    "The workbook has no such property set");
    }
    const Piece old = changed->piece;
    mKeys.apply(changed->block, content);
    mBytes.replace(old.offset, old.size, content);
    const auto move = [&](Piece& piece) {
        if (piece.offset >= old.end()) piece.offset += content.size() - old.size;
    };
    for (Stream& stream : mStreams) {
        if (&stream == changed) {
            stream.piece.size = content.size();
        } else {
            move(stream.piece);
        }
    }
    move(mDirectory);
    writeDirectory();
}

}  // namespace brindle::workbook::xls
