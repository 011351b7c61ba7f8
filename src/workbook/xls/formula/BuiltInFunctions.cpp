// SPDX-License-Identifier: MIT
#include "workbook/xls/formula/BuiltInFunctions.h"

#include <algorithm>
#include <array>
#include <span>
#include <vector>

#include "base/Text.h"
#include "workbook/xls/formula/BuiltInFunctionRows.h"

namespace brindle::workbook::xls {
namespace {

constexpr std::size_t kVersions = static_cast<std::size_t>(Version::Biff8) + 1;

// What one version has.
struct Functions {
    std::vector<const BuiltInFunction*> byId;    // null where there is none
    std::vector<const BuiltInFunction*> byName;  // in the order of names, without macro functions
};

Functions functionsOf(Version version) {
    Functions functions;
    for (const BuiltInFunctionRow& row : builtInFunctionRows()) {
        if (version < row.first || version > row.last) continue;
        functions.byId.resize(row.function.id + 1U);
        functions.byId.back() = &row.function;
        if (!row.function.isMacro) functions.byName.push_back(&row.function);
    }
    std::sort(functions.byName.begin(), functions.byName.end(),
              [](const auto* a, const auto* b) { return a->name < b->name; });
    return functions;
}

const Functions& functions(Version version) {
    static const auto kAll = [] {
        std::array<Functions, kVersions> all;
        for (std::size_t i = 0; i < kVersions; ++i) all[i] = functionsOf(static_cast<Version>(i));
        return all;
    }();
    return kAll[static_cast<std::size_t>(version)];
}

}  // namespace

const BuiltInFunction* builtInFunction(std::uint16_t id, Version version) {
    const auto& byId = functions(version).byId;
    return id < byId.size() ? byId[id] : nullptr;
}

const BuiltInFunction* builtInFunction(std::string_view name, Version version) {
    const auto& byName = functions(version).byName;
    const std::string upper = text::upperAscii(name);
    const auto found = std::lower_bound(
        byName.begin(), byName.end(), std::string_view(upper),
        [](const BuiltInFunction* entry, std::string_view wanted) { return entry->name < wanted; });
    return found != byName.end() && (*found)->name == upper ? *found : nullptr;
}

}  // namespace brindle::workbook::xls
