// SPDX-License-Identifier: MIT
// In which encoding the bytes of a language file are.
#pragma once

#include <string>
#include <string_view>

namespace brindle {

struct ByteOrderMark {
    std::string_view bytes;
    const char* codePage;
};

// The mark at the beginning, for UTF-8 and UTF-16; null when there is none.
const ByteOrderMark* byteOrderMarkOf(std::string_view fileBytes);

// The rest of a file that has this mark, as UTF-8. Works on the whole text at once: lines of
// UTF-16 cannot be told apart before.
std::string decodedBehind(const ByteOrderMark& mark, std::string_view fileBytes);

}  // namespace brindle
