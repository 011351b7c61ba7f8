// SPDX-License-Identifier: MIT
// The sheets that formulas of a workbook name by number, and the workbooks that they are of.
// BIFF8: SUPBOOK records and one EXTERNSHEET record for the whole workbook. Before: a list of
// EXTERNSHEET records, in BIFF5 one list for each sheet. Layout: [MS-XLS] 2.4.271, 2.4.105.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

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

class ExternSheets {
public:
    // Borrows the codec.
    explicit ExternSheets(const StringCodec& codec) : mCodec(&codec) {}

    static bool concerns(std::uint16_t recordId);
    // Records in their order. A damaged one leaves its own numbers without a meaning.
    void learn(const Record& record, std::string_view body, std::size_t end);

    // SUPBOOK records; before BIFF8 the EXTERNSHEET records.
    const std::vector<LinkedBook>& books() const { return mBooks; }

    // Sheets are positions from 0 in this workbook or in the book's list, kDeletedSheet or
    // kNoSheet.
    struct Target {
        const LinkedBook* book = nullptr;
        LinkedBook::Kind kind = LinkedBook::Kind::Unknown;
        std::uint16_t first = 0;
        std::uint16_t last = 0;
    };
    std::optional<Target> target(SheetLink link) const;

    // The link to sheets of this workbook, made when there is none. `sheets` are the names of
    // all of them. Nothing when the list cannot take another.
    std::optional<SheetLink> linkToOwn(std::uint16_t first, std::uint16_t last,
                                       const std::vector<std::string>& sheets);
    // The same for another book; before BIFF8 only for what its record names.
    std::optional<SheetLink> linkTo(std::size_t book, std::uint16_t first, std::uint16_t last);

    bool isChanged() const { return mIsChanged; }
    std::vector<RecordSplice> splices() const;

private:
    struct Span {
        std::size_t begin = 0;
        std::size_t end = 0;
    };
    void learnLinks(std::uint16_t id, std::string_view body);
    void learnPlace(const Record& record, std::size_t end);
    std::optional<std::uint16_t> numberOf(const SheetRange& range);
    std::optional<std::size_t> ownBook(std::size_t sheetCount);
    std::optional<SheetLink> listedOwn(std::uint16_t first, std::uint16_t last,
                                       const std::vector<std::string>& sheets);
    std::string rangesRecord() const;

    const StringCodec* mCodec;
    std::vector<LinkedBook> mBooks;
    std::vector<SheetRange> mRanges;                             // BIFF8
    std::unordered_map<std::uint64_t, std::uint16_t> mNumbers;   // of ranges, when first asked
    std::unordered_map<std::string, std::uint16_t> mOwnNumbers;  // before BIFF8, by sheet name

    std::optional<Span> mRangesSpan;    // EXTERNSHEET in BIFF8
    std::optional<Span> mCountSpan;     // EXTERNCOUNT before
    std::optional<std::size_t> mPlace;  // for new records
    bool mCanGrow = true;
    bool mIsChanged = false;
    std::string mNewRecords;  // in front of EXTERNSHEET, or further ones of it
};

}  // namespace brindle::workbook::xls
