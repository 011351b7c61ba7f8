// SPDX-License-Identifier: MIT
// A workbook made from nothing: one worksheet whose cells are set one by one, in any order, and
// which is then saved in the format that the extension of a path names.
#pragma once

#include <cstdint>
#include <deque>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "workbook/Document.h"

namespace brindle::workbook {

class NewDocument;

class NewWorksheet final : public Worksheet {
public:
    struct Cell {
        std::int32_t column = 0;                         // from 1
        CellValue::Kind kind = CellValue::Kind::Number;  // Text, Number or Boolean
        bool boolean = false;
        std::uint32_t format = 0;  // index into NewDocument::formats()
        std::uint32_t text = 0;    // index into NewDocument::texts()
        double number = 0;
    };
    using Row = std::vector<Cell>;  // in the order of the columns

    explicit NewWorksheet(NewDocument& document) : mDocument(document) {}

    std::string name() const override { return "Sheet1"; }
    // A text that would become a formula or an error value, which a new workbook does not hold,
    // stays what it is, in a cell of the format Text.
    void setCellValue(CellPosition position, const CellValue& value) override;
    CellValue cellValue(CellPosition position) override;
    CellRange usedRange() override;
    // These two throw Error 438: what was just set is not searched for.
    std::optional<CellPosition> findCell(const CellMatch&, CellPosition) override;
    void replaceInCell(CellPosition, const CellMatch&, std::string_view) override;

    // Row 1 first; rows behind the last used one are not there.
    const std::vector<Row>& rows() const { return mRows; }

private:
    Cell entered(std::string_view typed);
    std::optional<Cell> cellOf(const CellValue& value);  // nothing for a blank one
    void clear(CellPosition position);

    NewDocument& mDocument;
    std::vector<Row> mRows;
};

class NewDocument final : public Document {
public:
    // The year is that of dates entered without one.
    explicit NewDocument(int currentYear);
    NewDocument(const NewDocument&) = delete;
    NewDocument& operator=(const NewDocument&) = delete;

    std::size_t worksheetCount() override { return 1; }
    NewWorksheet& worksheet(std::size_t) override { return mSheet; }

    bool isChanged() const override { return mIsChanged; }
    // Throws Error 1004 before the first saveAs().
    void save() override;
    void saveAs(const std::string& path) override;

    // The texts of the cells, each once, those that were overwritten included. Valid UTF-8, at most
    // 32,767 UTF-16 units each.
    const std::deque<std::string>& texts() const { return mTexts; }
    // The number formats that cells may have, "General" first. The ids are those of the binary
    // and the Office Open XML formats alike; from kFirstOwnFormat on a file has to tell the code.
    struct NumberFormat {
        int id = 0;
        std::string code;
    };
    static constexpr int kFirstOwnFormat = 164;
    const std::vector<NumberFormat>& formats() const { return mFormats; }

private:
    friend class NewWorksheet;
    std::uint32_t textIndex(std::string_view text);
    std::uint32_t formatIndex(std::string_view code);

    int mCurrentYear;
    NewWorksheet mSheet;
    std::deque<std::string> mTexts;
    std::unordered_map<std::string_view, std::uint32_t> mTextIndex;  // of those texts
    std::vector<NumberFormat> mFormats;
    bool mIsChanged = false;
    std::string mPath;  // empty before the first saveAs()
};

}  // namespace brindle::workbook
