// SPDX-License-Identifier: MIT
#include "workbook/ooxml/Splices.h"

#include <algorithm>

namespace brindle::workbook::ooxml {

void sortSplices(std::vector<Splice>& splices) {
    std::stable_sort(splices.begin(), splices.end(),
                     [](const Splice& a, const Splice& b) { return a.begin < b.begin; });
}

package::Buffer spliced(std::string_view text, std::vector<Splice> splices) {
    sortSplices(splices);
    std::size_t size = text.size();
    for (const Splice& splice : splices) size += splice.text.size();

    package::Buffer buffer(size);
    char* out = buffer.data();
    std::size_t at = 0;
    for (const Splice& splice : splices) {
        out = std::copy(text.begin() + static_cast<std::ptrdiff_t>(at),
                        text.begin() + static_cast<std::ptrdiff_t>(splice.begin), out);
        out = std::copy(splice.text.begin(), splice.text.end(), out);
        at = splice.end;
    }
    out = std::copy(text.begin() + static_cast<std::ptrdiff_t>(at), text.end(), out);
    buffer.shrink(static_cast<std::size_t>(out - buffer.data()));
    return buffer;
}

std::string splicedText(std::string_view text, std::vector<Splice> splices) {
    return std::string(spliced(text, std::move(splices)).view());
}

}  // namespace brindle::workbook::ooxml
