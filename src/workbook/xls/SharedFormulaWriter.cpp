// SPDX-License-Identifier: MIT
#include "workbook/xls/SharedFormulaWriter.h"

#include <algorithm>
#include <optional>
#include <string>
#include <unordered_map>

#include "base/LittleEndian.h"
#include "workbook/xls/biff/SheetRecords.h"
#include "workbook/xls/CellRecord.h"
#include "workbook/xls/formula/TokenReader.h"
#include "workbook/xls/FormulaBlocks.h"

namespace brindle::workbook::xls {

namespace {

constexpr std::size_t kUsersAt = 7;    // in SHRFMLA
constexpr std::size_t kTokensAt = 22;  // in FORMULA; shared formulas came with BIFF5

// What a shared formula loses.
struct Loss {
    std::size_t users = 0;
    bool isHostGone = false;  // the cell in front of its record
    std::optional<CellPosition> newHost;
};

class SharedFormulas {
public:
    SharedFormulas(std::string_view stream, std::size_t sheetOffset, Version version)
        : mStream(stream),
          mSheetOffset(sheetOffset),
          mVersion(version),
          mBlocks(stream, sheetOffset, version) {}

    std::vector<RecordSplice> without(const std::vector<Record>& leaving) {
        for (const Record& formula : leaving) lose(formula);
        bool hasMoves = false;
        for (const auto& [block, loss] : mLosses) {
            if (loss.isHostGone) {
                hasMoves = true;
            } else {
                replace(recordAt(mStream, block->offset), counted(*block, loss));
            }
        }
        if (hasMoves) move(leaving);
        return std::move(mSplices);
    }

private:
    static CellPosition positionOf(const Record& formula, Version version) {
        return cellOf(formula, CellShape::Formula, version).position;
    }

    // The shared formula that a cell uses.
    const FormulaBlock* usedBy(const Record& formula, CellPosition position) const {
        const auto named = formulaHost(formulaOf(formula.body, mVersion).formula, mVersion);
        return named ? shared(mBlocks.find(named->cell, position)) : nullptr;
    }
    static const FormulaBlock* shared(const FormulaBlock* block) {
        return block && block->kind == FormulaBlock::Kind::Shared ? block : nullptr;
    }

    void lose(const Record& formula) {
        const CellPosition position = positionOf(formula, mVersion);
        if (const FormulaBlock* used = usedBy(formula, position)) ++mLosses[used].users;
        const FormulaBlock* hosted = shared(mBlocks.find(position, position));
        if (hosted && hosted->host == position) mLosses[hosted].isHostGone = true;
    }

    void move(const std::vector<Record>& leaving) {
        const auto isLeaving = [&](std::size_t offset) {
            const auto at = std::lower_bound(
                leaving.begin(), leaving.end(), offset,
                [](const Record& record, std::size_t value) { return record.offset < value; });
            return at != leaving.end() && at->offset == offset;
        };
        SheetRecords records(mStream, mSheetOffset);
        Record record;
        while (records.next(record)) {
            if (cellShape(record.id, mVersion) != CellShape::Formula) continue;
            if (isLeaving(record.offset)) continue;
            const CellPosition position = positionOf(record, mVersion);
            const auto lost = mLosses.find(usedBy(record, position));
            if (lost == mLosses.end() || !lost->second.isHostGone) continue;
            Loss& loss = lost->second;
            const bool isHost = !loss.newHost;
            if (isHost) loss.newHost = position;
            std::string bytes;
            appendRecord(bytes, record.id, linkedTo(record.body, *loss.newHost));
            if (isHost) bytes += counted(*lost->first, loss);
            replace(record, std::move(bytes));
        }
    }

    // Its record, with fewer users.
    std::string counted(const FormulaBlock& block, const Loss& loss) const {
        const Record record = recordAt(mStream, block.offset);
        std::string body(record.body);
        const auto users = static_cast<unsigned char>(body[kUsersAt]);
        body[kUsersAt] = static_cast<char>(users - std::min<std::size_t>(users, loss.users));
        std::string bytes;
        appendRecord(bytes, record.id, body);
        return bytes;
    }

    // The body of a formula whose token names another host.
    static std::string linkedTo(std::string_view body, CellPosition host) {
        std::string linked(body);
        putLittleEndian(linked.data() + kTokensAt + 1, static_cast<std::uint16_t>(host.row - 1));
        putLittleEndian(linked.data() + kTokensAt + 3, static_cast<std::uint16_t>(host.column - 1));
        return linked;
    }

    void replace(const Record& record, std::string bytes) {
        mSplices.push_back({record.offset, record.end(), std::move(bytes)});
    }

    std::string_view mStream;
    std::size_t mSheetOffset;
    Version mVersion;
    FormulaBlocks mBlocks;
    std::unordered_map<const FormulaBlock*, Loss> mLosses;
    std::vector<RecordSplice> mSplices;
};

}  // namespace

std::vector<RecordSplice> sharedFormulasWithout(std::string_view stream, std::size_t sheetOffset,
                                                Version version, std::vector<Record> leaving) {
    if (leaving.empty() || version < Version::Biff5) return {};
    std::sort(leaving.begin(), leaving.end(),
              [](const Record& a, const Record& b) { return a.offset < b.offset; });
    return SharedFormulas(stream, sheetOffset, version).without(leaving);
}

}  // namespace brindle::workbook::xls
