// SPDX-License-Identifier: MIT
#pragma once

#include <memory>
#include <string_view>

#include "base/FileIo.h"
#include "workbook/Document.h"
#include "workbook/FormatTable.h"

namespace brindle::workbook::ooxml {

// A zip archive is taken for a workbook of ours; opening finds out.
Claim probe(std::string_view head, std::string_view extension);

// A compound file that holds an encrypted package.
Claim probeCompound(const package::CompoundFile& file);

std::unique_ptr<Document> open(std::unique_ptr<InputFile> file, const OpenOptions& options);

// Writes a new workbook of the type .xlsx. Every text of up to 32,767 characters has its place.
void writeNew(NewDocument& document, ByteSink& out);

}  // namespace brindle::workbook::ooxml
