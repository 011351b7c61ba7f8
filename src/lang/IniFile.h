// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace brindle {

// A line that is neither blank nor a comment.
struct IniLine {
    enum class Kind { Section, Value, Other };
    Kind kind = Kind::Other;
    int number = 0;       // from 1
    std::string section;  // that it opens or stands in; empty before the first one
    std::string key;      // of a value
    std::string text;     // the value, or the whole line
};

// A text of sections and keys, read by the rules of Windows' private profiles: a line
// "[section]" opens a section, "key=value" lines below it give its values, lines that begin
// with ";" are passed over. Sections and keys are found without regard to letter case; blanks
// around them and around values do not count; a pair of quotation marks, single or double,
// around a value is not part of it and keeps the blanks within. Of several that match, the
// first wins.
//
// Works on bytes of any encoding that holds ASCII, and gives values in that encoding.
class IniFile {
public:
    explicit IniFile(std::string text) : mText(std::move(text)) {}

    std::optional<std::string> value(std::string_view section, std::string_view key) const;
    // In their order, those included that value() never comes to.
    std::vector<IniLine> lines() const;

private:
    std::string mText;
};

}  // namespace brindle
