// SPDX-License-Identifier: MIT
#include "crypto/Rc4Encryption.h"

#include <cstdint>
#include <string>

#include "base/ByteReader.h"
#include "crypto/EncryptionHeader.h"

namespace brindle::crypto {

namespace {

constexpr std::size_t kFieldSize = 16;
constexpr std::size_t kSecretSize = 5;  // 40 bits, whatever the password
constexpr int kRepetitions = 16;

constexpr std::uint32_t kRc4 = 0x6801;
constexpr std::uint32_t kUsualKeyBits = 40;
constexpr std::uint32_t kMostKeyBits = 128;
constexpr std::size_t kFullKeySize = 16;

// Input and digest are encrypted in one piece, as the beginning of the first block.
bool fits(const Rc4Keys& keys, Hash hash, std::string_view input, std::string_view expected) {
    std::string bytes(input);
    bytes += expected;
    keys.apply(0, bytes);
    const std::string_view all = bytes;
    return isSame(digest(hash, {all.substr(0, input.size())}), all.substr(input.size()));
}

}  // namespace

std::optional<Rc4Keys> unlockRc4(std::string_view verifier, std::string_view password) {
    ByteReader reader(verifier);
    const std::string_view salt = reader.bytes(kFieldSize);
    const std::string_view input = reader.bytes(kFieldSize);
    const std::string_view expected = reader.bytes(kFieldSize);
    const std::string hash = digest(Hash::Md5, {passwordBytes(password)}).substr(0, kSecretSize);
    std::string repeated;
    for (int i = 0; i < kRepetitions; ++i) {
        repeated += hash;
        repeated += salt;
    }
    Rc4Keys keys(Hash::Md5, digest(Hash::Md5, {repeated}).substr(0, kSecretSize), kFullKeySize,
                 kFullKeySize);
    if (!fits(keys, Hash::Md5, input, expected)) return std::nullopt;
    return keys;
}

std::optional<Rc4Keys> unlockRc4CryptoApi(std::string_view description, std::string_view password) {
    const std::size_t hashSize = digestSize(Hash::Sha1);
    const EncryptionHeader header = EncryptionHeader::parse(description, hashSize);
    if (header.algorithm != 0 && header.algorithm != kRc4) {
        throw Error(ErrorKind::Unsupported, error_number::kApplicationDefined,
                    "The document is encrypted with an unknown cipher");
    }
    const std::uint32_t keyBits = header.keyBits == 0 ? kUsualKeyBits : header.keyBits;
    if (keyBits < kUsualKeyBits || keyBits > kMostKeyBits || keyBits % 8 != 0) {
        throw Error::damaged("The description of the encryption is broken");
    }
    const std::string_view verifier = description.substr(header.verifierAt);
    const std::string_view salt = verifier.substr(0, EncryptionHeader::kSaltSize);
    // The provider makes a full key of 40 bits, and of them only.
    const std::size_t used = keyBits / 8;
    Rc4Keys keys(Hash::Sha1, digest(Hash::Sha1, {salt, passwordBytes(password)}), used,
                 keyBits == kUsualKeyBits ? kFullKeySize : used);
    if (!fits(keys, Hash::Sha1,
              verifier.substr(EncryptionHeader::kInputAt, EncryptionHeader::kInputSize),
              verifier.substr(EncryptionHeader::kHashAt, hashSize))) {
        return std::nullopt;
    }
    return keys;
}

}  // namespace brindle::crypto
