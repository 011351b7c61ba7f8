// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "engine/excel/Index.h"
#include "workbook/Document.h"

namespace brindle::excel {

class Shape {
public:
    Shape(workbook::Worksheet& sheet, std::size_t place) : mSheet(&sheet), mPlace(place) {}

    // The whole text of the shape.
    std::string Text() const { return mSheet->shapeText(mPlace); }
    void setText(std::string_view text) { mSheet->setShapeText(mPlace, text); }

private:
    workbook::Worksheet* mSheet;
    std::size_t mPlace;
};

// The shapes of a worksheet that can hold text, those inside groups included.
class Shapes {
public:
    explicit Shapes(workbook::Worksheet& sheet) : mSheet(&sheet) {}

    std::int32_t Count() const { return static_cast<std::int32_t>(mSheet->shapeCount()); }
    Shape Item(std::int32_t index) const {
        return {*mSheet, itemPlace(index, mSheet->shapeCount())};
    }

private:
    workbook::Worksheet* mSheet;
};

}  // namespace brindle::excel
