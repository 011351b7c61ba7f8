// SPDX-License-Identifier: MIT
// The built-in document properties, in the order of the object model's collection. Layout:
// [MS-OSHARED] 2.3.3.2.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "workbook/xls/properties/PropertyStreams.h"

namespace brindle::workbook::xls {

class BuiltInProperties {
public:
    // `streams` are borrowed and get the changes. `currentYear` is for dates typed without one.
    BuiltInProperties(PropertyStreams& streams, int currentYear)
        : mStreams(streams), mCurrentYear(currentYear) {}

    static std::size_t count();
    // Throws Error (NotFound) when the property has no value, and Error (Refused) naming the
    // stream.
    std::string text(std::size_t index) const;
    // Throws Error (Refused) for what the application counts or says by itself, for a date that
    // would be none, and for a stream that is damaged anywhere.
    void setText(std::size_t index, std::string_view text);

private:
    PropertySet& setOf(std::size_t index) const;
    PropertyKey keyOf(std::size_t index) const;

    PropertyStreams& mStreams;
    int mCurrentYear;
};

}  // namespace brindle::workbook::xls
