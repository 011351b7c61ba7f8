// SPDX-License-Identifier: MIT
// A look over a workbook stream before it is written to disk.
#pragma once

#include <string_view>

namespace brindle::workbook::xls {

// Compares the structure of a changed stream with that of the stream before. Throws Error
// (Internal) where something that was right before is not right any more: records that follow each
// other up to the last EOF, the nesting of BOF and EOF, the sheets that BOUNDSHEET points to, the
// shared strings, INDEX and DBCELL. Both streams are in clear.
void checkChangedStream(std::string_view changed, std::string_view before);

}  // namespace brindle::workbook::xls
