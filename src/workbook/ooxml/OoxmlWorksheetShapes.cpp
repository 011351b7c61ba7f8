// SPDX-License-Identifier: MIT
// The third of OoxmlWorksheet that knows shapes.
#include "base/Error.h"
#include "base/Text.h"
#include "workbook/formula/CellReference.h"
#include "workbook/formula/SheetPrefix.h"
#include "workbook/ooxml/drawing/SheetShapes.h"
#include "workbook/ooxml/OoxmlDocument.h"
#include "workbook/ooxml/OoxmlWorksheet.h"

namespace brindle::workbook::ooxml {

SheetShapes* OoxmlWorksheet::shapes() {
    if (!mShapes && SheetShapes::mayExist(mDocument.package(), mEntry.partName)) {
        mShapes =
            std::make_unique<SheetShapes>(mDocument.package(), mEntry.partName, frame().text,
                                          mDocument.drawings(), [this](const std::string& formula) {
                                              return mDocument.changedCellText(formula, *this);
                                          });
    }
    return mShapes.get();
}

std::size_t OoxmlWorksheet::shapeCount() {
    return shapes() ? shapes()->count() : 0;
}

std::string OoxmlWorksheet::shapeText(std::size_t index) {
    return shapes() ? shapes()->text(index) : std::string();
}

void OoxmlWorksheet::setShapeText(std::size_t index, std::string_view text) {
    if (text == shapeText(index) || !shapes()) return;
    mDocument.checkMayChange();
    shapes()->setText(index, text);
}

std::optional<std::string> OoxmlWorksheet::changedText(CellPosition position) const {
    const auto edit = mEdits.find(position);
    const bool isText =
        edit != mEdits.end() && edit->second.content.kind == EnteredCell::Kind::Text;
    return isText ? std::optional(edit->second.content.text.str()) : std::nullopt;
}

std::optional<std::string> OoxmlDocument::changedCellText(const std::string& formula,
                                                          const OoxmlWorksheet& home) const {
    const std::size_t bang = formula.rfind('!');
    const std::size_t cellBegin = bang == std::string::npos ? 0 : bang + 1;
    formula::CellReference cell;
    const std::size_t length = formula::scanCell(formula, cellBegin, cell);
    if (length == 0 || cellBegin + length != formula.size()) return std::nullopt;
    const CellPosition position = {cell.row.index, cell.column.index};
    if (cellBegin == 0) return home.changedText(position);
    const formula::SheetPrefix prefix = formula::parseSheetPrefix(formula.substr(0, cellBegin));
    for (const auto& sheet : mWorksheets) {
        if (prefix.book.empty() &&
            text::equals(sheet->name(), prefix.firstSheet, CaseMode::Folded)) {
            return sheet->changedText(position);
        }
    }
    return std::nullopt;
}

}  // namespace brindle::workbook::ooxml
