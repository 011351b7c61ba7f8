// SPDX-License-Identifier: MIT
// Both directions work on tokens: each token gets the text that stands for it in the other form,
// and everything else is carried over byte for byte.
#include <map>

#include "base/Text.h"
#include "workbook/formula/BookLinks.h"
#include "workbook/formula/CellReference.h"
#include "workbook/formula/Formula.h"
#include "workbook/formula/FormulaLexer.h"
#include "workbook/formula/FunctionNames.h"
#include "workbook/formula/ParameterScopes.h"
#include "workbook/formula/TokenSpans.h"

namespace brindle::workbook::formula {
namespace {

constexpr std::string_view kSingle = "_xlfn.SINGLE";
constexpr std::string_view kAnchorArray = "_xlfn.ANCHORARRAY";
constexpr std::string_view kParameter = "_xlpm.";
constexpr std::string_view kOptionalParameter = "_xlop.";
constexpr std::string_view kEtaReduced = "_xleta.";  // a function's name as an argument
constexpr std::string_view kBuiltIn = "_xlnm.";      // Print_Area and its like

// A formula's tokens with the text that each becomes.
class Rewriting {
public:
    explicit Rewriting(std::string_view text) : mSpans(text), mParts(mSpans.size()) {
        for (std::size_t i = 0; i < mParts.size(); ++i) mParts[i].text = mSpans.text(i);
    }

    const TokenSpans& spans() const { return mSpans; }
    void replace(std::size_t token, std::string text) { mParts[token].text = std::move(text); }
    void insertBefore(std::size_t token, std::string_view text) {
        mParts[token].before.insert(0, text);
    }
    void insertAfter(std::size_t token, std::string_view text) { mParts[token].after += text; }

    std::string result() const {
        std::string out;
        for (const Part& part : mParts) out.append(part.before).append(part.text) += part.after;
        return out;
    }

private:
    struct Part {
        std::string before;
        std::string text;
        std::string after;
    };
    TokenSpans mSpans;
    std::vector<Part> mParts;
};

bool equalsFolded(std::string_view a, std::string_view b) {
    return text::equals(a, b, CaseMode::Folded);
}

bool dropPrefix(std::string_view& name, std::string_view prefix) {
    if (name.size() <= prefix.size()) return false;
    if (!equalsFolded(name.substr(0, prefix.size()), prefix)) return false;
    name.remove_prefix(prefix.size());
    return true;
}

// What belongs to another workbook or sheet is no function of the application.
bool isQualified(const TokenSpans& spans, std::size_t token) {
    return token > 0 && spans.kind(token - 1) == TokenKind::SheetPrefix;
}

// Whether a word can stand for itself without its prefix; what would be read as something else
// keeps it.
bool isWord(std::string_view word, bool isFunction) {
    if (word.empty() || !isNameStart(word.front())) return false;
    CellReference cell;
    return isFunction || (scanCell(word, 0, cell) != word.size() && !equalsFolded(word, "TRUE") &&
                          !equalsFolded(word, "FALSE"));
}

std::string_view withoutFunctionPrefix(std::string_view name) {
    std::string_view word = name;
    if (!dropPrefix(word, kParameter)) word.remove_prefix(functionPrefixLength(word));
    return isWord(word, true) ? word : name;
}

std::string_view withoutNamePrefix(std::string_view name) {
    std::string_view word = name;
    if (!dropPrefix(word, kParameter) && !dropPrefix(word, kEtaReduced) &&
        !dropPrefix(word, kBuiltIn)) {
        word.remove_prefix(functionPrefixLength(word));
    }
    return isWord(word, false) ? word : name;
}

std::string shownName(std::string_view name) {
    std::string_view word = name;
    if (dropPrefix(word, kOptionalParameter)) {
        return isWord(word, false) ? '[' + std::string(word) + ']' : std::string(name);
    }
    return std::string(withoutNamePrefix(name));
}

// --- stored to shown

bool isAnchorArray(const TokenSpans& spans, std::size_t token) {
    return spans.kind(token) == TokenKind::Function &&
           equalsFolded(spans.text(token), kAnchorArray);
}

bool isSingle(const TokenSpans& spans, std::size_t token) {
    return spans.kind(token) == TokenKind::Function && equalsFolded(spans.text(token), kSingle);
}

// Whether the parenthesis at `open` and its partner hold one argument that is not blank.
bool holdsOneArgument(const TokenSpans& spans, std::size_t open) {
    const std::size_t close = spans.match(open);
    if (close == TokenSpans::kNone || spans.skipSpace(open + 1) == close) return false;
    for (std::size_t i = open + 1; i < close; ++i) {
        if (spans.kind(i) == TokenKind::Comma) return false;
        if (spans.match(i) != TokenSpans::kNone) i = spans.match(i);
    }
    return true;
}

// Whether [first, end) is one pair of parentheses that a call's own may take the place of; a
// union would fall apart into arguments.
bool isOnePair(const TokenSpans& spans, std::size_t first, std::size_t end) {
    return spans.kind(first) == TokenKind::Open && spans.match(first) == end - 1 &&
           holdsOneArgument(spans, first);
}

// Whether "@" in front of [first, end) would be read back as the same argument. A text wholly in
// parentheses would lose them.
bool standsBehindAt(const TokenSpans& spans, std::size_t first, std::size_t end) {
    return spans.match(first) != end - 1 && spans.termEnd(first) == end;
}

// Whether [first, end) is a reference, name or call that "#" can stand behind.
bool standsBeforeHash(const TokenSpans& spans, std::size_t first, std::size_t end) {
    switch (spans.kind(first)) {
        case TokenKind::SheetPrefix:
        case TokenKind::Cell:
        case TokenKind::Columns:
        case TokenKind::Rows:
        case TokenKind::Brackets:
        case TokenKind::ErrorValue:
            break;
        case TokenKind::Name:
            if (!isWord(spans.text(first), false)) return false;
            break;
        case TokenKind::Function:
            if (isSingle(spans, first)) return false;
            break;
        default:
            return false;
    }
    return spans.primaryEnd(first) == end;
}

// Binds tighter than @, so that the operator form would take it in.
bool isFollowedByRange(const TokenSpans& spans, std::size_t close) {
    const std::size_t next = spans.skipSpace(close + 1);
    return spans.isOperator(next, ":") || spans.isOperator(next, "#");
}

bool showAsSpill(Rewriting& rewriting, std::size_t function) {
    const TokenSpans& spans = rewriting.spans();
    const std::size_t close = spans.match(function + 1);
    if (close == TokenSpans::kNone || !standsBeforeHash(spans, function + 2, close)) return false;
    rewriting.replace(function, "");
    rewriting.replace(function + 1, "");
    rewriting.replace(close, "#");
    return true;
}

bool showAsImplicitIntersection(Rewriting& rewriting, std::size_t function) {
    const TokenSpans& spans = rewriting.spans();
    if (!holdsOneArgument(spans, function + 1)) return false;
    const std::size_t close = spans.match(function + 1);
    if (isFollowedByRange(spans, close)) return false;
    rewriting.replace(function, "@");
    if (standsBehindAt(spans, function + 2, close)) {
        rewriting.replace(function + 1, "");
        rewriting.replace(close, "");
    }
    return true;
}

bool showAsOperator(Rewriting& rewriting, std::size_t function) {
    if (isSingle(rewriting.spans(), function)) {
        return showAsImplicitIntersection(rewriting, function);
    }
    return isAnchorArray(rewriting.spans(), function) && showAsSpill(rewriting, function);
}

void show(Rewriting& rewriting, std::size_t token, const std::vector<std::string>& books) {
    const TokenSpans& spans = rewriting.spans();
    switch (spans.kind(token)) {
        case TokenKind::Function:
            if (isQualified(spans, token)) break;
            if (!showAsOperator(rewriting, token)) {
                rewriting.replace(token, std::string(withoutFunctionPrefix(spans.text(token))));
            }
            break;
        case TokenKind::Name:
            rewriting.replace(token, shownName(spans.text(token)));
            break;
        case TokenKind::SheetPrefix:
            rewriting.replace(token, shownBookPrefix(spans.text(token), books));
            break;
        default:
            break;
    }
}

// --- shown to stored

// What stood in front of the names of the old text, by what they show.
struct OldPrefixes {
    std::map<std::string, std::string> functions;  // by folded name
    std::map<std::string, std::string> names;      // by folded name
    std::map<std::string, std::string, std::less<>> sheets;
};

// A word that stood both with and without a prefix gets it.
void remember(std::map<std::string, std::string>& prefixes, std::string_view shown,
              std::string_view stored) {
    std::string& prefix = prefixes[text::fold(shown)];
    if (stored.size() - shown.size() > prefix.size()) {
        prefix = stored.substr(0, stored.size() - shown.size());
    }
}

OldPrefixes readOldPrefixes(std::string_view oldStored, const std::vector<std::string>& books) {
    OldPrefixes old;
    const TokenSpans spans(oldStored);
    for (std::size_t i = 0; i < spans.size(); ++i) {
        const std::string_view text = spans.text(i);
        switch (spans.kind(i)) {
            case TokenKind::Function:
                if (!isQualified(spans, i)) {
                    remember(old.functions, withoutFunctionPrefix(text), text);
                }
                break;
            case TokenKind::Name:
                remember(old.names, withoutNamePrefix(text), text);
                break;
            case TokenKind::SheetPrefix:
                old.sheets.emplace(shownBookPrefix(text, books), text);
                break;
            default:
                break;
        }
    }
    return old;
}

std::string functionPrefix(std::string_view shown, bool isParameter, const OldPrefixes& old) {
    const auto known = old.functions.find(text::fold(shown));
    if (known != old.functions.end()) return known->second;
    if (isParameter) return std::string(kParameter);
    const FunctionName* function = findFunction(shown);
    return function == nullptr ? std::string() : std::string(storedPrefixText(function->prefix));
}

std::string namePrefix(std::string_view shown, bool isParameter, const OldPrefixes& old) {
    if (isParameter) return std::string(kParameter);
    const auto known = old.names.find(text::fold(shown));
    return known == old.names.end() ? std::string() : known->second;
}

std::string storedSheetPrefix(const TokenSpans& spans, std::size_t token, const OldPrefixes& old,
                              const std::vector<std::string>& books) {
    const std::string_view shown = spans.text(token);
    const auto known = old.sheets.find(shown);
    if (known != old.sheets.end()) return known->second;
    const TokenKind next = spans.kind(token + 1);
    return storedBookPrefix(shown, books, next == TokenKind::Name || next == TokenKind::Function);
}

void storeImplicitIntersection(Rewriting& rewriting, std::size_t at) {
    const TokenSpans& spans = rewriting.spans();
    const std::size_t first = spans.skipSpace(at + 1);
    const std::size_t end = spans.termEnd(at + 1);
    if (end == TokenSpans::kNone || first >= spans.size()) return;
    if (isOnePair(spans, first, end)) {
        rewriting.replace(at, std::string(kSingle));
        return;
    }
    rewriting.replace(at, std::string(kSingle) + "(");
    rewriting.insertAfter(end - 1, ")");
}

void storeSpill(Rewriting& rewriting, std::size_t hash) {
    const TokenSpans& spans = rewriting.spans();
    const std::size_t first = spans.primaryStart(hash);
    if (first == TokenSpans::kNone) return;
    if (isOnePair(spans, first, hash)) {
        rewriting.insertBefore(first, kAnchorArray);
        rewriting.replace(hash, "");
    } else {
        rewriting.insertBefore(first, std::string(kAnchorArray) + "(");
        rewriting.replace(hash, ")");
    }
}

void storeWord(Rewriting& rewriting, std::size_t token, const ParameterScopes& scopes,
               const OldPrefixes& old) {
    const TokenSpans& spans = rewriting.spans();
    const std::string_view shown = spans.text(token);
    const bool qualified = isQualified(spans, token);
    if (qualified && spans.kind(token) == TokenKind::Function) return;
    // What has a prefix already was shown with it.
    if (text::lowerAscii(shown.substr(0, 3)) == "_xl") return;
    const bool isParameter = !qualified && scopes.isParameter(token);
    rewriting.insertBefore(token, spans.kind(token) == TokenKind::Function
                                      ? functionPrefix(shown, isParameter, old)
                                      : namePrefix(shown, isParameter, old));
}

void storeOperator(Rewriting& rewriting, std::size_t token) {
    if (rewriting.spans().isOperator(token, "@")) storeImplicitIntersection(rewriting, token);
    if (rewriting.spans().isOperator(token, "#")) storeSpill(rewriting, token);
}

void storeOptionalParameter(Rewriting& rewriting, std::size_t token) {
    const std::string_view name = rewriting.spans().text(token);
    rewriting.replace(token,
                      std::string(kOptionalParameter).append(name.substr(1, name.size() - 2)));
}

}  // namespace

std::string shownText(std::string_view stored, const std::vector<std::string>& books) {
    if (stored.find("_xl") == std::string_view::npos &&
        stored.find('[') == std::string_view::npos) {
        return std::string(stored);
    }
    Rewriting rewriting(stored);
    for (std::size_t i = 0; i < rewriting.spans().size(); ++i) show(rewriting, i, books);
    return rewriting.result();
}

std::string storedText(std::string_view shown, std::string_view oldStored,
                       const std::vector<std::string>& books) {
    // Not only quicker: what was not changed must not change, whatever its spelling.
    if (shownText(oldStored, books) == shown) return std::string(oldStored);
    const OldPrefixes old = readOldPrefixes(oldStored, books);
    Rewriting rewriting(shown);
    const TokenSpans& spans = rewriting.spans();
    const ParameterScopes scopes(spans);
    for (std::size_t i = 0; i < spans.size(); ++i) {
        switch (spans.kind(i)) {
            case TokenKind::Function:
            case TokenKind::Name:
                storeWord(rewriting, i, scopes, old);
                break;
            case TokenKind::SheetPrefix:
                rewriting.replace(i, storedSheetPrefix(spans, i, old, books));
                break;
            case TokenKind::Brackets:
                if (scopes.isOptionalDeclaration(i)) storeOptionalParameter(rewriting, i);
                break;
            case TokenKind::Operator:
                storeOperator(rewriting, i);
                break;
            default:
                break;
        }
    }
    return rewriting.result();
}

}  // namespace brindle::workbook::formula
