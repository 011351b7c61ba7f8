// SPDX-License-Identifier: MIT
// Conversions between UTF-8 and the encodings of foreign files, over ICU.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace brindle {

// A converter for one encoding. Not to be shared between threads.
class CodePage {
public:
    // `name` as ICU knows it ("windows-1252", "UTF-16LE", "Big5", ...), or a bare number such
    // as "1252". Throws Error (Argument) for an unknown one. windows-1252 maps its five
    // undefined bytes to the code points of the same value, so that every byte survives.
    explicit CodePage(const std::string& name);
    ~CodePage();
    CodePage(CodePage&&) noexcept;
    CodePage& operator=(CodePage&&) noexcept;

    // Undecodable bytes become U+FFFD.
    std::string decode(std::string_view bytes) const;
    // Empty when a character has no place in the encoding; never a substitute.
    std::optional<std::string> encode(std::string_view utf8) const;

    const std::string& name() const { return mName; }

private:
    std::string mName;
    void* mConverter = nullptr;  // UConverter, owned
};

// The encoding of the user's locale (as a rule "UTF-8"), or the one set by setAnsiCodePage.
std::string ansiCodePage();
// Overrides the locale's choice for this process; an empty name restores it.
void setAnsiCodePage(const std::string& name);

}  // namespace brindle
