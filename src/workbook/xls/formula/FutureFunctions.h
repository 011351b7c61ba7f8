// SPDX-License-Identifier: MIT
// Functions that came after the format and are stored as names (_xlfn.IFERROR). What they want of
// their arguments is as for built-in functions.
#pragma once

#include <string_view>

namespace brindle::workbook::xls {

// Classes of the parameters as in BuiltInFunction; those of a user-defined function, "R", for a
// name that is not known. Letter case and the prefix do not matter.
std::string_view futureParameterClasses(std::string_view name);

}  // namespace brindle::workbook::xls
