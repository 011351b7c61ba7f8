// SPDX-License-Identifier: MIT
#include "workbook/xls/properties/PropertySet.h"

#include <algorithm>
#include <limits>
#include <utility>

#include "base/ByteReader.h"
#include "base/LittleEndian.h"

namespace brindle::workbook::xls {

namespace {

constexpr std::uint16_t kByteOrder = 0xFFFE;
constexpr std::size_t kFromByteOrderToSections = 22;  // version, system, class id
constexpr std::size_t kMostSections = 64;             // two by the format
constexpr std::size_t kPlaceSize = sizeof(FormatId) + sizeof(std::uint32_t);

}  // namespace

PropertySet::PropertySet(std::string name, std::optional<std::string> bytes)
    : mName(std::move(name)) {
    if (!bytes) return;
    mBytes = std::move(*bytes);
    try {
        read();
    } catch (const Error&) {
        mHasHeader = mIsWhole = false;
    }
}

void PropertySet::read() {
    ByteReader reader(mBytes);
    if (reader.number<std::uint16_t>() != kByteOrder) throw damaged();
    reader.skip(kFromByteOrderToSections);
    const std::size_t count = reader.number<std::uint32_t>();
    if (count > kMostSections || count > reader.remaining() / kPlaceSize) throw damaged();
    mSections.resize(count);
    for (Placed& placed : mSections) {
        for (unsigned char& byte : placed.format) byte = reader.number<unsigned char>();
        placed.headerOffset = reader.position();
        placed.begin = reader.number<std::uint32_t>();
    }
    std::ranges::stable_sort(mSections, {}, &Placed::begin);
    const std::size_t headerEnd = reader.position();
    std::size_t end = mBytes.size();
    for (auto placed = mSections.rbegin(); placed != mSections.rend(); ++placed) {
        readSection(*placed, headerEnd, end);
        mIsWhole = mIsWhole && placed->section && placed->section->isWhole();
        end = std::min(end, placed->begin);
    }
}

// Sections that share bytes are not read twice: a header may name any number of them.
void PropertySet::readSection(Placed& placed, std::size_t headerEnd, std::size_t end) {
    if (placed.begin < headerEnd || placed.begin >= end) return;
    const std::string_view bytes(mBytes.data() + placed.begin, end - placed.begin);
    try {
        placed.section.emplace(bytes, placed.format == kUserDefinedFormat);
        const bool isCut = getLittleEndian<std::uint32_t>(bytes.data()) > bytes.size();
        // Some programs count padding at the end of the stream that they do not write.
        if (isCut && end < mBytes.size()) mIsWhole = false;
    } catch (const Error&) {
        // Shows when the section is asked for.
    }
}

const PropertySection* PropertySet::section(const FormatId& format) const {
    if (!mHasHeader) throw damaged();
    const auto found = std::ranges::find(mSections, format, &Placed::format);
    if (found == mSections.end()) return nullptr;
    if (!found->section) throw damaged();
    return &*found->section;
}

// Names of such streams begin with a control character.
std::string PropertySet::shownName() const {
    return mName.substr(std::min(mName.find_first_not_of('\005'), mName.size()));
}

Error PropertySet::damaged() const {
    return Error::refused("The document properties are damaged").inMember(shownName());
}

std::optional<PropertySet::Found> PropertySet::storedValue(const PropertyKey& key) const {
    const PropertySection* place = section(key.format);
    if (!place || !place->has(key.id)) return std::nullopt;
    const auto value = place->storedValue(key.id);
    if (!value) throw damaged();
    return Found{*value, place->texts()};
}

std::optional<PropertySet::Found> PropertySet::value(const PropertyKey& key) const {
    const PropertySection* place = section(key.format);
    const auto changed = place ? place->changedValue(key.id) : std::nullopt;
    return changed ? Found{*changed, place->texts()} : storedValue(key);
}

bool PropertySet::has(const PropertyKey& key) const {
    const PropertySection* place = section(key.format);
    return place && place->has(key.id);
}

const std::vector<PropertyName>& PropertySet::names(const FormatId& format) const {
    static const std::vector<PropertyName> kNoNames;
    const PropertySection* place = section(format);
    if (!place) return kNoNames;
    if (!place->names()) throw damaged();
    return *place->names();
}

void PropertySet::checkMayChange() const {
    if (mIsWhole) return;
    throw Error::refused("The document properties are damaged and stay as they are")
        .inMember(shownName());
}

void PropertySet::setValue(const PropertyKey& key, std::optional<std::string> typedValue) {
    checkMayChange();
    const auto found = std::ranges::find(mSections, key.format, &Placed::format);
    if (found != mSections.end()) found->section->setValue(key.id, std::move(typedValue));
}

bool PropertySet::isChanged() const {
    return std::ranges::any_of(mSections, [](const Placed& placed) {
        return placed.section && placed.section->isChanged();
    });
}

std::string PropertySet::bytes() const {
    if (!isChanged()) return mBytes;
    std::string out = mBytes.substr(0, mSections.front().begin);
    for (std::size_t i = 0; i < mSections.size(); ++i) {
        const Placed& placed = mSections[i];
        putLittleEndian(out.data() + placed.headerOffset, static_cast<std::uint32_t>(out.size()));
        out += placed.section->rewritten();
        const std::size_t end = placed.begin + placed.section->size();
        const bool isLast = i + 1 == mSections.size();
        const std::size_t next = isLast ? mBytes.size() : mSections[i + 1].begin;
        const std::string_view behind(mBytes.data() + end, next - end);
        const bool isRoom = isLast && behind.find_first_not_of('\0') == std::string_view::npos;
        if (!isRoom) {
            out += behind;
        } else if (!behind.empty()) {
            out.resize(std::max(out.size(), mBytes.size()));
        }
    }
    if (out.size() > std::numeric_limits<std::uint32_t>::max()) {
        throw Error(ErrorKind::TooLarge, error_number::kOutOfMemory,
                    "The document properties are too long")
            .inMember(shownName());
    }
    return out;
}

}  // namespace brindle::workbook::xls
