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

Wanted wantedByOperator(Wanted wanted) {
    if (wanted.what == TokenClass::Reference) wanted.what = TokenClass::Value;
    return wanted;
}

TokenClass operandClass(Wanted wanted) {
    if (wanted.what == TokenClass::Value && wanted.forced) return TokenClass::Array;
    return wanted.what;
}

FunctionClass functionClass(TokenClass returned, Wanted wanted) {
    if (wanted.forced) {
        switch (returned) {
            case TokenClass::Reference:
                return {wanted.what == TokenClass::Reference ? returned : TokenClass::Array, false};
            case TokenClass::Array:
                return {TokenClass::Array, false};
            default:
                return {TokenClass::Array, true};
        }
    }
    if (returned == wanted.what || wanted.what == TokenClass::Reference) return {returned, false};
    if (wanted.what == TokenClass::Value) return {TokenClass::Value, false};
    return {returned == TokenClass::Reference ? returned : TokenClass::Array,
            returned == TokenClass::Value};
}

}  // namespace brindle::workbook::xls
