// SPDX-License-Identifier: MIT
#pragma once

#include "workbook/NumberText.h"

namespace brindle::workbook {

// What a cell's format says about its content.
struct CellStyle {
    NumberFormatKind kind = NumberFormatKind::Plain;
    bool isGeneral = true;
    bool quotePrefix = false;  // entered behind an apostrophe: stays text
    bool locked = true;
};

}  // namespace brindle::workbook
