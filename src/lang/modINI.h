// SPDX-License-Identifier: MIT
// The texts that the user sees, from the language file in use.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace brindle {

// In characters; the rest of a longer text is not shown.
inline constexpr std::size_t kLongestText = 4095;

// File name, without folder, of the language file in use: "English.lng" until start-up or the
// user's choice says otherwise.
extern std::string gLanguageFile;

// The text of a key as UTF-8, cut to the longest there is; placeholders stand as they are. Empty
// when the file, the section or the key is missing. Reads the file anew each time. A failure
// goes to the error log and gives the empty text.
std::string GetLngString(const std::string& Section, const std::string& Key);

// A text with the value in place of each placeholder ("%s"), exactly as it is written.
std::string filledIn(const std::string& text, const char* placeholder, const std::string& value);

// The same for the bytes of a language file. A byte-order mark tells the encoding (UTF-8 or
// UTF-16); else the key "codepage" of the section "language" names it; else, and when that
// name means nothing, it is the ANSI code page.
std::string languageText(std::string_view fileBytes, const std::string& section,
                         const std::string& key);

}  // namespace brindle
