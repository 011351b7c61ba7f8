// SPDX-License-Identifier: MIT
#include "cli/FormatList.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <array>
#include <vector>

#include "workbook/FormatTable.h"

namespace brindle::cli {

namespace {

using workbook::Abilities;
using workbook::FormatRow;

struct AbilityRow {
    bool Abilities::*ability;
    const char* key;
    const char* text;
};

constexpr std::array<AbilityRow, 6> kAbilities{{
    {&Abilities::cells, "cells", "cells"},
    {&Abilities::hyperlinks, "hyperlinks", "hyperlinks"},
    {&Abilities::headers, "headers", "headers and footers"},
    {&Abilities::shapes, "shapes", "shapes"},
    {&Abilities::properties, "properties", "document properties"},
    {&Abilities::password, "password", "password"},
}};

}  // namespace

std::string formatListText() {
    std::string out;
    for (const FormatRow& format : workbook::formatTable()) {
        std::vector<std::string> holds;
        for (const AbilityRow& row : kAbilities) {
            if (format.abilities.*row.ability) holds.emplace_back(row.text);
        }
        out += fmt::format("{}\n\t{}\n\t{}\n", format.name, fmt::join(format.extensions, " "),
                           fmt::join(holds, ", "));
    }
    return out;
}

std::string formatListJson() {
    std::string out;
    for (const FormatRow& format : workbook::formatTable()) {
        nlohmann::ordered_json object{
            {"type", "format"}, {"name", format.name}, {"extensions", format.extensions}};
        for (const AbilityRow& row : kAbilities) object[row.key] = format.abilities.*row.ability;
        out += object.dump() + "\n";
    }
    return out;
}

std::string allTypes() {
    std::vector<std::string> types;
    for (const FormatRow& format : workbook::formatTable()) {
        for (const std::string& extension : format.extensions) {
            const std::string type = "*" + extension + ";";
            if (std::find(types.begin(), types.end(), type) == types.end()) types.push_back(type);
        }
    }
    return fmt::format("{}", fmt::join(types, ""));
}

}  // namespace brindle::cli
