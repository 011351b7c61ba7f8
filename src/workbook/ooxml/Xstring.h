// SPDX-License-Identifier: MIT
// Texts of type ST_Xstring (ECMA-376 part 1, section 22.9.2.19): what XML cannot hold is
// written as _xHHHH_, one UTF-16 code unit each.
#pragma once

#include <string>
#include <string_view>

namespace brindle::workbook::ooxml {

// Appends element content as it stands in a part, references and escapes expanded.
void appendXstring(std::string& out, std::string_view raw);
std::string xstring(std::string_view raw);

// Expands _xHHHH_ in a text whose XML references are expanded already.
std::string withoutXstringEscapes(std::string text);

// Element content for `text`: escaped for XML, control characters as _xHHHH_, and a text that
// looks like an escape kept apart from one.
std::string xstringEscaped(std::string_view text);
// The same for an attribute value, where a line break is written as an escape too.
std::string xstringAttributeEscaped(std::string_view text);

// The same for a text that was `raw`: what it shares with the old one at the start and the end
// stays as it is written.
std::string xstringChanged(std::string_view raw, std::string_view text);

// True when a t element with this text needs xml:space="preserve".
bool needsSpacePreserved(std::string_view text);

}  // namespace brindle::workbook::ooxml
