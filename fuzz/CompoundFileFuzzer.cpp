// SPDX-License-Identifier: MIT
// Any bytes are either a compound file or an Error. What opens is rewritten with streams replaced,
// removed and added, and read again: the edits are there and everything else is as before.
#include <cstdint>
#include <cstdlib>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "base/ByteStreams.h"
#include "base/Error.h"
#include "workbook/package/CompoundFile.h"

namespace {

using namespace brindle;
using namespace brindle::workbook::package;

void require(bool condition) {
    if (!condition) std::abort();
}

struct Seen {
    CompoundEntry entry;
    std::string content;
};

using Contents = std::map<std::uint32_t, Seen>;

Contents contentsOf(const CompoundFile& file) {
    Contents contents;
    for (std::size_t i = 0; i < file.entries().size(); ++i) {
        const CompoundEntry& entry = file.entries()[i];
        Seen seen{entry, {}};
        if (entry.type == CompoundEntry::Type::Stream) {
            seen.content = file.read(i).view();
            require(seen.content.size() == entry.size);
        }
        contents[entry.id] = seen;
    }
    return contents;
}

bool isSame(const Seen& a, const Seen& b) {
    return a.entry.type == b.entry.type && a.entry.parent == b.entry.parent &&
           a.entry.name == b.entry.name && a.entry.classId == b.entry.classId &&
           a.entry.stateBits == b.entry.stateBits && a.entry.created == b.entry.created &&
           a.entry.modified == b.entry.modified && a.content == b.content;
}

std::string written(const CompoundFile& file, const std::vector<StreamEdit>& edits) {
    std::string bytes;
    MemorySink sink(bytes);
    file.writeTo(sink, edits);
    return bytes;
}

void check(const CompoundFile& file, Contents expected, const std::vector<StreamEdit>& edits,
           const std::vector<std::uint32_t>& ids) {
    for (std::size_t i = 0; i < ids.size(); ++i) {
        if (edits[i].action == StreamEdit::Action::Remove) {
            expected.erase(ids[i]);
        } else {
            expected[ids[i]].content = edits[i].bytes;
        }
    }
    const std::string bytes = written(file, edits);
    const MemorySource source(bytes);
    const CompoundFile after(source);
    Contents now = contentsOf(after);
    if (edits.size() > ids.size()) {  // the last one adds
        const auto added = after.find(edits.back().path);
        require(added.has_value());
        const std::uint32_t id = after.entries()[*added].id;
        require(now.at(id).content == edits.back().bytes);
        require(!expected.count(id));
        now.erase(id);
    }
    require(now.size() == expected.size());
    for (const auto& [id, seen] : expected) require(isSame(seen, now.at(id)));
}

// Streams that a path leads to; names with a slash have none.
std::vector<std::size_t> addressable(const CompoundFile& file) {
    std::vector<std::size_t> streams;
    for (std::size_t i = 0; i < file.entries().size() && streams.size() < 6; ++i) {
        if (file.entries()[i].type != CompoundEntry::Type::Stream) continue;
        if (file.find(file.path(i)) == i) streams.push_back(i);
    }
    return streams;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view bytes(reinterpret_cast<const char*>(data), size);
    const MemorySource source(bytes);
    std::optional<CompoundFile> file;
    try {
        file.emplace(source);
    } catch (const Error&) {
        return 0;
    }
    require(written(*file, {}) == bytes);
    const Contents contents = contentsOf(*file);
    const std::vector<std::size_t> streams = addressable(*file);
    const std::string large(9000 + size % 1000, 'l');
    const std::string contentsToTry[] = {"", "small", large, std::string(4096, 'e')};
    std::vector<StreamEdit> all;
    std::vector<std::uint32_t> ids;
    for (std::size_t i = 0; i < streams.size(); ++i) {
        StreamEdit edit;
        edit.path = file->path(streams[i]);
        edit.bytes = contentsToTry[(size + i) % 4];
        if (i % 3 == 2) edit.action = StreamEdit::Action::Remove;
        all.push_back(edit);
        ids.push_back(file->entries()[streams[i]].id);
        check(*file, contents, {edit}, {ids.back()});
    }
    if (!file->find("an added stream")) {
        all.push_back({StreamEdit::Action::Add, "an added stream", large});
    }
    check(*file, contents, all, ids);
    return 0;
}
