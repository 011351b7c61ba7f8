// SPDX-License-Identifier: MIT
#include "crypto/AgileEncryption.h"

#include <algorithm>

#include "base/Error.h"
#include "base/LittleEndian.h"
#include "crypto/Random.h"

namespace brindle::crypto {

namespace {

constexpr std::size_t kSegmentSize = 4096;

// What tells the keys and initialisation vectors of the fields apart.
constexpr std::string_view kVerifierInput("\xFE\xA7\xD2\x76\x3B\x4B\x9E\x79", 8);
constexpr std::string_view kVerifierHash("\xD7\xAA\x0F\x6D\x30\x61\x34\x4E", 8);
constexpr std::string_view kKeyValue("\x14\x6E\x0B\xE7\xAB\xAC\xD0\xD6", 8);
constexpr std::string_view kHmacKey("\x5F\xB2\xAD\x01\x0C\xB9\xE1\xF6", 8);
constexpr std::string_view kHmacValue("\xA0\x67\x7F\x02\xB2\x2C\x84\x33", 8);

std::string vectorOf(const CipherParameters& parameters, std::string_view what) {
    return fitted(digest(parameters.hash, {parameters.salt, what}),
                  blockSize(parameters.algorithm));
}

// `bytes` decrypted and cut to `size`.
std::string decrypted(const CipherParameters& parameters, std::string_view key,
                      std::string_view vector, std::string bytes, std::size_t size) {
    if (bytes.size() < size || bytes.size() % blockSize(parameters.algorithm) != 0) {
        throw Error::damaged("The description of the encryption is broken");
    }
    Cipher(parameters.algorithm, key).decrypt(parameters.mode, vector, bytes);
    bytes.resize(size);
    return bytes;
}

std::string encrypted(const CipherParameters& parameters, std::string_view key,
                      std::string_view vector, std::string bytes) {
    bytes.resize(parameters.wholeBlocks(bytes.size()), '\0');
    Cipher(parameters.algorithm, key).encrypt(parameters.mode, vector, bytes);
    return bytes;
}

// What the password makes: one key for each field of its key encryptor.
class PasswordKeys {
public:
    PasswordKeys(const PasswordKey& encryptor, std::string_view password)
        : mParameters(encryptor.parameters),
          mVector(fitted(mParameters.salt, blockSize(mParameters.algorithm))) {
        std::string start = digest(mParameters.hash, {mParameters.salt, passwordBytes(password)});
        mHash = digestRounds(mParameters.hash, std::move(start), encryptor.rounds,
                             RoundNumber::InFront);
    }

    std::string open(std::string_view field, const std::string& bytes, std::size_t size) const {
        return decrypted(mParameters, keyOf(field), mVector, bytes, size);
    }
    std::string close(std::string_view field, std::string bytes) const {
        return encrypted(mParameters, keyOf(field), mVector, std::move(bytes));
    }

private:
    std::string keyOf(std::string_view field) const {
        return fitted(digest(mParameters.hash, {mHash, field}), mParameters.keySize());
    }

    const CipherParameters& mParameters;
    std::string mVector;
    std::string mHash;
};

template <typename Step>
void forSegments(const CipherParameters& data, std::span<char> package, const Step& step) {
    for (std::size_t at = 0; at < package.size(); at += kSegmentSize) {
        const auto number = static_cast<std::uint32_t>(at / kSegmentSize);
        step(vectorOf(data, littleEndian(number)),
             package.subspan(at, std::min(kSegmentSize, package.size() - at)));
    }
}

}  // namespace

std::size_t CipherParameters::wholeBlocks(std::size_t size) const {
    const std::size_t block = blockSize(algorithm);
    return (size + block - 1) / block * block;
}

std::optional<std::string> unlock(const AgileEncryption& encryption, std::string_view password) {
    const PasswordKey& encryptor = encryption.password;
    const CipherParameters& parameters = encryptor.parameters;
    const PasswordKeys keys(encryptor, password);
    const std::string input =
        keys.open(kVerifierInput, encryptor.verifierInput, parameters.salt.size());
    const std::string hash =
        keys.open(kVerifierHash, encryptor.verifierHash, digestSize(parameters.hash));
    if (!isSame(digest(parameters.hash, {input}), hash)) return std::nullopt;
    return keys.open(kKeyValue, encryptor.key, encryption.data.keySize());
}

bool isIntact(const AgileEncryption& encryption, std::string_view dataKey,
              std::string_view stream) {
    if (!encryption.integrity) return true;
    const CipherParameters& data = encryption.data;
    const std::size_t size = digestSize(data.hash);
    const std::string key =
        decrypted(data, dataKey, vectorOf(data, kHmacKey), encryption.integrity->hmacKey, size);
    const std::string value =
        decrypted(data, dataKey, vectorOf(data, kHmacValue), encryption.integrity->hmacValue, size);
    return isSame(hmac(data.hash, key, {stream}), value);
}

void encryptSegments(const CipherParameters& data, std::string_view dataKey,
                     std::span<char> package) {
    const Cipher cipher(data.algorithm, dataKey);
    forSegments(data, package, [&](const std::string& vector, std::span<char> segment) {
        cipher.encrypt(data.mode, vector, segment);
    });
}

void decryptSegments(const CipherParameters& data, std::string_view dataKey,
                     std::span<char> package) {
    const Cipher cipher(data.algorithm, dataKey);
    forSegments(data, package, [&](const std::string& vector, std::span<char> segment) {
        cipher.decrypt(data.mode, vector, segment);
    });
}

void renew(AgileEncryption& encryption, std::string_view password, std::string_view dataKey) {
    encryption.data.salt = randomBytes(encryption.data.salt.size());
    PasswordKey& encryptor = encryption.password;
    CipherParameters& parameters = encryptor.parameters;
    parameters.salt = randomBytes(parameters.salt.size());
    const PasswordKeys keys(encryptor, password);
    const std::string input = randomBytes(parameters.salt.size());
    encryptor.verifierInput = keys.close(kVerifierInput, input);
    encryptor.verifierHash = keys.close(kVerifierHash, digest(parameters.hash, {input}));
    encryptor.key = keys.close(kKeyValue, std::string(dataKey));
}

void sealIntegrity(AgileEncryption& encryption, std::string_view dataKey, std::string_view stream) {
    if (!encryption.integrity) return;
    const CipherParameters& data = encryption.data;
    const std::string key = randomBytes(digestSize(data.hash));
    encryption.integrity->hmacKey = encrypted(data, dataKey, vectorOf(data, kHmacKey), key);
    encryption.integrity->hmacValue =
        encrypted(data, dataKey, vectorOf(data, kHmacValue), hmac(data.hash, key, {stream}));
}

}  // namespace brindle::crypto
