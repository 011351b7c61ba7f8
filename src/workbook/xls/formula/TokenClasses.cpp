// SPDX-License-Identifier: MIT
#include "workbook/xls/formula/TokenClasses.h"

namespace brindle::workbook::xls {

TokenClass tokenClass(char letter) {
    switch (letter) {
        case 'R':
            return TokenClass::Reference;
        case 'A':
            return TokenClass::Array;
        default:
            return TokenClass::Value;
    }
}

Wanted wantedByParameter(TokenClass parameter, Wanted wanted, FormulaUse use) {
    const bool forces = parameter == TokenClass::Array ||
                        (parameter == TokenClass::Reference && use == FormulaUse::Array);
    return {parameter, wanted.forced || forces};
}

Wanted wantedByOperator(Wanted wanted) {
    if (wanted.what == TokenClass::Reference) wanted.what = TokenClass::Value;
    return wanted;
}

TokenClass wantedClass(TokenClass own, Wanted wanted) {
    const TokenClass result = wanted.what == TokenClass::Reference ? own : wanted.what;
    return result == TokenClass::Value && wanted.forced ? TokenClass::Array : result;
}

}  // namespace brindle::workbook::xls
