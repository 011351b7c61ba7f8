// SPDX-License-Identifier: MIT
#include "workbook/xls/StreamCheck.h"

#include <algorithm>
#include <optional>
#include <vector>

#include "base/ByteReader.h"
#include "workbook/xls/biff/CellRow.h"
#include "workbook/xls/biff/SubstreamReader.h"
#include "workbook/xls/CellRecord.h"
#include "workbook/xls/SharedStringIndex.h"
#include "workbook/xls/StreamOffsets.h"

namespace brindle::workbook::xls {

namespace {

constexpr std::size_t kNone = static_cast<std::size_t>(-1);

// The rows since the last DBCELL.
class RowBlock {
public:
    void takeCell(std::uint16_t row, std::size_t offset) {
        if (mCells.empty() || mCells.back().row != row) mCells.push_back({row, offset});
    }
    void takeRow(const Record& record) {
        if (record.body.size() < sizeof(std::uint16_t)) return;
        if (mRows.empty()) mFirstRow = record.offset;
        mRows.push_back(getLittleEndian<std::uint16_t>(record.body.data()));
    }
    // Whether a DBCELL in `stream` tells where these rows are; those without cells may be at any
    // record.
    bool isToldBy(std::string_view stream, const Record& record) const {
        ByteReader body(record.body);
        const bool fits = record.body.size() == sizeof(std::uint32_t) + 2 * mRows.size();
        if (mRows.empty() || !fits) return false;
        if (body.number<std::uint32_t>() != record.offset - mFirstRow) return false;
        std::vector<RowStart> starts = mCells;
        std::stable_sort(starts.begin(), starts.end(), isBefore);
        RecordReader records(stream, mFirstRow);
        std::size_t at = recordEnd(mFirstRow);
        return std::all_of(mRows.begin(), mRows.end(), [&](std::uint16_t row) {
            at += body.number<std::uint16_t>();
            const auto cell =
                std::lower_bound(starts.begin(), starts.end(), RowStart{row, 0}, isBefore);
            if (cell != starts.end() && cell->row == row) return cell->offset == at;
            for (Record passed; records.offset() < at && records.next(passed);) {
            }
            return records.offset() == at && at <= record.offset;
        });
    }
    void clear() {
        mRows.clear();
        mCells.clear();
    }

private:
    struct RowStart {
        std::uint16_t row;
        std::size_t offset;  // of the first cell
    };
    static bool isBefore(const RowStart& a, const RowStart& b) { return a.row < b.row; }
    static std::size_t recordEnd(std::size_t row) { return row + Record::kHeaderSize + 16; }

    std::size_t mFirstRow = 0;
    std::vector<std::uint16_t> mRows;
    std::vector<RowStart> mCells;  // wherever another row begins
};

// Whether a change of a cell may take the record away, before BIFF5: the cell itself, its result
// and the block of its formula.
bool belongsToOldCell(std::uint16_t id) {
    switch (id & 0xFF) {
        case record::kString & 0xFF:
        case record::kArray & 0xFF:
        case record::kTable & 0xFF:
        case (record::kTable & 0xFF) + 1:  // of BIFF2, with two inputs
            return true;
        default:
            return cellShape(id, Version::Biff2) != CellShape::None ||
                   cellShape(id, Version::Biff4) != CellShape::None;
    }
}

struct SheetOutline {
    std::vector<Record> indexes;
    std::vector<std::size_t> dbCells;
    std::vector<bool> isDbCellRight;
};

struct Outline {
    std::vector<std::uint32_t> nesting;  // BOF with its type, or EOF
    std::vector<std::size_t> bofs;
    std::vector<Record> boundSheets;
    std::vector<SheetOutline> sheets;
    std::optional<std::size_t> sst;
    std::optional<Record> extSst;
    std::vector<std::size_t> records;  // before BIFF5
    std::vector<std::size_t> defColWidths;
    std::size_t end = 0;
};

Outline outlineOf(std::string_view stream) {
    Outline outline;
    SubstreamReader reader(stream);
    RowBlock block;
    const bool isOld = layoutVersion(stream) < Version::Biff5;
    for (Record record; reader.next(record);) {
        if (isOld) outline.records.push_back(record.offset);
        if (reader.depth() == 0) continue;
        if (const auto row = rowOfCell(record)) {
            block.takeCell(*row, record.offset);
            continue;
        }
        if (isBof(record.id)) {
            const bool hasType = record.body.size() >= 4;
            const std::uint16_t type =
                hasType ? getLittleEndian<std::uint16_t>(record.body.data() + 2) : std::uint16_t{0};
            outline.nesting.push_back(std::uint32_t{record.id} << 16 | type);
            outline.bofs.push_back(record.offset);
            if (reader.depth() == 1) {
                outline.sheets.emplace_back();
                block.clear();
            }
            continue;
        }
        SheetOutline& sheet = outline.sheets.back();
        const bool isGlobal = outline.sheets.size() == 1;
        switch (record.id) {
            case record::kEof:
                outline.nesting.push_back(record::kEof);
                break;
            case record::kBoundSheet:
                outline.boundSheets.push_back(record);
                break;
            case record::kIndex:
            case kIndex2:
                sheet.indexes.push_back(record);
                break;
            case record::kDbCell:
                sheet.dbCells.push_back(record.offset);
                sheet.isDbCellRight.push_back(block.isToldBy(stream, record));
                block.clear();
                break;
            case record::kDefColWidth:
                outline.defColWidths.push_back(record.offset);
                break;
            case record::kSst:
                if (!outline.sst && isGlobal) outline.sst = record.offset;
                break;
            case record::kExtSst:
                if (!outline.extSst && isGlobal) outline.extSst = record;
                break;
            case record::kRow:
                block.takeRow(record);
                break;
            default:
                break;
        }
    }
    outline.end = reader.end();
    return outline;
}

class Comparison {
public:
    Comparison(std::string_view changed, std::string_view before)
        : mChanged(changed),
          mBefore(before),
          mVersion(layoutVersion(before)),
          mNow(outlineOf(changed)),
          mThen(outlineOf(before)) {}

    void run() const {
        require(mNow.nesting == mThen.nesting, "substreams");
        require(mChanged.substr(mNow.end) == mBefore.substr(mThen.end), "end");
        compareBoundSheets();
        for (std::size_t i = 0; i < mThen.sheets.size(); ++i) {
            compareSheets(mNow.sheets[i], mThen.sheets[i]);
        }
        compareStrings();
    }

private:
    static void require(bool isRight, const char* what) {
        if (isRight) return;
        throw Error(ErrorKind::Internal, error_number::kInternal,
                    std::string("The changed workbook is not right: ") + what);
    }

    static std::uint32_t number32(const Record& record, std::size_t position) {
        return position + 4 > record.body.size()
                   ? 0
                   : getLittleEndian<std::uint32_t>(record.body.data() + position);
    }
    static std::uint16_t idAt(std::string_view stream, std::size_t offset) {
        if (offset + Record::kHeaderSize > stream.size()) return 0;
        return getLittleEndian<std::uint16_t>(stream.data() + offset);
    }

    static std::size_t bofOf(const Outline& outline, const Record& sheet) {
        const auto found =
            std::lower_bound(outline.bofs.begin(), outline.bofs.end(), number32(sheet, 0));
        if (found == outline.bofs.end() || *found != number32(sheet, 0)) return kNone;
        return static_cast<std::size_t>(found - outline.bofs.begin());
    }
    void compareBoundSheets() const {
        require(mNow.boundSheets.size() == mThen.boundSheets.size(), "sheets");
        for (std::size_t i = 0; i < mThen.boundSheets.size(); ++i) {
            const std::size_t bof = bofOf(mThen, mThen.boundSheets[i]);
            require(bof == kNone || bof == bofOf(mNow, mNow.boundSheets[i]), "sheets");
        }
    }

    void compareSheets(const SheetOutline& now, const SheetOutline& then) const {
        // A sheet may do without, but then without any.
        if (now.indexes.empty() && now.dbCells.empty()) return;
        require(now.indexes.size() == then.indexes.size(), "row index");
        require(now.dbCells.size() == then.dbCells.size(), "row index");
        for (std::size_t i = 0; i < then.dbCells.size(); ++i) {
            require(!then.isDbCellRight[i] || now.isDbCellRight[i], "row index");
        }
        for (std::size_t i = 0; i < then.indexes.size(); ++i) {
            compareIndexes(now, now.indexes[i], then, then.indexes[i]);
        }
    }
    void compareIndexes(const SheetOutline& now, const Record& nowIndex, const SheetOutline& then,
                        const Record& thenIndex) const {
        require(nowIndex.body.size() == thenIndex.body.size(), "row index");
        if (mVersion < Version::Biff5) {
            for (std::size_t at = 0; at + 4 <= thenIndex.body.size(); at += 4) {
                if (at != 4) requireRecord(number32(nowIndex, at), number32(thenIndex, at));
            }
            return;
        }
        const std::size_t first = mVersion == Version::Biff8 ? 12 : 8;
        require(!has(mThen.defColWidths, number32(thenIndex, first)) ||
                    has(mNow.defColWidths, number32(nowIndex, first)),
                "row index");
        for (std::size_t i = 0; i < then.dbCells.size(); ++i) {
            const std::size_t at = first + 4 + 4 * i;
            require(number32(thenIndex, at) != then.dbCells[i] ||
                        number32(nowIndex, at) == now.dbCells[i],
                    "row index");
        }
    }
    void requireRecord(std::size_t now, std::size_t then) const {
        if (!has(mThen.records, then) || belongsToOldCell(idAt(mBefore, then))) return;
        require(has(mNow.records, now) && idAt(mChanged, now) == idAt(mBefore, then), "row index");
    }
    static bool has(const std::vector<std::size_t>& offsets, std::size_t offset) {
        return std::binary_search(offsets.begin(), offsets.end(), offset);
    }

    void compareStrings() const {
        if (!mThen.sst) return;
        const SharedStringIndex then(mBefore, mThen.sst);
        require(mNow.sst.has_value(), "shared strings");
        const SharedStringIndex now(mChanged, mNow.sst);
        require(now.size() >= then.size(), "shared strings");
        if (!mThen.extSst || !arePlacesRight(mBefore, then, *mThen.extSst)) return;
        require(mNow.extSst && arePlacesRight(mChanged, now, *mNow.extSst), "shared string places");
    }
    static bool arePlacesRight(std::string_view stream, const SharedStringIndex& strings,
                               const Record& extSst) {
        const std::string body = continuedBody(stream, extSst);
        ByteReader places(body);
        if (body.size() < 2) return false;
        const std::size_t bucket = places.number<std::uint16_t>();
        if (bucket == 0) return strings.size() == 0;
        auto segment = strings.segments().begin();
        for (std::size_t i = 0; i < strings.size(); i += bucket) {
            if (places.remaining() < 8) return false;
            while (segment->end <= strings.offset(i)) ++segment;
            const auto inStream = places.number<std::uint32_t>();
            const auto inRecord = places.number<std::uint16_t>();
            places.skip(2);
            const std::size_t record = segment->begin - Record::kHeaderSize;
            if (inStream != strings.offset(i) || inRecord != inStream - record) return false;
        }
        return true;
    }

    std::string_view mChanged;
    std::string_view mBefore;
    Version mVersion;
    Outline mNow;
    Outline mThen;
};

}  // namespace

void checkChangedStream(std::string_view changed, std::string_view before) {
    Comparison(changed, before).run();
}

}  // namespace brindle::workbook::xls
