// SPDX-License-Identifier: MIT
#include "workbook/package/XmlNamespaces.h"

#include <algorithm>
#include <utility>

#include "base/Error.h"
#include "workbook/package/XmlScanner.h"

namespace brindle::workbook::package::xml {
namespace {

// So many prefixes are compared one by one, which is faster than the map for real documents.
constexpr std::size_t kComparedPrefixes = 12;

void checkDeclaration(std::string_view prefix, std::string_view uri) {
    if (prefix == "xmlns") throw Error::damaged("The prefix xmlns must not be declared");
    if ((prefix == "xml") != (uri == kXmlNamespace)) {
        throw Error::damaged("The prefix xml and its namespace belong together");
    }
    if (uri == kXmlnsNamespace) throw Error::damaged("A reserved namespace is declared");
    if (uri.empty() && !prefix.empty()) {
        throw Error::damaged("A namespace prefix is declared empty");
    }
}

}  // namespace

XmlNamespaces::XmlNamespaces() {
    bind("", numbered("", false), 0);
    bind("xml", numbered(kXmlNamespace, false), 0);
    bind("xmlns", numbered(kXmlnsNamespace, false), 0);
}

void XmlNamespaces::declare(std::string_view prefix, std::string_view rawUri, std::size_t depth) {
    const bool isPlain = rawUri.find_first_of("&\t\r\n") == std::string_view::npos;
    const std::string expanded = isPlain ? std::string() : xmlAttributeText(rawUri);
    const std::string_view uri = isPlain ? rawUri : expanded;
    checkDeclaration(prefix, uri);
    bind(prefix, numbered(uri, !isPlain), depth);
}

const Namespace* XmlNamespaces::find(std::string_view prefix) const {
    const std::size_t index = indexOf(prefix);
    if (index == kNone || mPrefixes[index].binding == kNone) return nullptr;
    return &mBindings[mPrefixes[index].binding].space;
}

Namespace XmlNamespaces::numbered(std::string_view uri, bool isTemporary) {
    const auto known = mUris.find(uri);
    if (known != mUris.end()) return {known->first, known->second};
    if (isTemporary) uri = mExpanded.emplace_back(uri);
    const std::size_t number = mUris.size();
    mUris.emplace(uri, number);
    return {uri, number};
}

std::size_t XmlNamespaces::indexOf(std::string_view prefix) const {
    const std::size_t compared = std::min(mPrefixes.size(), kComparedPrefixes);
    for (std::size_t i = 0; i < compared; ++i) {
        if (mPrefixes[i].text == prefix) return i;
    }
    if (compared == mPrefixes.size()) return kNone;
    const auto found = mIndexes.find(prefix);
    return found == mIndexes.end() ? kNone : found->second;
}

std::size_t XmlNamespaces::indexForDeclaration(std::string_view prefix) {
    const auto [place, isNew] = mIndexes.try_emplace(prefix, mPrefixes.size());
    if (isNew) mPrefixes.push_back({prefix, kNone});
    return place->second;
}

void XmlNamespaces::bind(std::string_view prefix, Namespace space, std::size_t depth) {
    const std::size_t index = indexForDeclaration(prefix);
    mBindings.push_back({space, index, mPrefixes[index].binding, depth});
    mPrefixes[index].binding = mBindings.size() - 1;
}

void XmlNamespaces::forgetLast() {
    const Binding& last = mBindings.back();
    mPrefixes[last.prefix].binding = last.shadowed;
    mBindings.pop_back();
}

}  // namespace brindle::workbook::package::xml
