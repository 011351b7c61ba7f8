// SPDX-License-Identifier: MIT
// The page headers and footers of a worksheet. Layout: ECMA-376 part 1, section 18.3.1.46.
#pragma once

#include <array>
#include <string>
#include <string_view>
#include <vector>

#include "workbook/DocumentModel.h"
#include "workbook/ooxml/PageSpelling.h"
#include "workbook/ooxml/Splices.h"
#include "workbook/package/XmlScanner.h"
#include "workbook/PageText.h"

namespace brindle::workbook::ooxml {

class HeaderFooter {
public:
    // `frame` is the text of the sheet's frame. The copies of custom views are left alone.
    explicit HeaderFooter(std::string_view frame);

    bool usesPages(PageKind kind) const;
    std::string section(PageKind kind, PageSection section) const;
    // Throws Error 1004 as PageText::setSection does.
    void setSection(PageKind kind, PageSection section, std::string_view text);

    bool isChanged() const;
    // Places in the frame.
    std::vector<Splice> splices() const;

private:
    // One of the six elements; begin == end when it is not there.
    struct Text {
        std::size_t begin = 0;
        std::size_t end = 0;
        std::size_t nameEnd = 0;
        std::size_t contentBegin = 0;
        std::size_t contentEnd = 0;
        bool isSelfClosing = false;
        std::size_t spaceBegin = 0;  // value of xml:space, with the quotes
        std::size_t spaceEnd = 0;
        std::string name;
        std::string original;  // content, escaped; raw when it is character data only
        PageText text = PageText({}, pageSpelling());

        bool exists() const { return end > begin; }
        bool isChanged() const { return text.raw() != original; }
    };
    void readElement(package::XmlScanner& scanner, std::string_view frame);
    void readText(package::XmlScanner& scanner, std::string_view frame, Text& text);
    void changeText(const Text& text, std::vector<Splice>& splices) const;
    std::string newElement(std::size_t index) const;
    void addNewTexts(std::vector<Splice>& splices) const;

    std::array<Text, 6> mTexts;  // in the order of the schema
    bool mUsesEven = false;
    bool mUsesFirst = false;
    std::string mPrefix;     // of the sheet's elements, with the colon
    std::size_t mPlace = 0;  // for the element where there is none
    std::size_t mBegin = 0;  // of the element; equal to the end when it is not there
    std::size_t mEnd = 0;
    std::size_t mContentEnd = 0;
    bool mIsSelfClosing = false;
};

}  // namespace brindle::workbook::ooxml
