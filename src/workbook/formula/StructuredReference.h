// SPDX-License-Identifier: MIT
// The bracketed part of references to tables: [Col], [@Col], [[#Headers],[a]:[b]].
#pragma once

#include <optional>
#include <string_view>

#include "workbook/formula/FormulaTree.h"

namespace brindle::workbook::formula {

// `brackets` with the outer pair; nothing when it does not follow the grammar.
std::optional<StructuredReference> parseStructuredReference(std::string_view brackets);

}  // namespace brindle::workbook::formula
