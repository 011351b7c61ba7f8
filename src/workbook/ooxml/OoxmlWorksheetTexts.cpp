// SPDX-License-Identifier: MIT
// The half of OoxmlWorksheet that is no cell: hyperlinks, page headers and footers, shapes.
#include <algorithm>

#include "workbook/ooxml/OoxmlDocument.h"
#include "workbook/ooxml/OoxmlNames.h"
#include "workbook/ooxml/OoxmlWorksheet.h"

namespace brindle::workbook::ooxml {

std::unique_ptr<Hyperlinks> OoxmlWorksheet::readLinks() {
    const auto& relationships = mDocument.package().relationships(mEntry.partName);
    return std::make_unique<Hyperlinks>(frame().text, relationships);
}

// Most sheets have no address anywhere, and a look at the relationships is much cheaper than one
// through the sheet.
std::size_t OoxmlWorksheet::hyperlinkCount() {
    const auto& relationships = mDocument.package().relationships(mEntry.partName);
    const bool hasAddresses = std::any_of(
        relationships.begin(), relationships.end(),
        [](const Relationship& one) { return one.isExternal && one.hasType(kHyperlinkType); });
    return hasAddresses ? EditedWorksheet::hyperlinkCount() : 0;
}

std::unique_ptr<HeaderFooter> OoxmlWorksheet::readPages() {
    return std::make_unique<HeaderFooter>(frame().text);
}

std::unique_ptr<SheetShapes> OoxmlWorksheet::readShapes() {
    if (!SheetShapes::mayExist(mDocument.package(), mEntry.partName)) return nullptr;
    return std::make_unique<SheetShapes>(
        mDocument.package(), mEntry.partName, frame().text, mDocument.drawings(),
        [this](const std::string& formula) { return mDocument.changedCellText(formula, *this); });
}

}  // namespace brindle::workbook::ooxml
