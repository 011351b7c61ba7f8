// SPDX-License-Identifier: MIT
#include "workbook/CellMatch.h"

#include <algorithm>
#include <array>
#include <utility>

#include "base/Error.h"
#include "workbook/WildcardPattern.h"

namespace brindle::workbook {

namespace {

constexpr std::size_t kLongestPattern = 255;  // UTF-16 units

struct Alphabet {
    TextClass textClass;
    std::string_view characters;
};

// Booleans are not here: there are but two texts to try.
constexpr std::array kAlphabets{
    Alphabet{TextClass::Number, "0123456789.-+E#NUM!"},
    Alphabet{TextClass::Percent, "0123456789.-+E%#NUM!"},
    Alphabet{TextClass::Date, "0123456789/: AMP"},
    Alphabet{TextClass::Error, "#/!?_0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZ"},
};

bool consistsOf(std::string_view text, std::string_view alphabet, CaseMode mode) {
    const std::string known =
        mode == CaseMode::Folded ? text::fold(alphabet) : std::string(alphabet);
    const std::string wanted = mode == CaseMode::Folded ? text::fold(text) : std::string(text);
    return wanted.find_first_not_of(known) == std::string::npos;
}

bool hasFiveDigits(std::string_view text) {
    std::size_t run = 0;
    for (const char c : text) {
        run = c >= '0' && c <= '9' ? run + 1 : 0;
        if (run == 5) return true;
    }
    return false;
}

}  // namespace

struct CellMatch::Rules {
    Rules(std::string text, CaseMode caseMode, bool entire)
        : what(std::move(text)),
          mode(caseMode),
          whole(entire),
          pattern(what, mode),
          literal(pattern.longestLiteral(), mode) {}

    bool matchesLiteral(std::string_view text) const {
        return whole ? literal.endOfMatchAt(text, 0) == text.size() : literal.isIn(text);
    }
    bool matchesPattern(std::string_view text) const {
        if (!pattern.longestLiteral().empty() && !literal.isIn(text)) return false;
        return whole ? pattern.matchesWhole(text) : pattern.find(text, 0).has_value();
    }
    std::optional<TextSpan> findFrom(std::string_view text, std::size_t from) const {
        return pattern.hasWildcards() ? pattern.find(text, from) : literal.find(text, from);
    }

    std::string what;
    CaseMode mode;
    bool whole;
    WildcardPattern pattern;
    TextFinder literal;
};

CellMatch::CellMatch(std::string what, CaseMode mode, bool wholeContent) {
    if (text::lengthUtf16(what) > kLongestPattern) {
        throw Error(ErrorKind::Argument, error_number::kTypeMismatch, "Type mismatch");
    }
    mRules = std::make_shared<const Rules>(std::move(what), mode, wholeContent);
}

CellMatch::~CellMatch() = default;
CellMatch::CellMatch(const CellMatch&) = default;
CellMatch& CellMatch::operator=(const CellMatch&) = default;
CellMatch::CellMatch(CellMatch&&) noexcept = default;
CellMatch& CellMatch::operator=(CellMatch&&) noexcept = default;

const std::string& CellMatch::what() const {
    return mRules->what;
}
CaseMode CellMatch::caseMode() const {
    return mRules->mode;
}
bool CellMatch::wholeContent() const {
    return mRules->whole;
}

bool CellMatch::matches(std::string_view text) const {
    if (text.empty()) return false;
    return isLiteral() ? mRules->matchesLiteral(text) : mRules->matchesPattern(text);
}

std::vector<TextSpan> CellMatch::spans(std::string_view text) const {
    std::vector<TextSpan> found;
    if (wholeContent()) {
        if (matches(text)) found.push_back({0, text.size()});
        return found;
    }
    for (auto span = mRules->findFrom(text, 0); span; span = mRules->findFrom(text, span->end)) {
        found.push_back(*span);
    }
    return found;
}

bool CellMatch::couldMatch(TextClass textClass) const {
    if (textClass == TextClass::Boolean) return matches("TRUE") || matches("FALSE");
    if (textClass == TextClass::Date && hasFiveDigits(requiredLiteral())) return false;
    for (const Alphabet& alphabet : kAlphabets) {
        if (alphabet.textClass != textClass) continue;
        return consistsOf(mRules->pattern.literalCharacters(), alphabet.characters, caseMode());
    }
    return true;
}

const std::string& CellMatch::requiredLiteral() const {
    return mRules->pattern.longestLiteral();
}

bool CellMatch::isLiteral() const {
    return !mRules->pattern.hasWildcards();
}

bool CellMatch::operator==(const CellMatch& other) const {
    return what() == other.what() && caseMode() == other.caseMode() &&
           wholeContent() == other.wholeContent();
}

std::string replaceSpans(std::string_view text, const std::vector<TextSpan>& spans,
                         std::string_view replacement) {
    std::string result;
    result.reserve(text.size() + spans.size() * replacement.size());
    std::size_t copied = 0;
    for (const TextSpan& span : spans) {
        result.append(text, copied, span.begin - copied);
        result += replacement;
        copied = span.end;
    }
    return result.append(text, copied, std::string_view::npos);
}

}  // namespace brindle::workbook
