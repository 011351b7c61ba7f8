// SPDX-License-Identifier: MIT
// The workbook stream with changes: what it holds of its own offsets still tells the truth.
#include <gtest/gtest.h>

#include <map>
#include <set>

#include "base/Error.h"
#include "support/Thrown.h"
#include "support/XlsStreams.h"
#include "workbook/xls/StreamCheck.h"
#include "workbook/xls/StreamWriter.h"

namespace brindle::workbook::xls {

namespace {

using namespace std::string_literals;
using test::kindOf;
using test::u16;
using test::u32;
using test::xlsRecord;

// --- an own reader of the offsets ----------------------------------------------------------------

const std::set<int> kCellIds{0x06, 0xBD, 0xBE, 0xD6, 0xFD, 0x201, 0x203, 0x204, 0x205, 0x27E};
bool isBegin(std::uint16_t id) {
    return id == 0x0809 || id == 0x0409 || id == 0x0209 || id == 0x0009;
}

// Calls take(record) for every record of the substreams; what fills up the stream behind them is
// none.
template <typename Take>
void forEachRecord(std::string_view stream, const Take& take) {
    RecordReader reader(stream);
    Record record;
    int depth = 0;
    while ((depth > 0 || isBegin(reader.peek().value_or(0))) && reader.next(record)) {
        depth += isBegin(record.id) - (record.id == record::kEof);
        take(record);
    }
}

struct Pointer {
    std::string to;      // what stands there; empty when it should not be pointed to
    std::size_t stored;  // the value as it is in the file
};

// Everything that the stream says about its own offsets, in the order of the stream.
class Pointers {
public:
    explicit Pointers(std::string_view stream) : mStream(stream) {
        forEachRecord(stream, [&](const Record& record) {
            describe(record);
            if (isBegin(record.id)) mLastRows.clear();
            mRecords.push_back(record);
        });
        for (const Record& each : mRecords) take(each);
    }
    const std::vector<Pointer>& all() const { return mAll; }

private:
    // Cells are known by their row and whether they are its first, others by their number.
    void describe(const Record& record) {
        std::string& name = mNames[record.offset];
        if (kCellIds.contains(record.id)) {
            const auto row = getLittleEndian<std::uint16_t>(record.body.data());
            const bool isFirst = mLastRows.emplace(row, 0).second;
            name = (isFirst ? "row " : "in row ") + std::to_string(row);
        } else {
            name = std::to_string(record.id) + " " + std::to_string(mCounts[record.id]++);
        }
    }
    void add(std::size_t stored, std::size_t offset, std::set<int> wanted) {
        const auto name = mNames.find(offset);
        bool isRight = name != mNames.end();
        if (isRight) {
            const auto id = getLittleEndian<std::uint16_t>(mStream.data() + offset);
            isRight = wanted.empty() ? !name->second.starts_with("in row") : wanted.contains(id);
        }
        mAll.push_back({isRight ? name->second : "", stored});
    }
    std::size_t number(const Record& record, std::size_t at) const {
        return getLittleEndian<std::uint32_t>(record.body.data() + at);
    }
    void take(const Record& record) {
        const bool isBiff8 = getLittleEndian<std::uint16_t>(mStream.data() + 4) == 0x0600;
        if (record.id == 0x85) add(number(record, 0), number(record, 0), {0x0809});
        if (record.id == 0x20B) {
            for (std::size_t at = 0; at + 4 <= record.body.size(); at += 4) {
                const bool isOld = mStream[1] != '\x08';
                if (isOld ? at == 4 : at < (isBiff8 ? 12 : 8)) continue;
                if (isOld) add(number(record, at), number(record, at), {});
                if (!isOld) add(number(record, at), number(record, at), {0x55, 0xD7});
            }
        }
        if (record.id == 0xFF) {
            for (std::size_t at = 2; at + 8 <= record.body.size(); at += 8) {
                const auto inside = getLittleEndian<std::uint16_t>(record.body.data() + at + 4);
                add(number(record, at), number(record, at) - inside, {0xFC, 0x3C});
            }
        }
        if (record.id == 0xD7 && record.body.size() >= 4) {
            const std::size_t first = record.offset - number(record, 0);
            add(number(record, 0), first, {0x208});
            std::size_t cells = first + 20;
            for (std::size_t at = 4; at + 2 <= record.body.size(); at += 2) {
                const auto distance = getLittleEndian<std::uint16_t>(record.body.data() + at);
                cells += distance;
                add(distance, cells, {});
            }
        }
    }

    std::string_view mStream;
    std::vector<Record> mRecords;
    std::map<std::size_t, std::string> mNames;
    std::map<std::uint16_t, int> mCounts;
    std::map<std::uint16_t, int> mLastRows;
    std::vector<Pointer> mAll;
};

// --- real files ----------------------------------------------------------------------------------

std::string unknown(std::size_t size) {
    return xlsRecord(0x0FEE, std::string(size, 'u'));
}

// Cells that grow, shrink and multiply; neighbours change together. New records elsewhere, but for
// those that hold offsets. The kinds of all other records keep their numbers.
std::vector<RecordSplice> manyChanges(std::string_view stream) {
    std::vector<RecordSplice> splices;
    std::size_t count = 0;
    forEachRecord(stream, [&](const Record& record) {
        ++count;
        if (kCellIds.contains(record.id) && count % 5 < 3) {
            std::string bytes =
                xlsRecord(record::kLabel, std::string(record.body.substr(0, 6)) + u16(count % 40) +
                                              "\0"s + std::string(count % 40, 't'));
            if (count % 7 == 0) bytes += bytes;
            if (!splices.empty() && splices.back().end == record.offset && count % 5 == 1) {
                splices.back().end = record.end();
                splices.back().bytes += bytes;
            } else {
                splices.push_back({record.offset, record.end(), bytes});
            }
        } else if (record.id == 0x55 || record.id == 0x31 || (record.id & 0xFF) == 0x43) {
            splices.push_back({record.offset, record.offset, unknown(count % 30)});
        } else if (record.id == record::kString) {
            splices.push_back({record.offset, record.end(), {}});
        } else if (record.id == record::kEof) {
            splices.push_back({record.offset, record.offset, unknown(5)});
        }
    });
    return splices;
}

TEST(XlsStream, RealFilesKeepTheirOffsetsRight) {
    std::size_t right = 0;
    const bool hasCorpus =
        test::forEachXlsStream([&](const std::string& name, std::string_view stream) {
            SCOPED_TRACE(name);
            EXPECT_EQ(splicedStream(stream, {}), stream);
            const Pointers before(stream);
            const std::string changed = splicedStream(stream, manyChanges(stream));
            checkChangedStream(changed, stream);
            const Pointers after(changed);
            ASSERT_EQ(after.all().size(), before.all().size());
            std::size_t faults = 0;
            for (std::size_t i = 0; i < before.all().size(); ++i) {
                const Pointer& was = before.all()[i];
                const Pointer& is = after.all()[i];
                const bool isRight = !was.to.empty();
                if (isRight) ++right;
                // One that was wrong may point to something now by chance.
                if (isRight ? is.to != was.to : is.stored != was.stored) ++faults;
            }
            EXPECT_EQ(faults, 0u) << "of " << before.all().size();
        });
    if (!hasCorpus) GTEST_SKIP() << "BRINDLE_CORPUS names no folder of real workbooks";
    EXPECT_GT(right, 20000u);
}

// --- made streams --------------------------------------------------------------------------------

std::string number(std::size_t row, std::size_t column) {
    return xlsRecord(record::kNumber, u16(row) + u16(column) + u16(15) + std::string(8, '\0'));
}
std::string label(std::size_t row, std::size_t column, std::size_t length) {
    return xlsRecord(record::kLabel, u16(row) + u16(column) + u16(15) + u16(length) + "\0"s +
                                         std::string(length, 't'));
}
std::string begin(std::size_t type) {
    return xlsRecord(record::kBof, "\0\x06"s + u16(type) + std::string(12, '\0'));
}

// Rows 0 to 3 in one block; row 2 has no cells, the others two each.
constexpr std::size_t kSheetSize = 20 + 24 + 6 + 4 * 20 + 6 * 18 + 16 + 4;
constexpr std::size_t kCells = 20 + 24 + 6 + 4 * 20;  // in the sheet
constexpr std::size_t kCell = 18;
std::string sheetAt(std::size_t offset) {
    std::string sheet = begin(substream::kWorksheet);
    const std::size_t defColWidth = offset + sheet.size() + 24;
    const std::size_t dbCell = offset + kSheetSize - 20;
    sheet += xlsRecord(record::kIndex, u32(0) + u32(0) + u32(4) + u32(defColWidth) + u32(dbCell));
    sheet += xlsRecord(record::kDefColWidth, u16(8));
    for (std::size_t row = 0; row < 4; ++row) {
        sheet += xlsRecord(record::kRow, u16(row) + std::string(14, '\0'));
    }
    for (const std::size_t row : {0u, 1u, 3u}) sheet += number(row, 0) + number(row, 1);
    sheet += xlsRecord(record::kDbCell, u32(4 * 20 + 6 * kCell) + u16(3 * 20) + u16(2 * kCell) +
                                            u16(2 * kCell) + u16(0));
    return sheet + xlsRecord(record::kEof);
}

constexpr std::size_t kSst = 20 + 2 * 13;
constexpr std::size_t kSheet1 = kSst + 4 + 8 + 2 * 4 + 4 + 10 + 4;
constexpr std::size_t kSheet2 = kSheet1 + kSheetSize;
std::string book(const std::string& behind = {}) {
    std::string stream = begin(substream::kGlobals);
    for (const std::size_t sheet : {kSheet1, kSheet2}) {
        stream += xlsRecord(record::kBoundSheet, u32(sheet) + u16(0) + "\1\0s"s);
    }
    stream += xlsRecord(record::kSst, u32(2) + u32(2) + u16(1) + "\0a"s + u16(1) + "\0b"s);
    stream += xlsRecord(record::kExtSst, u16(8) + u32(kSst + 12) + u16(12) + u16(0));
    stream += xlsRecord(record::kEof);
    return stream + sheetAt(kSheet1) + sheetAt(kSheet2) + behind;
}

std::vector<std::string> targets(std::string_view stream) {
    std::vector<std::string> names;
    const Pointers pointers(stream);
    for (const Pointer& pointer : pointers.all()) names.push_back(pointer.to);
    return names;
}

TEST(XlsStream, RowsBeginWhereTheirCellsDo) {
    const std::string stream = book("\0\0\0tail"s);
    const std::vector<std::string> right = targets(stream);
    ASSERT_EQ(std::count(right.begin(), right.end(), ""), 0);
    const std::size_t cells = kSheet1 + kCells;
    const std::size_t row1 = cells + 2 * kCell;
    const std::size_t row3 = cells + 4 * kCell;
    const std::size_t dbCell = cells + 6 * kCell;
    const std::vector<std::vector<RecordSplice>> cases{
        {{row1, row1, number(0, 2)}},  // behind the row in front
        {{row1, row1, number(0, 2) + label(1, 0, 9)}, {row1, row1 + kCell, {}}},
        {{row1, row1 + kCell, label(1, 0, 30)}},
        {{row1, row1 + kCell, {}}, {row3, row3 + kCell, unknown(2)}},
        {{cells, row3, label(0, 0, 5) + number(0, 1) + label(1, 0, 7) + label(1, 1, 1)}},
        {{cells, dbCell, label(0, 0, 5) + label(1, 0, 200) + label(3, 1, 1)}},
        {{row3, row3, unknown(40)}, {dbCell, dbCell, label(3, 7, 3)}},
        {{row1 + kCell, row3 + kCell, label(1, 1, 3) + unknown(3) + label(3, 0, 4)}},
        {{kSheet1 + kCells - 20, kSheet1 + kCells - 20, unknown(4)}},  // among the ROWs
        {{kSheet1 + 44, kSheet1 + 44, unknown(4)}},                    // before DEFCOLWIDTH
        {{0, 0, {}}, {20, 20, unknown(100)}},
    };
    for (std::size_t i = 0; i < cases.size(); ++i) {
        SCOPED_TRACE(i);
        const std::string changed = splicedStream(stream, cases[i]);
        EXPECT_EQ(targets(changed), right);
        EXPECT_TRUE(changed.ends_with("\0\0\0tail"s));
        checkChangedStream(changed, stream);
    }
}

TEST(XlsStream, SheetsWhoseRowsGrowTooLongLoseTheirIndex) {
    const std::string stream = book();
    std::string longRow;
    for (int i = 0; i < 9; ++i) longRow += label(0, 3, 8000);
    const std::size_t row1 = kSheet1 + kCells + 2 * kCell;
    const std::string changed = splicedStream(stream, {{row1, row1, longRow}});
    std::vector<std::string> right = targets(stream);
    // BOUNDSHEET twice, EXTSST; INDEX and DBCELL of a sheet have two and five values.
    right.erase(right.begin() + 3, right.begin() + 3 + 7);
    const std::vector<std::string> now = targets(changed);
    ASSERT_EQ(now.size(), right.size());
    EXPECT_EQ(now[1], "2057 2");
    EXPECT_EQ(now.back(), right.back());
    checkChangedStream(changed, stream);
    // As long as they fit, they stay.
    longRow.resize(longRow.size() - label(0, 3, 8000).size());
    EXPECT_EQ(targets(splicedStream(stream, {{row1, row1, longRow}})), targets(stream));
}

TEST(XlsStream, SplicesThatDoNotFitAreFaults) {
    const std::string stream = book();
    const std::vector<std::vector<RecordSplice>> cases{
        {{21, 21, {}}},
        {{0, 19, {}}},
        {{20, 33, {}}, {20, 33, {}}},
        {{kSst, 20, {}}},
        {{stream.size() + 1, stream.size() + 1, {}}},
        {{20, 33, {}}},                                   // BOUNDSHEET
        {{kSheet1, kSheet1 + 20, {}}},                    // BOF
        {{kSheet1 + 20, kSheet1 + 44, {}}},               // INDEX
        {{kSheet1 + kCells, kSheet2 - 4, number(0, 0)}},  // DBCELL with the cells
    };
    for (const auto& splices : cases) {
        EXPECT_EQ(kindOf([&] { splicedStream(stream, splices); }), ErrorKind::Internal);
    }
    const std::string cut = stream.substr(0, stream.size() - 30);
    EXPECT_EQ(kindOf([&] { splicedStream(cut, {}); }), ErrorKind::Damaged);
}

TEST(XlsStream, TheCheckSeesFaults) {
    const std::string stream = book("tail");
    checkChangedStream(stream, stream);
    const struct {
        const char* what;
        std::size_t at;
        std::string bytes;
        bool isReadable = true;
    } faults[] = {
        {"sheet", 20 + 4, u32(kSheet1 + 20)},
        {"other sheet", 20 + 4, u32(kSheet2)},
        {"type of a sheet", kSheet1 + 6, u16(substream::kChart)},
        {"INDEX", kSheet1 + 20 + 4 + 16, u32(kSheet1)},
        {"DEFCOLWIDTH", kSheet1 + 20 + 4 + 12, u32(kSheet1)},
        {"first row", kSheet2 - 20 + 4, u32(20)},
        {"row", kSheet2 - 20 + 8 + 2, u16(kCell)},
        {"EXTSST", kSst + 20 + 4 + 2, u32(kSst + 16)},
        {"EXTSST in the record", kSst + 20 + 4 + 6, u16(13)},
        {"string", kSst + 4 + 8, u16(5)},
        {"string breaks off", kSst + 4 + 12, u16(9), false},
        {"EOF", kSheet2 - 4, u16(0x0FEE), false},
        {"tail", stream.size() - 1, "L"},
        {"record", kSheet2 + 2, u16(60000), false},
    };
    for (const auto& fault : faults) {
        SCOPED_TRACE(fault.what);
        std::string wrong = stream;
        wrong.replace(fault.at, fault.bytes.size(), fault.bytes);
        EXPECT_NE(kindOf([&] { checkChangedStream(wrong, stream); }), std::nullopt);
        // It says only what became wrong.
        if (!fault.isReadable) continue;
        EXPECT_EQ(kindOf([&] { checkChangedStream(wrong, wrong); }), std::nullopt);
    }
}

}  // namespace
}  // namespace brindle::workbook::xls
