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
    text.remove_prefix(std::min(end + 1, text.size()));
    return trimmed(line);
}

std::optional<std::string_view> sectionName(std::string_view line) {
    if (!line.starts_with('[')) return std::nullopt;
    return trimmed(line.substr(1, line.find(']') - 1));
}

std::string_view unquoted(std::string_view value) {
    const bool quoted = value.size() >= 2 && value.front() == value.back() &&
                        (value.front() == '"' || value.front() == '\'');
    return quoted ? value.substr(1, value.size() - 2) : value;
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
        const std::string_view line = takeLine(rest);
        if (const auto name = sectionName(line)) {
            inSection = isSame(*name, section);
            continue;
        }
        const std::size_t sign = line.find('=');
        if (!inSection || sign == std::string_view::npos || line.starts_with(';')) continue;
        if (isSame(trimmed(line.substr(0, sign)), key))
            return std::string(unquoted(trimmed(line.substr(sign + 1))));
    }
    return std::nullopt;
}

}  // namespace brindle
