// SPDX-License-Identifier: MIT
#include "workbook/xls/StringItem.h"

#include "base/Text.h"
#include "workbook/CellMatch.h"

namespace brindle::workbook::xls {

StringItem StringItem::replaced(const std::vector<TextSpan>& spans, std::string_view replacement,
                                const StringCodec& codec) const {
    const auto count = [&](std::string_view piece) {
        return unit == Unit::Utf16 ? text::lengthUtf16(piece) : codec.encode(piece).count;
    };
    return {replaceSpans(text, spans, replacement),
            replacedRuns(runs, text, spans, replacement, count),
            {},
            unit};
}

}  // namespace brindle::workbook::xls
