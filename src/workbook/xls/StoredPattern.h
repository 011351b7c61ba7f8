// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <string_view>

#include "base/MaskedBytes.h"
#include "base/Text.h"

namespace brindle::workbook::xls {

// What a text looks like in the bytes of a BIFF8 workbook, so that strings which cannot hold it are
// passed over unread. Bytes that fit need not be that text: letter case is told roughly only, and
// the bytes may be something else.
struct StoredPattern {
    std::optional<MaskedBytes> narrow;  // low bytes; nothing when some character has none
    MaskedBytes wide;                   // UTF-16

    // Nothing for a text that cannot be told by its bytes. `text` is UTF-8.
    static std::optional<StoredPattern> of(std::string_view text, CaseMode mode);
};

}  // namespace brindle::workbook::xls
