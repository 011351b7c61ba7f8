// SPDX-License-Identifier: MIT
// The built-in document properties, in the order of the object model's collection.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "workbook/ooxml/properties/PropertyPart.h"

namespace brindle::workbook::ooxml {

class BuiltInProperties {
public:
    // Throws Error (Damaged) naming the part. `currentYear` is for dates typed without one.
    BuiltInProperties(const Package& package, int currentYear);

    static std::size_t count();
    // Throws Error (NotFound) when the property has no value.
    std::string text(std::size_t index) const;
    // Throws Error (Refused) for what the application counts or says by itself, and for a date
    // that would be none.
    void setText(std::size_t index, std::string_view text);

    bool isChanged() const { return mCore.isChanged() || mExtended.isChanged(); }
    void changeParts(Package& package) const;

private:
    int mCurrentYear;
    PropertyPart mCore;
    PropertyPart mExtended;
};

}  // namespace brindle::workbook::ooxml
