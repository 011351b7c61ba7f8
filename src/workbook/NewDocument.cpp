// SPDX-License-Identifier: MIT
#include "workbook/NewDocument.h"

#include <algorithm>
#include <cmath>

#include "base/Error.h"
#include "base/Text.h"
#include "workbook/CellEntry.h"
#include "workbook/FormatTable.h"
#include "workbook/NumberText.h"

namespace brindle::workbook {

namespace {

using Kind = CellValue::Kind;

// The largest sheet of any format; a smaller one refuses when it is saved.
constexpr std::int32_t kLastRow = 1048576;
constexpr std::int32_t kLastColumn = 16384;

constexpr std::string_view kGeneral = "General";
constexpr std::string_view kTextFormat = "@";

auto cellAt(NewWorksheet::Row& row, std::int32_t column) {
    return std::lower_bound(
        row.begin(), row.end(), column,
        [](const NewWorksheet::Cell& cell, std::int32_t wanted) { return cell.column < wanted; });
}

bool isAt(const NewWorksheet::Row& row, NewWorksheet::Row::const_iterator cell,
          std::int32_t column) {
    return cell != row.end() && cell->column == column;
}

}  // namespace

// --- the sheet -----------------------------------------------------------------------------------

NewWorksheet::Cell NewWorksheet::entered(std::string_view typed) {
    if (!text::isValidUtf8(typed)) throw Error::refused("The text is not valid Unicode");
    EntryContext context;
    context.currentYear = mDocument.mCurrentYear;
    EnteredCell content = recogniseEntry(typed, context);
    Cell cell;
    switch (content.kind) {
        case EnteredCell::Kind::Number:
            cell.kind = Kind::Number;
            cell.number = content.number;
            if (!content.formatCode.empty()) {
                cell.format = mDocument.formatIndex(content.formatCode);
            }
            return cell;
        case EnteredCell::Kind::Boolean:
            cell.kind = Kind::Boolean;
            cell.boolean = content.boolean;
            return cell;
        case EnteredCell::Kind::Formula:
        case EnteredCell::Kind::Error:
            context.staysText = true;
            content = recogniseEntry(typed, context);
            cell.format = mDocument.formatIndex(kTextFormat);
            break;
        default:
            break;
    }
    cell.kind = Kind::Text;
    cell.text = mDocument.textIndex(content.text);
    return cell;
}

std::optional<NewWorksheet::Cell> NewWorksheet::cellOf(const CellValue& value) {
    Cell cell;
    cell.kind = value.kind;
    switch (value.kind) {
        case Kind::Blank:
            return std::nullopt;
        case Kind::Number:
            if (!std::isfinite(value.number)) {
                throw Error::refused("A cell cannot hold this number");
            }
            cell.number = value.number;
            return cell;
        case Kind::Boolean:
            cell.boolean = value.boolean;
            return cell;
        default:
            if (value.text.empty()) return std::nullopt;
            return entered(value.text);
    }
}

void NewWorksheet::clear(CellPosition position) {
    const auto index = static_cast<std::size_t>(position.row) - 1;
    if (index >= mRows.size()) return;
    Row& row = mRows[index];
    const auto at = cellAt(row, position.column);
    if (isAt(row, at, position.column)) row.erase(at);
    while (!mRows.empty() && mRows.back().empty()) mRows.pop_back();
}

void NewWorksheet::setCellValue(CellPosition position, const CellValue& value) {
    if (position.row < 1 || position.row > kLastRow || position.column < 1 ||
        position.column > kLastColumn) {
        throw Error::refused("Application-defined or object-defined error");
    }
    std::optional<Cell> cell = cellOf(value);
    mDocument.mIsChanged = true;
    if (!cell) return clear(position);
    cell->column = position.column;
    const auto index = static_cast<std::size_t>(position.row) - 1;
    if (index >= mRows.size()) mRows.resize(index + 1);
    Row& row = mRows[index];
    const auto at = cellAt(row, position.column);
    if (isAt(row, at, position.column)) {
        *at = *cell;
    } else {
        row.insert(at, *cell);
    }
}

CellValue NewWorksheet::cellValue(CellPosition position) {
    CellValue value;
    const auto index = static_cast<std::size_t>(position.row) - 1;
    if (position.row < 1 || index >= mRows.size()) return value;
    Row& row = mRows[index];
    const auto cell = cellAt(row, position.column);
    if (!isAt(row, cell, position.column)) return value;
    value.kind = cell->kind;
    value.number = cell->number;
    value.boolean = cell->boolean;
    if (cell->kind == Kind::Text) {
        value.text = mDocument.mTexts[cell->text];
    } else if (cell->kind == Kind::Boolean) {
        value.text = cell->boolean ? "TRUE" : "FALSE";
    } else {
        value.text =
            editText(cell->number, numberFormatKind(mDocument.mFormats[cell->format].code), false);
    }
    return value;
}

CellRange NewWorksheet::usedRange() {
    CellRange range;
    for (std::size_t i = 0; i < mRows.size(); ++i) {
        if (mRows[i].empty()) continue;
        const std::int32_t first = mRows[i].front().column;
        if (range.firstRow == 0) {
            range.firstRow = static_cast<std::int32_t>(i) + 1;
            range.firstColumn = first;
        }
        range.firstColumn = std::min(range.firstColumn, first);
        range.lastRow = static_cast<std::int32_t>(i) + 1;
        range.lastColumn = std::max(range.lastColumn, mRows[i].back().column);
    }
    return range;
}

std::optional<CellPosition> NewWorksheet::findCell(const CellMatch&, CellPosition) {
    throw Error::notSupported();
}

void NewWorksheet::replaceInCell(CellPosition, const CellMatch&, std::string_view) {
    throw Error::notSupported();
}

// --- the workbook --------------------------------------------------------------------------------

NewDocument::NewDocument(int currentYear)
    : mCurrentYear(currentYear), mSheet(*this), mFormats{{0, std::string(kGeneral)}} {}

std::uint32_t NewDocument::textIndex(std::string_view text) {
    const auto known = mTextIndex.find(text);
    if (known != mTextIndex.end()) return known->second;
    const auto index = static_cast<std::uint32_t>(mTexts.size());
    mTextIndex.emplace(mTexts.emplace_back(text), index);
    return index;
}

std::uint32_t NewDocument::formatIndex(std::string_view code) {
    const auto known =
        std::find_if(mFormats.begin(), mFormats.end(),
                     [code](const NumberFormat& format) { return format.code == code; });
    const auto index = static_cast<std::uint32_t>(known - mFormats.begin());
    if (known != mFormats.end()) return index;
    int id = 0;
    while (id < kFirstOwnFormat && builtInFormatCode(id) != code) ++id;
    if (id == kFirstOwnFormat) id += static_cast<int>(index);
    mFormats.push_back({id, std::string(code)});
    return index;
}

void NewDocument::save() {
    if (!mIsChanged && !mPath.empty()) return;
    if (mPath.empty()) throw Error::refused("Document not saved: it has no file yet");
    saveAs(mPath);
}

void NewDocument::saveAs(const std::string& path) {
    writeNewDocument(*this, path);
    mPath = path;
    mIsChanged = false;
}

}  // namespace brindle::workbook
