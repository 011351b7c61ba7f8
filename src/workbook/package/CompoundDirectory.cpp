// SPDX-License-Identifier: MIT
#include "workbook/package/CompoundDirectory.h"

#include <algorithm>
#include <bit>
#include <cstring>

#include "base/Error.h"
#include "base/LittleEndian.h"
#include "base/Text.h"

namespace brindle::workbook::package::cfb {

namespace {

[[noreturn]] void failEntry(std::uint32_t id) {
    throw Error::damaged("The directory of the compound file is broken at entry " +
                         std::to_string(id));
}

// Two entries of a storage with one name could each be meant.
void requireUniqueNames(const std::vector<CompoundEntry>& entries) {
    std::vector<const CompoundEntry*> order;
    order.reserve(entries.size());
    for (const CompoundEntry& each : entries) order.push_back(&each);
    std::sort(order.begin(), order.end(), [](const CompoundEntry* a, const CompoundEntry* b) {
        return a->parent != b->parent ? a->parent < b->parent : compareNames(a->name, b->name) < 0;
    });
    const auto twice = std::adjacent_find(
        order.begin(), order.end(), [](const CompoundEntry* a, const CompoundEntry* b) {
            return a->parent == b->parent && compareNames(a->name, b->name) == 0;
        });
    if (twice == order.end()) return;
    throw Error::damaged("A name occurs twice in the compound file")
        .inMember(text::fromUtf16((*twice)->name));
}

}  // namespace

int compareNames(std::u16string_view a, std::u16string_view b) {
    if (a.size() != b.size()) return a.size() < b.size() ? -1 : 1;
    for (std::size_t i = 0; i < a.size(); ++i) {
        const int difference = text::upperUtf16(a[i]) - text::upperUtf16(b[i]);
        if (difference != 0) return difference;
    }
    return 0;
}

Directory::Directory(std::string bytes, unsigned version)
    : mBytes(std::move(bytes)), mVersion(version) {
    if (mBytes.size() < entry::kSize || at(0)[entry::kType] != entry::kRoot) failEntry(0);
}

std::uint32_t Directory::number(std::uint32_t id, std::size_t field) const {
    return getLittleEndian<std::uint32_t>(at(id) + field);
}

void Directory::setNumber(std::uint32_t id, std::size_t field, std::uint32_t value) {
    putLittleEndian(at(id) + field, value);
}

std::uint64_t Directory::size(std::uint32_t id) const {
    const auto size = getLittleEndian<std::uint64_t>(at(id) + entry::kStreamSize);
    return mVersion == 3 ? size & 0xFFFFFFFF : size;
}

std::u16string Directory::name(std::uint32_t id) const {
    const auto length = getLittleEndian<std::uint16_t>(at(id) + entry::kNameLength);
    if (length < 2 || length > entry::kNameBytes || length % 2 != 0) {
        // Nothing is looked up by the name of the root.
        if (id == 0) return {};
        failEntry(id);
    }
    std::u16string name;
    for (std::size_t i = 0; i + 2 < length; i += 2) {
        name += static_cast<char16_t>(getLittleEndian<std::uint16_t>(at(id) + i));
    }
    return name;
}

CompoundEntry Directory::entryOf(std::uint32_t id, std::uint32_t parent) const {
    CompoundEntry result;
    switch (at(id)[entry::kType]) {
        case entry::kRoot:
            result.type = CompoundEntry::Type::Root;
            break;
        case entry::kStorage:
            result.type = CompoundEntry::Type::Storage;
            break;
        case entry::kStream:
            result.type = CompoundEntry::Type::Stream;
            result.size = size(id);
            break;
        default:
            failEntry(id);
    }
    if ((result.type == CompoundEntry::Type::Root) != (id == 0)) failEntry(id);
    result.id = id;
    result.parent = parent;
    result.name = name(id);
    std::memcpy(result.classId.data(), at(id) + entry::kClassId, result.classId.size());
    result.stateBits = number(id, entry::kStateBits);
    result.created = getLittleEndian<std::uint64_t>(at(id) + entry::kCreated);
    result.modified = getLittleEndian<std::uint64_t>(at(id) + entry::kModified);
    return result;
}

std::vector<CompoundEntry> Directory::reachable() const {
    struct Step {
        std::uint32_t id;
        std::uint32_t parent;
    };
    std::vector<CompoundEntry> entries;
    std::vector<bool> isReached(count());
    std::vector<Step> waiting = {{0, CompoundEntry::kNoParent}};
    while (!waiting.empty()) {
        const Step step = waiting.back();
        waiting.pop_back();
        if (step.id >= count() || isReached[step.id]) failEntry(step.id);
        isReached[step.id] = true;
        entries.push_back(entryOf(step.id, step.parent));
        const auto go = [&](std::size_t field, std::uint32_t parent) {
            const std::uint32_t next = number(step.id, field);
            if (next != entry::kNone) waiting.push_back({next, parent});
        };
        // The root has no siblings and a stream no children, whatever stands there.
        if (step.id != 0) {
            go(entry::kLeft, step.parent);
            go(entry::kRight, step.parent);
        }
        if (entries.back().type != CompoundEntry::Type::Stream) go(entry::kChild, step.id);
    }
    std::sort(entries.begin(), entries.end(),
              [](const CompoundEntry& a, const CompoundEntry& b) { return a.id < b.id; });
    requireUniqueNames(entries);
    return entries;
}

void Directory::setStream(std::uint32_t id, std::uint32_t start, std::uint64_t size) {
    setNumber(id, entry::kStart, start);
    putLittleEndian(at(id) + entry::kStreamSize, size);
}

void Directory::clear(std::uint32_t id) {
    std::memset(at(id), 0, entry::kSize);
    for (const std::size_t field : {entry::kLeft, entry::kRight, entry::kChild}) {
        setNumber(id, field, entry::kNone);
    }
}

std::uint32_t Directory::add(std::u16string_view name, std::size_t perSector) {
    std::uint32_t id = 1;
    while (id < count() && at(id)[entry::kType] != entry::kUnused) ++id;
    if (id == count()) {
        mBytes.resize(mBytes.size() + perSector * entry::kSize);
        for (std::uint32_t i = id; i < count(); ++i) clear(i);
    }
    clear(id);
    for (std::size_t i = 0; i < name.size(); ++i) {
        putLittleEndian(at(id) + 2 * i, static_cast<std::uint16_t>(name[i]));
    }
    putLittleEndian(at(id) + entry::kNameLength, static_cast<std::uint16_t>(2 * name.size() + 2));
    at(id)[entry::kType] = entry::kStream;
    at(id)[entry::kColour] = entry::kBlack;
    setStream(id, kEndOfChain, 0);
    return id;
}

// The sorted entries become a tree of least depth. All levels are full but for the deepest; its
// entries are red and all others black, which makes every path meet as many black ones.
void Directory::setChildren(std::uint32_t storage, std::vector<std::uint32_t> children) {
    std::sort(children.begin(), children.end(), [this](std::uint32_t a, std::uint32_t b) {
        return compareNames(name(a), name(b)) < 0;
    });
    const auto fullLevels = static_cast<unsigned>(std::bit_width(children.size() + 1)) - 1;
    const auto build = [&](const auto& self, std::size_t begin, std::size_t end,
                           unsigned level) -> std::uint32_t {
        if (begin == end) return entry::kNone;
        const std::size_t middle = begin + (end - begin) / 2;
        const std::uint32_t id = children[middle];
        at(id)[entry::kColour] = level < fullLevels ? entry::kBlack : entry::kRed;
        setNumber(id, entry::kLeft, self(self, begin, middle, level + 1));
        setNumber(id, entry::kRight, self(self, middle + 1, end, level + 1));
        return id;
    };
    setNumber(storage, entry::kChild, build(build, 0, children.size(), 0));
}

}  // namespace brindle::workbook::package::cfb
