// SPDX-License-Identifier: MIT
// The half of XlsWorksheet that is no cell: hyperlinks, page headers and footers, shapes.
#include "workbook/xls/XlsDocument.h"
#include "workbook/xls/XlsWorksheet.h"

namespace brindle::workbook::xls {

std::unique_ptr<Hyperlinks> XlsWorksheet::readLinks() {
    return std::make_unique<Hyperlinks>(mDocument.texts().stream, mEntry.offset,
                                        mDocument.globals().codec());
}

std::unique_ptr<HeaderFooter> XlsWorksheet::readPages() {
    return std::make_unique<HeaderFooter>(mDocument.texts().stream, mEntry.offset,
                                          mDocument.globals().codec());
}

std::unique_ptr<SheetShapes> XlsWorksheet::readShapes() {
    return std::make_unique<SheetShapes>(mDocument.texts().stream, mEntry.offset,
                                         mDocument.globals().codec(), protection().objects,
                                         [this](std::string_view tokens) {
                                             return mDocument.changedCellText({tokens, {}}, *this);
                                         });
}

std::optional<std::string> XlsWorksheet::shownFormula(const FormulaTokens& formula) {
    std::string text;
    if (!cellTexts().appendFormula(text, formula, {1, 1})) return std::nullopt;
    return text.substr(1);
}

}  // namespace brindle::workbook::xls
