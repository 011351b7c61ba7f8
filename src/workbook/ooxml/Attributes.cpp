// SPDX-License-Identifier: MIT
#include "workbook/ooxml/Attributes.h"

#include "workbook/ooxml/OoxmlNames.h"

namespace brindle::workbook::ooxml {

std::string attributeText(const package::XmlScanner& scanner, std::string_view name) {
    const auto* attribute = scanner.attribute(name);
    return attribute ? package::xmlAttributeText(attribute->rawValue) : std::string();
}

bool isTrue(const package::XmlScanner& scanner, std::string_view name, bool fallback) {
    const auto* attribute = scanner.attribute(name);
    if (!attribute) return fallback;
    return attribute->rawValue == "1" || attribute->rawValue == "true";
}

const package::XmlAttribute* relationshipAttribute(const package::XmlScanner& scanner) {
    for (const auto& attribute : scanner.attributes()) {
        const bool isId =
            attribute.localName == "id" && isRelationshipsNamespace(scanner.namespaceOf(attribute));
        if (isId) return &attribute;
    }
    return nullptr;
}

std::string relationshipId(const package::XmlScanner& scanner) {
    const auto* attribute = relationshipAttribute(scanner);
    return attribute ? package::xmlAttributeText(attribute->rawValue) : std::string();
}

}  // namespace brindle::workbook::ooxml
