// SPDX-License-Identifier: MIT
// Any bytes as the drawing of a sheet whose legacy drawing has a few controls.
#include "ObjectsInMemory.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    brindle::fuzz::ObjectParts parts;
    parts.drawing = {reinterpret_cast<const char*>(data), size};
    parts.vmlDrawing =
        "<xml xmlns:v=\"urn:schemas-microsoft-com:vml\" xmlns:x=\"x\"><v:shape "
        "id=\"_x0000_s1025\"><v:textbox><div>Button 1</div></v:textbox></v:shape><v:shape "
        "id=\"_x0000_s1026\"><v:textbox><div>Button 2</div></v:textbox><x:ClientData "
        "ObjectType=\"Button\"/></v:shape></xml>";
    brindle::fuzz::checkObjects(brindle::fuzz::workbookWith(parts),
                                {brindle::fuzz::Objects::Kind::Shapes});
    return 0;
}
