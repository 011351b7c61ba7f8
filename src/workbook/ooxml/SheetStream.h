// SPDX-License-Identifier: MIT
// The fast reader of sheetData: one forward walk over a window, for parts that are written the
// way nearly all programs write them.
#pragma once

#include <optional>
#include <string>

#include "workbook/ooxml/SheetScanner.h"
#include "workbook/package/PartWindow.h"

namespace brindle::workbook::ooxml {

// Passes the cells on and returns the frame. Nothing when the part holds something unusual (a
// prefix, a comment, an unknown element, an encoding other than UTF-8); cells passed on until
// then do not count, and the general reader has to take over. Throws Error (Damaged) for what
// looks damaged from here; the general reader has the last word on that too.
std::optional<SheetFrame> streamSheet(package::PartWindow& window, CellSink& sink);

// The frame alone. Looks for the end tag of sheetData without reading the rows; nothing and
// errors as above.
std::optional<SheetFrame> streamFrame(package::PartWindow& window);

}  // namespace brindle::workbook::ooxml
