// SPDX-License-Identifier: MIT
#include "workbook/xls/NewXlsSheet.h"

#include <algorithm>
#include <bit>
#include <span>
#include <vector>

#include "base/LittleEndian.h"
#include "workbook/xls/biff/Biff.h"
#include "workbook/xls/biff/RecordReader.h"

namespace brindle::workbook::xls {

namespace {

constexpr std::size_t kRowsPerBlock = 32;

void appendCalculation(std::string& out) {
    appendWords(out, 0x000D, {1});                               // CALCMODE: automatic
    appendWords(out, 0x000C, {100});                             // CALCCOUNT
    appendWords(out, 0x000F, {1});                               // CALCREFMODE: A1
    appendWords(out, 0x0011, {0});                               // CALCITER
    appendWords(out, 0x0010, {0xA9FC, 0xD2F1, 0x624D, 0x3F50});  // CALCDELTA: 0.001
    appendWords(out, 0x005F, {1});                               // CALCSAVERECALC
}

void appendPage(std::string& out) {
    appendWords(out, 0x002A, {0});           // PRINTROWCOL
    appendWords(out, 0x002B, {0});           // PRINTGRID
    appendWords(out, 0x0082, {1});           // GRIDSET
    appendWords(out, 0x0080, {0, 0, 0, 0});  // GUTS
    appendWords(out, 0x0225, {0, 255});      // DEFAULTROWHEIGHT, in twips
    appendWords(out, record::kWsBool, {0x04C1});
    appendWords(out, record::kHeader, {});
    appendWords(out, record::kFooter, {});
    appendWords(out, 0x0083, {0});  // HCENTER
    appendWords(out, 0x0084, {0});  // VCENTER
    // SETUP: paper and printer are not set; header and footer half an inch from the edge
    appendWords(out, 0x00A1,
                {0, 100, 1, 1, 1, 0x0004, 300, 300, 0, 0, 0, 0x3FE0, 0, 0, 0, 0x3FE0, 1});
}

void appendView(std::string& out) {
    // WINDOW2: grid and headings are shown, the sheet is selected and active
    appendWords(out, 0x023E, {0x06B6, 0, 0, 0x0040, 0, 0, 0, 0, 0});
    // SELECTION: cell A1 of the only pane
    appendRecord(out, 0x001D, '\x03' + words({0, 0, 0, 1, 0, 0, 0}));
}

void appendCell(std::string& out, std::uint16_t row, const NewWorksheet::Cell& cell) {
    std::string body =
        words({row, static_cast<std::uint16_t>(cell.column - 1), newCellXf(cell.format)});
    switch (cell.kind) {
        case CellValue::Kind::Text:
            appendRecord(out, record::kLabelSst, body + littleEndian(cell.text));
            return;
        case CellValue::Kind::Boolean:
            appendRecord(out, record::kBoolErr, body + words({cell.boolean}));
            return;
        default:
            body += littleEndian(std::bit_cast<std::uint64_t>(cell.number));
            appendRecord(out, record::kNumber, body);
    }
}

void appendRow(std::string& out, std::uint16_t number, const NewWorksheet::Row& row) {
    constexpr std::uint16_t kStandardHeight = 255;  // twips
    constexpr std::uint16_t kAlwaysSet = 0x0100;
    const auto first = static_cast<std::uint16_t>(row.empty() ? 0 : row.front().column - 1);
    const auto last = static_cast<std::uint16_t>(row.empty() ? 0 : row.back().column);
    appendWords(out, record::kRow,
                {number, first, last, kStandardHeight, 0, 0, kAlwaysSet, newCellXf(0)});
}

// The ROW records of up to 32 rows, their cells, and DBCELL, which tells where each row's cells
// begin: the first ones from behind the first ROW record, the others from those before.
void appendBlock(std::string& out, std::size_t firstRow, std::span<const NewWorksheet::Row> rows) {
    const std::size_t begin = out.size();
    for (std::size_t i = 0; i < rows.size(); ++i) {
        appendRow(out, static_cast<std::uint16_t>(firstRow + i), rows[i]);
    }
    std::string distances;
    std::size_t from = begin + (out.size() - begin) / rows.size();
    for (std::size_t i = 0; i < rows.size(); ++i) {
        distances += littleEndian(static_cast<std::uint16_t>(out.size() - from));
        from = out.size();
        for (const NewWorksheet::Cell& cell : rows[i]) {
            appendCell(out, static_cast<std::uint16_t>(firstRow + i), cell);
        }
    }
    const auto back = static_cast<std::uint32_t>(out.size() - begin);
    appendRecord(out, record::kDbCell, littleEndian(back) + distances);
}

// From the first used row on every row has a record, so that the blocks are those that INDEX
// counts. INDEX stands in front; its offsets follow once they are known.
class SheetWriter {
public:
    SheetWriter(std::string& stream, NewWorksheet& sheet)
        : mStream(stream), mRows(sheet.rows()), mUsed(sheet.usedRange()) {}

    void write() {
        appendBof(mStream, substream::kWorksheet);
        const std::size_t index = mStream.size() + Record::kHeaderSize;
        appendRecord(mStream, record::kIndex, indexBody({}));
        appendCalculation(mStream);
        appendPage(mStream);
        mColumnWidth = mStream.size();
        appendWords(mStream, record::kDefColWidth, {8});
        appendRecord(mStream, record::kDimensions, dimensions());
        appendBlocks();
        appendView(mStream);
        appendRecord(mStream, record::kEof, {});
        const std::string body = indexBody(mDbCells);
        mStream.replace(index, body.size(), body);
    }

private:
    std::uint32_t firstRow() const {
        return static_cast<std::uint32_t>(mUsed.firstRow == 0 ? 0 : mUsed.firstRow - 1);
    }
    std::uint32_t endRow() const { return static_cast<std::uint32_t>(mUsed.lastRow); }

    std::string indexBody(const std::vector<std::size_t>& dbCells) const {
        const std::size_t blocks = (endRow() - firstRow() + kRowsPerBlock - 1) / kRowsPerBlock;
        std::string body = words({0, 0}) + littleEndian(firstRow()) + littleEndian(endRow()) +
                           littleEndian(static_cast<std::uint32_t>(mColumnWidth));
        for (const std::size_t at : dbCells) body += littleEndian(static_cast<std::uint32_t>(at));
        body.resize(16 + 4 * blocks);
        return body;
    }

    std::string dimensions() const {
        const auto first = static_cast<std::uint16_t>(std::max(mUsed.firstColumn - 1, 0));
        const auto end = static_cast<std::uint16_t>(mUsed.lastColumn);
        return littleEndian(firstRow()) + littleEndian(endRow()) + words({first, end, 0});
    }

    void appendBlocks() {
        for (std::size_t row = firstRow(); row < endRow(); row += kRowsPerBlock) {
            const std::size_t count = std::min<std::size_t>(kRowsPerBlock, endRow() - row);
            mDbCells.push_back(0);
            appendBlock(mStream, row, std::span(mRows).subspan(row, count));
            mDbCells.back() = mStream.size() - (Record::kHeaderSize + 4 + 2 * count);
        }
    }

    std::string& mStream;
    const std::vector<NewWorksheet::Row>& mRows;
    CellRange mUsed;
    std::size_t mColumnWidth = 0;
    std::vector<std::size_t> mDbCells;
};

}  // namespace

std::string words(std::initializer_list<std::uint16_t> values) {
    std::string bytes;
    for (const std::uint16_t value : values) bytes += littleEndian(value);
    return bytes;
}

void appendWords(std::string& out, std::uint16_t id, std::initializer_list<std::uint16_t> values) {
    appendRecord(out, id, words(values));
}

// BIFF8, kind, build and year of the program; no history, and readable from BIFF8 on.
void appendBof(std::string& out, std::uint16_t kind) {
    appendWords(out, record::kBof, {0x0600, kind, 0x0DBB, 0x07CC, 0, 0, 6, 0});
}

void appendNewSheet(std::string& stream, NewWorksheet& sheet) {
    SheetWriter(stream, sheet).write();
}

}  // namespace brindle::workbook::xls
