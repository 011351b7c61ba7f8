// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "engine/excel/Index.h"
#include "workbook/Document.h"

namespace brindle::excel {

class DocumentProperty {
public:
    DocumentProperty(workbook::Document& document, bool custom, std::size_t place)
        : mDocument(&document), mCustom(custom), mPlace(place) {}

    // The value as text, whatever its type; a property without a value throws.
    std::string Value() const { return mDocument->propertyText(mCustom, mPlace); }
    // The property holds a text afterwards.
    void setValue(std::string_view text) { mDocument->setPropertyText(mCustom, mPlace, text); }

private:
    workbook::Document* mDocument;
    bool mCustom;
    std::size_t mPlace;
};

class DocumentProperties {
public:
    DocumentProperties(workbook::Document& document, bool custom)
        : mDocument(&document), mCustom(custom) {}

    std::int32_t Count() const {
        return static_cast<std::int32_t>(mDocument->propertyCount(mCustom));
    }
    DocumentProperty Item(std::int32_t index) const {
        return {*mDocument, mCustom, itemPlace(index, mDocument->propertyCount(mCustom))};
    }

private:
    workbook::Document* mDocument;
    bool mCustom;
};

}  // namespace brindle::excel
