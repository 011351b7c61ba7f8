// SPDX-License-Identifier: MIT
// The two methods of binary documents that encrypt with RC4. How they are told apart is none of
// this file's business.
#pragma once

#include <optional>
#include <string_view>

#include "crypto/Rc4Keys.h"

namespace brindle::crypto {

// RC4 encryption, [MS-OFFCRYPTO] 2.3.6: `verifier` is a salt, an encrypted input and the encrypted
// digest of it, 16 bytes each. The keys, when the password is the right one. Throws Error
// (Damaged).
std::optional<Rc4Keys> unlockRc4(std::string_view verifier, std::string_view password);

// RC4 CryptoAPI encryption, [MS-OFFCRYPTO] 2.3.5: `description` is the header and the verifier
// behind the version and the flags. Throws Error (Damaged), and Error (Unsupported) for another
// cipher or hash.
std::optional<Rc4Keys> unlockRc4CryptoApi(std::string_view description, std::string_view password);

}  // namespace brindle::crypto
