// SPDX-License-Identifier: MIT
#include "workbook/package/EncryptionInfo.h"

#include <cstdint>

#include "base/Error.h"
#include "base/LittleEndian.h"
#include "crypto/Cipher.h"
#include "crypto/Random.h"
#include "crypto/StandardEncryption.h"
#include "workbook/package/AgileDescriptor.h"

namespace brindle::workbook::package {

namespace {

constexpr std::size_t kVersionSize = 8;  // major, minor, flags
constexpr std::uint32_t kExternalFlag = 0x10;
// A description holds a few keys and certificates.
constexpr std::size_t kLargestStream = 4u << 20;

[[noreturn]] void failSize() {
    throw Error::damaged("The encrypted package is shorter than the package in it");
}

// The size of the package in `stream`, which holds it filled up to blocks of `block` bytes.
std::size_t packageSize(std::span<char> stream, std::size_t block) {
    if (stream.size() < EncryptionInfo::kSizeField) failSize();
    const auto size = getLittleEndian<std::uint64_t>(stream.data());
    const std::uint64_t there = (stream.size() - EncryptionInfo::kSizeField) / block * block;
    if (size > there) failSize();
    return static_cast<std::size_t>(size);
}

// Fills the package in `stream` up and notes its size; returns the filled part.
std::span<char> filledUp(std::string& stream, std::size_t block) {
    const std::size_t size = stream.size() - EncryptionInfo::kSizeField;
    putLittleEndian(stream.data(), std::uint64_t{size});
    const std::size_t whole = (size + block - 1) / block * block;
    stream.resize(EncryptionInfo::kSizeField + whole);
    return std::span(stream).subspan(EncryptionInfo::kSizeField);
}

class StandardInfo final : public EncryptionInfo {
public:
    explicit StandardInfo(std::string stream)
        : mVersion(stream.substr(0, kVersionSize)), mEncryption(stream.substr(kVersionSize)) {}

    std::optional<std::string> unlock(std::string_view password) const override {
        return mEncryption.unlock(password);
    }

    std::string_view decrypt(std::string_view key, std::span<char> stream) const override {
        const std::size_t block = crypto::blockSize(crypto::Algorithm::Aes);
        const std::size_t size = packageSize(stream, block);
        const auto package = stream.subspan(kSizeField, (size + block - 1) / block * block);
        crypto::Cipher(crypto::Algorithm::Aes, key).decrypt(crypto::Mode::Ecb, {}, package);
        return {package.data(), size};
    }

    std::string encrypt(std::string_view password, std::string_view /*oldKey*/,
                        std::string& stream) const override {
        crypto::StandardEncryption fresh = mEncryption;
        const std::string key = fresh.renew(password);
        const auto package = filledUp(stream, crypto::blockSize(crypto::Algorithm::Aes));
        crypto::Cipher(crypto::Algorithm::Aes, key).encrypt(crypto::Mode::Ecb, {}, package);
        return mVersion + fresh.bytes();
    }

private:
    std::string mVersion;
    crypto::StandardEncryption mEncryption;
};

class AgileInfo final : public EncryptionInfo {
public:
    explicit AgileInfo(std::string stream)
        : mVersion(stream.substr(0, kVersionSize)), mDescriptor(stream.substr(kVersionSize)) {}

    std::optional<std::string> unlock(std::string_view password) const override {
        return crypto::unlock(mDescriptor.encryption(), password);
    }

    std::string_view decrypt(std::string_view key, std::span<char> stream) const override {
        const crypto::AgileEncryption& encryption = mDescriptor.encryption();
        if (!crypto::isIntact(encryption, key, {stream.data(), stream.size()})) {
            throw Error::damaged("The encrypted package is not what was encrypted");
        }
        const std::size_t size = packageSize(stream, crypto::blockSize(encryption.data.algorithm));
        const auto package = stream.subspan(kSizeField, encryption.data.wholeBlocks(size));
        crypto::decryptSegments(encryption.data, key, package);
        return {package.data(), size};
    }

    std::string encrypt(std::string_view password, std::string_view oldKey,
                        std::string& stream) const override {
        crypto::AgileEncryption fresh = mDescriptor.encryption();
        const std::string key = mDescriptor.hasOtherKeys()
                                    ? std::string(oldKey)
                                    : crypto::randomBytes(fresh.data.keySize());
        if (key.size() != fresh.data.keySize()) {
            throw Error(ErrorKind::Argument, error_number::kInvalidArgument,
                        "The key has another size than the cipher needs");
        }
        crypto::renew(fresh, password, key);
        const auto package = filledUp(stream, crypto::blockSize(fresh.data.algorithm));
        crypto::encryptSegments(fresh.data, key, package);
        crypto::sealIntegrity(fresh, key, stream);
        return mVersion + mDescriptor.with(fresh);
    }

private:
    std::string mVersion;
    AgileDescriptor mDescriptor;
};

Error unsupported(const char* what) {
    return {ErrorKind::Unsupported, error_number::kApplicationDefined, what};
}

}  // namespace

std::unique_ptr<EncryptionInfo> EncryptionInfo::parse(std::string stream) {
    if (stream.size() < kVersionSize || stream.size() > kLargestStream) {
        throw Error::damaged("The description of the encryption is broken");
    }
    const auto major = getLittleEndian<std::uint16_t>(stream.data());
    const auto minor = getLittleEndian<std::uint16_t>(stream.data() + 2);
    const auto flags = getLittleEndian<std::uint32_t>(stream.data() + 4);
    if (major == 4 && minor == 4) return std::make_unique<AgileInfo>(std::move(stream));
    if (major >= 2 && major <= 4 && minor == 2) {
        if ((flags & kExternalFlag) != 0) {
            throw unsupported("The document is encrypted by another program's own method");
        }
        return std::make_unique<StandardInfo>(std::move(stream));
    }
    if (major >= 3 && major <= 4 && minor == 3) {
        throw unsupported("The document is encrypted by another program's own method");
    }
    throw unsupported("The document is encrypted in an unknown way");
}

}  // namespace brindle::workbook::package
