// SPDX-License-Identifier: MIT
// The custom document properties, in the order of their part. Layout: ECMA-376 part 1, sections
// 22.3 and 22.4.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/TextFinder.h"
#include "workbook/ooxml/Package.h"

namespace brindle::workbook::ooxml {

class CustomProperties {
public:
    // Throws Error (Damaged) naming the part.
    explicit CustomProperties(const Package& package);

    std::size_t count() const { return mProperties.size(); }
    // Whatever the type of the value; empty for what cannot be shown as a text.
    std::string text(std::size_t index) const;
    // The property holds a text afterwards; name, number and link to a cell stay. Throws Error
    // (Refused) when the text is too long or XML cannot hold it.
    void setText(std::size_t index, std::string_view text);

    bool isChanged() const;
    void changeParts(Package& package) const;

private:
    struct Property {
        TextSpan where;      // the element of the value; empty when there is none
        std::string type;    // its local name
        std::string prefix;  // with the colon
        std::string text;    // as it shows
        std::optional<std::string> newText;
    };
    void read(std::string_view part);

    std::string mPartName;
    std::string mText;
    std::vector<Property> mProperties;
};

}  // namespace brindle::workbook::ooxml
