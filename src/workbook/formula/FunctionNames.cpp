// SPDX-License-Identifier: MIT
#include "workbook/formula/FunctionNames.h"

#include <algorithm>

#include "base/Text.h"

namespace brindle::workbook::formula {

const FunctionName* findFunction(std::string_view name) {
    const std::string upper = text::upperAscii(name);
    const auto names = functionNames();
    const auto found = std::lower_bound(
        names.begin(), names.end(), std::string_view(upper),
        [](const FunctionName& entry, std::string_view wanted) { return entry.name < wanted; });
    return found != names.end() && found->name == upper ? &*found : nullptr;
}

std::string_view storedPrefixText(StoredPrefix prefix) {
    switch (prefix) {
        case StoredPrefix::Future:
            return "_xlfn.";
        case StoredPrefix::FutureWorksheet:
            return "_xlfn._xlws.";
        default:
            return {};
    }
}

std::size_t functionPrefixLength(std::string_view storedName) {
    std::size_t length = 0;
    for (const std::string_view prefix : {"_xlfn.", "_xlws."}) {
        const std::string_view rest = storedName.substr(length);
        if (rest.size() > prefix.size() &&
            text::equals(rest.substr(0, prefix.size()), prefix, CaseMode::Folded)) {
            length += prefix.size();
        }
    }
    return length;
}

std::string usualFunctionName(std::string_view name) {
    const std::size_t prefixLength = functionPrefixLength(name);
    const FunctionName* known = findFunction(name.substr(prefixLength));
    return known == nullptr ? std::string(name)
                            : std::string(name.substr(0, prefixLength)).append(known->name);
}

}  // namespace brindle::workbook::formula
