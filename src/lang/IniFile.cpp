// SPDX-License-Identifier: MIT
#include "lang/IniFile.h"

#include <algorithm>

#include "base/Text.h"

namespace brindle {

namespace {

constexpr std::string_view kBlanks = " \t";

std::string_view trimmed(std::string_view text) {
    const std::size_t first = text.find_first_not_of(kBlanks);
    if (first == std::string_view::npos) return {};
    return text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

std::string_view takeLine(std::string_view& text) {
    const std::size_t end = std::min(text.find_first_of("\r\n"), text.size());
    const std::string_view line = text.substr(0, end);
    const std::size_t breakLength = text.substr(end, 2) == "\r\n" ? 2 : 1;
    text.remove_prefix(std::min(end + breakLength, text.size()));
    return trimmed(line);
}

std::string_view unquoted(std::string_view value) {
    const bool quoted = value.size() >= 2 && value.front() == value.back() &&
                        (value.front() == '"' || value.front() == '\'');
    return quoted ? value.substr(1, value.size() - 2) : value;
}

struct Line {
    IniLine::Kind kind = IniLine::Kind::Other;
    std::string_view name;  // of the section or key
    std::string_view text;
};

Line understood(std::string_view line) {
    if (line.starts_with('['))
        return {IniLine::Kind::Section, trimmed(line.substr(1, line.find(']') - 1)), line};
    const std::size_t sign = line.find('=');
    if (sign == std::string_view::npos || line.starts_with(';'))
        return {IniLine::Kind::Other, {}, line};
    return {IniLine::Kind::Value, trimmed(line.substr(0, sign)),
            unquoted(trimmed(line.substr(sign + 1)))};
}

bool isSame(std::string_view a, std::string_view b) {
    return text::equals(a, b, CaseMode::Folded);
}

}  // namespace

std::optional<std::string> IniFile::value(std::string_view section, std::string_view key) const {
    section = trimmed(section);
    key = trimmed(key);
    bool inSection = false;
    for (std::string_view rest = mText; !rest.empty();) {
        const Line line = understood(takeLine(rest));
        if (line.kind == IniLine::Kind::Section) inSection = isSame(line.name, section);
        const bool isWanted = inSection && line.kind == IniLine::Kind::Value;
        if (isWanted && isSame(line.name, key)) return std::string(line.text);
    }
    return std::nullopt;
}

std::vector<IniLine> IniFile::lines() const {
    std::vector<IniLine> lines;
    std::string section;
    int number = 0;
    for (std::string_view rest = mText; !rest.empty();) {
        const std::string_view whole = takeLine(rest);
        ++number;
        if (whole.empty() || whole.starts_with(';')) continue;
        const Line line = understood(whole);
        if (line.kind == IniLine::Kind::Section) section = line.name;
        const bool isValue = line.kind == IniLine::Kind::Value;
        lines.push_back({line.kind, number, section, isValue ? std::string(line.name) : "",
                         std::string(line.text)});
    }
    return lines;
}

}  // namespace brindle
