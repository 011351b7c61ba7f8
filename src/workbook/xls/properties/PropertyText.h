// SPDX-License-Identifier: MIT
// The values of a section of a property set as texts. Layout: [MS-OLEPS] 2.5 to 2.15.
#pragma once

#include <cstdint>
#include <ctime>
#include <string>
#include <string_view>

#include "base/CodePages.h"
#include "workbook/xls/properties/PropertyValue.h"

namespace brindle::workbook::xls {

// Not to be shared between threads. All texts are UTF-8.
class PropertyText {
public:
    // `codePage` is the number that the section tells; 0 stands for windows-1252.
    explicit PropertyText(std::uint16_t codePage);
    // Whether the code page is known. Narrow texts are read as windows-1252 when it is not.
    bool isKnown() const { return mIsKnown; }

    // Whatever the type: numbers, dates and truth values as the object model shows them; empty
    // for what cannot be shown as a text. A string ends before its first NUL. Throws Error
    // (Damaged).
    std::string text(const PropertyValue& value) const;
    // Characters without count, in the code page.
    std::string decode(std::string_view characters) const;
    bool isWide() const { return mIsWide; }  // the code page is UTF-16

    // Type and data of a text that takes the place of a value. A string keeps its type as long as
    // the code page has the characters, and all that follows its first NUL. Throws Error (Refused)
    // for a text with a NUL, and when the old text has bytes that are no characters of the code
    // page: they would be lost.
    std::string stored(std::string_view text, const PropertyValue& old) const;

private:
    void checkNothingIsLost(std::string_view characters) const;

    CodePage mCodePage;
    bool mIsWide;
    bool mIsKnown;
};

// Of a blob that holds a UTF-16 text; the same rules.
std::string blobText(const PropertyValue& value);
std::string storedBlob(std::string_view text, const PropertyValue& old);

// Type and data of a moment in seconds since 1970.
std::string storedFileTime(std::time_t moment);

}  // namespace brindle::workbook::xls
