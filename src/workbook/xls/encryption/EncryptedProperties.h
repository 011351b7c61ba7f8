// SPDX-License-Identifier: MIT
// The stream "encryption" of a workbook under RC4 CryptoAPI: the streams of the property sets,
// encrypted, and a directory of them. [MS-OFFCRYPTO] 2.3.5.4. The eight bytes in front, which tell
// where the directory is, are encrypted with the key of block 0, and so is the directory, each
// from its own beginning.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "crypto/Rc4Keys.h"

namespace brindle::workbook::xls {

class EncryptedProperties {
public:
    // `keys` are those of StreamCipher::propertyKeys(). Throws Error (Damaged) for streams that
    // reach out of the bytes or into each other.
    EncryptedProperties(std::string bytes, crypto::Rc4Keys keys);

    // By the name of the stream, in UTF-8 and as it is stored ("\5SummaryInformation"). Nothing
    // for one that is not there.
    std::optional<std::string> read(std::string_view name) const;
    // Gives a stream another content; everything else keeps its bytes, but for the offsets in the
    // directory. Throws Error (NotFound).
    void replace(std::string_view name, std::string content);

    // The whole stream "encryption".
    const std::string& bytes() const { return mBytes; }

private:
    struct Piece {
        std::size_t offset = 0;
        std::size_t size = 0;
        std::size_t end() const { return offset + size; }
    };
    struct Stream {
        std::string name;
        std::uint32_t block = 0;     // whose key it is encrypted with
        std::size_t descriptor = 0;  // where its offset stands in the directory
        Piece piece;
    };

    void readDirectory();
    void writeDirectory();
    void requireDisjoint() const;
    const Stream* find(std::string_view name) const;
    std::string decrypted(std::uint32_t block, const Piece& piece) const;

    std::string mBytes;
    crypto::Rc4Keys mKeys;
    Piece mDirectory;
    std::vector<Stream> mStreams;
};

}  // namespace brindle::workbook::xls
