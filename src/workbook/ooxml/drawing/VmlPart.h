// SPDX-License-Identifier: MIT
// The legacy drawing of a worksheet: form controls, old text boxes, boxes of comments. Layout:
// VML, ECMA-376 part 4, section 19, with the spreadsheet's own elements in 19.4.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "base/TextFinder.h"
#include "workbook/ooxml/drawing/DrawingPart.h"

namespace brindle::workbook::ooxml {

struct VmlShape {
    std::string id;
    bool isComment = false;
    bool isLocked = true;
    PlacedText box;  // the text box; no runs when there is none
    TextSpan link;   // the element that links the text to a cell; empty for none
    bool isUnlinked = false;

    std::string text() const { return box.text.text(); }
    // Throws Error (Refused).
    void setText(std::string_view text);
};

class VmlPart {
public:
    // `text` is borrowed by the constructor only. Line breaks without an end tag, as the
    // application writes them, are understood and stay.
    explicit VmlPart(std::string_view text);

    // False when the part is too far from XML; then it has no shapes.
    bool isReadable() const { return mIsReadable; }
    // False when it has such line breaks.
    bool isXml() const { return !mIsMarked; }
    // In the order of the part.
    std::vector<VmlShape>& shapes() { return mShapes; }
    bool isChanged() const;
    std::string changedPart() const;

private:
    bool read();

    std::string mText;
    bool mIsMarked = false;  // mText is XML only by marks
    bool mIsReadable = true;
    std::vector<VmlShape> mShapes;
};

}  // namespace brindle::workbook::ooxml
