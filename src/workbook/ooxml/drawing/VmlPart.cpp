// SPDX-License-Identifier: MIT
#include "workbook/ooxml/drawing/VmlPart.h"

#include <algorithm>
#include <array>

#include "base/Error.h"
#include "base/Text.h"
#include "workbook/ooxml/drawing/TextBody.h"
#include "workbook/ooxml/OoxmlNames.h"
#include "workbook/ooxml/Splices.h"
#include "workbook/package/XmlScanner.h"

namespace brindle::workbook::ooxml {

using package::XmlScanner;
using package::XmlToken;

namespace {

constexpr std::array<std::string_view, 9> kShapes = {
    "shape", "rect", "roundrect", "oval", "line", "polyline", "curve", "arc", "image"};

bool isShape(std::string_view name) {
    return std::find(kShapes.begin(), kShapes.end(), name) != kShapes.end();
}

// "False", with white space around it.
bool isFalse(const std::string& text) {
    const std::size_t begin = std::min(text.find_first_not_of(" \t\r\n"), text.size());
    const std::size_t end = text.find_last_not_of(" \t\r\n") + 1;
    return text::lowerAscii(std::string_view(text).substr(begin, end - begin)) == "false";
}

class VmlPartReader {
public:
    VmlPartReader(std::string_view part, std::string_view lineBreak)
        : mPart(part), mLineBreak(lineBreak), mScanner(part) {}

    std::vector<VmlShape> read() {
        std::vector<VmlShape> shapes;
        for (XmlToken token = mScanner.next(); token != XmlToken::EndOfInput;
             token = mScanner.next()) {
            if (token == XmlToken::StartElement) {
                readStart();
            } else if (token == XmlToken::EndElement && !mOpen.empty() &&
                       mScanner.depth() == mOpen.back().depth) {
                shapes.push_back(std::move(mOpen.back().shape));
                mOpen.pop_back();
            }
        }
        return shapes;
    }

private:
    struct OpenShape {
        std::size_t depth = 0;
        VmlShape shape;
    };

    void readStart() {
        const std::string_view name = mScanner.localName();
        const bool isVml = mScanner.namespaceUri() == kVmlNamespace;
        // A shape type is a template.
        if (isVml && name == "shapetype") {
            mScanner.skipElement();
        } else if (isVml && isShape(name)) {
            beginShape();
        } else if (mOpen.empty()) {
            return;
        } else if (isVml && name == "textbox") {
            PlacedText& box = mOpen.back().shape.box;
            box.where.begin = mScanner.begin();
            box.text = readVmlTextBox(mScanner, mPart, mLineBreak);
            box.where.end = mScanner.end();
            box.oldXml = box.text.xml();
        } else if (name == "ClientData") {
            readClientData(mOpen.back().shape);
        }
    }

    void beginShape() {
        const auto* id = mScanner.attribute("spid");
        if (!id) id = mScanner.attribute("id");
        OpenShape& open = mOpen.emplace_back();
        open.depth = mScanner.depth();
        if (id) open.shape.id = package::xmlAttributeText(id->rawValue);
    }

    void readClientData(VmlShape& shape) {
        const auto* type = mScanner.attribute("ObjectType");
        shape.isComment = type && type->rawValue == "Note";
        const std::size_t depth = mScanner.depth();
        for (XmlToken token = mScanner.next();
             token != XmlToken::EndElement || mScanner.depth() != depth; token = mScanner.next()) {
            if (token != XmlToken::StartElement || mScanner.depth() != depth + 1) continue;
            const std::string_view name = mScanner.localName();
            if (name == "Locked" || name == "LockText") {
                if (isFalse(elementText())) shape.isLocked = false;
            } else if (name == "FmlaTxbx") {
                const std::size_t begin = mScanner.begin();
                mScanner.skipElement();
                shape.link = {begin, mScanner.end()};
            }
        }
    }

    std::string elementText() {
        std::string text;
        const std::size_t depth = mScanner.depth();
        for (XmlToken token = mScanner.next();
             token != XmlToken::EndElement || mScanner.depth() != depth; token = mScanner.next()) {
            if (token == XmlToken::Text) mScanner.appendText(text);
        }
        return text;
    }

    std::string_view mPart;
    std::string_view mLineBreak;
    XmlScanner mScanner;
    std::vector<OpenShape> mOpen;
};

// What makes a part XML, and what it stands for in the part.
struct Mark {
    std::string_view part;
    std::string_view mark;
};
constexpr std::string_view kUnclosed = " brindle-unclosed=\"\"/";
constexpr Mark kSpace = {"&nbsp;", "&#0000000160;"};

// The part with every line break closed, and the one entity expanded that web pages have and XML
// does not. Everything else stays, so that unmarked() leads back.
std::string marked(std::string_view text) {
    std::string out;
    for (std::size_t at = 0; at < text.size();) {
        if (text::lowerAscii(text.substr(at, 4)) == "<br>") {
            out += text.substr(at, 3);
            out += kUnclosed;
            out += '>';
            at += 4;
        } else if (text.substr(at, kSpace.part.size()) == kSpace.part) {
            out += kSpace.mark;
            at += kSpace.part.size();
        } else {
            const std::size_t next = text.find_first_of("<&", at + 1);
            out += text.substr(at, next - at);
            at = std::min(next, text.size());
        }
    }
    return out;
}

std::string unmarked(std::string_view text) {
    std::string out;
    while (!text.empty()) {
        const std::size_t mark = std::min(text.find(kUnclosed), text.size());
        out += text.substr(0, mark);
        const std::size_t end = std::min(mark + kUnclosed.size(), text.size());
        // A new text may hold the words of the mark, but no tag.
        const bool isMark = mark >= 3 && text::lowerAscii(text.substr(mark - 3, 3)) == "<br";
        if (!isMark) out += text.substr(mark, end - mark);
        text.remove_prefix(end);
    }
    return text::replaceAll(out, kSpace.mark, kSpace.part, CaseMode::Exact);
}

bool hasMarks(std::string_view text) {
    return text::contains(text, kUnclosed, CaseMode::Exact) ||
           text::contains(text, kSpace.mark, CaseMode::Exact);
}

}  // namespace

void VmlShape::setText(std::string_view text) {
    box.text = box.text.changedTo(text, false);
    isUnlinked = link.end > link.begin;
}

VmlPart::VmlPart(std::string_view text) : mText(text) {
    if (read()) return;
    mIsReadable = false;
    if (hasMarks(text)) return;
    mText = marked(text);
    mIsMarked = true;
    mIsReadable = read();
}

bool VmlPart::read() {
    try {
        const std::string lineBreak = mIsMarked ? "<br" + std::string(kUnclosed) + ">" : "<br/>";
        mShapes = VmlPartReader(mText, lineBreak).read();
        return true;
    } catch (const Error&) {
        return false;  // the workbook is none the worse; what the part shows is just not searched
    }
}

bool VmlPart::isChanged() const {
    return std::any_of(mShapes.begin(), mShapes.end(), [](const VmlShape& shape) {
        return shape.isUnlinked || shape.box.isChanged();
    });
}

std::string VmlPart::changedPart() const {
    std::vector<Splice> splices;
    for (const VmlShape& shape : mShapes) {
        if (shape.box.isChanged())
            splices.push_back({shape.box.where.begin, shape.box.where.end, shape.box.text.xml()});
        if (shape.isUnlinked) splices.push_back({shape.link.begin, shape.link.end, {}});
    }
    std::string changed = splicedText(mText, std::move(splices));
    return mIsMarked ? unmarked(changed) : changed;
}

}  // namespace brindle::workbook::ooxml
