// SPDX-License-Identifier: MIT
// Compiles every formula of a workbook from its own text, anew and with its tokens given, and
// counts how the results compare to what is stored.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "XlsFormulas.h"

namespace brindle::workbook::xls {

struct RecompileResult {
    std::map<std::string, std::size_t> counts;
    std::vector<std::string> details;  // a line for each formula that is not as it should be
};

RecompileResult recompile(XlsFormulas& book);

}  // namespace brindle::workbook::xls
