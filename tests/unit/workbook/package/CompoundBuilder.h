// SPDX-License-Identifier: MIT
// Compound files out of streams, laid out plainly, and where things stand in them.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace brindle::workbook::package::testing {

struct BuiltCompound {
    std::string bytes;
    unsigned shift = 9;
    std::vector<std::uint32_t> fatSectors;
    std::vector<std::uint32_t> difatSectors;
    std::uint32_t directoryStart = 0;
    std::uint32_t miniFatStart = 0;
    std::map<std::string, std::uint32_t> ids;  // "" for the root

    std::size_t sectorAt(std::uint32_t sector) const { return (std::size_t{sector} + 1) << shift; }
    std::size_t fatEntryAt(std::uint32_t sector) const;
    std::size_t miniFatEntryAt(std::uint32_t unit) const;
    // The directory is not scattered.
    std::size_t entryAt(const std::string& path) const;
    std::uint32_t number(std::size_t at) const;
    // The first sector of a stream.
    std::uint32_t startOf(const std::string& path) const { return number(entryAt(path) + 116); }
    void set(std::size_t at, std::uint32_t value);
    void setByte(std::size_t at, char value) { bytes[at] = value; }
};

// `streams` by path; every storage on the way is made. With `isReversed` the sectors of each
// stream stand in falling order.
BuiltCompound buildCompound(const std::map<std::string, std::string>& streams, unsigned shift = 9,
                            bool isReversed = false);

// Bytes that look like nothing else.
std::string noise(std::size_t size, unsigned seed);

}  // namespace brindle::workbook::package::testing
