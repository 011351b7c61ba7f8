// SPDX-License-Identifier: MIT
#include "workbook/ooxml/OoxmlFormat.h"

#include "workbook/ooxml/OoxmlDocument.h"
#include "workbook/ooxml/PackageFile.h"

namespace brindle::workbook::ooxml {

Claim probe(std::string_view head, std::string_view /*extension*/) {
    return head.starts_with("PK\x03\x04") || head.starts_with("PK\x05\x06") ? Claim::Content
                                                                            : Claim::None;
}

Claim probeCompound(const package::CompoundFile& file) {
    return isEncryptedPackage(file) ? Claim::Content : Claim::None;
}

std::unique_ptr<Document> open(std::unique_ptr<InputFile> file, const OpenOptions& options) {
    return std::make_unique<OoxmlDocument>(std::move(file), options);
}

}  // namespace brindle::workbook::ooxml
