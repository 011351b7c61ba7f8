// SPDX-License-Identifier: MIT
// String items: the si elements of the shared strings and the is elements of cells, plain or
// in runs with formats of their own.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/TextFinder.h"
#include "workbook/ooxml/Fragment.h"

namespace brindle::workbook::ooxml {

class RichText {
public:
    // `item` is the content of an si or is element, without its own tags. Throws Error (Damaged).
    RichText(const FragmentContext& context, std::string_view item);

    // All runs together; phonetic texts are not part of it.
    const std::string& text() const { return mText; }
    // The element's content as given.
    const std::string& content() const { return mItem; }

    // The content with the spans of text() replaced: characters outside the spans stay in their
    // runs, inserted text goes to the run of the first character that it replaces. Runs left
    // empty and phonetic texts go.
    std::string replaced(const std::vector<TextSpan>& spans, std::string_view replacement) const;

    // The raw text of an item that is one t element and nothing else, as nearly all are, written
    // without a prefix; nothing for any other.
    static std::optional<std::string_view> singleText(std::string_view item);

    // Content for a text without formats.
    static std::string plain(const FragmentContext& context, std::string_view text);

private:
    struct Piece {         // one t element
        TextSpan text;     // in mText
        TextSpan element;  // in mItem
        TextSpan run;      // the r element around it, else the same as `element`
    };
    void parse(const FragmentContext& context);
    bool isAloneInRun(std::size_t index) const;

    std::string mItem;
    std::string mText;
    std::vector<Piece> mPieces;
    std::vector<TextSpan> mPhonetic;  // elements in mItem
};

}  // namespace brindle::workbook::ooxml
