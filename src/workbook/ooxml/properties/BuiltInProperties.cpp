// SPDX-License-Identifier: MIT
#include "workbook/ooxml/properties/BuiltInProperties.h"

#include <array>

#include "base/Error.h"
#include "workbook/ooxml/OoxmlNames.h"
#include "workbook/ooxml/properties/PropertyDate.h"

namespace brindle::workbook::ooxml {

namespace {

enum class Place { Core, Extended };
enum class Type {
    Text,   // empty when it is not stored
    Fixed,  // a text that only the application sets
    Date,
    Number  // counted by the application
};

struct Row {
    const char* name;
    Place place;
    const char* element;  // null: not stored in these formats
    Type type;
};

constexpr std::array kRows = {
    Row{"Title", Place::Core, "title", Type::Text},
    Row{"Subject", Place::Core, "subject", Type::Text},
    Row{"Author", Place::Core, "creator", Type::Text},
    Row{"Keywords", Place::Core, "keywords", Type::Text},
    Row{"Comments", Place::Core, "description", Type::Text},
    Row{"Template", Place::Extended, "Template", Type::Text},
    Row{"Last Author", Place::Core, "lastModifiedBy", Type::Text},
    Row{"Revision Number", Place::Core, "revision", Type::Fixed},
    Row{"Application Name", Place::Extended, "Application", Type::Fixed},
    Row{"Last Print Date", Place::Core, "lastPrinted", Type::Date},
    Row{"Creation Date", Place::Core, "created", Type::Date},
    Row{"Last Save Time", Place::Core, "modified", Type::Date},
    Row{"Total Editing Time", Place::Extended, "TotalTime", Type::Number},
    Row{"Number of Pages", Place::Extended, "Pages", Type::Number},
    Row{"Number of Words", Place::Extended, "Words", Type::Number},
    Row{"Number of Characters", Place::Extended, "Characters", Type::Number},
    Row{"Security", Place::Extended, "DocSecurity", Type::Number},
    Row{"Category", Place::Core, "category", Type::Text},
    Row{"Format", Place::Extended, "PresentationFormat", Type::Text},
    Row{"Manager", Place::Extended, "Manager", Type::Text},
    Row{"Company", Place::Extended, "Company", Type::Text},
    Row{"Number of Bytes", Place::Extended, nullptr, Type::Number},
    Row{"Number of Lines", Place::Extended, "Lines", Type::Number},
    Row{"Number of Paragraphs", Place::Extended, "Paragraphs", Type::Number},
    Row{"Number of Slides", Place::Extended, "Slides", Type::Number},
    Row{"Number of Notes", Place::Extended, "Notes", Type::Number},
    Row{"Number of Hidden Slides", Place::Extended, "HiddenSlides", Type::Number},
    Row{"Number of Multimedia Clips", Place::Extended, "MMClips", Type::Number},
    Row{"Hyperlink Base", Place::Extended, "HyperlinkBase", Type::Text},
    Row{"Number of Characters (with spaces)", Place::Extended, "CharactersWithSpaces",
        Type::Number},
    Row{"Content type", Place::Core, "contentType", Type::Text},
    Row{"Content status", Place::Core, "contentStatus", Type::Text},
    Row{"Language", Place::Core, "language", Type::Text},
    Row{"Document version", Place::Core, "version", Type::Text},
};

}  // namespace

BuiltInProperties::BuiltInProperties(const Package& package, int currentYear)
    : mCurrentYear(currentYear),
      mCore(package, propertyPartName(package, kCorePropertiesType, kCorePropertiesType)),
      mExtended(package,
                propertyPartName(package, kExtendedPropertiesType, kExtendedPropertiesTypeStrict)) {
}

std::size_t BuiltInProperties::count() {
    return kRows.size();
}

std::string BuiltInProperties::text(std::size_t index) const {
    const Row& row = kRows.at(index);
    const PropertyPart& part = row.place == Place::Core ? mCore : mExtended;
    const std::string* stored = row.element ? part.text(row.element) : nullptr;
    if (!stored) {
        if (row.type == Type::Text) return {};
        throw Error(ErrorKind::NotFound, error_number::kApplicationDefined,
                    "The property " + std::string(row.name) + " has no value");
    }
    return row.type == Type::Date ? propertyDateText(*stored) : *stored;
}

void BuiltInProperties::setText(std::size_t index, std::string_view text) {
    const Row& row = kRows.at(index);
    if (row.type == Type::Fixed || row.type == Type::Number) {
        throw Error::refused("The property " + std::string(row.name) + " cannot be changed");
    }
    PropertyPart& part = row.place == Place::Core ? mCore : mExtended;
    if (row.type == Type::Text) return part.setText(row.element, text);
    const auto date = storedPropertyDate(text, mCurrentYear);
    if (!date) {
        throw Error::refused("The property " + std::string(row.name) + " can only hold a date");
    }
    part.setText(row.element, *date);
}

void BuiltInProperties::changeParts(Package& package) const {
    mCore.changeParts(package);
    mExtended.changeParts(package);
}

}  // namespace brindle::workbook::ooxml
