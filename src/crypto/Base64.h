// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace brindle::crypto {

std::string toBase64(std::string_view bytes);
// White space is passed over; nothing for a text that is not base64.
std::optional<std::string> fromBase64(std::string_view text);

}  // namespace brindle::crypto
