// SPDX-License-Identifier: MIT
#include "workbook/xls/CellWriter.h"

#include <algorithm>

#include "base/LittleEndian.h"
#include "workbook/xls/biff/ErrorCodes.h"
#include "workbook/xls/CellLabel.h"
#include "workbook/xls/formula/TokenReader.h"
#include "workbook/xls/SharedFormulaWriter.h"

namespace brindle::workbook::xls {

namespace {

using Kind = EnteredCell::Kind;
using Block = CellContent::Block;

constexpr std::size_t kResultSize = 8;

// The ids of cell records; those of BIFF2 are the bare low bytes.
std::uint16_t idIn(Version version, std::uint16_t id) {
    return version == Version::Biff2 ? id & 0xFF : id;
}

std::uint16_t formulaRecordId(Version version) {
    switch (version) {
        case Version::Biff3:
            return 0x0206;
        case Version::Biff4:
            return 0x0406;
        default:
            return record::kFormula;
    }
}

std::string number16(std::size_t value) {
    return littleEndian(static_cast<std::uint16_t>(value));
}

class CellWriter {
public:
    CellWriter(const WorkbookTexts& workbook, std::size_t sheetOffset,
               const std::vector<CellEdit*>& edits)
        : mWorkbook(workbook),
          mVersion(workbook.codec.version()),
          mSheetOffset(sheetOffset),
          mEdits(edits) {}

    std::vector<RecordSplice> splices() {
        for (auto edit = mEdits.begin(); edit != mEdits.end();) {
            if ((*edit)->isInPlace) {
                ++edit;
                continue;
            }
            // The cells of one record stand together.
            const auto behind = std::find_if(edit, mEdits.end(), [&](const CellEdit* other) {
                return other->cell.begin != (*edit)->cell.begin;
            });
            write(std::vector<const CellEdit*>(edit, behind));
            edit = behind;
        }
        for (RecordSplice& splice :
             sharedFormulasWithout(mWorkbook.stream, mSheetOffset, mVersion, mOldFormulas)) {
            mSplices.push_back(std::move(splice));
        }
        return std::move(mSplices);
    }

private:
    void write(const std::vector<const CellEdit*>& cells) {
        const Record record = recordAt(mWorkbook.stream, cells.front()->cell.begin);
        RecordSplice splice{record.offset, record.end(), {}};
        if (record.id == record::kMulRk && mVersion != Version::Biff2) {
            splice.bytes = splitNumbers(record, cells);
        } else {
            const CellEdit& edit = *cells.front();
            const std::string head(record.body.substr(0, cellHeaderSize(mVersion)));
            appendCell(splice.bytes, head, edit);
            if (edit.oldKind == Kind::Formula) {
                splice.end = endOfFormula(record);
                mOldFormulas.push_back(record);
            }
        }
        mSplices.push_back(std::move(splice));
    }

    // --- the records of one cell ---------------------------------------------------------------
    void appendCell(std::string& out, std::string head, const CellEdit& edit) const {
        const CellContent& content = edit.content;
        putLittleEndian(head.data() + 4, content.format);
        switch (content.kind) {
            case Kind::Blank:
                appendRecord(out, idIn(mVersion, record::kBlank), head);
                break;
            case Kind::Text:
                appendText(out, std::move(head), edit);
                break;
            case Kind::Number:
                head += littleEndian(std::bit_cast<std::uint64_t>(content.number));
                appendRecord(out, idIn(mVersion, record::kNumber), head);
                break;
            case Kind::Boolean:
                head += content.boolean ? '\1' : '\0';
                head += '\0';
                appendRecord(out, idIn(mVersion, record::kBoolErr), head);
                break;
            case Kind::Error:
                head += static_cast<char>(errorCode(content.text.str()).value_or(0));
                head += '\1';
                appendRecord(out, idIn(mVersion, record::kBoolErr), head);
                break;
            case Kind::Formula:
                appendFormula(out, head, edit);
                break;
        }
    }

    void appendText(std::string& out, std::string head, const CellEdit& edit) const {
        if (mVersion == Version::Biff8) {
            head += littleEndian(edit.sharedString);
            appendRecord(out, record::kLabelSst, head);
            return;
        }
        appendLabel(out, std::move(head), edit.item(), mWorkbook.codec);
    }

    // With no result yet and the wish to get one.
    void appendFormula(std::string& out, const std::string& head, const CellEdit& edit) const {
        const CompiledFormula& formula = edit.content.formula;
        if (edit.content.block != Block::OneCellArray) {
            appendRecord(out, formulaRecordId(mVersion),
                         head + std::string(kResultSize, '\0') + expression(formula));
            return;
        }
        const CellPosition position = edit.cell.position;
        const auto row = static_cast<std::size_t>(position.row - 1);
        const auto column = static_cast<std::size_t>(position.column - 1);
        CompiledFormula link;
        link.tokens = static_cast<char>(token::kExp) + number16(row) +
                      (mVersion == Version::Biff2 ? std::string(1, static_cast<char>(column))
                                                  : number16(column));
        appendRecord(out, formulaRecordId(mVersion),
                     head + std::string(kResultSize, '\0') + expression(link));
        std::string range = number16(row) + number16(row);
        range += static_cast<char>(column);
        range += static_cast<char>(column);
        appendRecord(out, mVersion == Version::Biff2 ? std::uint16_t{0x0021} : record::kArray,
                     range + expression(formula));
    }

    // Flags, size and tokens, as FORMULA and ARRAY have them.
    std::string expression(const CompiledFormula& formula) const {
        constexpr std::size_t kFlags =
            FormulaRecord::kAlwaysCalculate | FormulaRecord::kCalculateOnLoad;
        std::string out;
        if (mVersion == Version::Biff2) {
            out += static_cast<char>(FormulaRecord::kAlwaysCalculate);
            out += static_cast<char>(formula.tokens.size());
        } else {
            out += number16(kFlags);
            if (mVersion >= Version::Biff5) out += littleEndian(std::uint32_t{0});
            out += number16(formula.tokens.size());
        }
        return out + formula.tokens + formula.extra;
    }

    // --- several numbers in a record -----------------------------------------------------------
    std::string splitNumbers(const Record& record,
                             const std::vector<const CellEdit*>& cells) const {
        constexpr std::size_t kSize = 6;  // of format and number
        const std::string row(record.body.substr(0, 2));
        const auto first = getLittleEndian<std::uint16_t>(record.body.data() + 2);
        std::string out;
        std::string kept;  // numbers that stay, side by side
        std::size_t keptFrom = 0;
        const auto flush = [&](std::size_t end) {
            const std::size_t count = kept.size() / kSize;
            if (count == 1) {
                appendRecord(out, record::kRk, row + number16(end - 1) + kept);
            } else if (count > 1) {
                appendRecord(out, record::kMulRk,
                             row + number16(keptFrom) + kept + number16(end - 1));
            }
            kept.clear();
        };
        auto edit = cells.begin();
        const std::size_t count = cellCount(record, CellShape::MulRk);
        for (std::size_t i = 0; i < count; ++i) {
            const std::size_t column = first + i;
            const std::string_view number = record.body.substr(4 + i * kSize, kSize);
            const bool isChanged =
                edit != cells.end() &&
                static_cast<std::size_t>((*edit)->cell.position.column - 1) == column;
            if (isChanged) {
                flush(column);
                appendCell(out, row + number16(column) + std::string(number.substr(0, 2)), **edit);
                ++edit;
            } else {
                if (kept.empty()) keptFrom = column;
                kept += number;
            }
        }
        flush(first + count);
        return out;
    }

    // --- what stands behind a formula ----------------------------------------------------------
    std::size_t endOfFormula(const Record& formula) const {
        RecordReader reader(mWorkbook.stream, formula.end());
        std::size_t end = formula.end();
        bool isTextSeen = false;
        while (const auto id = reader.peek()) {
            const bool isBlock =
                *id == record::kSharedFormula || *id == idIn(mVersion, record::kArray);
            const bool isText = *id == idIn(mVersion, record::kString);
            if (!isBlock && !isText && !(isTextSeen && *id == record::kContinue)) break;
            Record next;
            reader.next(next);
            isTextSeen = isText || (isTextSeen && !isBlock);
            end = next.end();
        }
        return end;
    }

    const WorkbookTexts& mWorkbook;
    Version mVersion;
    std::size_t mSheetOffset;
    const std::vector<CellEdit*>& mEdits;
    std::vector<RecordSplice> mSplices;
    std::vector<Record> mOldFormulas;  // that are written over
};

}  // namespace

std::vector<RecordSplice> changedCells(const WorkbookTexts& workbook, std::size_t sheetOffset,
                                       const std::vector<CellEdit*>& edits) {
    return CellWriter(workbook, sheetOffset, edits).splices();
}

bool fits(const CompiledFormula& formula, Version version) {
    constexpr std::size_t kBeside = 22;
    const std::size_t longest = version == Version::Biff2 ? 0xFF : 0xFFFF;
    return formula.tokens.size() <= longest &&
           formula.tokens.size() + formula.extra.size() <= longestBody(version) - kBeside;
}

}  // namespace brindle::workbook::xls
