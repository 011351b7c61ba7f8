// SPDX-License-Identifier: MIT
#include "workbook/ooxml/properties/BuiltInProperties.h"

#include <array>

#include "workbook/ooxml/OoxmlNames.h"
#include "workbook/ooxml/properties/StoredDate.h"
#include "workbook/properties/PropertyRules.h"

namespace brindle::workbook::ooxml {

namespace {

enum class Place { Core, Extended };

struct Stored {
    Place place;
    const char* element;  // null: not stored in these formats
};

// In the order of kBuiltInProperties.
constexpr std::array kStored = {
    Stored{Place::Core, "title"},
    Stored{Place::Core, "subject"},
    Stored{Place::Core, "creator"},
    Stored{Place::Core, "keywords"},
    Stored{Place::Core, "description"},
    Stored{Place::Extended, "Template"},
    Stored{Place::Core, "lastModifiedBy"},
    Stored{Place::Core, "revision"},
    Stored{Place::Extended, "Application"},
    Stored{Place::Core, "lastPrinted"},
    Stored{Place::Core, "created"},
    Stored{Place::Core, "modified"},
    Stored{Place::Extended, "TotalTime"},
    Stored{Place::Extended, "Pages"},
    Stored{Place::Extended, "Words"},
    Stored{Place::Extended, "Characters"},
    Stored{Place::Extended, "DocSecurity"},
    Stored{Place::Core, "category"},
    Stored{Place::Extended, "PresentationFormat"},
    Stored{Place::Extended, "Manager"},
    Stored{Place::Extended, "Company"},
    Stored{Place::Extended, nullptr},
    Stored{Place::Extended, "Lines"},
    Stored{Place::Extended, "Paragraphs"},
    Stored{Place::Extended, "Slides"},
    Stored{Place::Extended, "Notes"},
    Stored{Place::Extended, "HiddenSlides"},
    Stored{Place::Extended, "MMClips"},
    Stored{Place::Extended, "HyperlinkBase"},
    Stored{Place::Extended, "CharactersWithSpaces"},
    Stored{Place::Core, "contentType"},
    Stored{Place::Core, "contentStatus"},
    Stored{Place::Core, "language"},
    Stored{Place::Core, "version"},
};
static_assert(kStored.size() == kBuiltInPropertyCount);

}  // namespace

BuiltInProperties::BuiltInProperties(const Package& package, int currentYear)
    : mCurrentYear(currentYear),
      mCore(package, propertyPartName(package, kCorePropertiesType, kCorePropertiesType)),
      mExtended(package,
                propertyPartName(package, kExtendedPropertiesType, kExtendedPropertiesTypeStrict)) {
}

std::size_t BuiltInProperties::count() {
    return kBuiltInPropertyCount;
}

std::string BuiltInProperties::text(std::size_t index) const {
    const BuiltInProperty& property = kBuiltInProperties.at(index);
    const auto [place, element] = kStored.at(index);
    const PropertyPart& part = place == Place::Core ? mCore : mExtended;
    const std::string* stored = element ? part.text(element) : nullptr;
    if (!stored) return property.textWithoutValue();
    return property.kind == BuiltInProperty::Kind::Date ? storedDateText(*stored) : *stored;
}

void BuiltInProperties::setText(std::size_t index, std::string_view text) {
    const BuiltInProperty& property = kBuiltInProperties.at(index);
    const auto [place, element] = kStored.at(index);
    property.checkMayChange();
    PropertyPart& part = place == Place::Core ? mCore : mExtended;
    if (property.kind != BuiltInProperty::Kind::Date) return part.setText(element, text);
    const auto date = storedDate(property.typedDate(text, mCurrentYear));
    if (!date) property.refuseDate();
    part.setText(element, *date);
}

void BuiltInProperties::changeParts(Package& package) const {
    mCore.changeParts(package);
    mExtended.changeParts(package);
}

}  // namespace brindle::workbook::ooxml
