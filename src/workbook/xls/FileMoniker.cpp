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

std::string up(std::size_t levels) {
    std::string path;
    for (std::size_t i = 0; i < levels; ++i) path += kUp;
    return path;
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
    mIsNarrowFull = mLevels > 0 && levelsOf(mNarrow) >= mLevels;
    readWide(bytes.bytes(bytes.number<std::uint32_t>()));
    if (mHasWide) return;
    mPath = (mIsNarrowFull ? "" : up(mLevels)) + narrowCodePage().decode(mNarrow);
}

// Other systems leave notations of their own in its place.
void FileMoniker::readWide(std::string_view extension) {
    if (extension.empty()) return;
    ByteReader bytes(extension);
    const auto size = bytes.number<std::uint32_t>();
    mHasWide = bytes.number<std::uint16_t>() == kWideKey;
    if (!mHasWide) return;
    mPath = utf16Text(bytes.bytes(size));
    mIsWideFull = mLevels > 0 && levelsOf(mPath) >= mLevels;
    if (!mIsWideFull) mPath.insert(0, up(mLevels));
}

std::string FileMoniker::narrowPath(std::string_view path) const {
    const std::string_view old =
        std::string_view(mPath).substr(mIsNarrowFull ? 0 : mLevels * kUp.size());
    Spelling spelling(mNarrow);
    const bool isOneForOne = text::lengthUtf16(old) == mNarrow.size();
    for (std::size_t at = 0; isOneForOne && at < old.size();) {
        const std::size_t begin = at;
        const char32_t character = text::nextCodePoint(old, at);
        spelling.add(old.substr(begin, at - begin), character > 0xFFFF ? 2 : 1);
    }
    const auto added = [&](std::string_view text) {
        // In which code page the other letters are cannot be told.
        if (!mHasWide && !text::isAscii(mNarrow) && !text::isAscii(text)) {
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
    // Some only write the folders to go up, and do not count them.
    const bool isUncounted = mLevels == 0 && mPath.starts_with(kUp);
    const std::size_t levels = isUncounted ? 0 : levelsOf(path);
    const std::string_view down = path.substr(levels * kUp.size());

    std::string out = littleEndian(static_cast<std::uint16_t>(levels));
    const std::string narrow = narrowPath(mIsNarrowFull ? path : down) + '\0';
    out += littleEndian(static_cast<std::uint32_t>(narrow.size()));
    out += narrow;
    out += littleEndian(serverLength(path));
    out += mReserved;
    const bool needsWide = mHasWide || (text::isAscii(mNarrow) && !text::isAscii(path));
    if (!needsWide) return out + littleEndian(std::uint32_t{0});
    const std::string wide = utf16Bytes(mIsWideFull ? path : down);
    const auto size = static_cast<std::uint32_t>(wide.size());
    return out + littleEndian(size + 6) + littleEndian(size) + littleEndian(kWideKey) + wide;
}

std::string FileMoniker::made(std::string_view path) {
    return FileMoniker().changedTo(path);
}

}  // namespace brindle::workbook::xls
