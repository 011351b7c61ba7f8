// SPDX-License-Identifier: MIT
#include "workbook/xls/properties/PropertySection.h"

#include <algorithm>
#include <numeric>
#include <utility>

#include "base/ByteReader.h"
#include "base/Error.h"
#include "base/LittleEndian.h"

namespace brindle::workbook::xls {

namespace {

constexpr std::size_t kHeadSize = 8;   // size of the section, number of properties
constexpr std::size_t kEntrySize = 8;  // id, offset of the value
constexpr std::size_t kAlignment = 4;
constexpr std::uint32_t kDictionary = 0;
constexpr std::uint32_t kCodePage = 1;

PropertyValue typedValue(std::string_view bytes) {
    PropertyValue value;
    value.type = getLittleEndian<std::uint16_t>(bytes.data());
    value.data = bytes.substr(PropertyValue::kTypeSize);
    return value;
}

}  // namespace

PropertySection::PropertySection(std::string_view bytes, bool hasNames) : mTexts(0) {
    if (bytes.size() < kHeadSize) throw Error::damaged("The document properties end too early");
    const std::size_t size = ByteReader(bytes).number<std::uint32_t>();
    mBytes = bytes.substr(0, std::max(size, kHeadSize));
    readEntries();
    setEnds();
    mTexts = PropertyText(codePage());
    mNames.emplace();
    if (hasNames) readNames();
    mIsWhole = mIsWhole && mNames && mTexts.isKnown() && areValuesWhole();
}

void PropertySection::readEntries() {
    ByteReader reader(mBytes);
    reader.skip(sizeof(std::uint32_t));
    const std::size_t count = reader.number<std::uint32_t>();
    const std::size_t tableEnd = kHeadSize + count * kEntrySize;
    const std::size_t room = reader.remaining() / kEntrySize;
    if (count > room) mIsWhole = false;
    mEntries.resize(std::min(count, room));
    for (Entry& entry : mEntries) {
        entry.id = reader.number<std::uint32_t>();
        entry.begin = reader.number<std::uint32_t>();
        // A table that runs into the values is one entry too long; the values are good.
        if (entry.begin < tableEnd || entry.begin >= mBytes.size()) mIsWhole = false;
    }
    mById.resize(mEntries.size());
    std::iota(mById.begin(), mById.end(), std::size_t{0});
    mByBegin = mById;
    const auto idOf = [&](std::size_t i) { return mEntries[i].id; };
    std::ranges::stable_sort(mById, {}, idOf);
    if (std::ranges::adjacent_find(mById, {}, idOf) != mById.end()) mIsWhole = false;
}

void PropertySection::setEnds() {
    std::ranges::stable_sort(mByBegin, {}, [&](std::size_t i) { return mEntries[i].begin; });
    std::size_t next = mBytes.size();
    std::size_t end = next;
    for (auto i = mByBegin.rbegin(); i != mByBegin.rend(); ++i) {
        Entry& entry = mEntries[*i];
        if (entry.begin < next) end = std::exchange(next, entry.begin);
        entry.end = std::max(end, entry.begin);
    }
}

// The first one that is not ends the search, however many there are.
bool PropertySection::areValuesWhole() const {
    std::size_t last = 0;  // never the begin of a value
    for (const std::size_t i : mByBegin) {
        const Entry& entry = mEntries[i];
        if (entry.id == kDictionary || entry.begin == last) continue;
        last = entry.begin;
        if (!wholeValue(entry)) return false;
    }
    return true;
}

void PropertySection::readNames() {
    const Entry* dictionary = find(kDictionary);
    if (!dictionary) return;
    try {
        ByteReader reader(mBytes.substr(std::min(dictionary->begin, mBytes.size()),
                                        dictionary->end - dictionary->begin));
        const std::size_t width = mTexts.isWide() ? sizeof(char16_t) : 1;
        for (auto count = reader.number<std::uint32_t>(); count > 0; --count) {
            PropertyName name;
            name.id = reader.number<std::uint32_t>();
            const std::size_t length = reader.number<std::uint32_t>();
            name.name = mTexts.decode(reader.bytes(length * width));
            name.name.resize(std::min(name.name.find('\0'), name.name.size()));
            if (mTexts.isWide()) {
                reader.skip(std::min(-reader.position() % kAlignment, reader.remaining()));
            }
            mNames->push_back(std::move(name));
        }
        std::ranges::stable_sort(*mNames, {}, &PropertyName::id);
        const auto twice = std::ranges::adjacent_find(*mNames, {}, &PropertyName::id);
        if (twice != mNames->end()) mNames.reset();
    } catch (const Error&) {
        mNames.reset();
    }
}

std::optional<PropertyValue> PropertySection::storedValue(std::uint32_t id) const {
    const Entry* entry = find(id);
    return entry ? wholeValue(*entry) : std::nullopt;
}

std::optional<PropertyValue> PropertySection::changedValue(std::uint32_t id) const {
    const auto change = mChanges.find(id);
    if (change == mChanges.end()) return std::nullopt;
    return typedValue(change->second);
}

void PropertySection::setValue(std::uint32_t id, std::optional<std::string> typedValue) {
    if (typedValue) {
        mChanges.insert_or_assign(id, std::move(*typedValue));
    } else {
        mChanges.erase(id);
    }
}

const PropertySection::Entry* PropertySection::find(std::uint32_t id) const {
    const auto found =
        std::ranges::lower_bound(mById, id, {}, [&](std::size_t i) { return mEntries[i].id; });
    return found != mById.end() && mEntries[*found].id == id ? &mEntries[*found] : nullptr;
}

std::uint16_t PropertySection::codePage() const {
    const auto value = storedValue(kCodePage);
    if (!value || value->data.size() < sizeof(std::uint16_t)) return 0;
    return getLittleEndian<std::uint16_t>(value->data.data());
}

std::optional<PropertyValue> PropertySection::wholeValue(const Entry& entry) const {
    if (entry.end - entry.begin < PropertyValue::kTypeSize) return std::nullopt;
    const auto value = typedValue(mBytes.substr(entry.begin, entry.end - entry.begin));
    return isWholeValue(value) ? std::optional(value) : std::nullopt;
}

std::string PropertySection::rewritten() const {
    const std::size_t firstValue =
        mByBegin.empty() ? mBytes.size() : mEntries[mByBegin.front()].begin;
    std::string out(mBytes.substr(0, firstValue));
    std::size_t copied = 0;  // begin of the value that was copied last, and where it is now
    std::size_t copiedTo = 0;
    for (const std::size_t i : mByBegin) {
        const Entry& entry = mEntries[i];
        const auto change = mChanges.find(entry.id);
        std::size_t at = out.size();
        if (change != mChanges.end()) {
            out += change->second;
            const std::size_t oldSize = entry.end - entry.begin;
            out.append((oldSize - change->second.size()) % kAlignment, '\0');
        } else if (entry.begin == copied) {
            at = copiedTo;
        } else {
            out += mBytes.substr(entry.begin, entry.end - entry.begin);
            copied = entry.begin;
            copiedTo = at;
        }
        putLittleEndian(out.data() + kHeadSize + i * kEntrySize + sizeof(std::uint32_t),
                        static_cast<std::uint32_t>(at));
    }
    putLittleEndian(out.data(), static_cast<std::uint32_t>(out.size()));
    return out;
}

}  // namespace brindle::workbook::xls
