// SPDX-License-Identifier: MIT
#pragma once

#include <QPalette>

namespace brindle {

// The colours of cells in the grid of entries, for a palette: light ones in a light one, dark
// ones in a dark one.
struct GridColours {
    explicit GridColours(const QPalette& palette) : editedRow(palette.color(QPalette::Button)) {
        const bool dark = palette.color(QPalette::Base).lightness() < 128;
        selected = dark ? QColor(0x4A, 0x4A, 0x4A) : QColor(0xE0, 0xE0, 0xE0);
        editedCell = dark ? QColor(0x10, 0x10, 0x10) : QColor(0xFF, 0xFF, 0xFF);
    }

    QColor selected;
    QColor editedRow;
    QColor editedCell;
};

}  // namespace brindle
