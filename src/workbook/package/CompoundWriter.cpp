// SPDX-License-Identifier: MIT
#include "workbook/package/CompoundWriter.h"

#include <algorithm>

#include "base/Error.h"
#include "base/LittleEndian.h"
#include "base/Text.h"

namespace brindle::workbook::package::cfb {

namespace {

constexpr std::uint64_t kLargestVersion3 = std::uint64_t{1} << 31;

std::uint32_t reservedSector(const Sectors& sectors) {
    return static_cast<std::uint32_t>((kRangeLock >> sectors.shift()) - 1);
}

std::string tableBytes(const std::vector<std::uint32_t>& table, std::size_t entries) {
    std::string bytes(entries * 4, '\xFF');
    for (std::size_t i = 0; i < table.size(); ++i) putLittleEndian(bytes.data() + 4 * i, table[i]);
    return bytes;
}

void pad(ByteSink& out, std::uint64_t length) {
    if (length != 0) out.write(std::string(static_cast<std::size_t>(length), '\0'));
}

}  // namespace

// --- allocation ----------------------------------------------------------------------------------

std::uint32_t Allocation::allocate() {
    while (mNextFree < mTable.size() && mTable[mNextFree] != kFree) ++mNextFree;
    if (mNextFree == mTable.size()) {
        if (mTable.size() >= kMaxSector) {
            throw Error(ErrorKind::TooLarge, error_number::kApplicationDefined,
                        "The compound file becomes too large");
        }
        mTable.push_back(kFree);
    }
    const auto unit = static_cast<std::uint32_t>(mNextFree++);
    mTable[unit] = kEndOfChain;
    return unit == mReserved ? allocate() : unit;
}

void Allocation::resize(Chain& chain, std::uint64_t count, Chain& lost) {
    while (chain.size() > count) {
        mTable[chain.back()] = kFree;
        mNextFree = std::min<std::size_t>(mNextFree, chain.back());
        lost.push_back(chain.back());
        chain.pop_back();
    }
    while (chain.size() < count) {
        const std::uint32_t unit = allocate();
        if (!chain.empty()) mTable[chain.back()] = unit;
        chain.push_back(unit);
    }
    if (!chain.empty()) mTable[chain.back()] = kEndOfChain;
}

void Allocation::trim(std::size_t count) {
    while (mTable.size() > count && mTable.back() == kFree) mTable.pop_back();
    mNextFree = std::min(mNextFree, mTable.size());
}

// --- streams -------------------------------------------------------------------------------------

CompoundWriter::CompoundWriter(const Sectors& sectors, const Chain& directoryChain,
                               const Directory& directory,
                               const std::vector<CompoundEntry>& entries)
    : mSectors(sectors),
      mDirectoryChain(directoryChain),
      mDirectory(directory),
      mEntries(entries),
      mFat(sectors.fat(), reservedSector(sectors)),
      mFatSectors(sectors.fatSectors()),
      mDifatSectors(sectors.difatSectors()),
      mMiniFat(sectors.miniFat()),
      mMiniFatChain(sectors.miniFatChain()),
      mMiniChain(sectors.miniStream()) {
    // Whatever the table says of its own sectors, they are not free.
    for (const std::uint32_t sector : mFatSectors) mFat.mark(sector, kFatSector);
    for (const std::uint32_t sector : mDifatSectors) mFat.mark(sector, kDifatSector);
}

void CompoundWriter::setSector(std::uint32_t sector, std::string_view bytes) {
    if (mContent.size() <= sector) mContent.resize(mFat.table().size());
    mContent[sector] = bytes;
}

void CompoundWriter::placeBig(Chain& chain, std::string_view bytes) {
    Chain lost;
    mFat.resize(chain, unitsFor(bytes.size(), mSectors.shift()), lost);
    for (const std::uint32_t sector : lost) setSector(sector, {});
    const auto size = static_cast<std::size_t>(mSectors.sectorSize());
    for (const std::uint32_t sector : chain) {
        setSector(sector, bytes.substr(0, size));
        bytes.remove_prefix(std::min(size, bytes.size()));
    }
}

void CompoundWriter::loadMiniStream() {
    if (mIsMiniChanged) return;
    mIsMiniChanged = true;
    mMiniStream = mSectors.readSectors(mMiniChain);
}

void CompoundWriter::placeMini(Chain& chain, std::string_view bytes) {
    loadMiniStream();
    const unsigned shift = mSectors.miniShift();
    const std::size_t size = std::size_t{1} << shift;
    Chain lost;
    mMiniFat.resize(chain, unitsFor(bytes.size(), shift), lost);
    mMiniStream.resize(std::max(mMiniStream.size(), mMiniFat.table().size() << shift));
    const auto clear = [&](std::uint32_t unit) {
        std::fill_n(mMiniStream.begin() + (std::ptrdiff_t{unit} << shift), size, '\0');
    };
    for (const std::uint32_t unit : lost) clear(unit);
    for (const std::uint32_t unit : chain) {
        clear(unit);
        mMiniStream.replace(std::size_t{unit} << shift, std::min(size, bytes.size()),
                            bytes.substr(0, size));
        bytes.remove_prefix(std::min(size, bytes.size()));
    }
}

void CompoundWriter::setContent(std::uint32_t id, Chain chain, bool isMini,
                                std::string_view bytes) {
    if (mSectors.version() == 3 && bytes.size() > kLargestVersion3) {
        throw Error(ErrorKind::TooLarge, error_number::kApplicationDefined,
                    "The stream is too large for its compound file");
    }
    const bool becomesMini = bytes.size() < kMiniCutoff;
    if (isMini != becomesMini) {
        isMini ? placeMini(chain, {}) : placeBig(chain, {});
    }
    becomesMini ? placeMini(chain, bytes) : placeBig(chain, bytes);
    mDirectory.setStream(id, chain.empty() ? kEndOfChain : chain.front(), bytes.size());
}

void CompoundWriter::replace(std::size_t index, Chain chain, std::string_view bytes) {
    const CompoundEntry& entry = mEntries[index];
    setContent(entry.id, std::move(chain), entry.size < kMiniCutoff, bytes);
}

std::vector<std::uint32_t>& CompoundWriter::childrenOf(std::uint32_t storage) {
    const auto [found, isNew] = mChildren.try_emplace(storage);
    if (isNew) {
        for (const CompoundEntry& entry : mEntries) {
            if (entry.parent == storage) found->second.push_back(entry.id);
        }
    }
    return found->second;
}

void CompoundWriter::remove(std::size_t index) {
    const CompoundEntry& entry = mEntries[index];
    std::erase(childrenOf(entry.parent), entry.id);
    mDirectory.clear(entry.id);
}

void CompoundWriter::add(std::uint32_t storage, std::u16string_view name, std::string_view bytes) {
    const std::vector<std::uint32_t>& siblings = childrenOf(storage);
    const bool isTaken = std::any_of(siblings.begin(), siblings.end(), [&](std::uint32_t id) {
        return compareNames(mDirectory.name(id), name) == 0;
    });
    const bool isAllowed = !isTaken && !name.empty() && name.size() <= entry::kLongestName &&
                           name.find_first_of(u"/\\:!") == std::u16string_view::npos;
    if (!isAllowed) {
        throw Error(ErrorKind::Argument, error_number::kInvalidArgument,
                    "A stream cannot have this name")
            .inMember(text::fromUtf16(name));
    }
    const std::uint32_t id =
        mDirectory.add(name, static_cast<std::size_t>(mSectors.sectorSize()) / entry::kSize);
    childrenOf(storage).push_back(id);
    setContent(id, {}, true, bytes);
}

// --- the file ------------------------------------------------------------------------------------

void CompoundWriter::writeMiniStream() {
    if (!mIsMiniChanged) return;
    mMiniFat.trim(0);
    const std::size_t count = mMiniFat.table().size();
    mMiniStream.resize(count << mSectors.miniShift());
    placeBig(mMiniChain, mMiniStream);
    mDirectory.setStream(0, mMiniChain.empty() ? kEndOfChain : mMiniChain.front(),
                         mMiniStream.size());
    const std::uint64_t sectors = unitsFor(count * 4, mSectors.shift());
    mMiniTable =
        tableBytes(mMiniFat.table(), static_cast<std::size_t>(sectors << mSectors.shift()) / 4);
    placeBig(mMiniFatChain, mMiniTable);
}

void CompoundWriter::writeDirectory() {
    for (auto& [storage, children] : mChildren) {
        mDirectory.setChildren(storage, std::move(children));
    }
    placeBig(mDirectoryChain, mDirectory.bytes());
}

// The table must hold the sectors that it takes itself.
void CompoundWriter::writeFat() {
    const std::size_t perSector = static_cast<std::size_t>(mSectors.sectorSize()) / 4;
    const auto take = [this](Chain& chain, std::uint32_t mark) {
        chain.push_back(mFat.allocate());
        mFat.mark(chain.back(), mark);
    };
    // Free sectors at the end stay when the file had some before.
    const std::vector<std::uint32_t>& old = mSectors.fat();
    mFat.trim(!old.empty() && old.back() == kFree ? old.size() : 0);
    for (;;) {
        const std::size_t count = mFatSectors.size();
        const std::size_t further = count - std::min(count, header::kDifatEntries);
        if (count * perSector < mFat.table().size()) {
            take(mFatSectors, kFatSector);
        } else if (mDifatSectors.size() * (perSector - 1) < further) {
            take(mDifatSectors, kDifatSector);
        } else {
            break;
        }
    }
    mFatTable = tableBytes(mFat.table(), mFatSectors.size() * perSector);
    const std::string_view table = mFatTable;
    for (std::size_t i = 0; i < mFatSectors.size(); ++i) {
        setSector(mFatSectors[i], table.substr(i * perSector * 4, perSector * 4));
    }
    mDifatTable.assign(mDifatSectors.size() * perSector * 4, '\xFF');
    for (std::size_t i = 0; i < mDifatSectors.size(); ++i) {
        char* const at = mDifatTable.data() + i * perSector * 4;
        const std::size_t first = header::kDifatEntries + i * (perSector - 1);
        for (std::size_t j = 0; j + 1 < perSector && first + j < mFatSectors.size(); ++j) {
            putLittleEndian(at + 4 * j, mFatSectors[first + j]);
        }
        const bool isLast = i + 1 == mDifatSectors.size();
        putLittleEndian(at + 4 * (perSector - 1), isLast ? kEndOfChain : mDifatSectors[i + 1]);
        setSector(mDifatSectors[i],
                  std::string_view(mDifatTable).substr(i * perSector * 4, perSector * 4));
    }
}

void CompoundWriter::writeHeader(ByteSink& out) {
    mHeader = mSectors.header();
    const auto set = [this](std::size_t field, std::size_t value) {
        putLittleEndian(mHeader.data() + field, static_cast<std::uint32_t>(value));
    };
    const auto first = [](const Chain& chain) {
        return chain.empty() ? kEndOfChain : chain.front();
    };
    if (mSectors.version() != 3) set(header::kDirectorySectors, mDirectoryChain.size());
    set(header::kFirstDirectory, first(mDirectoryChain));
    set(header::kFatSectors, mFatSectors.size());
    set(header::kFirstMiniFat, first(mMiniFatChain));
    set(header::kMiniFatSectors, mMiniFatChain.size());
    set(header::kFirstDifat, first(mDifatSectors));
    set(header::kDifatSectors, mDifatSectors.size());
    for (std::size_t i = 0; i < header::kDifatEntries; ++i) {
        set(header::kDifat + 4 * i, i < mFatSectors.size() ? mFatSectors[i] : kFree);
    }
    out.write(std::string_view(mHeader));
    // A header shares its sector with bytes that mean nothing.
    const std::uint64_t there = std::min(mSectors.sectorSize(), mSectors.source().size());
    out.copyFrom(mSectors.source(), header::kSize, there - header::kSize);
    pad(out, mSectors.sectorSize() - there);
}

void CompoundWriter::keepSectors(ByteSink& out, std::uint32_t from, std::uint32_t to) const {
    const std::uint64_t end = mSectors.source().size();
    const std::uint64_t begin = std::min(mSectors.offsetOf(from), end);
    const std::uint64_t stop = std::min(mSectors.offsetOf(to), end);
    out.copyFrom(mSectors.source(), begin, stop - begin);
    pad(out, mSectors.offsetOf(to) - mSectors.offsetOf(from) - (stop - begin));
}

// Neighbours whose content is one piece of memory, or is kept, are written in one go.
void CompoundWriter::writeSectors(ByteSink& out) const {
    const auto count = static_cast<std::uint32_t>(mFat.table().size());
    const std::uint64_t size = mSectors.sectorSize();
    const auto contentOf = [this](std::uint32_t sector) {
        return sector < mContent.size() ? mContent[sector] : std::nullopt;
    };
    std::uint32_t at = 0;
    while (at < count) {
        std::uint32_t next = at + 1;
        std::optional<std::string_view> bytes = contentOf(at);
        if (!bytes) {
            while (next < count && !contentOf(next)) ++next;
            keepSectors(out, at, next);
        } else {
            for (; next < count && bytes->size() == (next - at) * size; ++next) {
                const auto more = contentOf(next);
                if (!more || more->data() != bytes->data() + bytes->size()) break;
                bytes = std::string_view(bytes->data(), bytes->size() + more->size());
            }
            out.write(*bytes);
            pad(out, (next - at) * size - bytes->size());
        }
        at = next;
    }
}

void CompoundWriter::writeTo(ByteSink& out) {
    writeMiniStream();
    writeDirectory();
    writeFat();
    const std::uint64_t size = (std::uint64_t{mFat.table().size()} + 1) << mSectors.shift();
    if (mSectors.version() == 3 && size > kLargestVersion3) {
        throw Error(ErrorKind::TooLarge, error_number::kApplicationDefined,
                    "The compound file becomes too large for its version");
    }
    writeHeader(out);
    writeSectors(out);
}

}  // namespace brindle::workbook::package::cfb
