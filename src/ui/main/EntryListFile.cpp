// SPDX-License-Identifier: MIT
#include "ui/main/EntryListFile.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <memory>

#include "base/CodePages.h"
#include "base/Error.h"
#include "base/FileIo.h"
#include "base/Text.h"
#include "engine/excel/Application.h"
#include "engine/excel/Workbook.h"
#include "workbook/FormatTable.h"
#include "workbook/NumberText.h"

namespace brindle {

namespace {

using workbook::CellPosition;
using workbook::CellRange;
using workbook::CellValue;
using workbook::Worksheet;

constexpr std::size_t kColumns = 5;
constexpr std::array<const char*, kColumns> kHeader = {"Find What", "Replace With", "Look In",
                                                       "MatchCase", "Match entire cell contents"};
constexpr double kLastScope = 6;

using Row = std::array<CellValue, kColumns>;
using Texts = std::array<std::string, kColumns>;

std::string textBehindLastDot(const std::string& path) {
    return path.substr(path.find_last_of('.') + 1);
}

bool isListType(const std::string& path) {
    const std::string type = textBehindLastDot(path);
    return type == "tab" || type == "xls" || type == "csv";
}

Row readRow(Worksheet& sheet, std::int32_t row) {
    Row cells;
    for (std::size_t i = 0; i < kColumns; ++i) {
        cells[i] = sheet.cellValue({row, static_cast<std::int32_t>(i) + 1});
    }
    return cells;
}

// A boolean cell reads as the word that the entry lists themselves are written with.
std::string textOf(const CellValue& cell) {
    if (cell.kind == CellValue::Kind::Boolean) return cell.boolean ? "True" : "False";
    return cell.text;
}

Texts textsOf(const Row& row) {
    Texts texts;
    std::transform(row.begin(), row.end(), texts.begin(), textOf);
    return texts;
}

bool isHeader(const Texts& texts) {
    return std::equal(texts.begin(), texts.end(), kHeader.begin(),
                      [](const std::string& text, const char* title) {
                          return text::upperAscii(text) == text::upperAscii(title);
                      });
}

std::int16_t scopeOf(const CellValue& cell) {
    double value = cell.number;
    if (cell.kind != CellValue::Kind::Number) {
        value = workbook::parseDecimal(text::trimBlanks(textOf(cell))).value_or(0);
    }
    if (!(value >= 0 && value <= kLastScope)) return 0;
    return static_cast<std::int16_t>(std::nearbyint(value));  // halves to the even number
}

bool isTrue(const std::string& text) {
    return text::upperAscii(text) == "TRUE";
}

Entry entryOf(const Row& row, const Texts& texts) {
    Entry entry;
    entry.FindWhat = texts[0];
    entry.ReplaceWith = texts[1];
    entry.Look_In = scopeOf(row[2]);
    entry.MatchCase = isTrue(texts[3]);
    entry.MatchEntireCellContents = isTrue(texts[4]);
    return entry;
}

std::int32_t rowCount(const CellRange& range) {
    const std::int32_t rows = range.lastRow - range.firstRow + 1;
    if (rows > std::numeric_limits<std::int16_t>::max()) {
        throw Error(ErrorKind::TooLarge, error_number::kOverflow, "Overflow");
    }
    return rows;
}

EntryListOutcome readSheet(Worksheet& sheet, const EntryListReceiver& receiver) {
    const CellRange range = sheet.usedRange();
    const auto columns = static_cast<std::size_t>(range.lastColumn - range.firstColumn + 1);
    if (range.firstRow == 0 || columns != kColumns) return EntryListOutcome::WrongColumns;
    const std::int32_t rows = rowCount(range);
    if (!isHeader(textsOf(readRow(sheet, 1)))) return EntryListOutcome::WrongHeader;
    for (std::int32_t number = 2; number <= rows; ++number) {
        const Row row = readRow(sheet, number);
        const Texts texts = textsOf(row);
        if (!ValidateItem(texts)) continue;
        Entry entry = entryOf(row, texts);
        receiver.entry(entry, number);
    }
    return EntryListOutcome::Read;
}

std::string lineOf(const Texts& texts, char separator) {
    std::string line;
    for (const std::string& text : texts) {
        if (&text != texts.data()) line += separator;
        line += text;
    }
    return line + "\r\n";
}

Texts textsOf(const Entry& entry) {
    const auto word = [](bool value) { return value ? "True" : "False"; };
    return {entry.FindWhat, entry.ReplaceWith, std::to_string(entry.Look_In), word(entry.MatchCase),
            word(entry.MatchEntireCellContents)};
}

std::string listText(const Entries& entries, char separator) {
    Texts header;
    std::copy(kHeader.begin(), kHeader.end(), header.begin());
    std::string text = lineOf(header, separator);
    for (const Entry* entry : entries.NewEnum()) text += lineOf(textsOf(*entry), separator);
    return text;
}

void setRow(const excel::Worksheet& sheet, std::int32_t row, const Row& cells) {
    for (std::size_t i = 0; i < kColumns; ++i) {
        sheet.Cells(row, static_cast<std::int32_t>(i) + 1).setValue(cells[i]);
    }
}

void writeWorkbook(const std::string& path, const Entries& entries, int currentYear) {
    excel::Application application;
    excel::Workbook& workbook = application.Workbooks().Add(currentYear);
    const excel::Worksheet sheet = workbook.Worksheets().Item(1);
    Row cells;
    std::transform(kHeader.begin(), kHeader.end(), cells.begin(), CellValue::ofText);
    std::int32_t row = 1;
    setRow(sheet, row, cells);
    for (const Entry* entry : entries.NewEnum()) {
        setRow(sheet, ++row,
               {CellValue::ofText(entry->FindWhat), CellValue::ofText(entry->ReplaceWith),
                CellValue::ofNumber(entry->Look_In), CellValue::ofBoolean(entry->MatchCase),
                CellValue::ofBoolean(entry->MatchEntireCellContents)});
    }
    workbook.SaveAs(path);
    workbook.Close(false);
    application.Quit();
}

void writeText(const std::string& path, const Entries& entries, char separator,
               const std::string& codePage) {
    const std::optional<std::string> bytes =
        CodePage(codePage).encode(listText(entries, separator));
    if (!bytes) {
        throw Error::refused("The list has a character that the code page " + codePage +
                             " cannot hold")
            .inFile(path);
    }
    replaceFile(path, {}, [&](OutputFile& output) { output.write(std::string_view(*bytes)); });
}

}  // namespace

bool ValidateItem(std::span<const std::string> fields) {
    return !fields.empty() && !text::trimBlanks(fields[0]).empty();
}

EntryListOutcome readEntryList(const std::string& path, const EntryListOptions& options,
                               const EntryListReceiver& receiver) {
    if (!options.anyType && !isListType(path)) return EntryListOutcome::WrongType;
    const std::unique_ptr<workbook::Document> document = workbook::openDocument(path, options.open);
    if (receiver.opened) receiver.opened();
    if (document->worksheetCount() == 0) return EntryListOutcome::WrongColumns;
    try {
        return readSheet(document->worksheet(0), receiver);
    } catch (Error& error) {
        error.inFile(path);
        throw;
    }
}

EntryListOutcome readEntryList(const std::string& path, const EntryListOptions& options,
                               Entries& list) {
    EntryListReceiver receiver;
    receiver.entry = [&](Entry& entry, std::int32_t row) {
        entry.Key = "Item-" + std::to_string(row);
        list.AddByObject(entry);
    };
    return readEntryList(path, options, receiver);
}

std::string entryListKind(const std::string& path) {
    return text::upperAscii(textBehindLastDot(path));
}

bool writeEntryList(const std::string& path, const Entries& entries,
                    const EntryListOptions& options) {
    const std::string kind = entryListKind(path);
    if (kind == "XLS" || (kind == "XLSX" && options.anyType)) {
        writeWorkbook(path, entries, options.open.currentYear);
    } else if (kind == "CSV" || kind == "TAB") {
        writeText(path, entries, kind == "CSV" ? ',' : '\t', options.open.ansiCodePage);
    } else {
        return false;
    }
    return true;
}

}  // namespace brindle
