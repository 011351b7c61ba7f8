// SPDX-License-Identifier: MIT
#pragma once

#include "ui/main/EntryGrid.h"

namespace brindle {

// Nothing is painted while rows come and go, whatever ends that.
class GridAtRest {
public:
    explicit GridAtRest(EntryGrid& grid) : mGrid(grid) { mGrid.setRedraw(false); }
    ~GridAtRest() { mGrid.setRedraw(true); }
    GridAtRest(const GridAtRest&) = delete;
    GridAtRest& operator=(const GridAtRest&) = delete;

private:
    EntryGrid& mGrid;
};

}  // namespace brindle
