// SPDX-License-Identifier: MIT
#include "workbook/xls/XlsFormat.h"

#include "workbook/xls/WorkbookFile.h"
#include "workbook/xls/XlsDocument.h"

namespace brindle::workbook::xls {

Claim probe(std::string_view head, std::string_view /*extension*/) {
    return isBareWorkbook(head) ? Claim::Content : Claim::None;
}

Claim probeCompound(const package::CompoundFile& file) {
    return holdsWorkbook(file) ? Claim::Content : Claim::None;
}

std::unique_ptr<Document> open(std::unique_ptr<InputFile> file, const OpenOptions& options) {
    return std::make_unique<XlsDocument>(std::move(file), options);
}

}  // namespace brindle::workbook::xls
