// SPDX-License-Identifier: MIT
#include "workbook/ooxml/properties/PropertyPart.h"

#include <algorithm>
#include <utility>
#include <vector>

#include "base/Error.h"
#include "workbook/ooxml/Splices.h"
#include "workbook/ooxml/Xstring.h"
#include "workbook/package/XmlScanner.h"
#include "workbook/properties/PropertyRules.h"

namespace brindle::workbook::ooxml {

using package::XmlScanner;
using package::XmlToken;

PropertyPart::PropertyPart(const Package& package, std::string partName)
    : mPartName(std::move(partName)) {
    if (mPartName.empty()) return;
    try {
        mText = package.read(mPartName).view();
        read(mText);
    } catch (Error& error) {
        throw error.inMember(mPartName);
    }
}

void PropertyPart::read(std::string_view part) {
    XmlScanner scanner(part);
    std::string name;
    Property property;
    for (XmlToken token = scanner.next(); token != XmlToken::EndOfInput; token = scanner.next()) {
        if (token == XmlToken::StartElement && scanner.depth() == 2) {
            name = scanner.localName();
            property = Property();
            property.where.begin = scanner.begin();
            property.start = part.substr(scanner.begin(), scanner.end() - scanner.begin());
            if (scanner.isEmptyElement()) property.start.erase(property.start.rfind('/'), 1);
        } else if (scanner.depth() >= 2 && (token == XmlToken::Text || token == XmlToken::CData)) {
            scanner.appendText(property.text);
        } else if (token == XmlToken::EndElement && scanner.depth() == 2) {
            property.where.end = scanner.end();
            property.end = "</" + std::string(scanner.qualifiedName()) + ">";
            property.text = withoutXstringEscapes(std::move(property.text));
            mProperties.emplace(std::move(name), std::move(property));
        }
    }
}

const std::string* PropertyPart::text(std::string_view element) const {
    const auto property = mProperties.find(element);
    if (property == mProperties.end()) return nullptr;
    return property->second.newText ? &*property->second.newText : &property->second.text;
}

void PropertyPart::setText(std::string_view element, std::string_view text) {
    const auto found = mProperties.find(element);
    if (found == mProperties.end()) refuseMissingProperty();
    xstringEscaped(text);  // throws
    Property& property = found->second;
    property.newText = text;
    if (property.newText == property.text) property.newText.reset();
}

bool PropertyPart::isChanged() const {
    return std::any_of(mProperties.begin(), mProperties.end(),
                       [](const auto& each) { return each.second.newText.has_value(); });
}

void PropertyPart::changeParts(Package& package) const {
    if (!isChanged()) return;
    std::vector<Splice> splices;
    for (const auto& [name, property] : mProperties) {
        if (!property.newText) continue;
        splices.push_back({property.where.begin, property.where.end,
                           property.start + xstringEscaped(*property.newText) + property.end});
    }
    package.replacePart(mPartName, splicedText(mText, std::move(splices)));
}

std::string propertyPartName(const Package& package, std::string_view type,
                             std::string_view strictType) {
    const Relationship* link = package.relationshipByType("", type);
    if (!link) link = package.relationshipByType("", strictType);
    return link && package.hasPart(link->partName) ? link->partName : std::string();
}

}  // namespace brindle::workbook::ooxml
