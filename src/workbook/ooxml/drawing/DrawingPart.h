// SPDX-License-Identifier: MIT
// The drawing of a worksheet: its shapes with text. Layout: ECMA-376 part 1, section 20.5;
// alternate content, part 3, section 10.2.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "base/TextFinder.h"
#include "workbook/ooxml/drawing/ShapeText.h"

namespace brindle::workbook::ooxml {

// A text body, and where it stands in the part.
struct PlacedText {
    TextSpan where;
    ShapeText text;
    std::string oldXml;  // of the text as it was read
    bool isChanged() const { return text.xml() != oldXml; }
};

struct DrawingShape {
    std::string id;     // of the drawing object
    std::string vmlId;  // of the form control that this shape stands for; else empty
    std::string link;   // the cell whose text it shows, as a formula; else empty
    bool isLocked = true;
    // None for a shape without a text frame; behind the first one the same text for other
    // applications.
    std::vector<PlacedText> bodies;
    std::vector<TextSpan> links;  // values of the attributes that link the texts to a cell
    bool isUnlinked = false;

    std::string text() const { return bodies.empty() ? std::string() : bodies.front().text.text(); }
    // Changes the text in every body that has the same one. Throws Error (Refused).
    void setText(std::string_view text);
};

class DrawingPart {
public:
    // `text` is borrowed by the constructor only. Throws Error (Damaged).
    explicit DrawingPart(std::string_view text);

    // Shapes and connectors, those in groups too, in the order of the drawing. Of alternate
    // content the first choice counts.
    std::vector<DrawingShape>& shapes() { return mShapes; }
    bool isChanged() const;
    std::string changedPart() const;

private:
    std::string mText;
    std::vector<DrawingShape> mShapes;
};

}  // namespace brindle::workbook::ooxml
