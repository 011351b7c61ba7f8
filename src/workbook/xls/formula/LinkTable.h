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
#include <vector>

#include "workbook/formula/SheetPrefix.h"
#include "workbook/xls/biff/RecordReader.h"
#include "workbook/xls/biff/RecordSplice.h"
#include "workbook/xls/biff/StringCodec.h"
#include "workbook/xls/formula/ExternSheets.h"
#include "workbook/xls/formula/LinkRecords.h"
#include "workbook/xls/formula/NameIndex.h"

namespace brindle::workbook::xls {

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
    // Sheets that no entry names yet get one, which splices() then hold. BIFF2 to BIFF4 never
    // have a link here.
    std::optional<SheetLink> sheetLink(const formula::SheetPrefix& prefix);
    // A name without a prefix: that of the sheet (from 0) before that of the workbook.
    std::optional<NameLink> name(std::string_view shownName, std::size_t sheet) const;
    // A function that is not built in: a name, with or without _xlfn., else one of an add-in.
    std::optional<NameLink> function(std::string_view shownName, std::size_t sheet);
    // A name or function behind a prefix.
    std::optional<NameLink> name(const formula::SheetPrefix& prefix, std::string_view shownName);

    bool isChanged() const { return mLinks.isChanged(); }
    // Of the stream that the records were learned from.
    std::vector<RecordSplice> splices() const { return mLinks.splices(); }

private:
    // What all tables of a workbook have in common.
    struct Workbook {
        std::vector<std::string> sheets;
        std::vector<std::string> prefixes;  // of one sheet each
        std::vector<DefinedName> names;
        std::optional<NameIndex> index;  // when first asked
    };
    using Target = ExternSheets::Target;

    LinkTable(const StringCodec& codec, std::shared_ptr<Workbook> workbook);

    bool appendOwnPrefix(std::string& out, std::uint16_t first, std::uint16_t last) const;
    bool appendOwnName(std::string& out, const Target& target, std::uint16_t index) const;

    const NameIndex& workbookIndex() const;
    const NameIndex& bookIndex() const;
    std::optional<std::uint16_t> ownSheet(std::string_view name) const;
    const std::vector<std::uint32_t>& booksOf(std::string_view path) const;
    std::optional<std::uint16_t> bookSheet(std::size_t book, std::string_view name) const;
    // A scope is a sheet from 1, 0 the workbook.
    std::optional<std::uint16_t> ownName(std::string_view shownName, std::size_t scope) const;
    std::optional<NameLink> ownNameBehind(const formula::SheetPrefix& prefix,
                                          std::string_view shownName);
    std::optional<NameLink> bookName(std::size_t book, const formula::SheetPrefix& prefix,
                                     std::string_view shownName);

    const StringCodec* mCodec;
    std::shared_ptr<Workbook> mWorkbook;
    ExternSheets mLinks;
    mutable std::optional<NameIndex> mBookIndex;  // when first asked
    bool mIsOfSheet = false;
};

}  // namespace brindle::workbook::xls
