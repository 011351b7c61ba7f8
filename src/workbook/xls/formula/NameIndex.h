// SPDX-License-Identifier: MIT
// Names in several lists, found without regard to letter case.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "base/Text.h"

namespace brindle::workbook::xls {

class NameIndex {
public:
    void add(std::size_t list, std::string_view name, std::uint32_t number) {
        mNumbers[key(list, name)].push_back(number);
    }
    // The numbers of the entries of that name, in the order of adding.
    const std::vector<std::uint32_t>& find(std::size_t list, std::string_view name) const {
        static const std::vector<std::uint32_t> kNone;
        const auto found = mNumbers.find(key(list, name));
        return found == mNumbers.end() ? kNone : found->second;
    }

private:
    static std::string key(std::size_t list, std::string_view name) {
        return std::to_string(list) + ':' + text::fold(name);
    }
    std::unordered_map<std::string, std::vector<std::uint32_t>> mNumbers;
};

}  // namespace brindle::workbook::xls
