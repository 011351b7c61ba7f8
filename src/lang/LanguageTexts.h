// SPDX-License-Identifier: MIT
// A language file with all its texts, for whoever needs more than one at a time.
#pragma once

#include <map>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "lang/IniFile.h"

namespace brindle {

struct LanguageTexts {
    std::string markedAs;  // the encoding that a byte-order mark tells; empty without one
    std::string codePage;  // what the key "codepage" says
    std::string encoding;  // in which the file was read: the first of these that there is, or UTF-8
    std::vector<IniLine> lines;  // UTF-8; U+FFFD stands for what could not be decoded

    // Lines of values by section and key, both folded; of several, the first.
    std::map<std::pair<std::string, std::string>, const IniLine*> values;

    explicit LanguageTexts(std::string_view fileBytes);
    LanguageTexts(const LanguageTexts&) = delete;
    LanguageTexts& operator=(const LanguageTexts&) = delete;

    // Null when there is none.
    const IniLine* find(std::string_view section, std::string_view key) const;
    int lineOfSection(std::string_view section) const;  // the last line when there is none
};

}  // namespace brindle
