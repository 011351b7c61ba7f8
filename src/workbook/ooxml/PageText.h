// SPDX-License-Identifier: MIT
// One page header or footer: a string whose codes &L, &C and &R begin its left, centre and right
// section. Layout: ECMA-376 part 1, section 18.3.1.39 (oddHeader).
#pragma once

#include <string>
#include <string_view>

#include "base/Error.h"
#include "workbook/DocumentModel.h"

namespace brindle::workbook::ooxml {

class PageText {
public:
    // `raw` is element content as it stands in the part, of character data only.
    explicit PageText(std::string raw = {}) : mRaw(std::move(raw)) {}

    const std::string& raw() const { return mRaw; }
    // A section with its codes, as it is stored; empty when there is none. What stands in front
    // of the first code is in the centre; a code that comes again goes on with its section.
    std::string section(PageSection section) const;
    // Keeps the stored bytes of the others. Throws Error 1004 when all would be longer than 255
    // characters, or when a code in the new text would run into another section.
    void setSection(PageSection section, std::string_view text);
    // Whether all sections are, however they are written.
    bool isSameAs(const PageText& other) const;

private:
    std::string mRaw;
};

// The refusal of a section, in the application's words, and why.
Error cannotSet(PageSection section, const char* reason);

}  // namespace brindle::workbook::ooxml
