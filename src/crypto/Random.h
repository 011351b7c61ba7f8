// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <string>

namespace brindle::crypto {

// Unpredictable bytes from the operating system, for keys and salts. Throws Error (System).
std::string randomBytes(std::size_t count);

}  // namespace brindle::crypto
