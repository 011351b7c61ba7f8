// SPDX-License-Identifier: MIT
#include "workbook/ooxml/PageSpelling.h"

#include <algorithm>

#include "workbook/ooxml/Xstring.h"
#include "workbook/package/XmlScanner.h"

namespace brindle::workbook::ooxml {

namespace {

class XmlPageSpelling : public PageSpelling {
public:
    char next(std::string_view raw, std::size_t& at) const override {
        if (raw[at] != '&') return raw[at++];
        const std::size_t end = std::min(raw.find(';', at), raw.size() - 1) + 1;
        const std::string text = package::xmlText(raw.substr(at, end - at));
        at = end;
        return text.size() == 1 ? text[0] : '\0';
    }
    std::string decoded(std::string_view raw) const override { return xstring(raw); }
    std::string encoded(std::string_view text) const override { return xstringEscaped(text); }
    std::string changed(std::string_view raw, std::string_view text) const override {
        return xstringChanged(raw, text);
    }
};

}  // namespace

const PageSpelling& pageSpelling() {
    static const XmlPageSpelling spelling;
    return spelling;
}

}  // namespace brindle::workbook::ooxml
