// SPDX-License-Identifier: MIT
#pragma once

#include "ui/main/EntryGrid.h"

namespace brindle {

// Nothing is painted and rows are cheap while one lives.
class GridAtRest {
public:
    explicit GridAtRest(EntryGrid& grid) : mGrid(grid), mBefore(grid.Redraw()) {
        mGrid.setRedraw(false);
    }
    ~GridAtRest() { mGrid.setRedraw(mBefore); }
    GridAtRest(const GridAtRest&) = delete;
    GridAtRest& operator=(const GridAtRest&) = delete;

private:
    EntryGrid& mGrid;
    const bool mBefore;
};

}  // namespace brindle
