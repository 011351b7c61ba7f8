// SPDX-License-Identifier: MIT
// The directory of a compound file: its entries and the search trees that hold the entries of
// each storage. Internal to this folder.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "workbook/package/CompoundFile.h"
#include "workbook/package/CompoundFormat.h"

namespace brindle::workbook::package::cfb {

// Negative, zero or positive, in the order of the search trees: shorter names first, names of one
// length by their upper-case units.
int compareNames(std::u16string_view a, std::u16string_view b);

class Directory {
public:
    // `bytes` are the entries as stored. In version 3 the upper half of a size means nothing.
    Directory(std::string bytes, unsigned version);

    // Throws Error (Damaged) when an entry is reached twice, is none, or has a name that another
    // one in its storage has.
    std::vector<CompoundEntry> reachable() const;

    const std::string& bytes() const { return mBytes; }
    std::uint32_t start(std::uint32_t id) const { return number(id, entry::kStart); }
    std::uint64_t size(std::uint32_t id) const;
    std::u16string name(std::uint32_t id) const;

    // --- changes ----------------------------------------------------------------------------
    void setStream(std::uint32_t id, std::uint32_t start, std::uint64_t size);
    // A stream without content; it is in no storage yet. `perSector` entries are added when
    // there is no unused one.
    std::uint32_t add(std::u16string_view name, std::size_t perSector);
    void clear(std::uint32_t id);
    // Makes the tree of a storage anew from its entries, in any order.
    void setChildren(std::uint32_t storage, std::vector<std::uint32_t> children);

private:
    std::size_t count() const { return mBytes.size() / entry::kSize; }
    const char* at(std::uint32_t id) const { return mBytes.data() + id * entry::kSize; }
    char* at(std::uint32_t id) { return mBytes.data() + id * entry::kSize; }
    std::uint32_t number(std::uint32_t id, std::size_t field) const;
    void setNumber(std::uint32_t id, std::size_t field, std::uint32_t value);
    CompoundEntry entryOf(std::uint32_t id, std::uint32_t parent) const;

    std::string mBytes;
    unsigned mVersion;
};

}  // namespace brindle::workbook::package::cfb
