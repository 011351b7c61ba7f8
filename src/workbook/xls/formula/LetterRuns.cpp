// SPDX-License-Identifier: MIT
#include "workbook/xls/formula/LetterRuns.h"

#include "base/LittleEndian.h"
#include "workbook/xls/formula/BuiltInFunctions.h"
#include "workbook/xls/formula/TokenReader.h"

namespace brindle::workbook::xls {

namespace {

constexpr std::size_t kShortWord = 3;

bool appendFunction(std::string& out, const Token& token, Version version) {
    const std::string_view id = token.operands.substr(token.id == token::kFuncVar ? 1 : 0);
    const std::uint16_t number = version <= Version::Biff3
                                     ? static_cast<std::uint8_t>(id[0])
                                     : getLittleEndian<std::uint16_t>(id.data());
    const BuiltInFunction* const function = builtInFunction(number, version);
    if (function == nullptr) return false;
    if (function->name.size() > kShortWord) {
        out += function->name;
        out += ' ';
    }
    return true;
}

}  // namespace

bool appendLetterRuns(std::string& out, std::string_view tokens, Version version) {
    TokenReader reader(tokens, version);
    for (Token token; reader.next(token);) {
        switch (token.id) {
            case token::kFunc:
            case token::kFuncVar:
                if (!appendFunction(out, token, version)) return false;
                break;
            case token::kBool:
                out += token.operands[0] != 0 ? "TRUE " : "FALSE ";
                break;
            // Letters of columns and of SUM are few.
            case token::kAttr:
            case token::kInt:
            case token::kNum:
            case token::kRef:
            case token::kArea:
            case token::kRefN:
            case token::kAreaN:
            case token::kMemFunc:
                break;
            default:
                if (token.id < token::kAdd || token.id > token::kMissArg) return false;
                break;
        }
    }
    return reader.isAtEnd();
}

}  // namespace brindle::workbook::xls
