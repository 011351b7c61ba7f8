// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "engine/excel/Index.h"
#include "workbook/Document.h"

namespace brindle::excel {

class Hyperlink {
public:
    Hyperlink(workbook::Worksheet& sheet, std::size_t place) : mSheet(&sheet), mPlace(place) {}

    std::string Address() const { return mSheet->hyperlinkAddress(mPlace); }
    void setAddress(std::string_view address) { mSheet->setHyperlinkAddress(mPlace, address); }

private:
    workbook::Worksheet* mSheet;
    std::size_t mPlace;
};

class Hyperlinks {
public:
    explicit Hyperlinks(workbook::Worksheet& sheet) : mSheet(&sheet) {}

    std::int32_t Count() const { return static_cast<std::int32_t>(mSheet->hyperlinkCount()); }
    Hyperlink Item(std::int32_t index) const {
        return {*mSheet, itemPlace(index, mSheet->hyperlinkCount())};
    }

private:
    workbook::Worksheet* mSheet;
};

}  // namespace brindle::excel
