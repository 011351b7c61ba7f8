// SPDX-License-Identifier: MIT
#include "selection/DocumentList.h"

#include <algorithm>
#include <cstdint>
#include <string_view>

#include "base/FileIo.h"
#include "base/Text.h"
#include "shell/ErrorLog.h"

namespace brindle {
namespace {

constexpr Routine kGetFileExt{"GetFileExt", ModuleKind::Module, "modBrindle"};
constexpr Routine kCheckFileExt{"CheckFileExt", ModuleKind::Module, "modBrindle"};
constexpr Routine kGetFilePaths{"GetFilePaths", ModuleKind::Module, "modBrindle"};

constexpr std::string_view kListFileTypes =
    ".xls;.xl;.xlt;.txt;.csv;.tab;.prn;.wk?;.Wk1;.wks;.dbf;.dif";
constexpr std::uint64_t kMostListBytes = std::uint64_t{1} << 30;
constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

std::string_view extensionOf(std::string_view path) {
    const std::size_t separator = path.find_last_of("\\/");
    if (separator != std::string_view::npos) path.remove_prefix(separator + 1);
    const std::size_t dot = path.rfind('.');
    return dot == std::string_view::npos ? std::string_view() : path.substr(dot);
}

// The pieces between separators; one piece when there is none.
std::vector<std::string_view> split(std::string_view text, std::string_view separator) {
    std::vector<std::string_view> pieces;
    std::size_t begin = 0;
    for (std::size_t end; (end = text.find(separator, begin)) != std::string_view::npos;) {
        pieces.push_back(text.substr(begin, end - begin));
        begin = end + separator.size();
    }
    pieces.push_back(text.substr(begin));
    return pieces;
}

bool matchesItem(std::string_view extension, std::string item) {
    if (item.empty()) return false;
    item.erase(std::remove(item.begin(), item.end(), '*'), item.end());
    std::size_t at = 0;
    std::size_t itemAt = 0;
    while (at < extension.size() && itemAt < item.size()) {
        const char32_t wanted = text::nextCodePoint(item, itemAt);
        const char32_t found = text::nextCodePoint(extension, at);
        if (wanted != U'?' && text::foldCodePoint(wanted) != text::foldCodePoint(found)) {
            return false;
        }
    }
    return at == extension.size() && itemAt == item.size();
}

bool matchesList(std::string_view path, std::string_view typeList) {
    const std::vector<std::string_view> items = split(typeList, ";");
    if (items.size() < 2) return false;
    const std::string_view extension = extensionOf(path);
    return std::any_of(items.begin(), items.end(), [&](std::string_view item) {
        return matchesItem(extension, std::string(item));
    });
}

std::vector<std::string> readList(const std::string& listFile) {
    const std::string content = readWholeFile(listFile, kMostListBytes);
    std::string_view text = content;
    if (text.substr(0, kByteOrderMark.size()) == kByteOrderMark) {
        text.remove_prefix(kByteOrderMark.size());
    }
    std::vector<std::string> paths;
    for (const std::string_view line : split(text, "\r\n")) {
        if (matchesList(line, kListFileTypes)) paths.emplace_back(line);
    }
    return paths;
}

}  // namespace

std::string GetFileExt(const std::string& path) {
    std::string extension;
    guarded(kGetFileExt, [&] { extension = extensionOf(path); });
    return extension;
}

bool CheckFileExt(const std::string& fileName, const std::string& typeList) {
    bool matches = false;
    guarded(kCheckFileExt, [&] { matches = matchesList(fileName, typeList); });
    return matches;
}

std::vector<std::string> GetFilePaths(const std::string& listFile, Host& host) {
    std::vector<std::string> paths;
    guarded(kGetFilePaths, [&] {
        try {
            paths = readList(listFile);
        } catch (...) {
            // The one routine whose failure the user sees as well, before it is logged.
            host.showMessage(currentError().description(), MessageIcon::None, MessageButtons::Ok);
            throw;
        }
    });
    return paths;
}

}  // namespace brindle
