// SPDX-License-Identifier: MIT
// A part of document properties in which every child of the root is one property: core
// properties (ECMA-376 part 2, section 11) and extended ones (part 1, section 22.2).
#pragma once

#include <map>
#include <optional>
#include <string>
#include <string_view>

#include "base/TextFinder.h"
#include "workbook/ooxml/Package.h"

namespace brindle::workbook::ooxml {

class PropertyPart {
public:
    // An empty name is a part without properties. Throws Error (Damaged) naming the part.
    PropertyPart(const Package& package, std::string partName);

    // By the local name of the element; null when there is none. Valid until the next call.
    const std::string* text(std::string_view element) const;
    // The element has to be there. Throws Error (Refused) for what XML cannot hold.
    void setText(std::string_view element, std::string_view text);

    bool isChanged() const;
    void changeParts(Package& package) const;

private:
    struct Property {
        TextSpan where;     // the element
        std::string start;  // its tags, never an empty-element tag
        std::string end;
        std::string text;
        std::optional<std::string> newText;
    };
    void read(std::string_view part);

    std::string mPartName;
    std::string mText;
    std::map<std::string, Property, std::less<>> mProperties;
};

// The part to which a relationship of the package leads, by the ends of its type; empty when
// there is none.
std::string propertyPartName(const Package& package, std::string_view type,
                             std::string_view strictType);

}  // namespace brindle::workbook::ooxml
