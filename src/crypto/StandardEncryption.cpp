// SPDX-License-Identifier: MIT
#include "crypto/StandardEncryption.h"

#include <cstdint>
#include <span>

#include "base/Error.h"
#include "base/LittleEndian.h"
#include "crypto/Cipher.h"
#include "crypto/Digest.h"
#include "crypto/EncryptionHeader.h"
#include "crypto/Random.h"

namespace brindle::crypto {

namespace {

constexpr std::uint32_t kRounds = 50'000;
constexpr std::size_t kStoredHashSize = 32;  // SHA-1, filled up to whole blocks

struct AesRow {
    std::uint32_t id;
    std::uint32_t bits;
};
constexpr AesRow kAes[] = {{0x660E, 128}, {0x660F, 192}, {0x6610, 256}};

void cipherBlocks(std::string_view key, bool isEncrypting, std::string& bytes) {
    const Cipher cipher(Algorithm::Aes, key);
    isEncrypting ? cipher.encrypt(Mode::Ecb, {}, bytes) : cipher.decrypt(Mode::Ecb, {}, bytes);
}

}  // namespace

StandardEncryption::StandardEncryption(std::string bytes) : mBytes(std::move(bytes)) {
    const EncryptionHeader header = EncryptionHeader::parse(mBytes, kStoredHashSize);
    mVerifierAt = header.verifierAt;
    const std::uint32_t algorithm = header.algorithm == 0 ? kAes[0].id : header.algorithm;
    for (const AesRow& row : kAes) {
        if (row.id != algorithm) continue;
        if (header.keyBits != 0 && header.keyBits != row.bits) {
            throw Error::damaged("The description of the encryption is broken");
        }
        mKeySize = row.bits / 8;
    }
    if (mKeySize == 0) {
        throw Error(ErrorKind::Unsupported, error_number::kApplicationDefined,
                    "The document is encrypted with an unknown cipher");
    }
}

std::string StandardEncryption::field(std::size_t offset, std::size_t size) const {
    return mBytes.substr(mVerifierAt + offset, size);
}

std::string StandardEncryption::keyOf(std::string_view password) const {
    std::string hash =
        digest(Hash::Sha1, {field(0, EncryptionHeader::kSaltSize), passwordBytes(password)});
    hash = digestRounds(Hash::Sha1, std::move(hash), kRounds, RoundNumber::InFront);
    hash = digest(Hash::Sha1, {hash, littleEndian(std::uint32_t{0})});
    std::string key;
    for (const char filling : {'\x36', '\x5C'}) {
        std::string block(64, filling);
        for (std::size_t i = 0; i < hash.size(); ++i)
            block[i] = static_cast<char>(block[i] ^ hash[i]);
        key += digest(Hash::Sha1, {block});
    }
    key.resize(mKeySize);
    return key;
}

std::optional<std::string> StandardEncryption::unlock(std::string_view password) const {
    const std::string key = keyOf(password);
    std::string input = field(EncryptionHeader::kInputAt, EncryptionHeader::kInputSize);
    std::string hash = field(EncryptionHeader::kHashAt, kStoredHashSize);
    cipherBlocks(key, false, input);
    cipherBlocks(key, false, hash);
    hash.resize(digestSize(Hash::Sha1));
    if (!isSame(digest(Hash::Sha1, {input}), hash)) return std::nullopt;
    return key;
}

std::string StandardEncryption::renew(std::string_view password) {
    const auto set = [this](std::size_t offset, const std::string& bytes) {
        mBytes.replace(mVerifierAt + offset, bytes.size(), bytes);
    };
    set(0, randomBytes(EncryptionHeader::kSaltSize));
    const std::string key = keyOf(password);
    std::string input = randomBytes(EncryptionHeader::kInputSize);
    std::string hash = digest(Hash::Sha1, {input});
    hash.resize(kStoredHashSize, '\0');
    cipherBlocks(key, true, input);
    cipherBlocks(key, true, hash);
    set(EncryptionHeader::kInputAt, input);
    set(EncryptionHeader::kHashAt, hash);
    return key;
}

}  // namespace brindle::crypto
