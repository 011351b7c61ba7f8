// SPDX-License-Identifier: MIT
#pragma once

#include "workbook/FormatTable.h"

namespace brindle::workbook::xls {

Claim probe(std::string_view head, std::string_view extension);
Claim probeCompound(const package::CompoundFile& file);
std::unique_ptr<Document> open(std::unique_ptr<InputFile> file, const OpenOptions& options);

}  // namespace brindle::workbook::xls
