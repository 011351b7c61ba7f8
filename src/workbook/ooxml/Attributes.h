// SPDX-License-Identifier: MIT
// Attributes of the start tag that a scanner stands on, as the types of the formats mean them.
#pragma once

#include <string>
#include <string_view>

#include "workbook/package/XmlScanner.h"

namespace brindle::workbook::ooxml {

// References expanded; empty when there is none.
std::string attributeText(const package::XmlScanner& scanner, std::string_view name);

// An xsd:boolean that is true; `fallback` when there is none.
bool isTrue(const package::XmlScanner& scanner, std::string_view name, bool fallback = false);

// The id of a relationship: by namespace, since another attribute may be called "id" too. Null
// when there is none.
const package::XmlAttribute* relationshipAttribute(const package::XmlScanner& scanner);
std::string relationshipId(const package::XmlScanner& scanner);

}  // namespace brindle::workbook::ooxml
