// SPDX-License-Identifier: MIT
#include "workbook/ooxml/drawing/SheetShapes.h"

#include <algorithm>
#include <unordered_map>
#include <utility>

#include "base/Error.h"
#include "base/Text.h"
#include "workbook/ooxml/Attributes.h"
#include "workbook/ooxml/OoxmlNames.h"
#include "workbook/package/XmlScanner.h"

namespace brindle::workbook::ooxml {

using package::XmlScanner;
using package::XmlToken;

namespace {

constexpr std::size_t kLongestText = 32767;  // UTF-16 units, as for cells

// What the frame of a sheet says of its drawings.
struct DrawingLinks {
    std::string drawing;     // relationship ids
    std::string vmlDrawing;  // not the one with the pictures of headers and footers
    bool isProtected = false;
};

DrawingLinks drawingLinks(std::string_view frame) {
    DrawingLinks links;
    XmlScanner scanner(frame);
    for (XmlToken token = scanner.next(); token != XmlToken::EndOfInput; token = scanner.next()) {
        if (token != XmlToken::StartElement || !isMainNamespace(scanner.namespaceUri())) continue;
        const std::string_view name = scanner.localName();
        if (name == "drawing") {
            links.drawing = relationshipId(scanner);
        } else if (name == "legacyDrawing") {
            links.vmlDrawing = relationshipId(scanner);
        } else if (name == "sheetProtection") {
            links.isProtected = isTrue(scanner, "sheet") && isTrue(scanner, "objects");
        }
    }
    return links;
}

// Empty when the relationship leads nowhere.
std::string partOf(const Package& package, const std::string& sheetPart, const std::string& id,
                   std::string_view type) {
    const Relationship* link = id.empty() ? nullptr : package.relationshipById(sheetPart, id);
    const bool leads =
        link && !link->isExternal && link->hasType(type) && package.hasPart(link->partName);
    return leads ? link->partName : std::string();
}

}  // namespace

bool SheetShapes::mayExist(const Package& package, const std::string& sheetPart) {
    return package.relationshipByType(sheetPart, kDrawingType) ||
           package.relationshipByType(sheetPart, kVmlDrawingType);
}

SheetShapes::SheetShapes(const Package& package, const std::string& sheetPart,
                         std::string_view frame, Drawings& drawings, CellText cellText)
    : mCellText(std::move(cellText)) {
    const DrawingLinks links = drawingLinks(frame);
    mIsProtected = links.isProtected;
    const std::string drawing = partOf(package, sheetPart, links.drawing, kDrawingType);
    if (!drawing.empty()) addShapes(drawings.drawing(package, drawing));
    const std::string vmlDrawing = partOf(package, sheetPart, links.vmlDrawing, kVmlDrawingType);
    if (!vmlDrawing.empty()) addShapes(drawings.vmlDrawing(package, vmlDrawing));
    const auto hasNoText = [](const Shape& shape) {
        if (shape.vml && shape.vml->isComment) return true;
        const bool hasBody = shape.drawing && !shape.drawing->bodies.empty();
        return !hasBody && !(shape.vml && shape.vml->box.text.hasRuns());
    };
    mShapes.erase(std::remove_if(mShapes.begin(), mShapes.end(), hasNoText), mShapes.end());
}

void SheetShapes::addShapes(DrawingPart& part) {
    for (DrawingShape& shape : part.shapes()) mShapes.push_back({&shape, nullptr});
}

void SheetShapes::addShapes(VmlPart& part) {
    mIsVmlReadable = part.isReadable();
    std::unordered_map<std::string, std::size_t> controls;
    for (std::size_t i = 0; i < mShapes.size(); ++i) {
        const std::string& id = mShapes[i].drawing->vmlId;
        if (!id.empty()) controls.emplace(id, i);
    }
    for (VmlShape& shape : part.shapes()) {
        const auto control = controls.find(shape.id);
        if (control != controls.end()) {
            mShapes[control->second].vml = &shape;
        } else {
            mShapes.push_back({nullptr, &shape});
        }
    }
}

bool SheetShapes::isInDrawing(const Shape& shape) {
    return shape.drawing && !shape.drawing->bodies.empty() &&
           (!shape.vml || !shape.drawing->text().empty());
}

std::string SheetShapes::storedText(const Shape& shape) const {
    if (isInDrawing(shape)) return shape.drawing->text();
    return shape.vml ? shape.vml->text() : std::string();
}

// A shape that shows a cell follows it; what its part says is out of date once the cell changed.
std::string SheetShapes::text(std::size_t index) const {
    const Shape& shape = mShapes.at(index);
    if (isInDrawing(shape) && !shape.drawing->link.empty()) {
        if (const auto shown = mCellText(shape.drawing->link)) return *shown;
    }
    return storedText(shape);
}

void SheetShapes::setText(std::size_t index, std::string_view newText) {
    const std::string oldText = text(index);
    if (newText == oldText) return;
    const Shape& shape = mShapes.at(index);
    checkMayChange(shape);
    if (text::lengthUtf16(newText) > std::max(kLongestText, text::lengthUtf16(oldText))) {
        throw Error::refused("The text is too long for a shape");
    }
    if (!isInDrawing(shape) && !shape.vml) {
        throw Error::refused("Unable to set the Text property of the Characters class");
    }
    // Either both of the control's texts change or none.
    VmlShape changed = shape.vml ? *shape.vml : VmlShape();
    if (shape.vml && (changed.box.text.hasRuns() || !isInDrawing(shape))) changed.setText(newText);
    if (isInDrawing(shape)) shape.drawing->setText(newText);
    if (shape.vml) *shape.vml = std::move(changed);
}

void SheetShapes::checkMayChange(const Shape& shape) const {
    const bool isLocked =
        (!shape.drawing || shape.drawing->isLocked) && (!shape.vml || shape.vml->isLocked);
    if (mIsProtected && isLocked) {
        throw Error::refused(
            "The shape that you are trying to change is protected and therefore read-only");
    }
    if (!mIsVmlReadable && shape.drawing && !shape.drawing->vmlId.empty()) {
        throw Error::refused("The control's legacy drawing cannot be read");
    }
}

}  // namespace brindle::workbook::ooxml
