// SPDX-License-Identifier: MIT
#include "workbook/formula/ParameterScopes.h"

#include <algorithm>

#include "base/Text.h"
#include "workbook/formula/FunctionNames.h"

namespace brindle::workbook::formula {
namespace {

bool isCallOf(const TokenSpans& spans, std::size_t token, std::string_view name) {
    if (spans.kind(token) != TokenKind::Function) return false;
    std::string_view written = spans.text(token);
    written.remove_prefix(functionPrefixLength(written));
    return text::equals(written, name, CaseMode::Folded);
}

}  // namespace

ParameterScopes::ParameterScopes(const TokenSpans& spans) : mSpans(spans) {
    for (std::size_t i = 0; i < spans.size(); ++i) {
        const bool isLambda = isCallOf(spans, i, "LAMBDA");
        if (isLambda || isCallOf(spans, i, "LET")) addCall(i, isLambda);
    }
    std::sort(mOptional.begin(), mOptional.end());
}

// The last argument is the result; of the others LAMBDA declares each, LET every second.
void ParameterScopes::addCall(std::size_t function, bool isLambda) {
    const std::size_t close = mSpans.match(function + 1);
    if (close == TokenSpans::kNone) return;
    Scope scope{function, close, {}};
    std::size_t first = function + 2;
    std::size_t argument = 0;
    for (std::size_t i = first; i < close; ++i) {
        if (mSpans.match(i) != TokenSpans::kNone) i = mSpans.match(i);
        if (mSpans.kind(i) != TokenKind::Comma) continue;
        if (isLambda || argument % 2 == 0) declare(scope, first, i, isLambda);
        first = i + 1;
        ++argument;
    }
    if (!scope.names.empty()) mScopes.push_back(std::move(scope));
}

void ParameterScopes::declare(Scope& scope, std::size_t first, std::size_t end, bool isLambda) {
    const std::size_t token = mSpans.skipSpace(first);
    if (mSpans.skipSpace(token + 1) != end) return;
    std::string_view name = mSpans.text(token);
    if (isLambda && mSpans.kind(token) == TokenKind::Brackets) {
        mOptional.push_back(token);
        name = name.substr(1, name.size() - 2);
    } else if (mSpans.kind(token) != TokenKind::Name) {
        return;
    }
    scope.names.push_back(text::fold(name));
}

bool ParameterScopes::isParameter(std::size_t token) const {
    if (mScopes.empty()) return false;
    const std::string name = text::fold(mSpans.text(token));
    return std::any_of(mScopes.begin(), mScopes.end(), [&](const Scope& scope) {
        return scope.begin < token && token < scope.end &&
               std::find(scope.names.begin(), scope.names.end(), name) != scope.names.end();
    });
}

bool ParameterScopes::isOptionalDeclaration(std::size_t token) const {
    return std::binary_search(mOptional.begin(), mOptional.end(), token);
}

}  // namespace brindle::workbook::formula
