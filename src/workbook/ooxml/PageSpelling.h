// SPDX-License-Identifier: MIT
#pragma once

#include "workbook/PageText.h"

namespace brindle::workbook::ooxml {

// Page texts as element content of character data only: escaped for XML, and as Xstring.
const PageSpelling& pageSpelling();

}  // namespace brindle::workbook::ooxml
