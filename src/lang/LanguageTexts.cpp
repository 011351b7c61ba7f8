// SPDX-License-Identifier: MIT
#include "lang/LanguageTexts.h"

#include "base/CodePages.h"
#include "base/Error.h"
#include "base/Text.h"
#include "lang/LanguageEncoding.h"

namespace brindle {

namespace {

// The converters know many spellings of a name, also some with bytes that nobody meant.
CodePage codePageOrUtf8(const std::string& name) {
    try {
        return CodePage(text::isAscii(name) ? name : "");
    } catch (const Error&) {
        return CodePage("UTF-8");
    }
}

void decode(IniLine& line, const CodePage& page) {
    for (std::string* text : {&line.section, &line.key, &line.text})
        if (!text::isAscii(*text)) *text = page.decode(*text);
}

}  // namespace

LanguageTexts::LanguageTexts(std::string_view fileBytes) {
    const ByteOrderMark* mark = byteOrderMarkOf(fileBytes);
    if (mark != nullptr) markedAs = mark->codePage;
    const IniFile file(mark != nullptr ? decodedBehind(*mark, fileBytes) : std::string(fileBytes));
    lines = file.lines();
    const CodePage page = codePageOrUtf8(file.value("language", "codepage").value_or(""));
    encoding = mark != nullptr ? markedAs : page.name();
    if (mark == nullptr)
        for (IniLine& line : lines) decode(line, page);
    for (const IniLine& line : lines)
        if (line.kind == IniLine::Kind::Value)
            values.emplace(std::pair(text::fold(line.section), text::fold(line.key)), &line);
    if (const IniLine* line = find("language", "codepage")) codePage = line->text;
}

const IniLine* LanguageTexts::find(std::string_view section, std::string_view key) const {
    const auto found = values.find({text::fold(section), text::fold(key)});
    return found == values.end() ? nullptr : found->second;
}

int LanguageTexts::lineOfSection(std::string_view section) const {
    for (const IniLine& line : lines)
        if (line.kind == IniLine::Kind::Section &&
            text::equals(line.section, section, CaseMode::Folded))
            return line.number;
    return lines.empty() ? 1 : lines.back().number;
}

}  // namespace brindle
