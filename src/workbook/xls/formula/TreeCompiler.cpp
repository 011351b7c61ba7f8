// SPDX-License-Identifier: MIT
#include "workbook/xls/formula/TreeCompiler.h"

#include <algorithm>
#include <optional>
#include <vector>

#include "base/Error.h"
#include "workbook/formula/CellReference.h"
#include "workbook/xls/formula/BuiltInFunctions.h"
#include "workbook/xls/formula/ConstantAreas.h"
#include "workbook/xls/formula/FutureFunctions.h"
#include "workbook/xls/formula/TokenReader.h"

namespace brindle::workbook::xls {
namespace {

using formula::Node;
using formula::NodeKind;
using formula::Operator;

constexpr std::size_t kMaxArguments = 30;
constexpr int kMaxFunctionDepth = 8;  // a function and seven levels within
constexpr std::uint16_t kIfFunction = 1;
constexpr std::uint16_t kSumFunction = 4;
constexpr std::uint16_t kChooseFunction = 100;

// A name such as RA1, which only the larger sheets of newer formats have as a cell.
bool isBeyondSheet(const Node& node) {
    constexpr std::int32_t kColumns = 256;
    return node.kind == NodeKind::Cell && node.first.column.index > kColumns &&
           !node.first.column.absolute && !node.first.row.absolute;
}

constexpr std::size_t longestTokens(Version version) {
    return version == Version::Biff2 ? 255 : 1800;
}

bool isOperator(const Node& node) {
    return node.kind == NodeKind::Binary || node.kind == NodeKind::Unary ||
           node.kind == NodeKind::Postfix;
}

bool isReferenceOperator(Operator op) {
    return op == Operator::Range || op == Operator::Intersection || op == Operator::Union;
}

// Of newer operators there is none.
std::uint8_t operatorToken(Operator op) {
    switch (op) {
        case Operator::Range:
            return token::kRange;
        case Operator::Intersection:
            return token::kIsect;
        case Operator::Union:
            return token::kUnion;
        case Operator::Plus:
            return token::kUplus;
        case Operator::Minus:
            return token::kUminus;
        case Operator::Percent:
            return token::kPercent;
        case Operator::Power:
            return token::kPower;
        case Operator::Multiply:
            return token::kMul;
        case Operator::Divide:
            return token::kDiv;
        case Operator::Add:
            return token::kAdd;
        case Operator::Subtract:
            return token::kSub;
        case Operator::Concatenate:
            return token::kConcat;
        case Operator::Equal:
            return token::kEqual;
        case Operator::NotEqual:
            return token::kNotEqual;
        case Operator::Less:
            return token::kLess;
        case Operator::LessEqual:
            return token::kLessEqual;
        case Operator::Greater:
            return token::kGreater;
        case Operator::GreaterEqual:
            return token::kGreaterEqual;
        default:
            refuseFormula();
    }
}

}  // namespace

CompiledFormula TreeCompiler::compile(const Node& root) {
    compileTree(root, {});
    if (mIsVolatile) mWriter.makeVolatile();
    CompiledFormula compiled = mWriter.take();
    if (compiled.tokens.size() > longestTokens(mWriter.version())) {
        throw Error::refused("Formula is too long");
    }
    return compiled;
}

// --- operators ---------------------------------------------------------------------------------

// Goes down to the first operand without recursion: chains of operators are as deep as they are
// long.
void TreeCompiler::compileTree(const Node& root, Context context) {
    struct Level {
        const Node* node = nullptr;
        Context operands;
        std::optional<std::size_t> memory;
    };
    std::vector<Level> levels;
    const Node* node = &root;
    for (; isOperator(*node); node = node->children.front().get()) {
        Level level{node, {}, {}};
        if (isReferenceOperator(node->op)) {
            if (!context.isInMemory) level.memory = beginMemory(*node, context);
            level.operands = {{TokenClass::Reference, false}, true};
        } else {
            level.operands = {wantedByOperator(context.wanted), false};
        }
        context = level.operands;
        levels.push_back(level);
    }
    compileOperand(*node, context);
    for (; !levels.empty(); levels.pop_back()) {
        const Level& level = levels.back();
        if (level.node->kind == NodeKind::Binary) {
            compileTree(*level.node->children.back(), level.operands);
        }
        compileOperator(*level.node);
        if (level.memory) mWriter.endMemory(*level.memory);
    }
}

std::size_t TreeCompiler::beginMemory(const Node& node, Context context) {
    const TokenClass tokenClass = wantedClass(TokenClass::Reference, context.wanted);
    const auto areas = constantAreas(node, mWriter);
    return areas ? mWriter.beginMemory(tokenClass, *areas) : mWriter.beginMemory(tokenClass);
}

void TreeCompiler::compileOperator(const Node& node) {
    mWriter.space(node.before, SpaceBefore::Token);
    if (node.op == Operator::Intersection) {
        // One blank is the operator.
        if (node.text.back() != ' ') refuseFormula();
        mWriter.space(std::string_view(node.text).substr(0, node.text.size() - 1),
                      SpaceBefore::Token);
    }
    mWriter.operation(operatorToken(node.op));
}

// --- operands ----------------------------------------------------------------------------------

void TreeCompiler::compileOperand(const Node& node, Context context) {
    if (node.kind == NodeKind::Parentheses) return compileParentheses(node, context);
    if (node.kind == NodeKind::Call) return compileCall(node, context.wanted);
    mWriter.space(node.before, SpaceBefore::Token);
    const TokenClass tokenClass = wantedClass(TokenClass::Reference, context.wanted);
    switch (node.kind) {
        case NodeKind::Number:
            return mWriter.number(node.number);
        case NodeKind::Text:
            return mWriter.text(node.text);
        case NodeKind::Boolean:
            return mWriter.boolean(node.number != 0);
        case NodeKind::Missing:
            return mWriter.operation(token::kMissArg);
        case NodeKind::Array:
            return mWriter.array(wantedClass(TokenClass::Array, context.wanted), node);
        case NodeKind::Name:
            return compileName(node, node.text, tokenClass);
        case NodeKind::ErrorValue:
            if (!node.prefix) return mWriter.error(node.text);
            return compileReference(node, tokenClass);
        case NodeKind::Cell:
        case NodeKind::Area:
        case NodeKind::Columns:
        case NodeKind::Rows:
            return compileReference(node, tokenClass);
        default:
            refuseFormula();
    }
}

void TreeCompiler::compileReference(const Node& node, TokenClass tokenClass) {
    if (isBeyondSheet(node)) {
        std::string name;
        formula::appendCell(name, node.first);
        return compileName(node, name, tokenClass);
    }
    std::optional<SheetLink> sheets;
    if (node.prefix) {
        sheets = mLinks.sheetLink(*node.prefix);
        if (!sheets) refuseFormula();
    }
    if (node.kind == NodeKind::ErrorValue) {
        if (node.text != "#REF!") refuseFormula();
        mWriter.deletedCell(tokenClass, *sheets);
    } else if (node.kind == NodeKind::Cell) {
        mWriter.cell(tokenClass, node.first, sheets ? &*sheets : nullptr);
    } else {
        mWriter.area(tokenClass, node, sheets ? &*sheets : nullptr);
    }
}

void TreeCompiler::compileName(const Node& node, std::string_view name, TokenClass tokenClass) {
    const auto link = node.prefix ? mLinks.name(*node.prefix, name) : mLinks.name(name, mSheet);
    if (!link) refuseFormula();
    mWriter.name(tokenClass, *link);
}

void TreeCompiler::compileParentheses(const Node& node, Context context) {
    const Node& inner = *node.children.front();
    compileTree(inner, context);
    mWriter.space(node.before, SpaceBefore::Open);
    mWriter.space(inner.after, SpaceBefore::Close);
    mWriter.operation(token::kParen);
}

// --- functions ---------------------------------------------------------------------------------

void TreeCompiler::compileCall(const Node& node, Wanted wanted) {
    if (node.children.size() > kMaxArguments || mFunctionDepth == kMaxFunctionDepth) {
        refuseFormula();
    }
    ++mFunctionDepth;
    const BuiltInFunction* const builtIn =
        node.prefix ? nullptr : builtInFunction(node.text, mWriter.version());
    if (builtIn != nullptr)
        compileBuiltIn(node, *builtIn, wanted);
    else
        compileUserFunction(node, wanted);
    --mFunctionDepth;
}

void TreeCompiler::compileArgument(const Node& node, std::size_t argument, std::string_view classes,
                                   Wanted wanted) {
    const char letter = classes[std::min(argument, classes.size() - 1)];
    compileTree(*node.children[argument],
                {wantedByParameter(tokenClass(letter), wanted, mUse), false});
}

// In front of the name and of the closing parenthesis.
void TreeCompiler::compileSpaceOfCall(const Node& node) {
    mWriter.space(node.before, SpaceBefore::Token);
    mWriter.space(node.children.empty() ? node.inside : node.children.back()->after,
                  SpaceBefore::Close);
}

void TreeCompiler::compileBuiltIn(const Node& node, const BuiltInFunction& function,
                                  Wanted wanted) {
    const std::size_t count = node.children.size();
    if (count < function.minArguments || count > function.maxArguments) refuseFormula();
    mIsVolatile = mIsVolatile || function.isVolatile;
    const std::string_view classes = function.parameterClasses;
    std::vector<std::size_t> skips;
    if (function.id == kIfFunction) {
        skips = compileIf(node, classes, wanted);
    } else if (function.id == kChooseFunction) {
        skips = compileChoose(node, classes, wanted);
    } else {
        for (std::size_t i = 0; i < count; ++i) compileArgument(node, i, classes, wanted);
        compileSpaceOfCall(node);
    }
    if (function.id == kSumFunction && count == 1)
        mWriter.sum();
    else
        mWriter.function(wantedClass(tokenClass(function.returnClass), wanted), function, count);
    for (const std::size_t skip : skips) mWriter.endJump(skip);
}

// Only the part that the condition decides for is calculated: jumps lead over the other one and
// behind the function. White space of the function stands in front of the last jump.
std::vector<std::size_t> TreeCompiler::compileIf(const Node& node, std::string_view classes,
                                                 Wanted wanted) {
    const bool hasElse = node.children.size() > 2;
    std::vector<std::size_t> skips;
    compileArgument(node, 0, classes, wanted);
    const std::size_t whenFalse = mWriter.beginJump(attribute::kIf);
    compileArgument(node, 1, classes, wanted);
    if (!hasElse) compileSpaceOfCall(node);
    skips.push_back(mWriter.beginJump(attribute::kSkip));
    mWriter.endJump(whenFalse);
    if (!hasElse) return skips;
    compileArgument(node, 2, classes, wanted);
    compileSpaceOfCall(node);
    skips.push_back(mWriter.beginJump(attribute::kSkip));
    return skips;
}

std::vector<std::size_t> TreeCompiler::compileChoose(const Node& node, std::string_view classes,
                                                     Wanted wanted) {
    const std::size_t count = node.children.size() - 1;
    std::vector<std::size_t> skips;
    compileArgument(node, 0, classes, wanted);
    const std::size_t choices = mWriter.beginChoices(count);
    for (std::size_t i = 0; i < count; ++i) {
        mWriter.beginChoice(choices, i);
        compileArgument(node, i + 1, classes, wanted);
        if (i + 1 == count) compileSpaceOfCall(node);
        skips.push_back(mWriter.beginJump(attribute::kSkip));
    }
    mWriter.beginChoice(choices, count);
    return skips;
}

// The name is the first argument.
void TreeCompiler::compileUserFunction(const Node& node, Wanted wanted) {
    const auto link =
        node.prefix ? mLinks.name(*node.prefix, node.text) : mLinks.function(node.text, mSheet);
    if (!link) refuseFormula();
    const std::string_view classes = node.prefix ? "R" : futureParameterClasses(node.text);
    mWriter.name(TokenClass::Reference, *link);
    for (std::size_t i = 0; i < node.children.size(); ++i)
        compileArgument(node, i, classes, wanted);
    compileSpaceOfCall(node);
    mWriter.userFunction(wantedClass(TokenClass::Reference, wanted), node.children.size() + 1);
}

}  // namespace brindle::workbook::xls
