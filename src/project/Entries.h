// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <unordered_map>
#include <vector>

#include "project/Entry.h"

namespace brindle {

// The ordered list of entries. Each may have a key, unique in the list; positions count from
// 1. The list owns its entries: a pointer to one is good until it is removed or the list ends.
// The key under which an entry was added is what finds it, whatever its Key says later.
class Entries {
public:
    // Throws Error 457 when the key is in use; nothing is added then. An empty key means none.
    Entry* Add(const std::string& FindWhat, const std::string& ReplaceWith, std::int16_t Look_In,
               bool MatchCase, bool MatchEntireCellContents, const std::string& Key);

    // Null when there is no such entry.
    Entry* Item(std::int32_t position) const;
    Entry* Item(const std::string& key) const;

    std::int32_t Count() const { return static_cast<std::int32_t>(mSlots.size()); }

    // Throws Error 9 for a position and Error 5 for a key that does not exist.
    void Remove(std::int32_t position);
    void Remove(const std::string& key);
    // All entries under these keys, in one pass through the list; keys that do not exist are
    // passed over.
    void RemoveAll(const std::vector<std::string>& keys);

    // The entries in order, as they are now; never holds a null.
    std::vector<Entry*> NewEnum() const;

    // Appends the entry that GetItemClip saved, under `Key` and not under the key saved with
    // it. A failure is logged, nothing is added and null returned.
    Entry* AddItemFromByteArray(std::span<const std::byte> data, const std::string& Key);
    // Appends a copy under the source's key, with counters of its own at 0. A failure is
    // logged, nothing is added and null returned.
    Entry* AddByObject(const Entry& source);

private:
    struct Slot {
        std::unique_ptr<Entry> entry;
        std::string key;
    };

    Entry* append(std::unique_ptr<Entry> entry, const std::string& key);

    std::vector<Slot> mSlots;
    std::unordered_map<std::string, Entry*> mByKey;
};

}  // namespace brindle
