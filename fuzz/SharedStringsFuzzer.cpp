// SPDX-License-Identifier: MIT
// Any bytes as the shared strings of a workbook, with a sheet whose cells use the first ones.
#include "WorkbookInMemory.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view strings(reinterpret_cast<const char*>(data), size);
    std::string rows;
    for (int i = 0; i < 24; ++i) {
        // Every third string has two cells, one of them with the text format.
        const std::string value = " t=\"s\"><v>" + std::to_string(i) + "</v></c>";
        rows += "<row><c" + value + (i % 3 == 0 ? "<c s=\"3\"" + value : "") + "</row>";
    }
    brindle::fuzz::checkWorkbook(brindle::fuzz::workbookAround(
        "<worksheet "
        "xmlns=\"http://schemas.openxmlformats.org/spreadsheetml/2006/main\"><sheetData>" +
            rows + "</sheetData></worksheet>",
        strings));
    return 0;
}
