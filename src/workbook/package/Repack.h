// SPDX-License-Identifier: MIT
// Packing a text again after a few changes. Layout: RFC 1951 (deflate).
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

#include "workbook/package/Inflate.h"

namespace brindle::workbook::package {

// Bytes of a text replaced by others; begin equal to end inserts.
struct TextChange {
    std::uint64_t begin = 0;
    std::uint64_t end = 0;
    std::string_view text;
};

// A raw deflate stream with the size and CRC-32 of what it unpacks to.
struct PackedText {
    Buffer compressed;
    std::uint64_t size = 0;
    std::uint32_t crc = 0;
};

// Packs `text` with the changes, which are in order and do not overlap, from the raw deflate
// stream that holds `text` now: blocks that no change reaches are taken over bit by bit, only
// the others are packed (level as in deflateWhole, up to 9). Nothing when that would not save
// work: most of the blocks are reached, or there are too few of them. The views are borrowed for
// the call. Throws Error (Damaged) when `compressed` does not hold a text of that size.
std::optional<PackedText> repacked(std::string_view compressed, std::string_view text,
                                   const std::vector<TextChange>& changes, int level);

}  // namespace brindle::workbook::package
