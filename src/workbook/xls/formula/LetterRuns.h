// SPDX-License-Identifier: MIT
// The long words in the text of a formula, told without making the text.
#pragma once

#include <string>
#include <string_view>

#include "workbook/xls/biff/Biff.h"

namespace brindle::workbook::xls {

// Appends, with blanks between them, every run of more than three letters that the text of the
// formula has (if it has a text). False when that takes more than a look at the tokens: for names,
// texts, references to other sheets.
bool appendLetterRuns(std::string& out, std::string_view tokens, Version version);

}  // namespace brindle::workbook::xls
