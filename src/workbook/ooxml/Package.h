// SPDX-License-Identifier: MIT
// The package of a workbook: parts, relationships, content types and pending part changes.
// Layout: ECMA-376 part 2 (Open Packaging Conventions).
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/FileIo.h"
#include "workbook/package/ZipArchive.h"

namespace brindle::workbook::ooxml {

struct Relationship {
    std::string id;
    std::string type;
    std::string target;    // as written, references expanded
    std::string partName;  // resolved member name; empty for external targets
    bool isExternal = false;
    bool hasType(std::string_view suffix) const { return type.ends_with(suffix); }
};

// A part's text as UTF-8: a view into the bytes as stored, or a converted copy.
class PartText {
public:
    explicit PartText(package::Buffer bytes);
    std::string_view view() const {
        return mConverted ? std::string_view(*mConverted) : mBytes.view();
    }
    // The stored encoding was another one; written back, the part is UTF-8.
    bool isConverted() const { return mConverted.has_value(); }

private:
    package::Buffer mBytes;
    std::optional<std::string> mConverted;
};

class Package {
public:
    // `file` stays open for the life of the package.
    explicit Package(std::unique_ptr<InputFile> file);

    const package::ZipArchive& archive() const { return *mArchive; }
    const InputFile& file() const { return *mFile; }

    bool hasPart(std::string_view partName) const { return mArchive->find(partName).has_value(); }
    // Index of a part in the archive. Throws Error (Damaged) when it is missing.
    std::size_t memberOf(std::string_view partName) const;
    PartText read(std::string_view partName) const;

    // Relationships of a part; of the package for an empty name. Missing: empty.
    const std::vector<Relationship>& relationships(std::string_view partName) const;
    const Relationship* relationshipById(std::string_view partName, std::string_view id) const;
    const Relationship* relationshipByType(std::string_view partName,
                                           std::string_view typeSuffix) const;
    std::string contentType(std::string_view partName) const;

    // --- changes, held (packed) until writeTo -----------------------------------------------
    enum class Content { Xml, Other };
    void replacePart(std::string_view partName, std::string_view text,
                     Content content = Content::Xml);
    // Removes a part, its content type and the relationship of `owner` that leads to it.
    void removePart(std::string_view partName, std::string_view owner);
    bool hasChanges() const { return !mChanges.empty(); }
    void writeTo(OutputFile& out);
    // Reads a written package back: same members, checksums, changed parts as they were meant
    // and, those of XML, well-formed. Throws Error (Internal).
    void verify(const std::string& path) const;

private:
    struct Change {
        bool removed = false;
        Content content = Content::Xml;
        package::Buffer compressed;
        std::uint64_t size = 0;
        std::uint32_t crc = 0;
    };
    void removeRelationship(std::string_view owner, std::string_view partName);
    void removeContentType(std::string_view partName);
    std::string currentText(std::string_view partName) const;

    std::unique_ptr<InputFile> mFile;
    std::unique_ptr<package::ZipArchive> mArchive;
    mutable std::map<std::string, std::vector<Relationship>, std::less<>> mRelationships;
    std::map<std::size_t, Change> mChanges;  // by member
};

// Member name of the relationship part of `partName` ("" for the package).
std::string relationshipPartName(std::string_view partName);
// A target resolved against its source part: percent-decoded, dots removed, no leading "/".
std::string resolveTarget(std::string_view sourcePart, std::string_view target);

}  // namespace brindle::workbook::ooxml
