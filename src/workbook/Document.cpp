// SPDX-License-Identifier: MIT
#include "workbook/Document.h"

#include "base/Error.h"

namespace brindle::workbook {

void Worksheet::setCellValue(CellPosition, const CellValue&) {
    throw Error::notSupported();
}

void Document::saveAs(const std::string&) {
    throw Error::notSupported();
}

}  // namespace brindle::workbook
