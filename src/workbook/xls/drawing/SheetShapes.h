// SPDX-License-Identifier: MIT
// The shapes with text of one sheet, captions of form controls and members of groups among them,
// in the order of the drawing. Boxes of comments are none. Layout: [MS-XLS] 2.4.181 (Obj).
#pragma once

#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "workbook/xls/drawing/ShapeText.h"

namespace brindle::workbook::xls {

class SheetShapes {
public:
    // The text of a cell that was changed and holds one; the cell by the tokens of a formula.
    using CellText = std::function<std::optional<std::string>(std::string_view tokens)>;

    // Borrows stream and codec. Workbooks before BIFF8 keep no texts that are searched.
    // `areProtected`: whether the protection of the sheet covers its objects. Throws Error
    // (Damaged) as SheetRecords does.
    SheetShapes(std::string_view stream, std::size_t sheetOffset, const StringCodec& codec,
                bool areProtected, CellText cellText = {});

    std::size_t count() const { return mShapes.size(); }
    // A shape that shows a cell follows it.
    std::string text(std::size_t index) const;
    // Throws Error 1004 for a protected shape, and where there is no place for the text.
    void setText(std::size_t index, std::string_view text);

    bool isChanged() const;
    std::vector<RecordSplice> splices() const;

private:
    struct Shape {
        bool isLocked = true;
        ShapeText text;
    };
    bool mAreProtected;
    CellText mCellText;
    std::vector<Shape> mShapes;
};

}  // namespace brindle::workbook::xls
