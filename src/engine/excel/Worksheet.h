// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <string>

#include "engine/excel/Hyperlinks.h"
#include "engine/excel/PageSetup.h"
#include "engine/excel/Range.h"
#include "engine/excel/Shapes.h"
#include "workbook/Document.h"

namespace brindle::excel {

class Worksheet {
public:
    explicit Worksheet(workbook::Worksheet& sheet) : mSheet(&sheet) {}

    std::string Name() const { return mSheet->name(); }
    // The whole sheet.
    Range Cells() const { return Range::wholeSheet(*mSheet); }
    // One cell, row and column from 1.
    Range Cells(std::int32_t row, std::int32_t column) const {
        return Range(*mSheet, {row, column, row, column});
    }
    Range UsedRange() const { return Range(*mSheet, mSheet->usedRange()); }
    excel::Hyperlinks Hyperlinks() const { return excel::Hyperlinks(*mSheet); }
    excel::PageSetup PageSetup() const { return excel::PageSetup(*mSheet); }
    excel::Shapes Shapes() const { return excel::Shapes(*mSheet); }

private:
    workbook::Worksheet* mSheet;
};

}  // namespace brindle::excel
