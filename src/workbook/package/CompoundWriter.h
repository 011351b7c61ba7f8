// SPDX-License-Identifier: MIT
// Writes a compound file anew with some streams changed. Internal to this folder.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/ByteStreams.h"
#include "workbook/package/CompoundDirectory.h"
#include "workbook/package/CompoundSectors.h"

namespace brindle::workbook::package::cfb {

// An allocation table that is changed: chains grow and shrink at their ends.
class Allocation {
public:
    // `reserved` is a unit that is never given out.
    explicit Allocation(std::vector<std::uint32_t> table, std::uint32_t reserved = kFree)
        : mTable(std::move(table)), mReserved(reserved) {}

    const std::vector<std::uint32_t>& table() const { return mTable; }
    void mark(std::uint32_t unit, std::uint32_t value) { mTable[unit] = value; }
    // A unit that was free, or one behind the last; it is a chain's last one now.
    std::uint32_t allocate();
    // Makes a chain so many units long; those that it loses are free and go to `lost`.
    void resize(Chain& chain, std::uint64_t count, Chain& lost);
    // Drops free units at the end, down to `count`.
    void trim(std::size_t count);

private:
    std::vector<std::uint32_t> mTable;
    std::uint32_t mReserved;
    std::size_t mNextFree = 0;  // none is free before it
};

class CompoundWriter {
public:
    // All borrowed, and so are the bytes of streams, until the file is written.
    CompoundWriter(const Sectors& sectors, const Chain& directoryChain, const Directory& directory,
                   const std::vector<CompoundEntry>& entries);

    // `index` is that of an entry, `chain` what its content occupies.
    void replace(std::size_t index, Chain chain, std::string_view bytes);
    // Takes a stream whose content is gone out of its storage.
    void remove(std::size_t index);
    // Throws Error (Argument) for a name that the format does not allow or that was added before.
    void add(std::uint32_t storage, std::u16string_view name, std::string_view bytes);
    void writeTo(ByteSink& out);

private:
    void setContent(std::uint32_t id, Chain chain, bool isMini, std::string_view bytes);
    void setSector(std::uint32_t sector, std::string_view bytes);
    void placeBig(Chain& chain, std::string_view bytes);
    void placeMini(Chain& chain, std::string_view bytes);
    void loadMiniStream();
    std::vector<std::uint32_t>& childrenOf(std::uint32_t storage);

    void writeMiniStream();
    void writeDirectory();
    void writeFat();
    void writeHeader(ByteSink& out);
    void keepSectors(ByteSink& out, std::uint32_t from, std::uint32_t to) const;
    void writeSectors(ByteSink& out) const;

    const Sectors& mSectors;
    Chain mDirectoryChain;
    Directory mDirectory;
    const std::vector<CompoundEntry>& mEntries;

    Allocation mFat;
    Chain mFatSectors;
    Chain mDifatSectors;
    Allocation mMiniFat;
    Chain mMiniFatChain;
    Chain mMiniChain;
    bool mIsMiniChanged = false;
    std::string mMiniStream;  // once something in it changed
    std::string mMiniTable;
    std::string mFatTable;
    std::string mDifatTable;
    std::string mHeader;
    std::map<std::uint32_t, std::vector<std::uint32_t>> mChildren;  // of storages that changed
    // What changed sectors hold, zeros behind it; the others have nothing here.
    std::vector<std::optional<std::string_view>> mContent;
};

}  // namespace brindle::workbook::package::cfb
