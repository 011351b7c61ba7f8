// SPDX-License-Identifier: MIT
// The oldest protection of binary documents: 16 bytes made of the password, run over the data again
// and again. [MS-OFFCRYPTO] 2.3.7.1 to 2.3.7.3 (method 1).
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string_view>

namespace brindle::crypto {

class XorObfuscation {
public:
    // `password` stands in a code page of bytes, of which 15 count. Nothing when it makes another
    // key or verifier than what is stored.
    static std::optional<XorObfuscation> unlock(std::uint16_t key, std::uint16_t verifier,
                                                std::string_view password);

    // In place. `position` is counted in the endless repetition of the 16 bytes.
    void encrypt(std::size_t position, std::span<char> bytes) const;
    void decrypt(std::size_t position, std::span<char> bytes) const;

private:
    std::array<std::uint8_t, 16> mArray{};
};

}  // namespace brindle::crypto
