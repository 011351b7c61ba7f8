// SPDX-License-Identifier: MIT
// Agile encryption of a package: a random key encrypts the package in segments, and each key
// encryptor holds that key, encrypted by a password or otherwise. [MS-OFFCRYPTO] 2.3.4.10 to
// 2.3.4.15. How it is written down is none of this file's business.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "crypto/Cipher.h"
#include "crypto/Digest.h"

namespace brindle::crypto {

struct CipherParameters {
    Algorithm algorithm = Algorithm::Aes;
    Mode mode = Mode::Cbc;
    unsigned keyBits = 0;  // one that isKeySize() knows
    Hash hash = Hash::Sha1;
    std::string salt;

    std::size_t keySize() const { return keyBits / 8; }
    // The size of bytes that are filled up to whole blocks.
    std::size_t wholeBlocks(std::size_t size) const;
};

// The key encryptor of a password. Its last three fields are encrypted.
struct PasswordKey {
    CipherParameters parameters;
    std::uint32_t rounds = 0;
    std::string verifierInput;
    std::string verifierHash;
    std::string key;
};

// Both encrypted.
struct Integrity {
    std::string hmacKey;
    std::string hmacValue;
};

struct AgileEncryption {
    CipherParameters data;
    std::optional<Integrity> integrity;
    PasswordKey password;
};

// The key of the data, when the password is the right one. Throws Error (Damaged) when the fields
// do not have the sizes that they need.
std::optional<std::string> unlock(const AgileEncryption& encryption, std::string_view password);

// Whether `stream`, the encrypted package with its size in front, is what was written. True when
// nothing was written down about it. Throws Error (Damaged) as above.
bool isIntact(const AgileEncryption& encryption, std::string_view dataKey, std::string_view stream);

// The package itself, filled up to whole blocks, in place.
void encryptSegments(const CipherParameters& data, std::string_view dataKey,
                     std::span<char> package);
void decryptSegments(const CipherParameters& data, std::string_view dataKey,
                     std::span<char> package);

// New salts and a new verifier for the password, which opens `dataKey` from then on. Algorithms,
// sizes and rounds stay.
void renew(AgileEncryption& encryption, std::string_view password, std::string_view dataKey);
// Notes what `stream` is. Nothing when there was nothing before.
void sealIntegrity(AgileEncryption& encryption, std::string_view dataKey, std::string_view stream);

}  // namespace brindle::crypto
