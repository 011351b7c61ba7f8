// SPDX-License-Identifier: MIT
// Little-endian numbers in bytes, at any alignment. The caller has checked that they are there.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace brindle {

template <typename Number>
Number getLittleEndian(const char* at) {
    Number value = 0;
    for (std::size_t i = sizeof(Number); i-- > 0;) {
        value = static_cast<Number>((static_cast<std::uint64_t>(value) << 8) |
                                    static_cast<unsigned char>(at[i]));
    }
    return value;
}

template <typename Number>
void putLittleEndian(char* at, Number value) {
    for (std::size_t i = 0; i < sizeof(Number); ++i) {
        at[i] = static_cast<char>(static_cast<std::uint64_t>(value) >> (8 * i));
    }
}

template <typename Number>
std::string littleEndian(Number value) {
    std::string bytes(sizeof(Number), '\0');
    putLittleEndian(bytes.data(), value);
    return bytes;
}

}  // namespace brindle
