// SPDX-License-Identifier: MIT
// The custom document properties, in ascending order of their ids. Layout: [MS-OSHARED] 2.3.3.2.3
// (user-defined properties).
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "workbook/xls/properties/PropertyStreams.h"

namespace brindle::workbook::xls {

class CustomProperties {
public:
    // `streams` are borrowed and get the changes. Throws Error (Refused) naming the stream when
    // it cannot be told which properties there are.
    explicit CustomProperties(PropertyStreams& streams);

    std::size_t count() const { return mIds.size(); }
    // Whatever the type of the value; empty for what cannot be shown as a text. Throws Error
    // (Refused) naming the stream.
    std::string text(std::size_t index) const;
    // The property holds a text afterwards; name, number and link to a cell stay. Throws Error
    // (Refused) when the text is too long or the property cannot hold it, and for a stream that
    // is damaged anywhere.
    void setText(std::size_t index, std::string_view text);

private:
    PropertySet& mSet;
    std::vector<std::uint32_t> mIds;
};

}  // namespace brindle::workbook::xls
