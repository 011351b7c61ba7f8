// SPDX-License-Identifier: MIT
#include "workbook/xls/FileMoniker.h"

#include <algorithm>

#include "base/CodePages.h"
#include "base/LittleEndian.h"
#include "base/Text.h"
#include "workbook/Spelling.h"
#include "workbook/xls/biff/Utf16.h"

namespace brindle::workbook::xls {

namespace {

constexpr std::string_view kUp = "..\\";
// Whatever climbs higher was made to fill the memory.
constexpr std::size_t kMostLevels = 1000;
// Marks the path in UTF-16 among the forms of it that may follow the 8-bit one.
constexpr std::uint16_t kWideKey = 3;

// The file does not name the code page of these paths; any but the western one has the other form
// beside it as soon as it matters.
const CodePage& narrowCodePage() {
    thread_local const CodePage codePage("windows-1252");
    return codePage;
}

std::string narrowed(std::string_view text) {
    std::string out;
    for (std::size_t at = 0; at < text.size();) {
        const std::size_t begin = at;
        text::nextCodePoint(text, at);
        out += narrowCodePage().encode(text.substr(begin, at - begin)).value_or("?");
    }
    return out;
}

std::size_t levelsOf(std::string_view path) {
    std::size_t levels = 0;
    for (; path.starts_with(kUp) && levels < kMostLevels; ++levels) path.remove_prefix(kUp.size());
    return levels;
}

}  // namespace

FileMoniker::FileMoniker(ByteReader& bytes) {
    mLevels = bytes.number<std::uint16_t>();
    if (mLevels > kMostLevels) throw Error::damaged("A path climbs too many folders");
    mNarrow = bytes.bytes(bytes.number<std::uint32_t>());
    mNarrow = mNarrow.substr(0, mNarrow.find('\0'));
    mServerLength = bytes.number<std::uint16_t>();
    mReserved = bytes.bytes(kReserved.size());
    readPaths(bytes.bytes(bytes.number<std::uint32_t>()));
    mPath = mWide ? *mWide : narrowCodePage().decode(mNarrow);
}

void FileMoniker::readPaths(std::string_view extension) {
    ByteReader bytes(extension);
    while (bytes.remaining() > 0) {
        const auto size = bytes.number<std::uint32_t>();
        const auto key = bytes.number<std::uint16_t>();
        // Other systems leave notations of their own behind it, in sizes that do not fit.
        if (key != kWideKey) return;
        mWide = utf16Text(bytes.bytes(size));
    }
}

std::string FileMoniker::path() const {
    std::string path;
    for (std::size_t i = 0; i < mLevels; ++i) path += kUp;
    return path + mPath;
}

std::string FileMoniker::narrowPath(std::string_view path) const {
    Spelling spelling(mNarrow);
    const bool isOneForOne = text::lengthUtf16(mPath) == mNarrow.size();
    for (std::size_t at = 0; isOneForOne && at < mPath.size();) {
        const std::size_t begin = at;
        const char32_t character = text::nextCodePoint(mPath, at);
        spelling.add(std::string_view(mPath).substr(begin, at - begin), character > 0xFFFF ? 2 : 1);
    }
    const auto added = [&](std::string_view text) {
        // In which code page the other letters are cannot be told.
        if (!mWide && !text::isAscii(mNarrow) && !text::isAscii(text)) {
            throw Error::refused("The link's code page is not known");
        }
        return narrowed(text);
    };
    return isOneForOne ? spelling.changed(path, added) : added(path);
}

// As far as the server reached before: its name, or that and the share.
std::uint16_t FileMoniker::serverLength(std::string_view path) const {
    if (!isOnServer() || !path.starts_with("\\\\")) return kNoServer;
    const std::u16string before = text::toUtf16(mPath).substr(0, mServerLength);
    const auto parts = std::count(before.begin(), before.end(), u'\\');
    std::size_t end = std::min(path.find('\\', 2), path.size());
    if (parts > 2) end = std::min(path.find('\\', end + 1), path.size());
    return static_cast<std::uint16_t>(text::lengthUtf16(path.substr(0, end)));
}

std::string FileMoniker::changedTo(std::string_view path) const {
    // Some write the folders to go up into the path itself.
    std::size_t levels = levelsOf(path);
    if (levels >= mLevels && mPath.starts_with(kUp)) levels = mLevels;
    path.remove_prefix(levels * kUp.size());

    std::string out = littleEndian(static_cast<std::uint16_t>(levels));
    const std::string narrow = narrowPath(path) + '\0';
    out += littleEndian(static_cast<std::uint32_t>(narrow.size()));
    out += narrow;
    out += littleEndian(serverLength(path));
    out += mReserved;
    std::string wide;
    if (mWide || (text::isAscii(mNarrow) && !text::isAscii(path))) wide = utf16Bytes(path);
    const std::uint32_t size = static_cast<std::uint32_t>(wide.size());
    if (wide.empty()) return out + littleEndian(std::uint32_t{0});
    return out + littleEndian(size + 6) + littleEndian(size) + littleEndian(kWideKey) + wide;
}

std::string FileMoniker::made(std::string_view path) {
    return FileMoniker().changedTo(path);
}

}  // namespace brindle::workbook::xls
