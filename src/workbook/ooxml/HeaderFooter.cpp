// SPDX-License-Identifier: MIT
#include "workbook/ooxml/HeaderFooter.h"

#include <algorithm>

#include "workbook/ooxml/Attributes.h"
#include "workbook/ooxml/Fragment.h"
#include "workbook/ooxml/OoxmlNames.h"
#include "workbook/ooxml/Xstring.h"

namespace brindle::workbook::ooxml {

using package::XmlScanner;
using package::XmlToken;

namespace {

constexpr std::array<std::string_view, 6> kNames = {"oddHeader",  "oddFooter",   "evenHeader",
                                                    "evenFooter", "firstHeader", "firstFooter"};

// The elements of a worksheet that come in front of headerFooter.
constexpr std::array<std::string_view, 22> kInFront = {"sheetPr",
                                                       "dimension",
                                                       "sheetViews",
                                                       "sheetFormatPr",
                                                       "cols",
                                                       "sheetData",
                                                       "sheetCalcPr",
                                                       "sheetProtection",
                                                       "protectedRanges",
                                                       "scenarios",
                                                       "autoFilter",
                                                       "sortState",
                                                       "dataConsolidate",
                                                       "customSheetViews",
                                                       "mergeCells",
                                                       "phoneticPr",
                                                       "conditionalFormatting",
                                                       "dataValidations",
                                                       "hyperlinks",
                                                       "printOptions",
                                                       "pageMargins",
                                                       "pageSetup"};

std::size_t indexOf(PageKind kind, PageSection section) {
    const bool isFooter = section >= PageSection::LeftFooter;
    return static_cast<std::size_t>(kind) * 2 + (isFooter ? 1 : 0);
}

// Blanks at the ends would be lost on readers that go by the letter.
const char* spaceAttribute(const PageText& text) {
    static constexpr std::string_view kBlanks = " \t\r\n";
    const std::string whole = xstring(text.raw());
    const bool hasBlanks =
        !whole.empty() && (kBlanks.find(whole.front()) != std::string_view::npos ||
                           kBlanks.find(whole.back()) != std::string_view::npos);
    return hasBlanks ? " xml:space=\"preserve\"" : "";
}

}  // namespace

HeaderFooter::HeaderFooter(std::string_view frame) {
    XmlScanner scanner(frame);
    for (XmlToken token = scanner.next(); token != XmlToken::EndOfInput; token = scanner.next()) {
        if (token != XmlToken::StartElement || !isMainNamespace(scanner.namespaceUri())) continue;
        if (scanner.depth() == 1) {
            mPrefix = prefixOf(scanner.qualifiedName());
            mPlace = scanner.isEmptyElement() ? 0 : scanner.end();
        }
        if (scanner.depth() != 2) continue;
        if (scanner.localName() == "headerFooter") {
            readElement(scanner, frame);
            return;
        }
        const bool isInFront =
            std::find(kInFront.begin(), kInFront.end(), scanner.localName()) != kInFront.end();
        scanner.skipElement();
        if (isInFront) mPlace = scanner.end();
    }
}

void HeaderFooter::readElement(XmlScanner& scanner, std::string_view frame) {
    mUsesEven = isTrue(scanner, "differentOddEven");
    mUsesFirst = isTrue(scanner, "differentFirst");
    mPrefix = prefixOf(scanner.qualifiedName());
    mIsSelfClosing = scanner.isEmptyElement();
    mBegin = scanner.begin();
    for (;;) {
        const XmlToken token = scanner.next();
        if (token == XmlToken::EndElement && scanner.depth() == 2) break;
        if (token != XmlToken::StartElement) continue;
        const auto name = std::find(kNames.begin(), kNames.end(), scanner.localName());
        const bool isText = name != kNames.end() && isMainNamespace(scanner.namespaceUri());
        Text* text = isText ? &mTexts[static_cast<std::size_t>(name - kNames.begin())] : nullptr;
        if (text && !text->exists()) {
            readText(scanner, frame, *text);
        } else {
            scanner.skipElement();
        }
    }
    mContentEnd = scanner.begin();
    mEnd = scanner.end();
}

void HeaderFooter::readText(XmlScanner& scanner, std::string_view frame, Text& text) {
    text.begin = scanner.begin();
    text.name = scanner.qualifiedName();
    text.nameEnd = text.begin + 1 + text.name.size();
    text.isSelfClosing = scanner.isEmptyElement();
    text.contentBegin = scanner.end();
    if (const auto* space = scanner.attribute("space")) {
        text.spaceBegin = space->valueBegin - 1;
        text.spaceEnd = space->valueEnd + 1;
    }
    std::string content;
    int runs = 0;
    for (;;) {
        const XmlToken token = scanner.next();
        if (token == XmlToken::EndElement && scanner.depth() == 3) break;
        const bool isOwn = scanner.depth() == 3;
        if (isOwn && (token == XmlToken::Text || token == XmlToken::CData)) {
            scanner.appendText(content);
        }
        ++runs;
        if (token != XmlToken::Text) ++runs;
    }
    text.contentEnd = scanner.begin();
    text.end = scanner.end();
    const bool isPlain = runs <= 1;
    text.original = isPlain && !text.isSelfClosing
                        ? frame.substr(text.contentBegin, text.contentEnd - text.contentBegin)
                        : package::xmlEscaped(content);
    text.text = PageText(text.original, pageSpelling());
}

bool HeaderFooter::usesPages(PageKind kind) const {
    switch (kind) {
        case PageKind::Even:
            return mUsesEven;
        case PageKind::First:
            return mUsesFirst;
        case PageKind::Odd:
            break;
    }
    return true;
}

std::string HeaderFooter::section(PageKind kind, PageSection section) const {
    return mTexts[indexOf(kind, section)].text.section(section);
}

void HeaderFooter::setSection(PageKind kind, PageSection section, std::string_view text) {
    if (mEnd == 0 && mPlace == 0 && !text.empty()) {
        throw cannotSet(section, "the worksheet has no content");
    }
    Text& changed = mTexts[indexOf(kind, section)];
    changed.text.setSection(section, text);
    // Back to what it was, spelling and all.
    const PageText original(changed.original, pageSpelling());
    if (changed.text.isSameAs(original)) changed.text = original;
}

bool HeaderFooter::isChanged() const {
    return std::any_of(mTexts.begin(), mTexts.end(),
                       [](const Text& text) { return text.isChanged(); });
}

std::vector<Splice> HeaderFooter::splices() const {
    std::vector<Splice> splices;
    for (const Text& text : mTexts) {
        if (text.exists() && text.isChanged()) changeText(text, splices);
    }
    addNewTexts(splices);
    return splices;
}

void HeaderFooter::changeText(const Text& text, std::vector<Splice>& splices) const {
    const std::string space = spaceAttribute(text.text);
    if (!space.empty() && text.spaceEnd > text.spaceBegin) {
        splices.push_back({text.spaceBegin, text.spaceEnd, "\"preserve\""});
    } else if (!space.empty()) {
        splices.push_back({text.nameEnd, text.nameEnd, space});
    }
    if (text.isSelfClosing) {
        splices.push_back({text.end - 2, text.end, ">" + text.text.raw() + "</" + text.name + ">"});
    } else {
        splices.push_back({text.contentBegin, text.contentEnd, text.text.raw()});
    }
}

std::string HeaderFooter::newElement(std::size_t index) const {
    const PageText& text = mTexts[index].text;
    const std::string name = mPrefix + std::string(kNames[index]);
    return "<" + name + spaceAttribute(text) + ">" + text.raw() + "</" + name + ">";
}

void HeaderFooter::addNewTexts(std::vector<Splice>& splices) const {
    std::vector<Splice> added;
    std::size_t place = mContentEnd;
    for (std::size_t i = kNames.size(); i-- > 0;) {
        const Text& text = mTexts[i];
        if (text.exists()) place = text.begin;
        if (!text.exists() && text.isChanged()) added.push_back({place, place, newElement(i)});
    }
    if (added.empty()) return;
    std::reverse(added.begin(), added.end());
    if (mEnd > mBegin && !mIsSelfClosing) {
        splices.insert(splices.end(), added.begin(), added.end());
        return;
    }
    std::string content = ">";
    for (const Splice& splice : added) content += splice.text;
    const std::string name = mPrefix + "headerFooter";
    content += "</" + name + ">";
    if (mIsSelfClosing) {
        splices.push_back({mEnd - 2, mEnd, content});
    } else {
        splices.push_back({mPlace, mPlace, "<" + name + content});
    }
}

}  // namespace brindle::workbook::ooxml
