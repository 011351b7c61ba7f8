// SPDX-License-Identifier: MIT
#include "workbook/xls/properties/BuiltInProperties.h"

#include <array>

#include "base/ByteReader.h"
#include "base/Text.h"
#include "workbook/properties/PropertyRules.h"

namespace brindle::workbook::xls {

namespace {

constexpr std::uint64_t kFileTimesPerMinute = 600'000'000;
constexpr const char* kLinkBase = "_PID_LINKBASE";

enum class Place { Summary, Document, LinkBase };

struct Stored {
    Place place;
    std::uint32_t id;
};

// In the order of kBuiltInProperties.
constexpr std::array kStored = {
    Stored{Place::Summary, 2},    // title
    Stored{Place::Summary, 3},    // subject
    Stored{Place::Summary, 4},    // author
    Stored{Place::Summary, 5},    // keywords
    Stored{Place::Summary, 6},    // comments
    Stored{Place::Summary, 7},    // template
    Stored{Place::Summary, 8},    // last author
    Stored{Place::Summary, 9},    // revision
    Stored{Place::Summary, 18},   // application
    Stored{Place::Summary, 11},   // printed
    Stored{Place::Summary, 12},   // created
    Stored{Place::Summary, 13},   // saved
    Stored{Place::Summary, 10},   // editing time
    Stored{Place::Summary, 14},   // pages
    Stored{Place::Summary, 15},   // words
    Stored{Place::Summary, 16},   // characters
    Stored{Place::Summary, 19},   // security
    Stored{Place::Document, 2},   // category
    Stored{Place::Document, 3},   // format
    Stored{Place::Document, 14},  // manager
    Stored{Place::Document, 15},  // company
    Stored{Place::Document, 4},   // bytes
    Stored{Place::Document, 5},   // lines
    Stored{Place::Document, 6},   // paragraphs
    Stored{Place::Document, 7},   // slides
    Stored{Place::Document, 8},   // notes
    Stored{Place::Document, 9},   // hidden slides
    Stored{Place::Document, 10},  // multimedia clips
    Stored{Place::LinkBase, 0},   // by its name
    Stored{Place::Document, 17},  // characters with spaces
    Stored{Place::Document, 26},  // content type
    Stored{Place::Document, 27},  // content status
    Stored{Place::Document, 28},  // language
    Stored{Place::Document, 29},  // version
};
static_assert(kStored.size() == kBuiltInPropertyCount);

bool hasNoValue(const std::optional<PropertySet::Found>& found) {
    return !found || found->value.type == property_type::kEmpty ||
           found->value.type == property_type::kNull;
}

// Of a value that has one.
std::string shownText(const PropertySet::Found& found, const BuiltInProperty& property) {
    const auto& [value, texts] = found;
    if (value.type == property_type::kBlob) return blobText(value);
    // The only number that is stored as a time is a duration.
    if (value.type == property_type::kFileTime && property.kind == BuiltInProperty::Kind::Number) {
        return std::to_string(ByteReader(value.data).number<std::uint64_t>() / kFileTimesPerMinute);
    }
    return texts.text(value);
}

std::string storedText(const PropertySet::Found& old, std::string_view text) {
    const auto& [value, texts] = old;
    return value.type == property_type::kBlob ? storedBlob(text, value) : texts.stored(text, value);
}

}  // namespace

std::size_t BuiltInProperties::count() {
    return kBuiltInPropertyCount;
}

PropertySet& BuiltInProperties::setOf(std::size_t index) const {
    return kStored.at(index).place == Place::Summary ? mStreams.summary()
                                                     : mStreams.documentSummary();
}

PropertyKey BuiltInProperties::keyOf(std::size_t index) const {
    const auto [place, id] = kStored.at(index);
    if (place == Place::Summary) return {kSummaryFormat, id};
    if (place == Place::Document) return {kDocumentSummaryFormat, id};
    PropertyKey key{kUserDefinedFormat, PropertyKey::kNone};
    for (const PropertyName& name : mStreams.documentSummary().names(kUserDefinedFormat)) {
        if (text::equals(name.name, kLinkBase, CaseMode::Folded)) key.id = name.id;
    }
    return key;
}

std::string BuiltInProperties::text(std::size_t index) const {
    const BuiltInProperty& property = kBuiltInProperties.at(index);
    const auto found = setOf(index).value(keyOf(index));
    if (hasNoValue(found)) return property.textWithoutValue();
    std::string text = shownText(*found, property);
    // Programs store the time 0 for what has never happened.
    if (text.empty() && property.kind == BuiltInProperty::Kind::Date) {
        return property.textWithoutValue();
    }
    return text;
}

void BuiltInProperties::setText(std::size_t index, std::string_view text) {
    const BuiltInProperty& property = kBuiltInProperties.at(index);
    property.checkMayChange();
    PropertySet& set = setOf(index);
    set.checkMayChange();
    const PropertyKey key = keyOf(index);
    const auto stored = set.storedValue(key);
    if (!stored) refuseMissingProperty();
    if (text == shownText(*stored, property)) return set.setValue(key, std::nullopt);
    set.setValue(key, property.kind == BuiltInProperty::Kind::Date
                          ? storedFileTime(property.typedDate(text, mCurrentYear))
                          : storedText(*stored, text));
}

}  // namespace brindle::workbook::xls
