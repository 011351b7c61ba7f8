// SPDX-License-Identifier: MIT
// What the formulas of one workbook refer to by number: sheets of this workbook and of others,
// names, functions of add-ins. Layout: [MS-XLS] 2.4.271 (SupBook), 2.4.105 (ExternSheet),
// 2.4.150 (Lbl), 2.4.106 (ExternName); before BIFF8 every EXTERNSHEET record is one sheet.
//
// A damaged record leaves its own numbers without a meaning and nothing else.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "workbook/formula/SheetPrefix.h"
#include "workbook/xls/biff/RecordReader.h"
#include "workbook/xls/biff/RecordSplice.h"
#include "workbook/xls/biff/StringCodec.h"
#include "workbook/xls/formula/LinkRecords.h"

namespace brindle::workbook::xls {

// The sheets of a 3-D token. BIFF8: `number` is an entry of EXTERNSHEET, from 0, and the rest
// means nothing. BIFF5: `number` is an EXTERNSHEET record, from 1, as a signed value that is
// negative for this workbook, whose sheets are then `first` to `last`, from 0.
struct SheetLink {
    std::uint16_t number = 0;
    std::uint16_t first = 0;
    std::uint16_t last = 0;
};

// A name as a token stores it: PtgName without `sheets`, else PtgNameX.
struct NameLink {
    std::optional<SheetLink> sheets;
    std::uint16_t index = 0;  // from 1
};

class LinkTable {
public:
    // Borrows the codec, which must outlive the table.
    explicit LinkTable(const StringCodec& codec);

    // --- building ------------------------------------------------------------------------------
    // Sheets of all kinds in the order of BOUNDSHEET.
    void setSheets(std::vector<std::string> names);
    // Whether learn() wants records of this kind.
    static bool concerns(std::uint16_t recordId);
    // A record of the globals in their order (before BIFF5: of the sheet). `body` includes its
    // CONTINUE records, `end` is the offset behind the last of them.
    void learn(const Record& record, std::string_view body, std::size_t end);
    // BIFF5: the table for the formulas of one sheet, which lists the sheets that it refers to
    // by itself; learn() its records up to DIMENSIONS. Shares the names and sheets of this
    // table, which must be complete. Of other versions this is a plain copy.
    LinkTable forSheet() const;

    // --- tokens to text: false, with nothing appended, when there is no such text ---------------
    // "Sheet1!", "'First:Last one'!", "'C:\dir\[b.xls]S 1'!", "#REF!" for deleted sheets.
    bool appendPrefix(std::string& out, SheetLink sheets) const;
    // PtgName: the name alone, as it is shown ("Print_Area", "IFERROR" for _xlfn.IFERROR).
    bool appendName(std::string& out, std::uint16_t index) const;
    // PtgNameX: with the sheet or workbook in front ("[0]!" for this one), but for add-ins.
    bool appendExternName(std::string& out, std::uint16_t number, std::uint16_t index) const;

    // --- text to tokens: nothing when the sheet, workbook or name is not known ------------------
    // Sheets that no entry names yet get one, which splices() then hold.
    std::optional<SheetLink> sheetLink(const formula::SheetPrefix& prefix);
    // A name without a prefix: that of the sheet (from 0) before that of the workbook.
    std::optional<NameLink> name(std::string_view shownName, std::size_t sheet) const;
    // A function that is not built in: a name, with or without _xlfn., else one of an add-in.
    std::optional<NameLink> function(std::string_view shownName, std::size_t sheet);
    // A name or function behind a prefix.
    std::optional<NameLink> name(const formula::SheetPrefix& prefix, std::string_view shownName);

    bool isChanged() const;
    // Of the stream that the records were learned from.
    std::vector<RecordSplice> splices() const;
};

}  // namespace brindle::workbook::xls
