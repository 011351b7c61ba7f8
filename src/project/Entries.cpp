// SPDX-License-Identifier: MIT
#include "project/Entries.h"

#include <algorithm>
#include <iterator>
#include <unordered_set>
#include <utility>

#include "project/PropertyBag.h"
#include "shell/ErrorLog.h"

namespace brindle {

Entry* Entries::Add(const std::string& FindWhat, const std::string& ReplaceWith,
                    std::int16_t Look_In, bool MatchCase, bool MatchEntireCellContents,
                    const std::string& Key) {
    auto entry = std::make_unique<Entry>();
    entry->FindWhat = FindWhat;
    entry->ReplaceWith = ReplaceWith;
    entry->Look_In = Look_In;
    entry->MatchCase = MatchCase;
    entry->MatchEntireCellContents = MatchEntireCellContents;
    return append(std::move(entry), Key);
}

Entry* Entries::append(std::unique_ptr<Entry> entry, const std::string& key) {
    if (mByKey.count(key) != 0)
        throw Error(ErrorKind::Argument, error_number::kKeyInUse,
                    "This key is already associated with an element of this collection");
    entry->Key = key;
    Entry* added = entry.get();
    mSlots.push_back({std::move(entry), key});
    try {
        if (!key.empty()) mByKey.emplace(key, added);
    } catch (...) {
        mSlots.pop_back();
        throw;
    }
    return added;
}

Entry* Entries::Item(std::int32_t position) const {
    if (position < 1 || position > Count()) return nullptr;
    return mSlots[static_cast<std::size_t>(position) - 1].entry.get();
}

Entry* Entries::Item(const std::string& key) const {
    const auto found = mByKey.find(key);
    return found == mByKey.end() ? nullptr : found->second;
}

void Entries::Remove(std::int32_t position) {
    if (position < 1 || position > Count())
        throw Error(ErrorKind::NotFound, error_number::kSubscript, "Subscript out of range");
    const auto slot = mSlots.begin() + (position - 1);
    mByKey.erase(slot->key);
    mSlots.erase(slot);
}

void Entries::Remove(const std::string& key) {
    const Entry* entry = Item(key);
    if (entry == nullptr)
        throw Error(ErrorKind::NotFound, error_number::kInvalidArgument,
                    "Invalid procedure call or argument");
    const auto slot = std::find_if(mSlots.begin(), mSlots.end(),
                                   [&](const Slot& s) { return s.entry.get() == entry; });
    Remove(static_cast<std::int32_t>(slot - mSlots.begin()) + 1);
}

void Entries::RemoveAll(const std::vector<std::string>& keys) {
    std::unordered_set<const Entry*> removed;
    for (const std::string& key : keys) {
        const auto found = mByKey.find(key);
        if (found == mByKey.end()) continue;
        removed.insert(found->second);
        mByKey.erase(found);
    }
    std::erase_if(mSlots, [&](const Slot& slot) { return removed.count(slot.entry.get()) != 0; });
}

std::vector<Entry*> Entries::NewEnum() const {
    std::vector<Entry*> all;
    all.reserve(mSlots.size());
    std::transform(mSlots.begin(), mSlots.end(), std::back_inserter(all),
                   [](const Slot& slot) { return slot.entry.get(); });
    return all;
}

Entry* Entries::AddItemFromByteArray(std::span<const std::byte> data, const std::string& Key) {
    Entry* added = nullptr;
    guarded({"AddItemFromByteArray", ModuleKind::Class, "Entries"}, [&] {
        PropertyBag bag;
        bag.Contents(data);
        auto entry = std::make_unique<Entry>();
        entry->FindWhat = bag.ReadProperty("FindWhat").toText();
        entry->ReplaceWith = bag.ReadProperty("ReplaceWith").toText();
        entry->Look_In = bag.ReadProperty("Look_In").toInt16();
        entry->MatchCase = bag.ReadProperty("MatchCase").toBoolean();
        entry->MatchEntireCellContents = bag.ReadProperty("MatchEntireCellContents").toBoolean();
        added = append(std::move(entry), Key);
    });
    return added;
}

Entry* Entries::AddByObject(const Entry& source) {
    Entry* added = nullptr;
    guarded({"AddByObject", ModuleKind::Class, "Entries"}, [&] {
        added = Add(source.FindWhat, source.ReplaceWith, source.Look_In, source.MatchCase,
                    source.MatchEntireCellContents, source.Key);
    });
    return added;
}

}  // namespace brindle
