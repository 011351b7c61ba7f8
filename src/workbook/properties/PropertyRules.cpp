// SPDX-License-Identifier: MIT
#include "workbook/properties/PropertyRules.h"

#include <algorithm>

#include "base/Error.h"
#include "base/Text.h"
#include "workbook/properties/PropertyDate.h"

namespace brindle::workbook {

namespace {

using enum BuiltInProperty::Kind;

constexpr std::size_t kLongestText = 255;  // UTF-16 units, as the application takes it

}  // namespace

const std::array<BuiltInProperty, kBuiltInPropertyCount> kBuiltInProperties = {{
    {"Title", Text},
    {"Subject", Text},
    {"Author", Text},
    {"Keywords", Text},
    {"Comments", Text},
    {"Template", Text},
    {"Last Author", Text},
    {"Revision Number", Fixed},
    {"Application Name", Fixed},
    {"Last Print Date", Date},
    {"Creation Date", Date},
    {"Last Save Time", Date},
    {"Total Editing Time", Number},
    {"Number of Pages", Number},
    {"Number of Words", Number},
    {"Number of Characters", Number},
    {"Security", Number},
    {"Category", Text},
    {"Format", Text},
    {"Manager", Text},
    {"Company", Text},
    {"Number of Bytes", Number},
    {"Number of Lines", Number},
    {"Number of Paragraphs", Number},
    {"Number of Slides", Number},
    {"Number of Notes", Number},
    {"Number of Hidden Slides", Number},
    {"Number of Multimedia Clips", Number},
    {"Hyperlink Base", Text},
    {"Number of Characters (with spaces)", Number},
    {"Content type", Text},
    {"Content status", Text},
    {"Language", Text},
    {"Document version", Text},
}};

std::string BuiltInProperty::textWithoutValue() const {
    if (kind == Text) return {};
    throw Error(ErrorKind::NotFound, error_number::kApplicationDefined,
                "The property " + std::string(name) + " has no value");
}

void BuiltInProperty::checkMayChange() const {
    if (kind == Text || kind == Date) return;
    throw Error::refused("The property " + std::string(name) + " cannot be changed");
}

std::time_t BuiltInProperty::typedDate(std::string_view text, int currentYear) const {
    const auto moment = typedPropertyDate(text, currentYear);
    if (!moment) refuseDate();
    return *moment;
}

void BuiltInProperty::refuseDate() const {
    throw Error::refused("The property " + std::string(name) + " can only hold a date");
}

void refuseMissingProperty() {
    throw Error::refused("The property is not stored in this workbook");
}

void checkCustomPropertyText(std::string_view shown, std::string_view text) {
    if (text::lengthUtf16(text) > std::max(kLongestText, text::lengthUtf16(shown))) {
        throw Error::refused("The text is too long for a document property");
    }
}

}  // namespace brindle::workbook
