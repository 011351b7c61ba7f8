// SPDX-License-Identifier: MIT
// What a translator would want to know before users do: a language file against one that is known
// to be whole.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace brindle {

// A fault leaves a text missing, wrong or out of reach; a warning may be meant.
enum class LanguageSeverity { Warning, Fault };

struct LanguageFinding {
    LanguageSeverity severity = LanguageSeverity::Fault;
    int line = 1;  // from 1; of a missing key that of its section, of a section the last
    std::string
        section;       // as the file or, for a missing key, the reference writes it; may be empty
    std::string key;   // likewise
    std::string text;  // one sentence without a final period, not naming section and key
};

// The findings by line. Both files are bytes; names and texts of findings are UTF-8.
std::vector<LanguageFinding> checkLanguage(std::string_view file, std::string_view reference);

}  // namespace brindle
