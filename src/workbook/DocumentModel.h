// SPDX-License-Identifier: MIT
// Plain data passed across the workbook layer's interface. Texts are UTF-8.
#pragma once

#include <compare>
#include <cstdint>
#include <map>
#include <string>
#include <utility>

namespace brindle::workbook {

// A cell's place, both from 1. Ordered by row, then column.
struct CellPosition {
    std::int32_t row = 0;
    std::int32_t column = 0;
    auto operator<=>(const CellPosition&) const = default;
};

// "B7"
std::string cellName(CellPosition position);

// What a cell holds, or is to hold, for the import and export of lists: the recognised value.
struct CellValue {
    enum class Kind { Blank, Text, Number, Boolean, Error, Formula };
    Kind kind = Kind::Blank;
    std::string text;      // Text, Error, Formula (with "="); the edit text of the others
    double number = 0;     // Number
    bool boolean = false;  // Boolean

    static CellValue ofText(std::string text) { return {Kind::Text, std::move(text), 0, false}; }
    static CellValue ofNumber(double number) { return {Kind::Number, {}, number, false}; }
    static CellValue ofBoolean(bool boolean) { return {Kind::Boolean, {}, 0, boolean}; }
};

// The smallest rectangle that holds all cells; all zero on an empty sheet.
struct CellRange {
    std::int32_t firstRow = 0;
    std::int32_t firstColumn = 0;
    std::int32_t lastRow = 0;
    std::int32_t lastColumn = 0;
};

// The range of the cells that have a value.
CellRange rangeOf(const std::map<CellPosition, CellValue>& values);

enum class PageSection {
    LeftHeader,
    CenterHeader,
    RightHeader,
    LeftFooter,
    CenterFooter,
    RightFooter
};
enum class PageKind { Odd, Even, First };

}  // namespace brindle::workbook
