// SPDX-License-Identifier: MIT
#include "workbook/package/CompoundFile.h"

#include <algorithm>

#include "base/Error.h"
#include "base/Text.h"
#include "workbook/package/CompoundDirectory.h"
#include "workbook/package/CompoundSectors.h"
#include "workbook/package/CompoundWriter.h"

namespace brindle::workbook::package {

using cfb::Chain;

struct CompoundFile::Contents {
    explicit Contents(const ByteSource& source)
        : sectors(source),
          directoryChain(sectors.take(sectors.firstDirectorySector())),
          directory(sectors.readSectors(directoryChain), sectors.version()),
          entries(directory.reachable()),
          chains(entries.size()) {
        sectors.readMiniFat(directory.start(0), directory.size(0));
        for (std::size_t i = 0; i < entries.size(); ++i) readChain(i);
    }

    static bool isMini(const CompoundEntry& entry) { return entry.size < cfb::kMiniCutoff; }

    void readChain(std::size_t index) {
        const CompoundEntry& entry = entries[index];
        // An empty stream has no sectors, whatever its start says.
        if (entry.type != CompoundEntry::Type::Stream || entry.size == 0) return;
        try {
            const std::uint32_t start = directory.start(entry.id);
            chains[index] = isMini(entry) ? sectors.takeMini(start, entry.size)
                                          : sectors.take(start, entry.size);
            sectors.requireWhole(ranges(index));
        } catch (Error& error) {
            throw error.inMember(text::fromUtf16(entry.name));
        }
    }

    std::vector<cfb::Range> ranges(std::size_t index) const {
        const CompoundEntry& entry = entries[index];
        return isMini(entry) ? sectors.miniRanges(chains[index], entry.size)
                             : sectors.ranges(chains[index], entry.size);
    }

    cfb::Sectors sectors;
    Chain directoryChain;
    cfb::Directory directory;
    std::vector<CompoundEntry> entries;
    std::vector<Chain> chains;  // of each entry that is a stream
};

CompoundFile::CompoundFile(const ByteSource& source)
    : mContents(std::make_unique<Contents>(source)) {}

CompoundFile::~CompoundFile() = default;
CompoundFile::CompoundFile(CompoundFile&&) noexcept = default;

bool CompoundFile::hasSignature(std::string_view head) {
    return head.starts_with(cfb::kSignature);
}

const std::vector<CompoundEntry>& CompoundFile::entries() const {
    return mContents->entries;
}

std::optional<std::size_t> CompoundFile::childOf(std::uint32_t storage,
                                                 std::u16string_view name) const {
    const auto child =
        std::find_if(entries().begin(), entries().end(), [&](const CompoundEntry& entry) {
            return entry.parent == storage && cfb::compareNames(entry.name, name) == 0;
        });
    if (child == entries().end()) return std::nullopt;
    return static_cast<std::size_t>(child - entries().begin());
}

std::optional<std::size_t> CompoundFile::find(std::string_view path) const {
    if (path.empty()) return 0;
    std::size_t index = 0;
    for (;;) {
        const std::size_t slash = path.find('/');
        const auto child = childOf(entries()[index].id, text::toUtf16(path.substr(0, slash)));
        if (!child || slash == std::string_view::npos) return child;
        index = *child;
        path.remove_prefix(slash + 1);
    }
}

std::string CompoundFile::path(std::size_t index) const {
    std::string path;
    const CompoundEntry* entry = &entries().at(index);
    while (entry->parent != CompoundEntry::kNoParent) {
        path = text::fromUtf16(entry->name) + (path.empty() ? "" : "/") + path;
        // Entries stand in the order of their ids.
        entry = &*std::lower_bound(
            entries().begin(), entries().end(), entry->parent,
            [](const CompoundEntry& each, std::uint32_t id) { return each.id < id; });
    }
    return path;
}

Buffer CompoundFile::read(std::size_t index) const {
    if (entries().at(index).type != CompoundEntry::Type::Stream) {
        throw Error::damaged("This is no stream of the compound file").inMember(path(index));
    }
    return mContents->sectors.read(mContents->ranges(index));
}

std::optional<std::string_view> CompoundFile::view(std::size_t index) const {
    const auto bytes = mContents->sectors.source().inMemory();
    if (!bytes || entries().at(index).type != CompoundEntry::Type::Stream) return std::nullopt;
    const std::vector<cfb::Range> ranges = mContents->ranges(index);
    if (ranges.size() != 1) return std::nullopt;
    return bytes->substr(static_cast<std::size_t>(ranges.front().offset),
                         static_cast<std::size_t>(ranges.front().length));
}

bool CompoundFile::holds(std::size_t index, std::string_view bytes) const {
    const CompoundEntry& entry = entries().at(index);
    if (entry.type != CompoundEntry::Type::Stream || entry.size != bytes.size()) return false;
    const std::vector<cfb::Range> ranges = mContents->ranges(index);
    return std::all_of(ranges.begin(), ranges.end(), [&](const cfb::Range& range) {
        const auto length = static_cast<std::size_t>(range.length);
        const std::string_view piece = bytes.substr(0, length);
        bytes.remove_prefix(length);
        return holdsAt(mContents->sectors.source(), range.offset, piece);
    });
}

void CompoundFile::writeTo(ByteSink& out, std::span<const StreamEdit> edits) const {
    const ByteSource& source = mContents->sectors.source();
    if (edits.empty()) {
        out.copyFrom(source, 0, source.size());
        return;
    }
    cfb::CompoundWriter writer(mContents->sectors, mContents->directoryChain, mContents->directory,
                               mContents->entries);
    const auto fail = [](const StreamEdit& edit, ErrorKind kind, const char* what) {
        throw Error(kind, error_number::kInvalidArgument, what).inMember(edit.path);
    };
    std::vector<bool> isEdited(entries().size());
    for (const StreamEdit& edit : edits) {
        const auto index = find(edit.path);
        if (edit.action == StreamEdit::Action::Add) {
            const std::size_t slash = edit.path.rfind('/');
            const bool isInRoot = slash == std::string::npos;
            const auto storage = find(isInRoot ? "" : edit.path.substr(0, slash));
            if (!storage || entries()[*storage].type == CompoundEntry::Type::Stream) {
                fail(edit, ErrorKind::NotFound, "The compound file has no such storage");
            }
            if (index) fail(edit, ErrorKind::Argument, "The compound file has such a stream");
            writer.add(entries()[*storage].id,
                       text::toUtf16(isInRoot ? edit.path : edit.path.substr(slash + 1)),
                       edit.bytes);
            continue;
        }
        if (!index || entries()[*index].type != CompoundEntry::Type::Stream) {
            fail(edit, ErrorKind::NotFound, "The compound file has no such stream");
        }
        if (isEdited[*index]) fail(edit, ErrorKind::Argument, "A stream is changed twice");
        isEdited[*index] = true;
        const bool isRemoval = edit.action == StreamEdit::Action::Remove;
        writer.replace(*index, mContents->chains[*index],
                       isRemoval ? std::string_view() : edit.bytes);
        if (isRemoval) writer.remove(*index);
    }
    writer.writeTo(out);
}

}  // namespace brindle::workbook::package
