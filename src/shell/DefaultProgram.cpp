// SPDX-License-Identifier: MIT
#include "shell/DefaultProgram.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <optional>
#include <string_view>

#include "base/AppFolder.h"
#include "base/FileIo.h"
#include "base/Text.h"

namespace brindle {

namespace {

namespace fs = std::filesystem;

constexpr std::string_view kGroup = "[Default Applications]";

std::vector<std::string> parts(std::string_view text, char separator) {
    std::vector<std::string> found;
    while (!text.empty()) {
        const std::size_t end = std::min(text.find(separator), text.size());
        if (end > 0) found.emplace_back(text.substr(0, end));
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    return found;
}

std::vector<std::string> listed(const char* variable, const char* absent) {
    const char* value = std::getenv(variable);
    return parts(value == nullptr || *value == '\0' ? absent : value, ':');
}

// In any order: what counts is whether the type is mentioned at all.
std::vector<std::string> listFolders() {
    std::vector<std::string> folders = listed("XDG_CONFIG_DIRS", "/etc/xdg");
    folders.push_back(configFolder());
    folders.push_back(dataFolder() + "/applications");
    for (const std::string& folder : systemDataFolders())
        folders.push_back(folder + "/applications");
    return folders;
}

// Each desktop may have a list of its own beside the common one.
std::vector<std::string> listNames() {
    std::vector<std::string> names{"mimeapps.list"};
    for (const std::string& desktop : listed("XDG_CURRENT_DESKTOP", ""))
        names.push_back(text::lowerAscii(desktop) + "-mimeapps.list");
    return names;
}

bool mentions(std::string_view list, const std::string& mimeType) {
    for (const std::string& line : parts(list, '\n')) {
        const std::string_view key = std::string_view(line).substr(0, line.find('='));
        if (key.size() < line.size() && text::trimBlanks(key) == mimeType) return true;
    }
    return false;
}

bool isChosen(const std::string& mimeType) {
    for (const std::string& folder : listFolders())
        for (const std::string& name : listNames()) {
            const std::string path = folder + "/" + name;
            std::error_code ignored;
            if (fs::exists(path, ignored) && mentions(readWholeFile(path), mimeType)) return true;
        }
    return false;
}

std::string withLine(std::string list, const std::string& line) {
    const std::string group = std::string(kGroup) + "\n";
    const std::size_t at = list.find(group);
    const bool startsALine = at != std::string::npos && (at == 0 || list[at - 1] == '\n');
    if (startsALine) return list.insert(at + group.size(), line);
    if (!list.empty() && list.back() != '\n') list += '\n';
    return list + group + line;
}

}  // namespace

void makeDefaultProgram(const std::string& mimeType, const std::string& entry) {
    if (isChosen(mimeType)) return;
    const std::string path = configFolder() + "/mimeapps.list";
    fs::create_directories(configFolder());
    std::optional<InputFile> old;
    if (fs::exists(path)) old.emplace(path);
    const std::string list =
        withLine(old ? readWholeFile(path) : "", mimeType + "=" + entry + "\n");
    ReplaceOptions options;
    if (old) options.expected = &old->status();
    replaceFile(path, options, [&](OutputFile& file) { file.write(list); });
}

std::vector<std::string> systemDataFolders() {
    return listed("XDG_DATA_DIRS", "/usr/local/share:/usr/share");
}

}  // namespace brindle
