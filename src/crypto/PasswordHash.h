// SPDX-License-Identifier: MIT
// Password checks that guard without encrypting: write reservations and protections.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "crypto/Digest.h"

namespace brindle::crypto {

// The 16-bit hash of the older file versions over a password in a code page of bytes.
std::uint16_t shortPasswordHash(std::string_view bytes);

// The hash over salt and password that newer files hold: ECMA-376 part 1, 18.2.7.
std::string saltedPasswordHash(Hash hash, std::string_view salt, std::string_view password,
                               std::uint32_t rounds);

}  // namespace brindle::crypto
