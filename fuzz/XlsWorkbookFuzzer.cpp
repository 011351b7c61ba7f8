// SPDX-License-Identifier: MIT
// Any bytes as the file of a binary workbook, a compound file or a bare stream: it opens or ends in
// an Error. What is replaced in cells, links, headers, shapes and properties is found again in the
// file that is written; all other cells, texts and streams are as they were.
#include <algorithm>
#include <functional>

#include "base/ByteStreams.h"
#include "base/Text.h"
#include "RecordMutator.h"
#include "workbook/package/CompoundFile.h"
#include "workbook/xls/biff/Biff.h"
#include "workbook/xls/biff/RecordReader.h"
#include "workbook/xls/WorkbookFile.h"
#include "workbook/xls/XlsFormat.h"
#include "WorkbookInMemory.h"

namespace {

using namespace brindle;
using namespace brindle::workbook;

// What a run searches for in cells, and puts there; the last two also in other texts.
struct Replacement {
    const char* what;
    bool isEntire;
    const char* with;
};
const std::string kLong(9000, 'x');
const std::vector<std::vector<Replacement>> kRuns = {
    {{"S?", true, "q"}, {"a", false, "q"}, {"1", false, "2"}},
    {{"S*", true, "TRUE"}, {"e", false, ""}, {"1", false, ""}},
    {{"a*", true, "=B2+SUM($C$3:D4)"}, {"e", false, "\xD0\xB4"}, {"$", false, ""}},
    {{"1", true, "3/4/2001"}, {"e", false, kLong.c_str()}, {"2", false, "17.5"}},
};
constexpr std::uint16_t kOldXf = 0x0043;  // and 0x0243, 0x0443
constexpr std::size_t kAddsFormats = 3;
constexpr std::size_t kMostSheets = 12;
constexpr std::size_t kMostCells = 300;

using Texts = std::vector<std::string>;
// Nothing when they cannot be read.
using ReadTexts = std::optional<Texts>;

// The texts of one kind in one sheet or in the workbook.
struct Scope {
    std::function<std::size_t()> count;
    std::function<std::string(std::size_t)> text;
    std::function<void(std::size_t, const std::string&)> set;
    // Links whose address is emptied may go, and properties that cannot be read are passed over.
    bool mayGo = false;
};

template <typename Action>
bool succeeds(const Action& action) {
    try {
        action();
        return true;
    } catch (const Error& error) {
        fuzz::require(error.kind() != ErrorKind::Internal);
        return false;
    }
}

std::vector<Scope> scopesOf(Document& document) {
    std::vector<Scope> scopes;
    const std::size_t sheets = std::min(document.worksheetCount(), kMostSheets);
    for (std::size_t i = 0; i < sheets; ++i) {
        Worksheet& sheet = document.worksheet(i);
        scopes.push_back(
            {[&] { return sheet.hyperlinkCount(); },
             [&](std::size_t n) { return sheet.hyperlinkAddress(n); },
             [&](std::size_t n, const auto& text) { sheet.setHyperlinkAddress(n, text); }, true});
        scopes.push_back({[&] { return sheet.shapeCount(); },
                          [&](std::size_t n) { return sheet.shapeText(n); },
                          [&](std::size_t n, const auto& text) { sheet.setShapeText(n, text); }});
        for (const PageKind kind : {PageKind::Odd, PageKind::Even, PageKind::First}) {
            const auto section = [](std::size_t n) { return static_cast<PageSection>(n); };
            scopes.push_back({[&sheet, kind] { return sheet.usesPages(kind) ? 6 : 0; },
                              [&sheet, kind, section](std::size_t n) {
                                  return sheet.pageSection(kind, section(n));
                              },
                              [&sheet, kind, section](std::size_t n, const auto& text) {
                                  sheet.setPageSection(kind, section(n), text);
                              }});
        }
    }
    for (const bool custom : {false, true}) {
        scopes.push_back(
            {[&document, custom] { return document.propertyCount(custom); },
             [&document, custom](std::size_t n) { return document.propertyText(custom, n); },
             [&document, custom](std::size_t n, const auto& text) {
                 document.setPropertyText(custom, n, text);
             },
             true});
    }
    return scopes;
}

ReadTexts textsOf(const Scope& scope) {
    Texts texts;
    const bool isRead = succeeds([&] {
        for (std::size_t i = 0; i < scope.count(); ++i) {
            std::string text;
            if (!scope.mayGo) {
                texts.push_back(scope.text(i));
            } else if (succeeds([&] { text = scope.text(i); }) && !text.empty()) {
                texts.push_back(std::move(text));
            }
        }
    });
    if (!isRead) return std::nullopt;
    return texts;
}

std::vector<ReadTexts> allTexts(Document& document) {
    std::vector<ReadTexts> all;
    for (const Scope& scope : scopesOf(document)) all.push_back(textsOf(scope));
    return all;
}

// A refusal must leave the text as it was.
void replaceTexts(const Scope& scope, const Replacement& replacement) {
    succeeds([&] {
        for (std::size_t i = 0; i < scope.count(); ++i) {
            std::string before;
            if (!succeeds([&] { before = scope.text(i); })) continue;
            const std::string text =
                text::replaceAll(before, replacement.what, replacement.with, CaseMode::Folded);
            if (text == before) continue;
            if (!succeeds([&] { scope.set(i, text); })) fuzz::require(scope.text(i) == before);
        }
    });
}

std::vector<CellMatch> matchesOf(const std::vector<Replacement>& run) {
    std::vector<CellMatch> matches;
    for (const auto& each : run) {
        matches.emplace_back(each.what, CaseMode::Exact, each.isEntire);
    }
    matches.emplace_back("*", CaseMode::Exact, false);
    return matches;
}

struct SheetCells {
    std::vector<fuzz::Cells> found;  // by pattern
    std::vector<std::pair<CellPosition, std::string>> untouched;
};

SheetCells cellsOf(Worksheet& sheet, const std::vector<CellMatch>& matches) {
    SheetCells cells;
    for (const auto& match : matches) cells.found.push_back(fuzz::found(sheet, match));
    return cells;
}

// Nothing when a cell of the sheet cannot be read, which need not be this one.
std::optional<std::string> valueOf(Worksheet& sheet, CellPosition position) {
    std::string text;
    if (!succeeds([&] { text = sheet.cellValue(position).text; })) return std::nullopt;
    return text;
}

// Replaces in the cells and tells what must be found then.
SheetCells replaceCells(Worksheet& sheet, const std::vector<Replacement>& run,
                        const std::vector<CellMatch>& matches) {
    fuzz::Cells touched;
    fuzz::Cells before = fuzz::found(sheet, matches.back());
    for (std::size_t i = 0; i < run.size(); ++i) {
        for (const auto& cell : fuzz::found(sheet, matches[i])) touched.push_back(cell);
        fuzz::replaceIn(sheet, matches[i], run[i].with);
    }
    std::sort(touched.begin(), touched.end());
    SheetCells cells = cellsOf(sheet, matches);
    for (const CellPosition& cell : before) {
        if (cells.untouched.size() == kMostCells) break;
        if (std::binary_search(touched.begin(), touched.end(), cell)) continue;
        const auto text = valueOf(sheet, cell);
        if (text) cells.untouched.emplace_back(cell, *text);
    }
    return cells;
}

void requireCells(Worksheet& sheet, const SheetCells& wanted,
                  const std::vector<CellMatch>& matches) {
    fuzz::require(cellsOf(sheet, matches).found == wanted.found);
    for (const auto& [cell, text] : wanted.untouched) fuzz::require(valueOf(sheet, cell) == text);
}

// Storages and streams but for those that a change may reach.
std::vector<std::string> keptStreams(const std::string& bytes) {
    std::vector<std::string> kept;
    if (!package::CompoundFile::hasSignature(bytes)) return kept;
    const MemorySource source(bytes);
    const package::CompoundFile file(source);
    for (std::size_t i = 0; i < file.entries().size(); ++i) {
        const auto& entry = file.entries()[i];
        const std::string path = file.path(i);
        const std::string name = text::lowerAscii(path);
        if (name == "workbook" || name == "book" || name.find('\5') != std::string::npos ||
            name == "encryption") {
            continue;
        }
        kept.push_back(path);
        if (entry.type == package::CompoundEntry::Type::Stream) {
            kept.push_back(std::string(file.read(i).view()));
        }
    }
    return kept;
}

// Whether cells name formats that the workbook does not have: a run that adds a format would give
// it to them. Encrypted records may look like that, too.
bool namesMissingFormats(const std::string& bytes) {
    std::string stream = bytes;
    if (package::CompoundFile::hasSignature(bytes)) {
        const MemorySource source(bytes);
        const package::CompoundFile file(source);
        auto entry = file.find("Workbook");
        if (!entry) entry = file.find("Book");
        if (!entry) return false;
        stream = file.read(*entry).view();
    }
    std::size_t formats = 0;
    std::size_t named = 0;
    bool isGlobal = true;
    xls::RecordReader reader(stream);
    for (xls::Record record; reader.next(record);) {
        const bool isNext = xls::isBof(record.id) && record.offset != 0;
        if (record.id == xls::record::kEof || isNext) isGlobal = false;
        const bool isFormat = record.id == xls::record::kXf || (record.id & 0xF9FF) == kOldXf;
        if (isFormat && isGlobal) ++formats;
        const bool isCell = (record.id & 0xFF) <= 6 || record.id == xls::record::kRk;
        const bool isMany = record.id == xls::record::kMulRk;
        for (std::size_t at = 4; at + 6 <= record.body.size(); at += 6) {
            if (!isCell && !isMany && record.id != xls::record::kLabelSst) break;
            const auto format = getLittleEndian<std::uint16_t>(record.body.data() + at);
            named = std::max<std::size_t>(named, format + 1u);
            if (!isMany) break;
        }
    }
    return named > formats;
}

void check(const std::string& bytes) {
    const fuzz::MemoryFile file(bytes);
    const std::size_t choice = bytes.size() % kRuns.size();
    const auto& run = kRuns[choice];
    bool isOdd = false;
    if (choice == kAddsFormats &&
        (!succeeds([&] { isOdd = namesMissingFormats(bytes); }) || isOdd)) {
        return;
    }
    const std::vector<CellMatch> matches = matchesOf(run);
    OpenOptions options;
    options.password = "password";
    options.expectedPatterns = &matches;
    std::vector<ReadTexts> texts;
    std::vector<SheetCells> cells;
    bool isSaved = false;
    const bool isGood = succeeds([&] {
        const auto document = xls::open(std::make_unique<InputFile>(file.path()), options);
        const std::size_t sheets = std::min(document->worksheetCount(), kMostSheets);
        for (const Scope& scope : scopesOf(*document)) {
            for (std::size_t i = 1; i < run.size(); ++i) replaceTexts(scope, run[i]);
        }
        // A shape that shows a cell would tell the cell's new text, which only the cell holds.
        texts = allTexts(*document);
        for (std::size_t i = 0; i < sheets; ++i) {
            cells.push_back(replaceCells(document->worksheet(i), run, matches));
        }
        isSaved = document->isChanged();
        document->save();
    });
    const std::string after = readWholeFile(file.path());
    if (!isGood || !isSaved) fuzz::require(after == bytes);
    if (!isGood) return;
    const auto document = xls::open(std::make_unique<InputFile>(file.path()), options);
    fuzz::require(allTexts(*document) == texts);
    for (std::size_t i = 0; i < cells.size(); ++i) {
        requireCells(document->worksheet(i), cells[i], matches);
    }
    if (isSaved) fuzz::require(keptStreams(after) == keptStreams(bytes));
}

}  // namespace

extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size,
                                               std::size_t maxSize, unsigned seed) {
    const std::string_view bytes(reinterpret_cast<const char*>(data), size);
    if (seed % 8 == 0 || !xls::isBareWorkbook(bytes)) return LLVMFuzzerMutate(data, size, maxSize);
    const std::string mutated = fuzz::RecordMutator(bytes, seed).mutated(maxSize);
    std::copy(mutated.begin(), mutated.end(), data);
    return mutated.size();
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string bytes(reinterpret_cast<const char*>(data), size);
    if (package::CompoundFile::hasSignature(bytes) || xls::isBareWorkbook(bytes)) check(bytes);
    return 0;
}
