// SPDX-License-Identifier: MIT
// Any bytes as the parts with the document properties.
#include "ObjectsInMemory.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    brindle::fuzz::ObjectParts parts;
    parts.core = parts.extended = parts.custom = {reinterpret_cast<const char*>(data), size};
    brindle::fuzz::checkObjects(
        brindle::fuzz::workbookWith(parts),
        {brindle::fuzz::Objects::Kind::BuiltIn, brindle::fuzz::Objects::Kind::Custom});
    return 0;
}
