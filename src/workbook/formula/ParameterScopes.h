// SPDX-License-Identifier: MIT
// Which words of a formula are names that LET or LAMBDA declare.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "workbook/formula/TokenSpans.h"

namespace brindle::workbook::formula {

class ParameterScopes {
public:
    explicit ParameterScopes(const TokenSpans& spans);

    // Whether the name or function at a token is declared around it.
    bool isParameter(std::size_t token) const;
    // Whether a token is "[y]", the declaration of a parameter that a caller may leave out.
    bool isOptionalDeclaration(std::size_t token) const;

private:
    // One call of LET or LAMBDA: the names that it declares, for the tokens inside it.
    struct Scope {
        std::size_t begin = 0;
        std::size_t end = 0;
        std::vector<std::string> names;  // folded
    };
    void addCall(std::size_t function, bool isLambda);
    void declare(Scope& scope, std::size_t first, std::size_t end, bool isLambda);

    const TokenSpans& mSpans;
    std::vector<Scope> mScopes;
    std::vector<std::size_t> mOptional;  // ascending
};

}  // namespace brindle::workbook::formula
