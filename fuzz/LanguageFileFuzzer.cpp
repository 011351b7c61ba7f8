// SPDX-License-Identifier: MIT
// Whatever the bytes of a language file are, a text of it is short and valid UTF-8, and so is what
// its check says.
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>
#include <utility>

#include "base/Text.h"
#include "lang/LanguageCheck.h"
#include "lang/modINI.h"

namespace {

constexpr std::string_view kReference =
    "[language]\ncodepage=UTF-8\n[frmMain]\nmnuOpen.caption=&Open\ncmdAdd.ToolTipText=a\n"
    "[global msg]\n1019=%s\n1020=%d\n";

void expectUtf8(const std::string& text) {
    if (!brindle::text::isValidUtf8(text)) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view bytes(reinterpret_cast<const char*>(data), size);
    for (const char* key : {"1019", "optLoad(1).caption", ""}) {
        const std::string text = brindle::languageText(bytes, "global msg", key);
        expectUtf8(text);
        if (text.size() > brindle::kLongestText * 4) std::abort();
    }
    for (const auto& [file, reference] :
         {std::pair(bytes, kReference), std::pair(kReference, bytes)})
        for (const brindle::LanguageFinding& finding : brindle::checkLanguage(file, reference))
            for (const std::string* text : {&finding.section, &finding.key, &finding.text})
                expectUtf8(*text);
    return 0;
}
