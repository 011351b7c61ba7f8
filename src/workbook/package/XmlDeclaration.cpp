// SPDX-License-Identifier: MIT
#include "workbook/package/XmlDeclaration.h"

#include <algorithm>
#include <cstddef>

#include "workbook/package/XmlCharacters.h"

namespace brindle::workbook::package::xml {
namespace {

// What is left of the text to parse; each function takes its part from the front.
class Rest {
public:
    explicit Rest(std::string_view text) : mText(text) {}

    bool isEmpty() const { return mText.empty(); }

    bool takeSpace() {
        const auto length = std::min(mText.find_first_not_of(" \t\r\n"), mText.size());
        mText.remove_prefix(length);
        return length != 0;
    }

    bool take(std::string_view word) {
        if (mText.substr(0, word.size()) != word) return false;
        mText.remove_prefix(word.size());
        return true;
    }

    std::optional<std::string_view> takeQuoted() {
        if (mText.empty() || (mText[0] != '"' && mText[0] != '\'')) return std::nullopt;
        const std::size_t close = mText.find(mText[0], 1);
        if (close == std::string_view::npos) return std::nullopt;
        const std::string_view value = mText.substr(1, close - 1);
        mText.remove_prefix(close + 1);
        return value;
    }

private:
    std::string_view mText;
};

bool isVersion(std::string_view text) {
    return text.size() > 2 && text.substr(0, 2) == "1." &&
           std::all_of(text.begin() + 2, text.end(), [](char c) { return hasClass(c, kDigit); });
}

bool isEncodingName(std::string_view text) {
    return !text.empty() && hasClass(text[0], kNameStart) && text[0] != '_' &&
           std::all_of(text.begin(), text.end(), [](char c) { return hasClass(c, kNamePart); });
}

bool isStandalone(std::string_view text) {
    return text == "yes" || text == "no";
}

struct Item {
    std::string_view name;
    std::string_view XmlDeclaration::*value;
    bool (*isGood)(std::string_view);
};

constexpr Item kItems[] = {{"version", &XmlDeclaration::version, isVersion},
                           {"encoding", &XmlDeclaration::encoding, isEncodingName},
                           {"standalone", &XmlDeclaration::standalone, isStandalone}};

// Reads `="value"` behind the name of an item.
bool takeValue(Rest& rest, const Item& item, XmlDeclaration& declaration) {
    rest.takeSpace();
    if (!rest.take("=")) return false;
    rest.takeSpace();
    const auto value = rest.takeQuoted();
    if (!value || !item.isGood(*value)) return false;
    declaration.*item.value = *value;
    return true;
}

}  // namespace

std::optional<XmlDeclaration> parseXmlDeclaration(std::string_view content) {
    XmlDeclaration declaration;
    Rest rest(content);
    bool isSeparated = rest.takeSpace();
    for (const Item& item : kItems) {
        if (!isSeparated || !rest.take(item.name)) continue;
        if (!takeValue(rest, item, declaration)) return std::nullopt;
        isSeparated = rest.takeSpace();
    }
    if (declaration.version.empty() || !rest.isEmpty()) return std::nullopt;
    return declaration;
}

}  // namespace brindle::workbook::package::xml
