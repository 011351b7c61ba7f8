// SPDX-License-Identifier: MIT
// The path of a file as a hyperlink of a binary workbook holds it: how many folders to go up, the
// path in an 8-bit code page and, where that may not do, in UTF-16. Layout: [MS-OSHARED] 2.3.7.8
// (FileMoniker).
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "base/ByteReader.h"

namespace brindle::workbook::xls {

class FileMoniker {
public:
    // Reads what stands behind the class id; borrowed. Throws Error (Damaged).
    explicit FileMoniker(ByteReader& bytes);

    // With ..\ in front for each folder to go up.
    const std::string& path() const { return mPath; }
    bool isOnServer() const { return mServerLength != kNoServer; }
    // What stores another path. Characters that both share keep their bytes. Throws Error 1004.
    std::string changedTo(std::string_view path) const;
    // What stores a path that is not on a server, behind the class id.
    static std::string made(std::string_view path);

private:
    static constexpr std::uint16_t kNoServer = 0xFFFF;
    FileMoniker() = default;

    void readWide(std::string_view extension);
    std::string narrowPath(std::string_view path) const;
    std::uint16_t serverLength(std::string_view path) const;

    std::uint16_t mLevels = 0;
    std::string_view mNarrow;  // without its terminator
    std::uint16_t mServerLength = kNoServer;
    std::string_view mReserved = kReserved;  // from behind the server's length
    bool mHasWide = false;
    // Whether the stored path has the folders to go up, although they are counted beside it.
    bool mIsNarrowFull = false;
    bool mIsWideFull = false;
    std::string mPath;

    static constexpr std::string_view kReserved = {
        "\xAD\xDE\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0", 22};
};

}  // namespace brindle::workbook::xls
