// SPDX-License-Identifier: MIT
// The half of XlsWorksheet that is no cell: hyperlinks, page headers and footers, shapes.
#include "base/Error.h"
#include "workbook/xls/XlsDocument.h"
#include "workbook/xls/XlsWorksheet.h"

namespace brindle::workbook::xls {

Hyperlinks& XlsWorksheet::hyperlinks() {
    if (!mHyperlinks) {
        mHyperlinks = std::make_unique<Hyperlinks>(mDocument.texts().stream, mEntry.offset,
                                                   mDocument.globals().codec());
    }
    return *mHyperlinks;
}

HeaderFooter& XlsWorksheet::pages() {
    if (!mPages) {
        mPages = std::make_unique<HeaderFooter>(mDocument.texts().stream, mEntry.offset,
                                                mDocument.globals().codec());
    }
    return *mPages;
}

SheetShapes& XlsWorksheet::shapes() {
    if (!mShapes) {
        mShapes = std::make_unique<SheetShapes>(
            mDocument.texts().stream, mEntry.offset, mDocument.globals().codec(),
            protection().objects, [this](std::string_view tokens) {
                return mDocument.changedCellText({tokens, {}}, *this);
            });
    }
    return *mShapes;
}

std::size_t XlsWorksheet::hyperlinkCount() {
    return hyperlinks().count();
}

std::string XlsWorksheet::hyperlinkAddress(std::size_t index) {
    return hyperlinks().address(index);
}

void XlsWorksheet::setHyperlinkAddress(std::size_t index, std::string_view address) {
    if (hyperlinks().address(index) == address) return;
    mDocument.checkMayChange();
    if (protection().cells) {
        throw Error::refused(
            "The cell or chart that you are trying to change is protected and therefore read-only");
    }
    hyperlinks().setAddress(index, address);
}

bool XlsWorksheet::usesPages(PageKind kind) {
    return pages().usesPages(kind);
}

std::string XlsWorksheet::pageSection(PageKind kind, PageSection section) {
    return pages().section(kind, section);
}

void XlsWorksheet::setPageSection(PageKind kind, PageSection section, std::string_view text) {
    if (pages().section(kind, section) == text) return;
    mDocument.checkMayChange();
    if (protection().cells) throw cannotSet(section, "the sheet is protected");
    pages().setSection(kind, section, text);
}

std::size_t XlsWorksheet::shapeCount() {
    return shapes().count();
}

std::string XlsWorksheet::shapeText(std::size_t index) {
    return shapes().text(index);
}

void XlsWorksheet::setShapeText(std::size_t index, std::string_view text) {
    if (shapes().text(index) == text) return;
    mDocument.checkMayChange();
    shapes().setText(index, text);
}

std::optional<std::string> XlsWorksheet::changedText(CellPosition position) const {
    const auto edit = mEdits.find(position);
    const bool isText =
        edit != mEdits.end() && edit->second.content.kind == EnteredCell::Kind::Text;
    return isText ? std::optional(edit->second.content.text.str()) : std::nullopt;
}

std::optional<std::string> XlsWorksheet::shownFormula(const FormulaTokens& formula) {
    std::string text;
    if (!cellTexts().appendFormula(text, formula, {1, 1})) return std::nullopt;
    return text.substr(1);
}

}  // namespace brindle::workbook::xls
