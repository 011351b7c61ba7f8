// SPDX-License-Identifier: MIT
// The match rules for cell texts, independent of any format: wildcards, case, whole content.
// docs/matching.md tells users the same rules.
#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "base/TextFinder.h"

namespace brindle::workbook {

// The kinds of generated edit text, each with a small alphabet: a pattern that needs a
// character outside it cannot match and the text need not be made.
enum class TextClass {
    Number,   // 0-9 . - + E, and #NUM! for what is no finite number
    Percent,  // the same and %
    Date,     // 0-9 / : blank A M P, never more than four digits together
    Boolean,  // TRUE, FALSE
    Error     // # / ! ? _ digits and capital letters
};

// One search pattern. Immutable after construction; may be shared between threads.
class CellMatch {
public:
    // `what` may hold the wildcards * and ?, and ~ before *, ? or ~ to make them literal.
    // Throws Error 13 when it is longer than 255 UTF-16 units.
    CellMatch(std::string what, CaseMode mode, bool wholeContent);
    ~CellMatch();
    CellMatch(const CellMatch&);
    CellMatch& operator=(const CellMatch&);
    CellMatch(CellMatch&&) noexcept;
    CellMatch& operator=(CellMatch&&) noexcept;

    const std::string& what() const;
    CaseMode caseMode() const;
    bool wholeContent() const;

    // An empty text (a blank cell) never matches.
    bool matches(std::string_view text) const;

    // The parts of a matching text that a replacement covers: leftmost, not overlapping, in
    // order. Empty when nothing matches; one span over all of the text for whole content.
    std::vector<TextSpan> spans(std::string_view text) const;

    // False when no text of that class can match.
    bool couldMatch(TextClass textClass) const;

    // A literal that every matching text contains (the longest one of the pattern); empty when
    // there is none, as with "*". To rule out large pieces of text in one scan.
    const std::string& requiredLiteral() const;
    // True when the pattern has no wildcard: a match is just an occurrence of requiredLiteral.
    bool isLiteral() const;

    bool operator==(const CellMatch& other) const;

private:
    struct Rules;
    std::shared_ptr<const Rules> mRules;
};

// `text` with every span replaced.
std::string replaceSpans(std::string_view text, const std::vector<TextSpan>& spans,
                         std::string_view replacement);

}  // namespace brindle::workbook
