// SPDX-License-Identifier: MIT
// Whatever the bytes of a language file are, a text of it is short and valid UTF-8.
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "base/Text.h"
#include "lang/modINI.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view bytes(reinterpret_cast<const char*>(data), size);
    for (const char* key : {"1019", "optLoad(1).caption", ""}) {
        const std::string text = brindle::languageText(bytes, "global msg", key);
        if (!brindle::text::isValidUtf8(text)) std::abort();
        if (text.size() > 4095 * 4) std::abort();
    }
    return 0;
}
