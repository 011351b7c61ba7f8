// SPDX-License-Identifier: MIT
// The third of OoxmlWorksheet that knows shapes.
#include "base/Error.h"
#include "base/Text.h"
#include "workbook/formula/SingleCell.h"
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
    const auto cell = formula::singleCell(formula);
    if (!cell) return std::nullopt;
    if (cell->sheet.empty()) return home.changedText(cell->position);
    for (const auto& sheet : mWorksheets) {
        if (text::equals(sheet->name(), cell->sheet, CaseMode::Folded)) {
            return sheet->changedText(cell->position);
        }
    }
    return std::nullopt;
}

}  // namespace brindle::workbook::ooxml
