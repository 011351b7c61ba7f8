// SPDX-License-Identifier: MIT
#include "workbook/ooxml/properties/CustomProperties.h"

#include <algorithm>
#include <array>
#include <utility>

#include "base/Error.h"
#include "base/Text.h"
#include "workbook/NumberText.h"
#include "workbook/ooxml/Fragment.h"
#include "workbook/ooxml/OoxmlNames.h"
#include "workbook/ooxml/properties/PropertyPart.h"
#include "workbook/ooxml/properties/StoredDate.h"
#include "workbook/ooxml/Splices.h"
#include "workbook/ooxml/Xstring.h"
#include "workbook/package/XmlScanner.h"
#include "workbook/properties/PropertyRules.h"

namespace brindle::workbook::ooxml {

using package::XmlScanner;
using package::XmlToken;

namespace {

// Types without a text of their own.
constexpr std::array<std::string_view, 14> kNoTexts = {
    "variant", "vector",  "array",   "blob",     "oblob",   "empty", "null",
    "stream",  "ostream", "storage", "ostorage", "vstream", "cf",    "clsid"};

template <std::size_t Count>
bool isOneOf(const std::array<std::string_view, Count>& names, std::string_view name) {
    return std::find(names.begin(), names.end(), name) != names.end();
}

bool isText(std::string_view type) {
    return type == "lpwstr" || type == "lpstr" || type == "bstr";
}

std::string shownText(std::string_view type, std::string content) {
    if (isText(type)) return withoutXstringEscapes(std::move(content));
    if (isOneOf(kNoTexts, type)) return {};
    const std::string stored(text::trimBlanks(content));
    if (type == "bool") return stored == "1" || stored == "true" ? "True" : "False";
    if (type == "filetime" || type == "date") return storedDateText(stored);
    std::string number;
    if ((type == "r4" || type == "r8" || type == "decimal") && appendNumberText(number, stored)) {
        return number;
    }
    return stored;
}

}  // namespace

CustomProperties::CustomProperties(const Package& package)
    : mPartName(propertyPartName(package, kCustomPropertiesType, kCustomPropertiesTypeStrict)) {
    if (mPartName.empty()) return;
    try {
        mText = package.read(mPartName).view();
        read(mText);
    } catch (Error& error) {
        throw error.inMember(mPartName);
    }
}

void CustomProperties::read(std::string_view part) {
    XmlScanner scanner(part);
    for (XmlToken token = scanner.next(); token != XmlToken::EndOfInput; token = scanner.next()) {
        if (token != XmlToken::StartElement) continue;
        if (scanner.depth() == 2 && scanner.localName() == "property") {
            mProperties.emplace_back();
        } else if (scanner.depth() == 3 && !mProperties.empty() &&
                   mProperties.back().where.end == 0) {
            Property& property = mProperties.back();
            property.where.begin = scanner.begin();
            property.type = scanner.localName();
            property.prefix = prefixOf(scanner.qualifiedName());
            std::string content;
            const std::size_t depth = scanner.depth();
            for (token = scanner.next(); token != XmlToken::EndElement || scanner.depth() != depth;
                 token = scanner.next()) {
                if (token == XmlToken::Text || token == XmlToken::CData) {
                    scanner.appendText(content);
                }
            }
            property.where.end = scanner.end();
            property.text = shownText(property.type, std::move(content));
        }
    }
}

std::string CustomProperties::text(std::size_t index) const {
    const Property& property = mProperties.at(index);
    return property.newText ? *property.newText : property.text;
}

void CustomProperties::setText(std::size_t index, std::string_view text) {
    Property& property = mProperties.at(index);
    if (property.where.end == 0) throw Error::refused("The property has no value");
    checkCustomPropertyText(property.text, text);
    xstringEscaped(text);  // throws
    property.newText = text;
    if (property.newText == property.text) property.newText.reset();
}

bool CustomProperties::isChanged() const {
    return std::any_of(mProperties.begin(), mProperties.end(),
                       [](const Property& property) { return property.newText.has_value(); });
}

void CustomProperties::changeParts(Package& package) const {
    if (!isChanged()) return;
    std::vector<Splice> splices;
    for (const Property& property : mProperties) {
        if (!property.newText) continue;
        const std::string name =
            property.prefix + (isText(property.type) ? property.type : "lpwstr");
        splices.push_back(
            {property.where.begin, property.where.end,
             "<" + name + ">" + xstringEscaped(*property.newText) + "</" + name + ">"});
    }
    package.replacePart(mPartName, splicedText(mText, std::move(splices)));
}

}  // namespace brindle::workbook::ooxml
