// SPDX-License-Identifier: MIT
// How a workbook stores its strings. BIFF8: a flags byte, then UTF-16 units or their low bytes.
// Before: bytes of the workbook's code page, no flags. Layout: [MS-XLS] 2.5.293 and 2.5.294
// (XLUnicodeString, XLUnicodeStringNoCch).
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "base/ByteReader.h"
#include "base/CodePages.h"
#include "workbook/xls/biff/Biff.h"

namespace brindle::workbook::xls {

// Not to be shared between threads.
class StringCodec {
public:
    // `codePage` is not looked at for Biff8. Throws Error (Argument) for one that is not known.
    StringCodec(Version version, const std::string& codePage);

    Version version() const { return mVersion; }

    // --- to UTF-8; each throws Error (Damaged) when the bytes end too early --------------------
    // A count in one byte or in two, then what readCharacters() reads.
    std::string readShort(ByteReader& bytes) const;
    std::string readLong(ByteReader& bytes) const;
    // The flags byte (BIFF8 only) and `count` characters.
    std::string readCharacters(ByteReader& bytes, std::size_t count) const;
    // Characters alone. `isWide` tells UTF-16 from its low bytes and means nothing before BIFF8.
    std::string decode(std::string_view characters, bool isWide) const;

    // --- from UTF-8 ----------------------------------------------------------------------------
    struct Characters {
        std::size_t count = 0;  // UTF-16 units; bytes before BIFF8
        bool isWide = false;
        std::string bytes;
    };
    // Narrow when every character is below U+0100. Throws Error 1004 for a character that the
    // code page does not have.
    Characters encode(std::string_view utf8) const;
    // Count, flags (BIFF8) and characters. Throw Error 1004 also for more characters than
    // `limit` or than the count can tell.
    void appendShort(std::string& out, std::string_view utf8, std::size_t limit = 0xFF) const;
    void appendLong(std::string& out, std::string_view utf8, std::size_t limit = 0xFFFF) const;

private:
    void append(std::string& out, const Characters& characters) const;

    Version mVersion;
    CodePage mCodePage;
};

}  // namespace brindle::workbook::xls
