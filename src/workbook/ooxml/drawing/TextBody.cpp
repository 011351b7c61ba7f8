// SPDX-License-Identifier: MIT
#include "workbook/ooxml/drawing/TextBody.h"

#include "base/Text.h"
#include "workbook/ooxml/Fragment.h"

namespace brindle::workbook::ooxml {

using package::XmlScanner;
using package::XmlToken;

namespace {

using Kind = ShapeText::Kind;
using Node = ShapeText::Node;

class BodyReader {
public:
    BodyReader(XmlScanner& scanner, std::string_view part) : mScanner(scanner), mPart(part) {}

    ShapeText read() {
        const std::size_t depth = mScanner.depth();
        mPending = token();
        for (;;) {
            const XmlToken kind = mScanner.next();
            if (kind == XmlToken::EndElement && mScanner.depth() == depth) break;
            const bool isParagraph =
                mScanner.depth() == depth + 1 && mScanner.localName() == "p" &&
                (kind == XmlToken::StartElement || kind == XmlToken::EndElement);
            if (isParagraph) {
                readParagraphTag(kind);
            } else if (kind == XmlToken::StartElement && mScanner.depth() == depth + 2) {
                readContent();
            } else if (kind == XmlToken::StartElement) {
                mPending += element();
                mIsOpaque = mHasParagraph;
            } else {
                mPending += token();
            }
        }
        mPending += token();
        mText.addMarkup(mPending);
        return std::move(mText);
    }

private:
    std::string_view token() const {
        return mPart.substr(mScanner.begin(), mScanner.end() - mScanner.begin());
    }
    std::string_view element() {
        const std::size_t begin = mScanner.begin();
        mScanner.skipElement();
        return mPart.substr(begin, mScanner.end() - begin);
    }

    // An empty-element tag is taken apart, so that a paragraph's two ends are never one piece.
    void readParagraphTag(XmlToken kind) {
        if (kind == XmlToken::EndElement) {
            endContent();
            if (token().empty()) mPending += "</" + std::string(mScanner.qualifiedName()) + ">";
            mPending += token();
            return;
        }
        mIsBetween = mHasParagraph;
        mHasParagraph = true;
        mHasEnded = false;
        const std::string_view tag = token();
        mPending += mScanner.isEmptyElement() ? std::string(tag.substr(0, tag.rfind('/'))) + ">"
                                              : std::string(tag);
    }

    // A child of a paragraph.
    void readContent() {
        const std::string_view name = mScanner.localName();
        if (name == "pPr") {
            mPending += element();
        } else if (name == "endParaRPr") {
            endContent();
            mPending += element();
        } else {
            beginPiece();
            if (name == "r" || name == "fld") {
                readRun();
            } else if (name == "br") {
                Node node;
                node.kind = Kind::Break;
                node.text = "\n";
                node.head = element();
                mText.add(std::move(node));
            } else {
                mText.addMarkup(element());
            }
        }
    }

    void beginPiece() {
        if (mIsBetween) {
            Node node;
            node.kind = Kind::Paragraph;
            node.text = "\n";
            node.head = mPending;
            node.isFixed = mIsOpaque;
            mText.add(std::move(node));
        } else {
            mText.addMarkup(mPending);
        }
        mPending.clear();
        mIsBetween = mIsOpaque = false;
    }
    void endContent() {
        if (!mHasEnded) beginPiece();
        mHasEnded = true;
    }

    void readRun() {
        const std::size_t depth = mScanner.depth();
        const std::size_t begin = mScanner.begin();
        const std::string prefix = prefixOf(mScanner.qualifiedName());
        Node node;
        node.kind = mScanner.localName() == "fld" ? Kind::Field : Kind::Run;
        if (node.kind == Kind::Field) {
            const auto* type = mScanner.attribute("type");
            node.isLinked = type && type->rawValue == "TxLink";
        }
        std::size_t textBegin = 0;
        std::size_t textEnd = 0;
        bool inText = false;
        for (;;) {
            const XmlToken kind = mScanner.next();
            const bool isStart = kind == XmlToken::StartElement;
            if (kind == XmlToken::EndElement && mScanner.depth() == depth) break;
            if (isStart && mScanner.localName() == "rPr") {
                node.format = element();
            } else if (isStart && mScanner.localName() == "t" && textBegin == 0 &&
                       !mScanner.isEmptyElement()) {
                inText = true;
                textBegin = mScanner.end();
            } else if (isStart) {
                mScanner.skipElement();
            } else if (kind == XmlToken::EndElement && inText) {
                inText = false;
                textEnd = mScanner.begin();
            } else if (inText && (kind == XmlToken::Text || kind == XmlToken::CData)) {
                mScanner.appendText(node.text);
            }
        }
        const std::string_view whole = mPart.substr(begin, mScanner.end() - begin);
        if (textBegin == 0) {
            mText.addMarkup(whole);
            return;
        }
        node.head = whole.substr(0, textBegin - begin);
        node.raw = mPart.substr(textBegin, textEnd - textBegin);
        node.tail = whole.substr(textEnd - begin);
        node.runHead = "<" + prefix + "r>" + node.format + "<" + prefix + "t>";
        node.runTail = "</" + prefix + "t></" + prefix + "r>";
        node.lineBreak = node.runTail + "<" + prefix + "br>" + node.format + "</" + prefix + "br>" +
                         node.runHead;
        mText.add(std::move(node));
    }

    XmlScanner& mScanner;
    std::string_view mPart;
    ShapeText mText;
    std::string mPending;  // markup that was not added yet
    bool mHasParagraph = false;
    bool mHasEnded = false;   // the paragraph's content
    bool mIsBetween = false;  // mPending holds the end of a paragraph and the start of the next
    bool mIsOpaque = false;   // and something else
};

class VmlReader {
public:
    VmlReader(XmlScanner& scanner, std::string_view part, std::string_view lineBreak)
        : mScanner(scanner), mPart(part), mLineBreak(lineBreak) {}

    ShapeText read() {
        const std::size_t depth = mScanner.depth();
        markup();
        for (;;) {
            const XmlToken kind = mScanner.next();
            if (kind == XmlToken::EndElement && mScanner.depth() == depth) break;
            const bool isStart = kind == XmlToken::StartElement;
            if (kind == XmlToken::Text || kind == XmlToken::CData) {
                readText();
            } else if (isStart && text::lowerAscii(mScanner.localName()) == "br") {
                readBreak();
            } else {
                // Each block inside of the box is a paragraph.
                if (isStart && mScanner.depth() == depth + 1 && mHasBlock++) endParagraph();
                markup();
            }
        }
        markup();
        ShapeText text;
        for (Node& node : mNodes) {
            if (node.kind == Kind::Run && node.text.empty()) {
                text.addMarkup(node.raw);
            } else {
                text.add(std::move(node));
            }
        }
        return text;
    }

private:
    std::string_view token() const {
        return mPart.substr(mScanner.begin(), mScanner.end() - mScanner.begin());
    }
    void markup() {
        Node node;
        node.head = token();
        mNodes.push_back(std::move(node));
    }
    void readBreak() {
        const std::size_t begin = mScanner.begin();
        mScanner.skipElement();
        Node node;
        node.kind = Kind::Break;
        node.head = mPart.substr(begin, mScanner.end() - begin);
        endLine(std::move(node));
    }
    void endParagraph() {
        Node node;
        node.kind = Kind::Paragraph;
        node.isFixed = true;
        endLine(std::move(node));
    }
    void endLine(Node node) {
        node.text = "\n";
        mNodes.push_back(std::move(node));
        mIsLineEmpty = true;
        mBlank = kNone;
    }
    void readText() {
        std::string text;
        mScanner.appendText(text);
        Node node;
        node.kind = Kind::Run;
        node.raw = token();
        node.lineBreak = mLineBreak;
        mNodes.push_back(std::move(node));
        for (const char c : text) {
            if (c == ' ' || c == '\t' || c == '\n' || c == '\r') {
                if (!mIsLineEmpty && mBlank == kNone) mBlank = mNodes.size() - 1;
                continue;
            }
            if (mBlank != kNone) mNodes[mBlank].text += ' ';
            mBlank = kNone;
            mIsLineEmpty = false;
            mNodes.back().text += c;
        }
    }

    static constexpr std::size_t kNone = static_cast<std::size_t>(-1);
    XmlScanner& mScanner;
    std::string_view mPart;
    std::string_view mLineBreak;
    std::vector<Node> mNodes;
    std::size_t mHasBlock = 0;
    bool mIsLineEmpty = true;
    std::size_t mBlank = kNone;  // the node of a blank that shows when a character follows
};

}  // namespace

ShapeText readTextBody(XmlScanner& scanner, std::string_view part) {
    return BodyReader(scanner, part).read();
}

ShapeText readVmlTextBox(XmlScanner& scanner, std::string_view part, std::string_view lineBreak) {
    return VmlReader(scanner, part, lineBreak).read();
}

}  // namespace brindle::workbook::ooxml
