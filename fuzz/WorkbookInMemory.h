// SPDX-License-Identifier: MIT
// A workbook package around fuzzed parts, in files without a folder, and the check that all
// workbook fuzzers share.
#pragma once

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "base/Error.h"
#include "base/FileIo.h"
#include "workbook/Document.h"
#include "workbook/FormatTable.h"
#include "workbook/package/Inflate.h"

namespace brindle::fuzz {

// Tells where it was called from, which the trace of an optimised build may not know.
inline void require(bool condition, int line = __builtin_LINE()) {
    if (condition) return;
    std::fprintf(stderr, "the requirement in line %d does not hold\n", line);
    std::abort();
}

// A file of a folder in memory; replaced like any other, and gone with the object.
class MemoryFile {
public:
    explicit MemoryFile(std::string_view bytes) {
        char folder[] = "/dev/shm/brindle-fuzz-XXXXXX";
        require(mkdtemp(folder) != nullptr);
        mFolder = folder;
        const int descriptor = open(path().c_str(), O_CREAT | O_WRONLY, 0600);
        require(descriptor >= 0);
        OutputFile(descriptor, path()).write(bytes);
        close(descriptor);
    }
    ~MemoryFile() {
        unlink(path().c_str());
        // Fails, and so tells, when anything else was left in the folder.
        if (rmdir(mFolder.c_str()) != 0) std::abort();
    }
    MemoryFile(const MemoryFile&) = delete;
    MemoryFile& operator=(const MemoryFile&) = delete;

    std::string path() const { return mFolder + "/book.xlsx"; }

private:
    std::string mFolder;
};

// Stored members, one after the other.
class StoredArchive {
public:
    void add(std::string_view name, std::string_view bytes) {
        const auto offset = static_cast<std::uint32_t>(mBytes.size());
        std::string fields;
        put16(fields, 20);
        put16(fields, 0);  // flags
        put16(fields, 0);  // stored
        put32(fields, 0);  // time and date
        put32(fields, workbook::package::crc32(bytes));
        put32(fields, static_cast<std::uint32_t>(bytes.size()));
        put32(fields, static_cast<std::uint32_t>(bytes.size()));
        put16(fields, static_cast<std::uint32_t>(name.size()));
        put16(fields, 0);  // extra field
        mBytes += "PK\x03\x04" + fields;
        mBytes += name;
        mBytes += bytes;
        std::string version;
        put16(version, 20);
        mDirectory += "PK\x01\x02" + version + fields;
        mDirectory.append(10, '\0');  // comment, disk, attributes
        put32(mDirectory, offset);
        mDirectory += name;
        ++mCount;
    }
    std::string finished() const {
        std::string end("PK\x05\x06\0\0\0\0", 8);
        put16(end, mCount);
        put16(end, mCount);
        put32(end, static_cast<std::uint32_t>(mDirectory.size()));
        put32(end, static_cast<std::uint32_t>(mBytes.size()));
        put16(end, 0);
        return mBytes + mDirectory + end;
    }

private:
    static void put16(std::string& out, std::uint32_t value) {
        out += static_cast<char>(value & 0xFF);
        out += static_cast<char>((value >> 8) & 0xFF);
    }
    static void put32(std::string& out, std::uint32_t value) {
        put16(out, value);
        put16(out, value >> 16);
    }
    std::string mBytes;
    std::string mDirectory;
    std::uint32_t mCount = 0;
};

inline const std::string kNamespace =
    "\"http://schemas.openxmlformats.org/spreadsheetml/2006/main\"";
inline const std::string kOffice =
    "http://schemas.openxmlformats.org/officeDocument/2006/relationships";
inline const std::string kRelationships =
    "<Relationships xmlns=\"http://schemas.openxmlformats.org/package/2006/relationships\">";

// Its id is the last step of its type, with an a in front.
inline std::string relationship(const char* type, const char* target) {
    return "<Relationship Id=\"a" + std::string(type) + "\" Type=\"" + kOffice + "/" + type +
           "\" Target=\"" + target + "\"/>";
}

inline std::string workbookPart() {
    return "<workbook xmlns=" + kNamespace + " xmlns:r=\"" + kOffice +
           "\"><sheets><sheet name=\"S\" sheetId=\"1\" r:id=\"aworksheet\"/></sheets></workbook>";
}

inline std::string workbookAround(std::string_view sheet, std::string_view strings,
                                  std::string_view sheetRelationships = {}) {
    const std::string& ns = kNamespace;
    StoredArchive archive;
    archive.add("_rels/.rels",
                kRelationships + relationship("officeDocument", "w.xml") + "</Relationships>");
    archive.add("_rels/w.xml.rels", kRelationships + relationship("worksheet", "s.xml") +
                                        relationship("styles", "y.xml") +
                                        relationship("sharedStrings", "t.xml") +
                                        "</Relationships>");
    archive.add("w.xml", workbookPart());
    archive.add("y.xml",
                "<styleSheet xmlns=" + ns +
                    "><cellXfs><xf numFmtId=\"0\"/><xf numFmtId=\"9\"/><xf numFmtId=\"14\"/>"
                    "<xf numFmtId=\"49\"/></cellXfs></styleSheet>");
    archive.add("s.xml", sheet);
    if (!sheetRelationships.empty()) archive.add("_rels/s.xml.rels", sheetRelationships);
    archive.add("t.xml", strings);
    return archive.finished();
}

using Cells = std::vector<workbook::CellPosition>;

inline Cells found(workbook::Worksheet& sheet, const workbook::CellMatch& match) {
    Cells cells;
    for (auto at = sheet.findCell(match, {1, 1}); at; at = sheet.findCell(match, *at)) {
        if (!cells.empty() && *at == cells.front()) break;
        require(cells.empty() || cells.back() < *at || *at == workbook::CellPosition{1, 1});
        cells.push_back(*at);
    }
    return cells;
}

// Replaces in every matching cell and returns those that refused.
inline Cells replaceIn(workbook::Worksheet& sheet, const workbook::CellMatch& match,
                       const char* replacement) {
    Cells refused;
    for (const workbook::CellPosition& cell : found(sheet, match)) {
        try {
            sheet.replaceInCell(cell, match, replacement);
        } catch (const Error& error) {
            if (error.kind() != ErrorKind::Refused) throw;
            refused.push_back(cell);
        }
    }
    return refused;
}

// What is found after replacing is what refused, before saving and after; and what another
// pattern finds is the same from the cells in memory and from the file that was written.
inline void checkWorkbook(const std::string& bytes) {
    const MemoryFile file(bytes);
    const std::vector<workbook::CellMatch> patterns = {{"a", CaseMode::Exact, false},
                                                       {"1*2", CaseMode::Folded, false},
                                                       {"S?", CaseMode::Exact, true}};
    const workbook::CellMatch plain("q", CaseMode::Exact, false);
    const workbook::CellMatch any("*", CaseMode::Exact, false);
    workbook::OpenOptions options;
    options.expectedPatterns = &patterns;
    Cells left[3];
    Cells afterwards[2];
    bool isSaved = false;
    try {
        const auto document = workbook::openDocument(file.path(), options);
        workbook::Worksheet& sheet = document->worksheet(0);
        for (std::size_t i = 0; i < patterns.size(); ++i) replaceIn(sheet, patterns[i], "q");
        for (std::size_t i = 0; i < patterns.size(); ++i) left[i] = found(sheet, patterns[i]);
        require(replaceIn(sheet, patterns[0], "q") == left[0]);
        afterwards[0] = found(sheet, plain);
        afterwards[1] = found(sheet, any);
        document->save();
        isSaved = true;
    } catch (const Error& error) {
        // The writer's own check must never be what finds a fault.
        require(error.kind() != ErrorKind::Internal);
        require(readWholeFile(file.path()) == bytes);
    }
    if (!isSaved) return;
    const auto document = workbook::openDocument(file.path(), options);
    workbook::Worksheet& sheet = document->worksheet(0);
    for (std::size_t i = 0; i < patterns.size(); ++i) require(found(sheet, patterns[i]) == left[i]);
    require(found(sheet, plain) == afterwards[0]);
    require(found(sheet, any) == afterwards[1]);
}

}  // namespace brindle::fuzz
