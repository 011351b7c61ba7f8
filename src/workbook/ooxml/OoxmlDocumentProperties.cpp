// SPDX-License-Identifier: MIT
// The half of OoxmlDocument that knows document properties.
#include "workbook/ooxml/OoxmlDocument.h"

namespace brindle::workbook::ooxml {

BuiltInProperties& OoxmlDocument::builtInProperties() {
    if (!mBuiltIn) mBuiltIn = std::make_unique<BuiltInProperties>(mPackage, options().currentYear);
    return *mBuiltIn;
}

CustomProperties& OoxmlDocument::customProperties() {
    if (!mCustom) mCustom = std::make_unique<CustomProperties>(mPackage);
    return *mCustom;
}

std::size_t OoxmlDocument::propertyCount(bool custom) {
    return custom ? customProperties().count() : BuiltInProperties::count();
}

std::string OoxmlDocument::propertyText(bool custom, std::size_t index) {
    return custom ? customProperties().text(index) : builtInProperties().text(index);
}

void OoxmlDocument::setPropertyText(bool custom, std::size_t index, std::string_view text) {
    if (text == propertyText(custom, index)) return;
    checkMayChange();
    if (custom) {
        customProperties().setText(index, text);
    } else {
        builtInProperties().setText(index, text);
    }
}

}  // namespace brindle::workbook::ooxml
