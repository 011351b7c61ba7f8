// SPDX-License-Identifier: MIT
// What cell styles say about a cell's content: number format, text format, apostrophe prefix,
// lock. Layout: ECMA-376 part 1, section 18.8.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "workbook/CellStyle.h"
#include "workbook/ooxml/Fragment.h"

namespace brindle::workbook::ooxml {

class StyleSheet {
public:
    // A package may have no styles part: one General style then.
    StyleSheet() : mStyles(1) {}
    explicit StyleSheet(std::string_view part);

    // An index that the part does not have counts as the first style.
    const CellStyle& style(std::uint32_t index) const {
        return mStyles[index < mStyles.size() ? index : 0];
    }

    // Index of a style like `base` with another number format; reuses what is there. Without a
    // styles part the base itself.
    std::uint32_t withFormat(std::uint32_t base, std::string_view formatCode);
    bool isChanged() const { return mChanged; }
    // The part with the styles and formats that were added.
    std::string changedPart() const;

private:
    void readFormats();
    CellStyle styleOf(const package::XmlScanner& scanner) const;
    int formatId(std::string_view formatCode);

    std::string mPart;
    std::map<int, std::string> mFormatCodes;  // the part's own
    std::vector<CellStyle> mStyles;
    std::vector<std::string> mStyleXml;  // the xf elements of cellXfs
    std::vector<std::pair<int, std::string>> mNewFormats;
    std::size_t mOldStyleCount = 0;
    FragmentContext mContext;
    bool mChanged = false;
};

}  // namespace brindle::workbook::ooxml
