// SPDX-License-Identifier: MIT
// The tokens of a formula from its syntax tree.
#pragma once

#include <cstddef>
#include <string_view>
#include <vector>

#include "workbook/formula/FormulaTree.h"
#include "workbook/xls/biff/StringCodec.h"
#include "workbook/xls/formula/FormulaTokens.h"
#include "workbook/xls/formula/LinkTable.h"
#include "workbook/xls/formula/TokenClasses.h"
#include "workbook/xls/formula/TokenWriter.h"

namespace brindle::workbook::xls {

// Compiles one formula. White space that has no token is left out: between a function's name and
// its parenthesis, in front of commas, in array constants, at the end.
class TreeCompiler {
public:
    // Borrows both. `sheet` is the sheet of the formula, from 0.
    TreeCompiler(const StringCodec& strings, LinkTable& links, std::size_t sheet, FormulaUse use)
        : mWriter(strings), mLinks(links), mSheet(sheet), mUse(use) {}

    // Throws Error 1004 for what the format cannot hold.
    CompiledFormula compile(const formula::Node& root);

private:
    using Node = formula::Node;

    // `isInMemory`: within a reference that a memory token has announced.
    struct Context {
        Wanted wanted;
        bool isInMemory = false;
    };

    void compileTree(const Node& root, Context context);
    std::size_t beginMemory(const Node& node, Context context);
    void compileOperator(const Node& node);
    void compileOperand(const Node& node, Context context);
    void compileReference(const Node& node, TokenClass tokenClass);
    void compileName(const Node& node, std::string_view name, TokenClass tokenClass);
    void compileParentheses(const Node& node, Context context);

    void compileCall(const Node& node, Wanted wanted);
    void compileBuiltIn(const Node& node, const BuiltInFunction& function, Wanted wanted);
    // These return the jumps that lead behind the function.
    std::vector<std::size_t> compileIf(const Node& node, std::string_view classes, Wanted wanted);
    std::vector<std::size_t> compileChoose(const Node& node, std::string_view classes,
                                           Wanted wanted);
    void compileUserFunction(const Node& node, Wanted wanted);
    void compileArgument(const Node& node, std::size_t argument, std::string_view classes,
                         Wanted wanted);
    void compileSpaceOfCall(const Node& node);

    TokenWriter mWriter;
    LinkTable& mLinks;
    std::size_t mSheet;
    FormulaUse mUse;
    int mFunctionDepth = 0;
    bool mIsVolatile = false;
};

}  // namespace brindle::workbook::xls
