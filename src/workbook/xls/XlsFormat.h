// SPDX-License-Identifier: MIT
#pragma once

#include "workbook/FormatTable.h"

namespace brindle::workbook::xls {

Claim probe(std::string_view head, std::string_view extension);
Claim probeCompound(const package::CompoundFile& file);
std::unique_ptr<Document> open(std::unique_ptr<InputFile> file, const OpenOptions& options);

// Writes a new workbook of the type .xls: BIFF8 in a compound file. Throws Error 1004 for cells
// beyond row 65,536 or column 256.
void writeNew(NewDocument& document, ByteSink& out);

}  // namespace brindle::workbook::xls
