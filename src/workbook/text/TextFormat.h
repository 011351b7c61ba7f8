// SPDX-License-Identifier: MIT
// Delimited text: .csv .txt .tab .prn. What is read and how stands in docs/formats/text.md; the
// layout follows the common spreadsheet conventions for such files.
#pragma once

#include <memory>
#include <string_view>

#include "base/FileIo.h"
#include "workbook/Document.h"
#include "workbook/FormatTable.h"

namespace brindle::workbook::textfile {

// Text has no signature: the extension alone (lower case, with the dot) makes a claim.
Claim probe(std::string_view head, std::string_view extension);

std::unique_ptr<Document> open(std::unique_ptr<InputFile> file, const OpenOptions& options);

}  // namespace brindle::workbook::textfile
