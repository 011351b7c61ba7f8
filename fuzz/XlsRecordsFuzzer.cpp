// SPDX-License-Identifier: MIT
// Any bytes as the stream of a binary workbook: its shared strings are read, found and written
// anew without a difference; with cells changed, what was right about its offsets stays right.
#include <cstdint>
#include <cstdlib>
#include <string>

#include "base/Error.h"
#include "base/LittleEndian.h"
#include "workbook/xls/biff/SubstreamReader.h"
#include "workbook/xls/SharedStrings.h"
#include "workbook/xls/StreamCheck.h"
#include "workbook/xls/StreamWriter.h"

namespace {

using namespace brindle;
using namespace brindle::workbook;
using namespace brindle::workbook::xls;

void require(bool isRight) {
    if (!isRight) std::abort();
}

// Runs what may end in an Error, but for one of our own making.
template <typename Action>
bool succeeds(const Action& action) {
    try {
        action();
        return true;
    } catch (const Error& error) {
        require(error.kind() != ErrorKind::Internal);
        return false;
    }
}

const PatternSet& patterns() {
    static const PatternSet kPatterns(
        {CellMatch("e", CaseMode::Folded, false), CellMatch("th", CaseMode::Exact, false),
         CellMatch("s*k", CaseMode::Folded, false), CellMatch("?\xD0\xB8", CaseMode::Folded, false),
         CellMatch("na", CaseMode::Folded, true)});
    return kPatterns;
}

void checkStrings(std::string_view stream, std::size_t sst) {
    SharedStrings strings(stream, sst);
    strings.look(patterns());
    for (std::uint32_t i = 0; i < strings.size(); ++i) {
        require(strings.mask(i) == patterns().matching(strings.text(i)));
    }
    const std::uint32_t added = strings.add({"added", {{1, 2}}, {}});
    if (strings.size() > 1) strings.setItem(1, {"set", {}, "phonetic"});
    std::vector<RecordSplice> splices;
    strings.appendSplices(splices);
    std::string changed;
    if (!succeeds([&] { changed = splicedStream(stream, splices); })) return;
    const SharedStrings again(changed, sst);
    require(again.size() == added + 1 && again.text(added) == "added");
    for (std::uint32_t i = 0; i < strings.size(); ++i) {
        require(again.item(i) == (i == 1 ? StringItem{"set", {}, "phonetic"} : strings.item(i)));
    }
    checkChangedStream(changed, stream);
}

// Changes of cells and records between them, as the bytes have it.
std::vector<RecordSplice> cellChanges(std::string_view stream) {
    std::vector<RecordSplice> splices;
    SubstreamReader reader(stream);
    for (Record record; reader.next(record);) {
        if (reader.depth() == 0) continue;
        const auto choice =
            static_cast<unsigned char>(record.body.empty() ? 0 : record.body.back());
        const std::size_t end = record.end();
        if (record.id == record::kLabelSst || record.id == record::kNumber) {
            std::string bytes;
            const auto row = record.body.substr(0, std::min<std::size_t>(2, record.body.size()));
            for (int i = 0; i <= choice % 3; ++i) {
                appendRecord(
                    bytes, record::kLabel,
                    std::string(row) + std::string(choice * (choice > 250 ? 32u : 1u), 'x'));
            }
            splices.push_back({record.offset, end, std::move(bytes)});
        } else if (record.id == record::kRow && choice > 200) {
            splices.push_back(
                {end, end, std::string(stream.substr(record.offset, end - record.offset))});
            splices.back().bytes[0] = '\x77';
        }
    }
    return splices;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view stream(reinterpret_cast<const char*>(data), size);
    succeeds([&] {
        SubstreamReader reader(stream);
        for (Record record; reader.next(record);) {
            if (record.id != record::kSst || reader.depth() == 0) continue;
            succeeds([&] { checkStrings(stream, record.offset); });
            break;
        }
        std::vector<RecordSplice> splices = cellChanges(stream);
        const std::string changed = splicedStream(stream, std::move(splices));
        checkChangedStream(changed, stream);
    });
    return 0;
}
