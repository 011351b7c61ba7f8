// SPDX-License-Identifier: MIT
// A compound file: storages (folders) and streams in one file, as binary workbooks and encrypted
// packages are stored. Layout: [MS-CFB].
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "base/ByteStreams.h"
#include "workbook/package/Inflate.h"

namespace brindle::workbook::package {

struct CompoundEntry {
    enum class Type { Root, Storage, Stream };
    static constexpr std::uint32_t kNoParent = 0xFFFFFFFF;

    Type type = Type::Stream;
    std::uint32_t id = 0;              // place in the file's directory
    std::uint32_t parent = kNoParent;  // id of the storage that it lies in
    std::u16string name;               // as stored; may hold control characters
    std::array<char, 16> classId{};    // as stored
    std::uint32_t stateBits = 0;
    std::uint64_t created = 0;  // 100 ns since 1601-01-01 UTC; 0 for unknown
    std::uint64_t modified = 0;
    std::uint64_t size = 0;  // of a stream, in bytes
};

struct StreamEdit {
    enum class Action { Replace, Remove, Add };
    Action action = Action::Replace;
    std::string path;        // as for CompoundFile::find
    std::string_view bytes;  // Replace, Add: the new content, borrowed
};

// Opening checks everything that a later look relies on: the allocation tables, the directory
// tree and the sectors of every stream. Sectors of 512 to 65536 bytes are understood. Time and
// memory follow the size of the file, whatever it claims.
class CompoundFile {
public:
    // Throws Error (Damaged) for bytes that are no compound file, chains that run in a loop, into
    // each other or out of the file, streams longer than their sectors, a directory tree that
    // reaches an entry twice, two entries of one name in a storage; Error (Unsupported) for an
    // unknown version. The file may end inside its last sector when no stream needs the rest.
    // `source` is borrowed.
    explicit CompoundFile(const ByteSource& source);
    ~CompoundFile();
    CompoundFile(CompoundFile&&) noexcept;

    // Whether bytes begin like a compound file.
    static bool hasSignature(std::string_view head);

    // What is reachable from the root, the root first, in the order of the directory.
    const std::vector<CompoundEntry>& entries() const;
    // By path from the root, names in UTF-8 with "/" between them and compared without case, as
    // the format does. Nothing for a name that is not there.
    std::optional<std::size_t> find(std::string_view path) const;
    std::string path(std::size_t index) const;

    // The bytes of a stream. Throws Error (Damaged).
    Buffer read(std::size_t index) const;
    // The same without a copy, for a stream that stands in one piece in a source in memory.
    std::optional<std::string_view> view(std::size_t index) const;

    // Whether a stream has this content, told without bringing all of it into memory. Throws Error
    // (Damaged).
    bool holds(std::size_t index, std::string_view bytes) const;

    // Writes the file with the edits applied. Whatever is not edited keeps its bytes, its sectors
    // and its place in the directory, storages and their attributes included; a changed stream
    // keeps its sectors as far as they go. Sectors that are given up are cleared. Without edits
    // the file is copied as it is. Throws Error (NotFound) for a Replace or Remove without its
    // stream or an Add without its storage, Error (Argument) for a second edit of a stream, an
    // Add of one that exists or with a name that the format does not allow, and Error (TooLarge)
    // beyond the limits of the version.
    void writeTo(ByteSink& out, std::span<const StreamEdit> edits) const;

private:
    struct Contents;
    std::optional<std::size_t> childOf(std::uint32_t storage, std::u16string_view name) const;

    std::unique_ptr<Contents> mContents;
};

}  // namespace brindle::workbook::package
