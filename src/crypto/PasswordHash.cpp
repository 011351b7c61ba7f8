// SPDX-License-Identifier: MIT
#include "crypto/PasswordHash.h"

namespace brindle::crypto {

std::uint16_t shortPasswordHash(std::string_view bytes) {
    unsigned hash = 0;
    const auto take = [&hash](unsigned value) {
        hash = (((hash >> 14) & 1) | ((hash << 1) & 0x7FFF)) ^ value;
    };
    for (std::size_t i = bytes.size(); i-- > 0;) take(static_cast<unsigned char>(bytes[i]));
    take(static_cast<unsigned>(bytes.size()));
    return static_cast<std::uint16_t>(hash ^ 0xCE4B);
}

std::string saltedPasswordHash(Hash hash, std::string_view salt, std::string_view password,
                               std::uint32_t rounds) {
    std::string start = digest(hash, {salt, passwordBytes(password)});
    return digestRounds(hash, std::move(start), rounds, RoundNumber::Behind);
}

}  // namespace brindle::crypto
