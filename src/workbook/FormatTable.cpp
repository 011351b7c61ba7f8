// SPDX-License-Identifier: MIT
#include "workbook/FormatTable.h"

#include <algorithm>

#include "base/Error.h"
#include "base/Text.h"
#include "workbook/NewDocument.h"
#include "workbook/ooxml/OoxmlFormat.h"
#include "workbook/text/TextFormat.h"
#include "workbook/xls/XlsFormat.h"

namespace brindle::workbook {

namespace {

constexpr std::size_t kHeadSize = 4096;

const std::vector<FormatRow>& rows() {
    static const std::vector<FormatRow> table = {
        {"Excel workbook (Office Open XML)",
         {".xlsx", ".xlsm", ".xltx", ".xltm"},
         {.cells = true,
          .hyperlinks = true,
          .headers = true,
          .shapes = true,
          .properties = true,
          .password = true},
         ooxml::probe,
         ooxml::open,
         ooxml::probeCompound,
         ooxml::writeNew},
        {"Excel workbook (binary)",
         {".xls", ".xlt", ".xl"},
         {.cells = true,
          .hyperlinks = true,
          .headers = true,
          .shapes = true,
          .properties = true,
          .password = true},
         xls::probe,
         xls::open,
         xls::probeCompound,
         xls::writeNew},
        {"Delimited text",
         {".csv", ".txt", ".tab", ".prn"},
         {.cells = true},
         textfile::probe,
         textfile::open},
    };
    return table;
}

std::string extensionOf(const std::string& path) {
    const std::size_t slash = path.rfind('/');
    const std::size_t dot = path.rfind('.');
    if (dot == std::string::npos || (slash != std::string::npos && dot < slash)) return {};
    return text::lowerAscii(std::string_view(path).substr(dot));
}

// Of compound files the head tells nothing more; one under a text extension is no text.
const FormatRow* rowOfCompound(const InputFile& file) {
    const package::CompoundFile compound(file);
    const auto row = std::find_if(rows().begin(), rows().end(), [&](const FormatRow& each) {
        return each.probeCompound && each.probeCompound(compound) != Claim::None;
    });
    return row == rows().end() ? nullptr : &*row;
}

const FormatRow* bestRow(std::string_view head, std::string_view extension) {
    const FormatRow* best = nullptr;
    Claim strongest = Claim::None;
    for (const FormatRow& row : rows()) {
        const Claim claim = row.probe(head, extension);
        if (claim > strongest) {
            strongest = claim;
            best = &row;
        }
    }
    return best;
}

// The cells of a file must be those that were set.
void requireSameCells(NewDocument& document, Document& written) {
    NewWorksheet& sheet = document.worksheet(0);
    for (std::size_t i = 0; i < sheet.rows().size(); ++i) {
        for (const NewWorksheet::Cell& cell : sheet.rows()[i]) {
            const CellPosition position{static_cast<std::int32_t>(i) + 1, cell.column};
            const CellValue wanted = sheet.cellValue(position);
            const CellValue found = written.worksheet(0).cellValue(position);
            if (found.kind == wanted.kind && found.text == wanted.text) continue;
            throw Error(ErrorKind::Internal, error_number::kApplicationDefined,
                        "Document not saved: the written file did not read back as it was meant")
                .inCell(cellName(position));
        }
    }
}

}  // namespace

std::span<const FormatRow> formatTable() {
    return rows();
}

std::unique_ptr<Document> openDocument(const std::string& path, const OpenOptions& options) {
    auto file = std::make_unique<InputFile>(path, options.pulse);
    try {
        char bytes[kHeadSize];
        const auto size =
            static_cast<std::size_t>(std::min<std::uint64_t>(file->size(), kHeadSize));
        file->readAt(0, std::as_writable_bytes(std::span(bytes, size)));
        const std::string_view head(bytes, size);
        const FormatRow* row = package::CompoundFile::hasSignature(head)
                                   ? rowOfCompound(*file)
                                   : bestRow(head, extensionOf(path));
        if (!row) {
            throw Error(ErrorKind::Unsupported, error_number::kApplicationDefined,
                        "The file is not in a recognizable format");
        }
        return row->open(std::move(file), options);
    } catch (Error& error) {
        throw error.inFile(path);
    }
}

void writeNewDocument(NewDocument& document, const std::string& path) {
    const std::string extension = extensionOf(path);
    const auto row = std::find_if(rows().begin(), rows().end(), [&](const FormatRow& each) {
        return each.write && each.extensions.front() == extension;
    });
    if (row == rows().end()) {
        throw Error::refused("Document not saved: no workbook is made with this extension")
            .inFile(path);
    }
    const auto readBack = [&](const std::string& temporary) {
        requireSameCells(document, *row->open(std::make_unique<InputFile>(temporary), {}));
    };
    try {
        replaceFile(
            path, {}, [&](OutputFile& out) { row->write(document, out); }, readBack);
    } catch (Error& error) {
        throw error.inFile(path);
    }
}

}  // namespace brindle::workbook
