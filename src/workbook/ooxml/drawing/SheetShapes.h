// SPDX-License-Identifier: MIT
// The shapes with text of one worksheet: those of its drawing, then those that stand only in its
// legacy drawing. A form control that stands in both is one shape.
#pragma once

#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "workbook/ooxml/drawing/Drawings.h"

namespace brindle::workbook::ooxml {

class SheetShapes {
public:
    // The text that a formula shows where it refers to a cell that was changed and holds a text.
    using CellText = std::function<std::optional<std::string>(const std::string& formula)>;

    // `frame` is the text of the sheet part around its cells. Borrows parts of `drawings`.
    SheetShapes(const Package& package, const std::string& sheetPart, std::string_view frame,
                Drawings& drawings, CellText cellText);

    // Whether a sheet may have shapes at all, by its relationships.
    static bool mayExist(const Package& package, const std::string& sheetPart);

    std::size_t count() const { return mShapes.size(); }
    std::string text(std::size_t index) const;
    // Throws Error (Refused) for a protected shape, and where there is no place for the text.
    void setText(std::size_t index, std::string_view text);

private:
    struct Shape {
        DrawingShape* drawing = nullptr;
        VmlShape* vml = nullptr;  // at least one of the two
    };
    void addShapes(DrawingPart& part);
    void addShapes(VmlPart& part);
    static bool isInDrawing(const Shape& shape);
    std::string storedText(const Shape& shape) const;
    void checkMayChange(const Shape& shape) const;

    CellText mCellText;
    std::vector<Shape> mShapes;
    bool mIsProtected = false;
    bool mIsVmlReadable = true;
};

}  // namespace brindle::workbook::ooxml
