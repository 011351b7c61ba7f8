// SPDX-License-Identifier: MIT
// The package of a workbook: parts, relationships, content types and pending part changes.
// Layout: ECMA-376 part 2 (Open Packaging Conventions).
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "workbook/ooxml/PackageFile.h"
#include "workbook/ooxml/Splices.h"
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
    // `file` stays open for the life of the package. Throws Error as PackageFile and ZipArchive.
    explicit Package(std::unique_ptr<InputFile> file, const std::string& password = {});

    const package::ZipArchive& archive() const { return *mArchive; }
    const InputFile& file() const { return mFile.file(); }
    Pulse pulse() const { return file().pulse(); }

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
    // The same for a part of which some bytes change; `old` is what it holds in the file.
    void changePart(std::string_view partName, const PartText& old, std::vector<Splice> splices);
    // Removes a part, its content type and the relationship of `owner` that leads to it.
    void removePart(std::string_view partName, std::string_view owner);
    void writeTo(OutputFile& out);
    // Reads a member of a written package to its end and checks that it is well-formed; false
    // when it cannot do so with that member. Throws Error (Damaged).
    using PartReader = std::function<bool(const package::ZipArchive& written, std::size_t member)>;
    // Reads a written file back: same members, checksums, changed parts as they were meant and,
    // those of XML, well-formed. `read` may know a faster way than the general one. Throws Error
    // (Internal, Damaged).
    void verify(const std::string& path, const PartReader& read) const;

private:
    struct Change {
        bool removed = false;
        Content content = Content::Xml;
        package::Buffer compressed;
        std::uint64_t size = 0;
        std::uint32_t crc = 0;
    };
    bool isTooLong(std::size_t member, const Change& change) const;
    Change packed(std::size_t member, std::string_view text, Content content) const;
    static std::optional<Change> repacked(std::string_view stored, std::string_view old,
                                          const std::vector<Splice>& splices);
    void removeRelationship(std::string_view owner, std::string_view partName);
    void removeContentType(std::string_view partName);
    std::string currentText(std::string_view partName) const;

    PackageFile mFile;
    std::unique_ptr<package::ZipArchive> mArchive;
    mutable std::map<std::string, std::vector<Relationship>, std::less<>> mRelationships;
    // Places in these lists, by id; made when first asked for.
    mutable std::map<std::string, std::unordered_map<std::string, std::size_t>, std::less<>>
        mRelationshipIds;
    std::map<std::size_t, Change> mChanges;  // by member
};

// Member name of the relationship part of `partName` ("" for the package).
std::string relationshipPartName(std::string_view partName);
// A target resolved against its source part: percent-decoded, dots removed, no leading "/".
std::string resolveTarget(std::string_view sourcePart, std::string_view target);

}  // namespace brindle::workbook::ooxml
