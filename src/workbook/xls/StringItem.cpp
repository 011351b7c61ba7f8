// SPDX-License-Identifier: MIT
#include "workbook/xls/StringItem.h"

#include "workbook/CellMatch.h"

namespace brindle::workbook::xls {

StringItem StringItem::replaced(const std::vector<TextSpan>& spans, std::string_view replacement,
                                const StringCodec& codec) const {
    return {replaceSpans(text, spans, replacement),
            replacedRuns(runs, text, spans, replacement, codec),
            {}};
}

}  // namespace brindle::workbook::xls
