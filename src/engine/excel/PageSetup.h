// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <string_view>

#include "workbook/Document.h"

namespace brindle::excel {

// The page headers and footers of a worksheet, formatting codes included. A sheet may hold
// sections of their own for even pages and for the first page.
class PageSetup {
public:
    explicit PageSetup(workbook::Worksheet& sheet) : mSheet(&sheet) {}

    bool UsesPages(workbook::PageKind kind) const { return mSheet->usesPages(kind); }
    std::string Section(workbook::PageKind kind, workbook::PageSection section) const {
        return mSheet->pageSection(kind, section);
    }
    void setSection(workbook::PageKind kind, workbook::PageSection section, std::string_view text) {
        mSheet->setPageSection(kind, section, text);
    }

private:
    workbook::Worksheet* mSheet;
};

}  // namespace brindle::excel
