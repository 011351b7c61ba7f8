// SPDX-License-Identifier: MIT
#include "workbook/ooxml/RelationshipPart.h"

#include "workbook/ooxml/Splices.h"
#include "workbook/package/XmlScanner.h"

namespace brindle::workbook::ooxml {

using package::XmlAttribute;
using package::XmlScanner;
using package::XmlToken;

namespace {

// The start tag that the scanner is at, with another id and target, closed.
std::string alike(std::string_view part, const XmlScanner& scanner,
                  const RelationshipChanges::Added& wanted) {
    std::string out = "<" + std::string(scanner.qualifiedName());
    for (const XmlAttribute& attribute : scanner.attributes()) {
        out += " " + std::string(attribute.qualifiedName) + "=";
        if (attribute.qualifiedName == "Id") {
            out += "\"" + package::xmlAttributeEscaped(wanted.id) + "\"";
        } else if (attribute.qualifiedName == "Target") {
            out += "\"" + package::xmlAttributeEscaped(wanted.target) + "\"";
        } else {
            out += part.substr(attribute.valueBegin - 1,
                               attribute.valueEnd - attribute.valueBegin + 2);
        }
    }
    return out + "/>";
}

}  // namespace

std::string changedRelationships(std::string_view part, const RelationshipChanges& changes) {
    std::vector<Splice> splices;
    std::string added;
    std::set<std::string> seen;  // of two with one id the first counts
    XmlScanner scanner(part);
    for (XmlToken token = scanner.next(); token != XmlToken::EndOfInput; token = scanner.next()) {
        if (token == XmlToken::EndElement && scanner.depth() == 1) {
            splices.push_back({scanner.begin(), scanner.begin(), added});
        }
        if (token != XmlToken::StartElement || scanner.localName() != "Relationship") continue;
        const XmlAttribute* idAttribute = scanner.attribute("Id");
        const XmlAttribute* target = scanner.attribute("Target");
        if (!idAttribute || !target) continue;
        const std::string id = package::xmlAttributeText(idAttribute->rawValue);
        if (!seen.insert(id).second) continue;
        if (const auto copies = changes.added.find(id); copies != changes.added.end()) {
            for (const auto& wanted : copies->second) added += alike(part, scanner, wanted);
        }
        if (const auto known = changes.targets.find(id); known != changes.targets.end()) {
            // The old value may be in single quotes, which the new one may hold.
            splices.push_back({target->valueBegin - 1, target->valueEnd + 1,
                               "\"" + package::xmlAttributeEscaped(known->second) + "\""});
        }
        if (changes.removed.count(id)) {
            const std::size_t begin = scanner.begin();
            scanner.skipElement();
            splices.push_back({begin, scanner.end(), {}});
        }
    }
    return std::string(spliced(part, std::move(splices)).view());
}

}  // namespace brindle::workbook::ooxml
