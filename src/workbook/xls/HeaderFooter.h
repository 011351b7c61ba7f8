// SPDX-License-Identifier: MIT
// The page headers and footers of a sheet: those of ordinary pages in records of their own, those
// of even and first pages in one that newer versions add. Layout: [MS-XLS] 2.4.136 (Header),
// 2.4.124 (Footer), 2.4.137 (HeaderFooter). The copies of custom views are left alone.
#pragma once

#include <array>
#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "workbook/DocumentModel.h"
#include "workbook/PageText.h"
#include "workbook/xls/biff/RecordReader.h"
#include "workbook/xls/biff/RecordSplice.h"
#include "workbook/xls/biff/StringCodec.h"

namespace brindle::workbook::xls {

class HeaderFooter {
public:
    // Borrows both. Throws Error (Damaged).
    HeaderFooter(std::string_view stream, std::size_t sheetOffset, const StringCodec& codec);

    bool usesPages(PageKind kind) const;
    std::string section(PageKind kind, PageSection section) const;
    // Throws Error 1004 as PageText::setSection does, for a text that the workbook's code page
    // does not have, and for even and first pages of a sheet that has none of its own.
    void setSection(PageKind kind, PageSection section, std::string_view text);

    bool isChanged() const;
    std::vector<RecordSplice> splices() const;

private:
    struct Text {
        PageText text;
        std::string original;
        bool isChanged() const { return text.raw() != original; }
    };
    // A record, or where it would stand when begin == end.
    struct Place {
        std::size_t begin = 0;
        std::size_t end = 0;
        bool exists() const { return end > begin; }
    };
    void readRecords(std::string_view stream, std::size_t sheetOffset);
    void readOddText(const Record& record, Place& place, Text& text);
    void readOtherTexts(const Record& record);
    std::string oddBody(const PageText& text) const;
    std::string oddRecord(std::uint16_t id, const Text& text) const;
    std::string otherRecord() const;
    void addOddSplices(std::vector<RecordSplice>& splices) const;

    const StringCodec& mCodec;
    // Header and footer of odd pages, then of even ones, then of the first.
    std::array<Text, 6> mTexts;
    Place mHeader;
    Place mFooter;
    Place mOthers;
    std::string_view mOthersHead;  // body of that record in front of its counts
};

}  // namespace brindle::workbook::xls
