// SPDX-License-Identifier: MIT
#include "engine/excel/Workbook.h"

#include "engine/excel/Workbooks.h"

namespace brindle::excel {

Workbook::Workbook(Workbooks& parent, std::string fullName,
                   std::unique_ptr<workbook::Document> document)
    : mParent(parent), mFullName(std::move(fullName)), mDocument(std::move(document)) {}

std::optional<Worksheet> Workbook::ActiveSheet() {
    const std::size_t active = mDocument->activeSheet();
    if (active >= mDocument->worksheetCount()) return std::nullopt;
    return Worksheet(mDocument->worksheet(active));
}

void Workbook::SaveAs(const std::string& Filename) {
    mDocument->saveAs(Filename);
    mFullName = Filename;
}

void Workbook::Close(bool SaveChanges) {
    if (SaveChanges) Save();
    mParent.remove(*this);  // destroys this object
}

}  // namespace brindle::excel
