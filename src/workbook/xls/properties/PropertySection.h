// SPDX-License-Identifier: MIT
// One section of a property set: values by number, some with a name. Layout: [MS-OLEPS] 2.16 to
// 2.21 (Dictionary, PropertyIdentifierAndOffset, PropertySet).
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "workbook/xls/properties/PropertyText.h"
#include "workbook/xls/properties/PropertyValue.h"

namespace brindle::workbook::xls {

struct PropertyName {
    std::uint32_t id = 0;
    std::string name;  // UTF-8
};

// Reads what can be read of a damaged section, which is never rewritten.
class PropertySection {
public:
    // `bytes` begin with the section, which ends with them if not before; borrowed. `hasNames`
    // tells whether its dictionary means anything. Throws Error (Damaged) when not even the head
    // is there.
    PropertySection(std::string_view bytes, bool hasNames);

    // Whether everything in it is understood and lies where it can be moved.
    bool isWhole() const { return mIsWhole; }
    std::size_t size() const { return mBytes.size(); }
    // For the values of this section.
    const PropertyText& texts() const { return mTexts; }

    bool has(std::uint32_t id) const { return find(id) != nullptr; }
    // The value as it is stored; nothing when there is none or when it is damaged.
    std::optional<PropertyValue> storedValue(std::uint32_t id) const;
    // As it has been changed; nothing when it has not. Valid until the next change.
    std::optional<PropertyValue> changedValue(std::uint32_t id) const;
    // The dictionary, in ascending order of the ids; nothing when it is damaged.
    const std::optional<std::vector<PropertyName>>& names() const { return mNames; }

    // Type and data, without padding, for a value that is there; nothing for the stored one.
    void setValue(std::uint32_t id, std::optional<std::string> typedValue);
    bool isChanged() const { return !mChanges.empty(); }
    // Changed values are where the old ones were. All others keep their bytes, their order and
    // their alignment: common programs align less than the format asks for. To be called for
    // whole sections only.
    std::string rewritten() const;

private:
    // Several may share one value.
    struct Entry {
        std::uint32_t id = 0;
        std::size_t begin = 0;  // of the value, from the start of the section
        std::size_t end = 0;    // begin of the next value or end of the section
    };
    void readEntries();
    void setEnds();
    bool areValuesWhole() const;
    void readNames();
    const Entry* find(std::uint32_t id) const;
    std::uint16_t codePage() const;
    std::optional<PropertyValue> wholeValue(const Entry& entry) const;

    std::string_view mBytes;
    std::vector<Entry> mEntries;     // in the order of the table
    std::vector<std::size_t> mById;  // indexes of mEntries
    std::vector<std::size_t> mByBegin;
    PropertyText mTexts;
    std::optional<std::vector<PropertyName>> mNames;
    std::map<std::uint32_t, std::string> mChanges;
    bool mIsWhole = true;
};

}  // namespace brindle::workbook::xls
