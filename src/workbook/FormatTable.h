// SPDX-License-Identifier: MIT
// One row per format. The only place that names the format folders.
#pragma once

#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "base/FileIo.h"
#include "workbook/Document.h"
#include "workbook/package/CompoundFile.h"

namespace brindle::workbook {

class NewDocument;

struct Abilities {
    bool cells = false;
    bool hyperlinks = false;
    bool headers = false;
    bool shapes = false;
    bool properties = false;
    bool password = false;
};

// How strongly a format claims a file. A signature beats an extension.
enum class Claim { None, Extension, Content };

struct FormatRow {
    const char* name;                     // for people: "Excel workbook (Office Open XML)"
    std::vector<std::string> extensions;  // lower case, with the dot
    Abilities abilities;
    // Looks at the first bytes (up to 4 KiB) and the lower-case extension; never throws.
    Claim (*probe)(std::string_view head, std::string_view extension);
    std::unique_ptr<Document> (*open)(std::unique_ptr<InputFile> file, const OpenOptions& options);
    // Looks at the streams of a compound file, which alone tell what it is. Null for a format that
    // is never in one.
    Claim (*probeCompound)(const package::CompoundFile& file) = nullptr;
    // Writes a new workbook as files of the row's first extension are. Null for a format in which
    // none is made. Throws Error 1004 for content that the format cannot hold.
    void (*write)(NewDocument& document, ByteSink& out) = nullptr;
};

std::span<const FormatRow> formatTable();

// Opens a document by content first, by extension only where content has no signature.
// Throws Error: NotFound, System, Unsupported ("The file is not in a recognizable format"),
// Damaged, WrongPassword, TooLarge; always naming the file.
std::unique_ptr<Document> openDocument(const std::string& path, const OpenOptions& options);

// See Document::saveAs(). The written file is read back before it takes the place of an old one.
void writeNewDocument(NewDocument& document, const std::string& path);

}  // namespace brindle::workbook
