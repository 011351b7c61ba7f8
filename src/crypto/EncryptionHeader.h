// SPDX-License-Identifier: MIT
// What standard encryption of packages and RC4 CryptoAPI encryption of binary documents store
// alike: the cipher, and a verifier of the password. [MS-OFFCRYPTO] 2.3.2 and 2.3.3.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace brindle::crypto {

struct EncryptionHeader {
    // Offsets in the verifier. Its hash is encrypted and the last that is stored.
    static constexpr std::size_t kSaltSize = 16;
    static constexpr std::size_t kInputAt = kSaltSize;
    static constexpr std::size_t kInputSize = 16;
    static constexpr std::size_t kHashSizeAt = kInputAt + kInputSize;
    static constexpr std::size_t kHashAt = kHashSizeAt + 4;

    std::uint32_t algorithm = 0;  // an ALG_ID; 0 for the usual one
    std::uint32_t keyBits = 0;    // 0 for as many as are usual
    std::size_t verifierAt = 0;   // where the verifier's salt begins

    // `bytes` begins with the size of the header, behind the version and the flags, and
    // `storedHashSize` is what the verifier's hash takes. Throws Error (Damaged), and Error
    // (Unsupported) for another hash than SHA-1.
    static EncryptionHeader parse(std::string_view bytes, std::size_t storedHashSize);
};

}  // namespace brindle::crypto
