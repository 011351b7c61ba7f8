// SPDX-License-Identifier: MIT
#pragma once

#include "base/ByteStreams.h"
#include "workbook/NewDocument.h"

namespace brindle::workbook::xls {

// Writes a binary workbook: BIFF8 in a compound file. Throws Error 1004 for cells beyond row 65,536
// or column 256.
void writeNew(NewDocument& document, ByteSink& out);

}  // namespace brindle::workbook::xls
