// SPDX-License-Identifier: MIT
// The description of an encrypted package: the stream EncryptionInfo of [MS-OFFCRYPTO] 2.3.4.
#pragma once

#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace brindle::workbook::package {

class EncryptionInfo {
public:
    // `stream` is the whole stream. Throws Error (Unsupported) for extensible encryption and for
    // ciphers and hashes that we do not have, Error (TooLarge) for more rounds of the password
    // check than we accept, Error (Damaged).
    static std::unique_ptr<EncryptionInfo> parse(std::string stream);
    virtual ~EncryptionInfo() = default;

    // The key of the package; nothing when the password is another one. Takes its time, as it is
    // meant to.
    virtual std::optional<std::string> unlock(std::string_view password) const = 0;

    // Decrypts the stream EncryptedPackage in place and tells where the package is in it. Throws
    // Error (Damaged) when it is not what was encrypted.
    virtual std::string_view decrypt(std::string_view key, std::span<char> stream) const = 0;

    // The way back. `stream` holds kSizeField bytes and the package, and becomes the stream
    // EncryptedPackage. Returns the stream EncryptionInfo for it: algorithms, sizes and rounds
    // as here, with new salts, verifiers and checksums. The key is new as well, unless others than
    // the password hold it too (certificates, say): `oldKey` (from
    // unlock()) stays then, so that they still can. Throws Error (Argument) for one of another
    // size.
    virtual std::string encrypt(std::string_view password, std::string_view oldKey,
                                std::string& stream) const = 0;

    // In front of the package: its size.
    static constexpr std::size_t kSizeField = 8;
};

}  // namespace brindle::workbook::package
