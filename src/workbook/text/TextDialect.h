// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "base/FileIo.h"
#include "workbook/text/TextEncoding.h"

namespace brindle::workbook::textfile {

// What must be known about a text file before its fields can be told apart.
struct TextDialect {
    TextEncoding encoding = TextEncoding::utf8();
    char separator = ',';
    // Bytes in front of the first row: the byte-order mark and a "sep=" line.
    std::uint64_t headerBytes = 0;

    bool operator==(const TextDialect&) const = default;
};

// Looks at the first 4 KiB. A byte-order mark decides the encoding, else it is `ansiCodePage`.
// `.csv` is split at commas, or at what its first line "sep=;" says; the others at tabs, and so
// is UTF-16 text with a tab in its first line. Throws Error (Unsupported) for UTF-32.
// `extension` as textExtension gives it.
TextDialect detectDialect(const InputFile& file, const std::string& extension,
                          const std::string& ansiCodePage);

// The lower-case extension of a path with its dot; empty when there is none.
std::string textExtension(const std::string& path);

}  // namespace brindle::workbook::textfile
