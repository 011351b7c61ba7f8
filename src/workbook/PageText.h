// SPDX-License-Identifier: MIT
// One page header or footer: a string whose codes &L, &C and &R begin its left, centre and right
// section. Layout: ECMA-376 part 1, section 18.3.1.39 (oddHeader), and [MS-XLS] 2.4.136 (Header).
#pragma once

#include <string>
#include <string_view>

#include "base/Error.h"
#include "workbook/DocumentModel.h"

namespace brindle::workbook {

// How a format stores the characters of a page text. This one stores them as they are, in UTF-8.
class PageSpelling {
public:
    virtual ~PageSpelling() = default;
    // The character that is stored at `at`, NUL when it is not ASCII; moves behind it.
    virtual char next(std::string_view raw, std::size_t& at) const { return raw[at++]; }
    virtual std::string decoded(std::string_view raw) const { return std::string(raw); }
    virtual std::string encoded(std::string_view text) const { return std::string(text); }
    // What stores `text` where `raw` stood, the same for what both have in common.
    virtual std::string changed(std::string_view /*raw*/, std::string_view text) const {
        return encoded(text);
    }

    static const PageSpelling& plain();
};

class PageText {
public:
    // `raw` is the whole string as it is stored. `spelling` is borrowed.
    explicit PageText(std::string raw = {}, const PageSpelling& spelling = PageSpelling::plain())
        : mSpelling(&spelling), mRaw(std::move(raw)) {}

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
    std::string textOf(int column) const;

    const PageSpelling* mSpelling;
    std::string mRaw;
};

// The refusal of a section, in the application's words, and why.
Error cannotSet(PageSection section, const char* reason);

}  // namespace brindle::workbook
