// SPDX-License-Identifier: MIT
#include "workbook/ooxml/Fragment.h"

namespace brindle::workbook::ooxml {

using package::XmlScanner;

std::string prefixOf(std::string_view qualifiedName) {
    const std::size_t colon = qualifiedName.find(':');
    if (colon == std::string_view::npos) return {};
    return std::string(qualifiedName.substr(0, colon + 1));
}

FragmentContext::FragmentContext(const XmlScanner& scanner)
    : mStart("<w"), mPrefix(prefixOf(scanner.qualifiedName())) {
    for (const auto& attribute : scanner.attributes()) {
        if (attribute.qualifiedName != "xmlns" && attribute.prefix != "xmlns") continue;
        mStart += ' ';
        mStart += attribute.qualifiedName;
        // The raw value was delimited by one kind of quote and may hold the other.
        const char quote = attribute.rawValue.find('"') == std::string_view::npos ? '"' : '\'';
        mStart += '=';
        mStart += quote;
        mStart += attribute.rawValue;
        mStart += quote;
    }
    mStart += '>';
}

namespace {

// Calls `edit` with a scanner that stands on the fragment's start tag.
template <typename Edit>
std::string editStartTag(const FragmentContext& context, std::string_view fragment,
                         const Edit& edit) {
    const std::string text = context.wrapped(fragment);
    XmlScanner scanner(text);
    scanner.next();
    scanner.next();
    std::string changed = edit(text, scanner);
    return changed.substr(context.offset(), changed.size() - context.offset() - 4);
}

}  // namespace

std::string withAttribute(const FragmentContext& context, std::string_view fragment,
                          std::string_view name, std::string_view escapedValue) {
    return editStartTag(context, fragment, [&](const std::string& text, const XmlScanner& scanner) {
        const auto* known = scanner.attribute(name);
        std::string changed = text;
        if (known) {
            changed.replace(known->valueBegin, known->valueEnd - known->valueBegin, escapedValue);
        } else {
            const std::size_t at = scanner.begin() + 1 + scanner.qualifiedName().size();
            changed.insert(at, " " + std::string(name) + "=\"" + std::string(escapedValue) + "\"");
        }
        return changed;
    });
}

std::string withoutAttribute(const FragmentContext& context, std::string_view fragment,
                             std::string_view name) {
    return editStartTag(context, fragment, [&](const std::string& text, const XmlScanner& scanner) {
        const auto* known = scanner.attribute(name);
        std::string changed = text;
        if (known) {
            const std::size_t begin = known->begin - 1;  // the blank in front
            changed.erase(begin, known->end - begin);
        }
        return changed;
    });
}

}  // namespace brindle::workbook::ooxml
