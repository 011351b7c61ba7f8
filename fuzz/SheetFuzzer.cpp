// SPDX-License-Identifier: MIT
// Any bytes as a worksheet: the workbook opens or ends in an Error; what is replaced in it is
// found again in the file that is written.
#include "WorkbookInMemory.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view sheet(reinterpret_cast<const char*>(data), size);
    brindle::fuzz::checkWorkbook(brindle::fuzz::workbookAround(
        sheet,
        "<sst xmlns=\"http://schemas.openxmlformats.org/spreadsheetml/2006/main\" count=\"3\">"
        "<si><t>a text</t></si><si><r><t>1 an</t></r><r><t>d "
        "2</t></r></si><si><t>Sb</t></si></sst>"));
    return 0;
}
