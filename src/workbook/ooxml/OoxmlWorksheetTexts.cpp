// SPDX-License-Identifier: MIT
// The half of OoxmlWorksheet that is about hyperlinks, page headers and page footers.
#include <algorithm>

#include "base/Error.h"
#include "workbook/ooxml/OoxmlDocument.h"
#include "workbook/ooxml/OoxmlNames.h"
#include "workbook/ooxml/OoxmlWorksheet.h"

namespace brindle::workbook::ooxml {

Hyperlinks& OoxmlWorksheet::links() {
    if (!mLinks) {
        const auto& relationships = mDocument.package().relationships(mEntry.partName);
        mLinks = std::make_unique<Hyperlinks>(frame().text, relationships);
    }
    return *mLinks;
}

HeaderFooter& OoxmlWorksheet::pages() {
    if (!mPages) mPages = std::make_unique<HeaderFooter>(frame().text);
    return *mPages;
}

// Most sheets have no address anywhere, and a look at the relationships is much cheaper than one
// through the sheet.
std::size_t OoxmlWorksheet::hyperlinkCount() {
    const auto& relationships = mDocument.package().relationships(mEntry.partName);
    const bool hasAddresses = std::any_of(
        relationships.begin(), relationships.end(),
        [](const Relationship& one) { return one.isExternal && one.hasType(kHyperlinkType); });
    return hasAddresses ? links().count() : 0;
}

std::string OoxmlWorksheet::hyperlinkAddress(std::size_t index) {
    return links().address(index);
}

void OoxmlWorksheet::setHyperlinkAddress(std::size_t index, std::string_view address) {
    if (links().address(index) == address) return;
    mDocument.checkMayChange();
    readFrame();
    if (mIsProtected) {
        throw Error::refused(
            "The cell or chart that you are trying to change is protected and therefore read-only");
    }
    links().setAddress(index, address);
}

bool OoxmlWorksheet::usesPages(PageKind kind) {
    return pages().usesPages(kind);
}

std::string OoxmlWorksheet::pageSection(PageKind kind, PageSection section) {
    return pages().section(kind, section);
}

void OoxmlWorksheet::setPageSection(PageKind kind, PageSection section, std::string_view text) {
    if (pages().section(kind, section) == text) return;
    mDocument.checkMayChange();
    readFrame();
    if (mIsProtected) throw cannotSet(section, "the sheet is protected");
    pages().setSection(kind, section, text);
}

}  // namespace brindle::workbook::ooxml
