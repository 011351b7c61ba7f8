// SPDX-License-Identifier: MIT
#include "lang/modINI.h"

#include "base/AppFolder.h"
#include "base/CodePages.h"
#include "base/Error.h"
#include "base/FileIo.h"
#include "base/Text.h"
#include "lang/IniFile.h"
#include "lang/LanguageEncoding.h"
#include "shell/ErrorLog.h"

namespace brindle {

std::string gLanguageFile = "English.lng";

namespace {

constexpr std::uint64_t kMostBytes = 16U << 20;

CodePage codePageOf(const IniFile& file) {
    const std::string own = file.value("language", "codepage").value_or("");
    if (own.empty()) return CodePage(ansiCodePage());
    try {
        return CodePage(own);
    } catch (const Error&) {
        return CodePage(ansiCodePage());
    }
}

std::string cut(const std::string& text) {
    std::size_t at = 0;
    for (std::size_t i = 0; i < kLongestText && at < text.size(); ++i)
        text::nextCodePoint(text, at);
    return text.substr(0, at);
}

// A missing file is a language without texts, and so is a name that stands for no file.
std::string readOrEmpty(const std::string& folder, const std::string& name) {
    if (name.empty()) return {};
    try {
        return readWholeFile(folder + "/" + name, kMostBytes);
    } catch (const Error& error) {
        if (error.kind() != ErrorKind::NotFound) throw;
        return {};
    }
}

}  // namespace

std::string languageText(std::string_view fileBytes, const std::string& section,
                         const std::string& key) {
    if (const ByteOrderMark* mark = byteOrderMarkOf(fileBytes))
        return cut(IniFile(decodedBehind(*mark, fileBytes)).value(section, key).value_or(""));
    const IniFile file{std::string(fileBytes)};
    const std::string value = file.value(section, key).value_or("");
    // Most values are ASCII, and most files are asked a few hundred times in a row.
    return cut(text::isAscii(value) ? value : codePageOf(file).decode(value));
}

std::string GetLngString(const std::string& Section, const std::string& Key) {
    std::string result;
    guarded({"GetLngString", ModuleKind::Module, "modINI"}, [&] {
        result = languageText(readOrEmpty(languagesFolder(), gLanguageFile), Section, Key);
    });
    return result;
}

std::string filledIn(const std::string& text, const char* placeholder, const std::string& value) {
    return text::replaceAll(text, placeholder, value, CaseMode::Exact);
}

}  // namespace brindle
