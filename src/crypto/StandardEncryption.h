// SPDX-License-Identifier: MIT
// Standard encryption of a package: AES in independent blocks under a key that is made from the
// password with SHA-1. [MS-OFFCRYPTO] 2.3.4.5 to 2.3.4.9; the stored header is 2.3.2 and 2.3.3.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace brindle::crypto {

class StandardEncryption {
public:
    // The header and the verifier behind the version and the flags. Throws Error (Damaged), and
    // Error (Unsupported) for another cipher than AES.
    explicit StandardEncryption(std::string bytes);

    // The key, when the password is the right one.
    std::optional<std::string> unlock(std::string_view password) const;
    // Takes a new salt and verifier, and returns the key that they make of the password.
    std::string renew(std::string_view password);
    const std::string& bytes() const { return mBytes; }

private:
    std::string keyOf(std::string_view password) const;
    std::string field(std::size_t offset, std::size_t size) const;

    std::string mBytes;
    std::size_t mVerifierAt = 0;  // where the verifier's salt begins
    std::size_t mKeySize = 0;     // in bytes
};

}  // namespace brindle::crypto
