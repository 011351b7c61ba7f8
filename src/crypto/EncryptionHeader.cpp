// SPDX-License-Identifier: MIT
#include "crypto/EncryptionHeader.h"

#include "base/Error.h"
#include "base/LittleEndian.h"
#include "crypto/Digest.h"

namespace brindle::crypto {

namespace {

// Offsets in the header, behind its size.
constexpr std::size_t kHeader = 4;
constexpr std::size_t kAlgorithm = kHeader + 8;
constexpr std::size_t kHash = kHeader + 12;
constexpr std::size_t kKeyBits = kHeader + 16;
constexpr std::size_t kSmallestHeader = 32;

constexpr std::uint32_t kSha1 = 0x8004;

}  // namespace

EncryptionHeader EncryptionHeader::parse(std::string_view bytes, std::size_t storedHashSize) {
    const auto number = [bytes](std::size_t offset) {
        return getLittleEndian<std::uint32_t>(bytes.data() + offset);
    };
    const Error broken = Error::damaged("The description of the encryption is broken");
    if (bytes.size() < kHeader + kSmallestHeader) throw broken;
    const std::uint64_t headerSize = number(0);
    const std::uint64_t verifierSize = kHashAt + storedHashSize;
    if (headerSize < kSmallestHeader || kHeader + headerSize + 4 + verifierSize > bytes.size()) {
        throw broken;
    }
    EncryptionHeader header;
    header.algorithm = number(kAlgorithm);
    header.keyBits = number(kKeyBits);
    header.verifierAt = kHeader + static_cast<std::size_t>(headerSize) + 4;
    if (number(header.verifierAt - 4) != kSaltSize) throw broken;
    if (number(kHash) != 0 && number(kHash) != kSha1) {
        throw Error(ErrorKind::Unsupported, error_number::kApplicationDefined,
                    "The document is encrypted with an unknown hash");
    }
    if (number(header.verifierAt + kHashSizeAt) != digestSize(Hash::Sha1)) throw broken;
    return header;
}

}  // namespace brindle::crypto
