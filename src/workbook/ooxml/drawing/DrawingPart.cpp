// SPDX-License-Identifier: MIT
#include "workbook/ooxml/drawing/DrawingPart.h"

#include <algorithm>
#include <iterator>
#include <optional>
#include <unordered_map>
#include <utility>

#include "workbook/ooxml/Attributes.h"
#include "workbook/ooxml/drawing/TextBody.h"
#include "workbook/ooxml/OoxmlNames.h"
#include "workbook/ooxml/Splices.h"
#include "workbook/package/XmlScanner.h"

namespace brindle::workbook::ooxml {

using package::XmlScanner;
using package::XmlToken;

namespace {

bool isFalse(const std::string& text) {
    return text == "0" || text == "false";
}

class DrawingReader {
public:
    DrawingReader(std::string_view part, std::vector<DrawingShape>& shapes)
        : mPart(part), mScanner(part), mShapes(shapes) {}

    void read() {
        for (XmlToken token = mScanner.next(); token != XmlToken::EndOfInput;
             token = mScanner.next()) {
            if (token == XmlToken::StartElement) readStart();
            if (token == XmlToken::EndElement) readEnd();
        }
    }

private:
    struct Alternatives {
        std::size_t depth = 0;
        std::size_t firstShape = 0;
        std::size_t branches = 0;
        std::size_t shapesInBranch = 0;  // behind the first
    };

    void readStart() {
        const std::string_view name = mScanner.localName();
        const std::string_view uri = mScanner.namespaceUri();
        if (uri == kCompatibilityNamespace) {
            if (name == "AlternateContent") {
                mAlternatives.push_back({mScanner.depth(), mShapes.size(), 0, 0});
            } else if (!mAlternatives.empty()) {
                ++mAlternatives.back().branches;
                mAlternatives.back().shapesInBranch = 0;
            }
        } else if (isSpreadsheetDrawingNamespace(uri)) {
            readDrawingElement(name);
        } else if (name == "compatExt" && mShape) {
            mShape->vmlId = attributeText(mScanner, "spid");
        }
    }

    void readDrawingElement(std::string_view name) {
        if (name == "twoCellAnchor" || name == "oneCellAnchor" || name == "absoluteAnchor") {
            mAnchored = mShapes.size();
        } else if (name == "sp" || name == "cxnSp") {
            beginShape();
        } else if (name == "cNvPr" && mShape) {
            mShape->id = attributeText(mScanner, "id");
        } else if (name == "txBody" && mShape) {
            PlacedText body;
            body.where.begin = mScanner.begin();
            body.text = readTextBody(mScanner, mPart);
            body.where.end = mScanner.end();
            body.oldXml = body.text.xml();
            mShape->bodies.push_back(std::move(body));
        } else if (name == "clientData" && isFalse(attributeText(mScanner, "fLocksWithSheet"))) {
            for (std::size_t i = mAnchored; i < mShapes.size(); ++i) mShapes[i].isLocked = false;
        }
    }

    void beginShape() {
        mShape.emplace();
        mShapeDepth = mScanner.depth();
        mShape->isLocked = !isFalse(attributeText(mScanner, "fLocksText"));
        const auto* link = mScanner.attribute("textlink");
        if (!link || link->rawValue.empty()) return;
        mShape->link = package::xmlAttributeText(link->rawValue);
        mShape->links.push_back({link->valueBegin, link->valueEnd});
    }

    void readEnd() {
        if (mShape && mScanner.depth() == mShapeDepth) {
            endShape();
        } else if (!mAlternatives.empty() && mScanner.depth() == mAlternatives.back().depth) {
            mAlternatives.pop_back();
        }
    }

    // What stands behind the first choice is another form of a shape that is known.
    void endShape() {
        DrawingShape shape = std::move(*mShape);
        mShape.reset();
        const auto other = std::find_if(mAlternatives.begin(), mAlternatives.end(),
                                        [](const auto& each) { return each.branches > 1; });
        if (other == mAlternatives.end()) {
            mById[shape.id] = mShapes.size();
            mShapes.push_back(std::move(shape));
            return;
        }
        const std::size_t place = other->firstShape + other->shapesInBranch++;
        const auto known = mById.find(shape.id);
        const bool isKnown = known != mById.end() && known->second >= other->firstShape;
        if (!(isKnown && addForm(known->second, shape))) addForm(place, shape);
    }

    // Its id may be missing in the other form.
    bool addForm(std::size_t index, DrawingShape& form) {
        if (index >= mShapes.size() || form.bodies.empty()) return false;
        DrawingShape& first = mShapes[index];
        if (first.bodies.empty() || first.text() != form.text()) return false;
        std::move(form.bodies.begin(), form.bodies.end(), std::back_inserter(first.bodies));
        first.links.insert(first.links.end(), form.links.begin(), form.links.end());
        return true;
    }

    std::string_view mPart;
    XmlScanner mScanner;
    std::vector<DrawingShape>& mShapes;
    std::unordered_map<std::string, std::size_t> mById;  // the last of each id
    std::vector<Alternatives> mAlternatives;
    std::optional<DrawingShape> mShape;  // the one being read
    std::size_t mShapeDepth = 0;
    std::size_t mAnchored = 0;  // the first shape of the anchor being read
};

}  // namespace

void DrawingShape::setText(std::string_view text) {
    const std::string old = this->text();
    std::vector<PlacedText> changed = bodies;
    for (PlacedText& body : changed) {
        if (body.text.text() != old) continue;
        body.text = body.text.changedTo(text, !link.empty());
    }
    bodies = std::move(changed);
    isUnlinked = isUnlinked || !link.empty();
    link.clear();
}

DrawingPart::DrawingPart(std::string_view text) : mText(text) {
    DrawingReader(mText, mShapes).read();
}

bool DrawingPart::isChanged() const {
    return std::any_of(mShapes.begin(), mShapes.end(), [](const DrawingShape& shape) {
        return shape.isUnlinked ||
               std::any_of(shape.bodies.begin(), shape.bodies.end(),
                           [](const PlacedText& body) { return body.isChanged(); });
    });
}

std::string DrawingPart::changedPart() const {
    std::vector<Splice> splices;
    for (const DrawingShape& shape : mShapes) {
        for (const PlacedText& body : shape.bodies) {
            if (body.isChanged())
                splices.push_back({body.where.begin, body.where.end, body.text.xml()});
        }
        for (const TextSpan& link : shape.links) {
            if (shape.isUnlinked) splices.push_back({link.begin, link.end, {}});
        }
    }
    return splicedText(mText, std::move(splices));
}

}  // namespace brindle::workbook::ooxml
