// SPDX-License-Identifier: MIT
// A stream with a property set. Layout: [MS-OLEPS] 2.21 (PropertySetStream).
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "base/Error.h"
#include "workbook/xls/properties/PropertySection.h"

namespace brindle::workbook::xls {

// What a section is about, as stored.
using FormatId = std::array<unsigned char, 16>;
inline constexpr FormatId kSummaryFormat = {0xE0, 0x85, 0x9F, 0xF2, 0xF9, 0x4F, 0x68, 0x10,
                                            0xAB, 0x91, 0x08, 0x00, 0x2B, 0x27, 0xB3, 0xD9};
inline constexpr FormatId kDocumentSummaryFormat = {0x02, 0xD5, 0xCD, 0xD5, 0x9C, 0x2E, 0x1B, 0x10,
                                                    0x93, 0x97, 0x08, 0x00, 0x2B, 0x2C, 0xF9, 0xAE};
inline constexpr FormatId kUserDefinedFormat = {0x05, 0xD5, 0xCD, 0xD5, 0x9C, 0x2E, 0x1B, 0x10,
                                                0x93, 0x97, 0x08, 0x00, 0x2B, 0x2C, 0xF9, 0xAE};

// A property by the format of its section and its number there.
struct PropertyKey {
    static constexpr std::uint32_t kNone = 0xFFFFFFFF;  // no section has such a property
    FormatId format{};
    std::uint32_t id = 0;
};

// Every Error names the stream.
class PropertySet {
public:
    // Damage shows in what is asked later. No bytes stand for a stream that is not there.
    PropertySet(std::string name, std::optional<std::string> bytes);
    PropertySet(const PropertySet&) = delete;
    PropertySet& operator=(const PropertySet&) = delete;

    struct Found {
        PropertyValue value;        // whole; valid until its next change
        const PropertyText& texts;  // for the values of its section
    };
    // The value as it is stored in the stream, and as it has been changed; nothing when there is
    // none. Throw Error (Refused) when it cannot be told or not be read.
    std::optional<Found> storedValue(const PropertyKey& key) const;
    std::optional<Found> value(const PropertyKey& key) const;
    // Whether there is one, readable or not.
    bool has(const PropertyKey& key) const;
    // In ascending order of the ids; empty without such a section. Throws Error (Refused).
    const std::vector<PropertyName>& names(const FormatId& format) const;

    // Throws Error (Refused) unless all of the stream is understood: what is not might be lost or
    // misread after a change.
    void checkMayChange() const;
    // Type and data for a property that is there; nothing for the stored ones. Throws like
    // checkMayChange().
    void setValue(const PropertyKey& key, std::optional<std::string> typedValue);

    const std::string& name() const { return mName; }
    bool isChanged() const;
    // The stream with the changes; everything else has its bytes. Room that a program has left
    // behind the last section is used up before the stream becomes longer. Throws Error
    // (TooLarge).
    std::string bytes() const;

private:
    struct Placed {
        FormatId format{};
        std::size_t headerOffset = 0;  // of the number that tells where the section is
        std::size_t begin = 0;
        std::optional<PropertySection> section;  // nothing when it cannot be read
    };
    void read();
    void readSection(Placed& placed, std::size_t headerEnd, std::size_t end);
    const PropertySection* section(const FormatId& format) const;
    std::string shownName() const;
    Error damaged() const;

    std::string mName;
    std::string mBytes;
    std::vector<Placed> mSections;  // in the order of their places
    bool mHasHeader = true;
    bool mIsWhole = true;
};

}  // namespace brindle::workbook::xls
