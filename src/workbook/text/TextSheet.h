// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <deque>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "workbook/Document.h"
#include "workbook/text/FieldCursor.h"
#include "workbook/text/FieldSearch.h"
#include "workbook/text/TextDialect.h"

namespace brindle::workbook::textfile {

// The one sheet of a text file. Keeps the places of the fields that matched and the new bytes
// of those that were changed; the rest stays in the file.
class TextSheet final : public Worksheet {
public:
    // The references outlive the sheet. Assigning another sheet to one makes it start anew.
    TextSheet(const InputFile& file, const TextDialect& dialect, const OpenOptions& options);

    std::string name() const override;
    std::optional<CellPosition> findCell(const CellMatch& match, CellPosition after) override;
    void replaceInCell(CellPosition position, const CellMatch& match,
                       std::string_view replacement) override;
    CellValue cellValue(CellPosition position) override;
    CellRange usedRange() override;

    bool isChanged() const { return mChangedFields > 0; }
    // Writes the file with its changes.
    void writeTo(OutputFile& output) const;
    // Reads it back; throws Error (Refused) unless every changed field comes out as it should.
    void verify(const InputFile& temporary) const;

private:
    struct Pattern {
        CellMatch match;
        std::vector<std::uint32_t> hits;  // indexes of mFields, as the fields are in the file
    };

    const Pattern& patternFor(const CellMatch& match);
    void search(std::span<const CellMatch> patterns);
    // Returns the index of each of them in mFields.
    std::vector<std::uint32_t> addFields(std::vector<FieldPlace> places);
    std::optional<std::size_t> firstMatch(const Pattern& pattern, std::size_t from,
                                          std::size_t to) const;
    std::size_t firstHit(const Pattern& pattern, std::size_t from) const;
    FieldPlace* fieldAt(CellPosition position);
    std::size_t firstBehind(CellPosition position) const;
    // The bytes of a field as the file has them; valid until the next call.
    std::string_view rawBytes(std::uint64_t begin, std::size_t length) const;
    std::string_view currentBytes(const FieldPlace& field) const;
    std::string editedText(const FieldPlace& field) const;
    void storeEdit(FieldPlace& field, std::string bytes);
    void dropEdit(FieldPlace& field);
    void copyUntouched(OutputFile& output, std::string& pending, std::uint64_t from,
                       std::uint64_t to) const;
    // To the field of that cell, true when the row has one.
    bool moveCursorTo(CellPosition position);
    void refuseTooLong(const FieldPlace& field, const CellMatch& match) const;

    const InputFile* mFile;
    const TextDialect* mDialect;
    const OpenOptions* mOptions;
    std::vector<FieldPlace> mFields;  // in file order; edit: number in mEdits from 1, or 0
    std::vector<Pattern> mPatterns;
    // Where the last search ended, as the next one mostly goes on from there.
    std::size_t mLastPattern = 0;
    std::size_t mLastField = 0;
    mutable std::size_t mLastHit = 0;
    std::deque<std::string> mEdits;
    std::size_t mChangedFields = 0;
    std::unique_ptr<FieldCursor> mCursor;  // for reading cells one after the other
    CellPosition mCursorCell;              // the last one that it stood on
    bool mCursorAtEnd = false;
    std::optional<CellRange> mUsedRange;
    mutable AlignedBuffer mRawBuffer;  // a piece of the file around the field changed last
    mutable std::uint64_t mRawBegin = 0;
    mutable std::size_t mRawLength = 0;
};

}  // namespace brindle::workbook::textfile
