// SPDX-License-Identifier: MIT
// The XML declaration at the start of a document. Internal to this folder.
#pragma once

#include <optional>
#include <string_view>

namespace brindle::workbook::package::xml {

// Views into the parsed text; empty when absent.
struct XmlDeclaration {
    std::string_view version;
    std::string_view encoding;
    std::string_view standalone;
};

// Parses what stands between "<?xml" and "?>". Nullopt when it is not well-formed.
std::optional<XmlDeclaration> parseXmlDeclaration(std::string_view content);

}  // namespace brindle::workbook::package::xml
