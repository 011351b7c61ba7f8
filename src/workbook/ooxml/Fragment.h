// SPDX-License-Identifier: MIT
// Scanning a piece cut out of a part: prefixes that the part's root declares stay known.
#pragma once

#include <string>
#include <string_view>

#include "workbook/package/XmlScanner.h"

namespace brindle::workbook::ooxml {

class FragmentContext {
public:
    FragmentContext() : mStart("<w>") {}
    // `scanner` stands on the root's start element.
    explicit FragmentContext(const package::XmlScanner& scanner);

    // The fragment inside an element that carries the declarations; offset() bytes come in front.
    std::string wrapped(std::string_view fragment) const {
        return mStart + std::string(fragment) + "</w>";
    }
    std::size_t offset() const { return mStart.size(); }
    // Of the root element, with the colon; empty for none.
    const std::string& prefix() const { return mPrefix; }

private:
    std::string mStart;
    std::string mPrefix;
};

// `fragment` (one element) with an attribute of its start tag replaced or added.
std::string withAttribute(const FragmentContext& context, std::string_view fragment,
                          std::string_view name, std::string_view escapedValue);
// `fragment` (one element) without an attribute of its start tag.
std::string withoutAttribute(const FragmentContext& context, std::string_view fragment,
                             std::string_view name);

// The prefix of a qualified name, with the colon; empty for none.
std::string prefixOf(std::string_view qualifiedName);

}  // namespace brindle::workbook::ooxml
