// SPDX-License-Identifier: MIT
// The hyperlinks of a sheet's cells. Layout: [MS-XLS] 2.4.140 (HLink), 2.4.141 (HLinkTooltip).
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "workbook/xls/biff/RecordSplice.h"
#include "workbook/xls/biff/StringCodec.h"
#include "workbook/xls/HyperlinkObject.h"

namespace brindle::workbook::xls {

class Hyperlinks {
public:
    // Borrows the stream. Workbooks before BIFF8 have no links. Throws Error (Damaged) as
    // SheetRecords does; a link that is damaged in itself has no address.
    Hyperlinks(std::string_view stream, std::size_t sheetOffset, const StringCodec& codec);

    std::size_t count() const { return mLinks.size(); }
    // Empty for a link that leads to a place in the workbook, and for a kind that is not known.
    std::string address(std::size_t index) const;
    // Throws Error 1004 for a link without an address, and for one that cannot be stored.
    void setAddress(std::size_t index, std::string_view address);

    bool isChanged() const;
    // A link without an address left keeps its place in the workbook, or goes with its tooltip.
    std::vector<RecordSplice> splices() const;

private:
    struct Link {
        std::string_view body;  // as read
        std::size_t begin = 0;  // of the record, in the stream
        std::size_t end = 0;
        std::size_t tooltipEnd = 0;  // of the tooltip behind it; `end` when there is none
        bool isChanged = false;
        std::string newBody;  // of a changed link; empty for one that goes
    };
    static HyperlinkObject objectOf(std::string_view body);

    std::vector<Link> mLinks;
};

}  // namespace brindle::workbook::xls
