// SPDX-License-Identifier: MIT
// The namespace declarations in force at a place of an XML document. Internal to this folder.
#pragma once

#include <cstddef>
#include <deque>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace brindle::workbook::package::xml {

inline constexpr std::string_view kXmlNamespace = "http://www.w3.org/XML/1998/namespace";
inline constexpr std::string_view kXmlnsNamespace = "http://www.w3.org/2000/xmlns/";

// Equal namespaces have equal numbers, so that a comparison does not depend on their length.
struct Namespace {
    std::string_view uri;
    std::size_t number = 0;
};

class XmlNamespaces {
public:
    XmlNamespaces();

    // Declares what `xmlns:prefix="rawUri"` (an empty prefix: `xmlns="rawUri"`) says for the
    // element at `depth`. The prefix is borrowed. Throws Error (Damaged) without a place when
    // the declaration is not allowed.
    void declare(std::string_view prefix, std::string_view rawUri, std::size_t depth);
    // Forgets what the element at `depth`, the innermost one, declared.
    void leave(std::size_t depth) {
        while (mBindings.back().depth >= depth) forgetLast();
    }

    // The namespace of a prefix, null when it was not declared. The empty prefix always has
    // one, which may be empty. Valid until the declarations change; the text stays valid.
    const Namespace* find(std::string_view prefix) const;

private:
    struct Prefix {
        std::string_view text;
        std::size_t binding;  // index of the innermost one; kNone outside of every declaration
    };
    struct Binding {
        Namespace space;
        std::size_t prefix;    // index
        std::size_t shadowed;  // binding of the same prefix further out, or kNone
        std::size_t depth;     // of the declaring element; 0 for those built in
    };
    static constexpr std::size_t kNone = static_cast<std::size_t>(-1);

    std::size_t indexOf(std::string_view prefix) const;
    std::size_t indexForDeclaration(std::string_view prefix);
    Namespace numbered(std::string_view uri, bool isTemporary);
    void bind(std::string_view prefix, Namespace space, std::size_t depth);
    void forgetLast();

    std::vector<Prefix> mPrefixes;  // every prefix ever declared, by first appearance
    std::map<std::string_view, std::size_t> mIndexes;
    std::vector<Binding> mBindings;  // outermost first; the built-in ones stay
    std::map<std::string_view, std::size_t> mUris;
    std::deque<std::string> mExpanded;  // texts of namespaces that do not stand in the input
};

}  // namespace brindle::workbook::package::xml
