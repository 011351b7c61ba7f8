// SPDX-License-Identifier: MIT
#include "crypto/StandardEncryption.h"

#include <cstdint>
#include <span>

#include "base/Error.h"
#include "base/LittleEndian.h"
#include "crypto/Cipher.h"
#include "crypto/Digest.h"
#include "crypto/Random.h"

namespace brindle::crypto {

namespace {

constexpr std::uint32_t kRounds = 50'000;
constexpr std::size_t kSaltSize = 16;
constexpr std::size_t kInputSize = 16;
constexpr std::size_t kStoredHashSize = 32;  // SHA-1, filled up to whole blocks

// Offsets in the header, behind its size.
constexpr std::size_t kHeader = 4;
constexpr std::size_t kAlgorithm = kHeader + 8;
constexpr std::size_t kHash = kHeader + 12;
constexpr std::size_t kKeyBits = kHeader + 16;
constexpr std::size_t kSmallestHeader = 32;

// Offsets in the verifier, from its salt on.
constexpr std::size_t kInputAt = kSaltSize;
constexpr std::size_t kHashSizeAt = kInputAt + kInputSize;
constexpr std::size_t kHashAt = kHashSizeAt + 4;
constexpr std::size_t kVerifierSize = kHashAt + kStoredHashSize;

constexpr std::uint32_t kSha1 = 0x8004;

struct AesRow {
    std::uint32_t id;
    std::uint32_t bits;
};
constexpr AesRow kAes[] = {{0x660E, 128}, {0x660F, 192}, {0x6610, 256}};

Error unsupported(const char* what) {
    return {ErrorKind::Unsupported, error_number::kApplicationDefined, what};
}

void cipherBlocks(std::string_view key, bool isEncrypting, std::string& bytes) {
    const Cipher cipher(Algorithm::Aes, key);
    isEncrypting ? cipher.encrypt(Mode::Ecb, {}, bytes) : cipher.decrypt(Mode::Ecb, {}, bytes);
}

}  // namespace

StandardEncryption::StandardEncryption(std::string bytes) : mBytes(std::move(bytes)) {
    const auto number = [this](std::size_t offset) {
        return getLittleEndian<std::uint32_t>(mBytes.data() + offset);
    };
    const Error broken = Error::damaged("The description of the encryption is broken");
    if (mBytes.size() < kHeader + kSmallestHeader) throw broken;
    const std::uint64_t headerSize = number(0);
    if (headerSize < kSmallestHeader || headerSize + kHeader + 4 + kVerifierSize > mBytes.size()) {
        throw broken;
    }
    mVerifierAt = kHeader + static_cast<std::size_t>(headerSize) + 4;
    if (number(mVerifierAt - 4) != kSaltSize) throw broken;

    const std::uint32_t algorithm = number(kAlgorithm) == 0 ? kAes[0].id : number(kAlgorithm);
    for (const AesRow& row : kAes) {
        if (row.id != algorithm) continue;
        if (number(kKeyBits) != 0 && number(kKeyBits) != row.bits) throw broken;
        mKeySize = row.bits / 8;
    }
    if (mKeySize == 0) throw unsupported("The document is encrypted with an unknown cipher");
    if (number(kHash) != 0 && number(kHash) != kSha1) {
        throw unsupported("The document is encrypted with an unknown hash");
    }
    if (number(mVerifierAt + kHashSizeAt) != digestSize(Hash::Sha1)) throw broken;
}

std::string StandardEncryption::field(std::size_t offset, std::size_t size) const {
    return mBytes.substr(mVerifierAt + offset, size);
}

std::string StandardEncryption::keyOf(std::string_view password) const {
    std::string hash = digest(Hash::Sha1, {field(0, kSaltSize), passwordBytes(password)});
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
    std::string input = field(kInputAt, kInputSize);
    std::string hash = field(kHashAt, kStoredHashSize);
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
    set(0, randomBytes(kSaltSize));
    const std::string key = keyOf(password);
    std::string input = randomBytes(kInputSize);
    std::string hash = digest(Hash::Sha1, {input});
    hash.resize(kStoredHashSize, '\0');
    cipherBlocks(key, true, input);
    cipherBlocks(key, true, hash);
    set(kInputAt, input);
    set(kHashAt, hash);
    return key;
}

}  // namespace brindle::crypto
