// SPDX-License-Identifier: MIT
#include "workbook/xls/encryption/FilePass.h"

#include <cstdint>
#include <optional>

#include "base/ByteReader.h"
#include "base/CodePages.h"
#include "base/Error.h"
#include "crypto/Rc4Encryption.h"
#include "workbook/Passwords.h"
#include "workbook/xls/biff/RecordReader.h"

namespace brindle::workbook::xls {

namespace {

constexpr std::uint16_t kXorType = 0;
constexpr std::uint16_t kRc4Type = 1;

// Flags of RC4 CryptoAPI: [MS-OFFCRYPTO] 2.3.1.
constexpr std::uint32_t kClearPropertiesFlag = 0x08;
constexpr std::uint32_t kExternalFlag = 0x10;
constexpr std::uint32_t kAesFlag = 0x20;

Error unsupported(const char* what) {
    return {ErrorKind::Unsupported, error_number::kApplicationDefined, what};
}

// In the first substream.
std::optional<Record> findFilePass(std::string_view stream) {
    RecordReader reader(stream);
    Record record;
    if (!reader.next(record) || !isBof(record.id)) return std::nullopt;
    while (reader.next(record) && record.id != record::kEof && !isBof(record.id)) {
        if (record.id == record::kFilePass) return record;
    }
    return std::nullopt;
}

std::unique_ptr<StreamCipher> unlockXor(ByteReader& body, const std::string& password,
                                        const std::string& ansiCodePage) {
    const auto key = body.number<std::uint16_t>();
    const auto verifier = body.number<std::uint16_t>();
    const CodePage codePage(ansiCodePage);
    std::optional<crypto::XorObfuscation> obfuscation;
    fittingPassword(password, [&](const std::string& candidate) {
        const auto bytes = codePage.encode(candidate);
        if (bytes) obfuscation = crypto::XorObfuscation::unlock(key, verifier, *bytes);
        return obfuscation.has_value();
    });
    return makeCipher(*obfuscation);
}

std::unique_ptr<StreamCipher> unlockRc4(ByteReader& body, const std::string& password) {
    const auto major = body.number<std::uint16_t>();
    const auto minor = body.number<std::uint16_t>();
    const bool isPlainRc4 = major == 1 && minor == 1;
    const bool isCryptoApi = major >= 2 && major <= 4 && minor == 2;
    if (!isPlainRc4 && !isCryptoApi) {
        throw unsupported("The document is encrypted in an unknown way");
    }
    const auto flags = isCryptoApi ? body.number<std::uint32_t>() : kClearPropertiesFlag;
    if ((flags & kExternalFlag) != 0) {
        throw unsupported("The document is encrypted by another program's own method");
    }
    if ((flags & kAesFlag) != 0) {
        throw unsupported("The document is encrypted with an unknown cipher");
    }
    std::optional<crypto::Rc4Keys> keys;
    fittingPassword(password, [&](const std::string& candidate) {
        keys = isCryptoApi ? crypto::unlockRc4CryptoApi(body.rest(), candidate)
                           : crypto::unlockRc4(body.rest(), candidate);
        return keys.has_value();
    });
    return makeCipher(std::move(*keys), (flags & kClearPropertiesFlag) == 0);
}

}  // namespace

std::unique_ptr<StreamCipher> unlock(std::string_view stream, Version version,
                                     const std::string& password, const std::string& ansiCodePage) {
    const auto filePass = findFilePass(stream);
    if (!filePass) return nullptr;
    try {
        ByteReader body(filePass->body);
        const auto type = version == Version::Biff8 ? body.number<std::uint16_t>() : kXorType;
        if (type == kXorType) return unlockXor(body, password, ansiCodePage);
        if (type == kRc4Type) return unlockRc4(body, password);
        throw unsupported("The document is encrypted in an unknown way");
    } catch (Error& error) {
        throw error.kind() == ErrorKind::Damaged ? error.atOffset(filePass->offset) : error;
    }
}

}  // namespace brindle::workbook::xls
