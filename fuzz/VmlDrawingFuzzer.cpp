// SPDX-License-Identifier: MIT
// Any bytes as the legacy drawing of a sheet that shows one of its controls in the drawing too.
#include "ObjectsInMemory.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    brindle::fuzz::ObjectParts parts;
    parts.vmlDrawing = {reinterpret_cast<const char*>(data), size};
    parts.drawing =
        "<d:wsDr xmlns:d=\"http://schemas.openxmlformats.org/drawingml/2006/spreadsheetDrawing\" "
        "xmlns:a=\"a\"><d:sp><a:compatExt spid=\"_x0000_s1025\"/><d:txBody><a:p><a:r><a:t>Button "
        "1</a:t></a:r></a:p></d:txBody></d:sp><d:sp><a:compatExt "
        "spid=\"_x0000_s1026\"/></d:sp></d:wsDr>";
    brindle::fuzz::checkObjects(brindle::fuzz::workbookWith(parts),
                                {brindle::fuzz::Objects::Kind::Shapes}, true);
    return 0;
}
