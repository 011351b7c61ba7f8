// SPDX-License-Identifier: MIT
// A formula as the binary format stores it: a run of tokens in reverse Polish order, and the data
// that some tokens keep behind it. Layout: [MS-XLS] 2.2.2 and 2.5.198.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace brindle::workbook::xls {

// Borrowed bytes, as they stand in a record.
struct FormulaTokens {
    std::string_view tokens;
    std::string_view extra;  // of array constants and the like, in the order of their tokens
};

// The same, owned.
struct CompiledFormula {
    std::string tokens;
    std::string extra;

    FormulaTokens view() const { return {tokens, extra}; }
};

}  // namespace brindle::workbook::xls
