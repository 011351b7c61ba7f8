// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <random>
#include <string>

namespace brindle::test {

// Bytes that no method packs; the same ones each time.
inline std::string noise(std::size_t size) {
    std::mt19937 random(8);
    std::string bytes(size, '\0');
    for (char& c : bytes) c = static_cast<char>(random());
    return bytes;
}

}  // namespace brindle::test
