// SPDX-License-Identifier: MIT
#include "shell/FileAssociation.h"

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <fmt/format.h>

#include <filesystem>
#include <utility>

#include "base/AppFolder.h"
#include "base/FileIo.h"
#include "base/Text.h"
#include "shell/DefaultProgram.h"

namespace brindle {

namespace {

namespace fs = std::filesystem;

constexpr const char* kMimeType = "application/x-tarvello-project";
constexpr const char* kTypeIcon = "application-x-tarvello-project";
// What every project file begins with: type and number of dimensions of its record.
constexpr const char* kMagic = "\\x11\\x20\\x01\\x00";

std::string pathOf(const std::string& key) {
    return dataFolder() + "/" + key;
}

std::string escaped(std::string_view text, std::string_view special, char escape) {
    std::string result;
    for (const char c : text) {
        if (special.find(c) != std::string_view::npos) result += escape;
        result += c;
    }
    return result;
}

// A value of a desktop entry.
std::string entryValue(std::string_view text) {
    const std::string value = escaped(text, "\\", '\\');
    return text::replaceAll(value, "\n", "\\n", CaseMode::Exact);
}

// An argument of Exec, where "%" marks what the desktop fills in.
std::string execArgument(std::string_view text) {
    return "\"" + escaped(escaped(text, "\"`$\\", '\\'), "%", '%') + "\"";
}

std::string xmlText(std::string text) {
    for (const auto& [character, entity] :
         {std::pair{"&", "&amp;"}, {"<", "&lt;"}, {"\"", "&quot;"}})
        text = text::replaceAll(text, character, entity, CaseMode::Exact);
    return text;
}

std::string mimePackage(const std::string& extension, const std::string& description) {
    return fmt::format(R"(<?xml version="1.0" encoding="UTF-8"?>
<mime-info xmlns="http://www.freedesktop.org/standards/shared-mime-info">
  <mime-type type="{}">
    <comment>{}</comment>
    <icon name="{}"/>
    <magic>
      <match type="string" offset="0" value="{}"/>
    </magic>
    <glob pattern="*.{}"/>
  </mime-type>
</mime-info>
)",
                       kMimeType, xmlText(description), kTypeIcon, kMagic, xmlText(extension));
}

std::string desktopEntry(const std::string& typeName, const std::string& executable) {
    return fmt::format(R"([Desktop Entry]
Type=Application
Name=Tarvello for Excel
Comment=Find and replace text in many workbooks at once
Keywords=Search;Replace;Spreadsheet;Workbook;xlsx;xls;csv;
Categories=Office;Spreadsheet;
TryExec={}
Exec={} %f
Icon={}
StartupNotify=true
StartupWMClass={}
MimeType={};
)",
                       entryValue(executable), entryValue(execArgument(executable)), typeName,
                       typeName, kMimeType);
}

bool haveSameContent(const std::string& path, std::string_view value) {
    std::error_code ignored;
    return fs::file_size(path, ignored) == value.size() && readWholeFile(path) == value;
}

// The folder "share" beside the program's own when that is one of the system's.
bool isInstalledForAll(const std::string& entry, const std::string& package) {
    const fs::path share = fs::path(executablePath()).parent_path().parent_path() / "share";
    std::error_code ignored;
    if (!fs::exists(share / entry, ignored) || !fs::exists(share / package, ignored)) return false;
    for (const std::string& folder : systemDataFolders())
        if (fs::equivalent(folder, share, ignored)) return true;
    return false;
}

// Neither waits for the program nor leaves it behind as a zombie.
void startDetached(const char* program, const std::string& argument) {
    const pid_t child = fork();
    if (child == 0) {
        if (fork() == 0) {
            setsid();
            const int nothing = open("/dev/null", O_RDWR);
            for (const int stream : {0, 1, 2}) dup2(nothing, stream);
            execlp(program, program, argument.c_str(), nullptr);
        }
        _exit(0);
    }
    if (child > 0) waitpid(child, nullptr, 0);
}

bool write(const std::string& key, std::string_view value) {
    CreateKey(key);
    return SetKeyValue(key, value);
}

void writeIcons(const std::string& typeName, const AssociationIcons& icon) {
    const std::string theme = "icons/hicolor";
    const bool program = write(theme + "/scalable/apps/" + typeName + ".svg", icon.program);
    const bool file = write(theme + "/scalable/mimetypes/" + kTypeIcon + ".svg", icon.file);
    if (!program && !file) return;
    // A cache of the theme counts only while it is younger than this folder.
    std::error_code ignored;
    fs::last_write_time(pathOf(theme), fs::file_time_type::clock::now(), ignored);
}

}  // namespace

void CreateAssociation(const std::string& typeName, const std::string& extension,
                       const std::string& description, const AssociationIcons& icon) noexcept {
    try {
        const std::string executable = executablePath();
        const std::string entry = "applications/" + typeName + ".desktop";
        const std::string package = "mime/packages/" + typeName + ".xml";
        // Desktop entries are UTF-8.
        if (executable.empty() || !text::isValidUtf8(executable)) return;
        // An entry of the user's own goes before the system's, so it has to be right.
        if (!fs::exists(pathOf(entry)) && isInstalledForAll(entry, package)) return;
        writeIcons(typeName, icon);
        if (write(package, mimePackage(extension, description)))
            startDetached("update-mime-database", pathOf("mime"));
        if (write(entry, desktopEntry(typeName, executable)))
            startDetached("update-desktop-database", pathOf("applications"));
        makeDefaultProgram(kMimeType, typeName + ".desktop");
    } catch (...) {
        // The program works without.
    }
}

void CreateKey(const std::string& key) noexcept {
    try {
        fs::create_directories(fs::path(pathOf(key)).parent_path());
    } catch (...) {
        // Found out when the value is written.
    }
}

bool SetKeyValue(const std::string& key, std::string_view value) noexcept {
    try {
        const std::string path = pathOf(key);
        if (haveSameContent(path, value)) return false;
        replaceFile(path, {}, [&](OutputFile& file) { file.write(value); });
        return true;
    } catch (...) {
        return false;
    }
}

}  // namespace brindle
