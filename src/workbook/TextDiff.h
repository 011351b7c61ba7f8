// SPDX-License-Identifier: MIT
// What was replaced in a text, told from the text before and after. For texts in several
// formats, where everything that was not replaced has to keep its own.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "base/TextFinder.h"

namespace brindle::workbook {

// The bytes of `where` in the text before become `with`; one of the two may be empty.
struct TextChange {
    TextSpan where;
    std::string with;
    bool operator==(const TextChange&) const = default;
};

// The changes that lead from one UTF-8 text to the other: in order, apart from each other, whole
// characters. Whole words are compared, so that a word that was replaced is not taken apart where
// it shares letters with the new one; only what both begin and end with stays, and what lies
// between several equal changes of one word.
std::vector<TextChange> textChanges(std::string_view before, std::string_view after);

}  // namespace brindle::workbook
