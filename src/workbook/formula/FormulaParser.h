// SPDX-License-Identifier: MIT
// Recursive descent over the tokens of a formula. Precedence from loose to tight: comparison,
// &, + -, * /, ^, %, signs, union, intersection, @, range, #. All binary operators associate
// to the left, and a sign binds tighter than ^ and %: -2^2 is 4.
#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "workbook/formula/FormulaLexer.h"
#include "workbook/formula/FormulaTree.h"

namespace brindle::workbook::formula {

class Parser {
public:
    explicit Parser(std::string_view text);

    // Throws Error 1004 when the text as a whole is not a formula.
    std::unique_ptr<Node> parse();

private:
    using NodePtr = std::unique_ptr<Node>;

    // A token and the white space in front of it; the last one is the end of the text.
    struct Item {
        std::string_view space;
        std::string_view text;
        TokenKind kind = TokenKind::Unknown;
        std::uint32_t offset = 0;
        bool isEnd = false;
    };
    // One more level while it lives; fails when that is one too many.
    struct Nesting {
        Nesting(const Parser& parser, int& level, int limit) : mLevel(++level) {
            if (level > limit) {
                --level;
                parser.fail();
            }
        }
        ~Nesting() { --mLevel; }
        Nesting(const Nesting&) = delete;
        Nesting& operator=(const Nesting&) = delete;
        int& mLevel;
    };
    // Levels of calls are the application's limit; the other one bounds our recursion.
    static constexpr int kMaxFunctionDepth = 64;
    static constexpr int kMaxDepth = 256;

    // Operators, loose to tight.
    NodePtr parseBinary(int loosest);
    NodePtr parsePercent();
    NodePtr parseSigned();
    NodePtr parseUnion();
    NodePtr parseIntersection();
    NodePtr parseRange();
    NodePtr parseRangeEnd();
    NodePtr parseTied();

    // Operands.
    NodePtr parseOperand();
    NodePtr parseParentheses();
    NodePtr parseNumber();
    NodePtr parseText();
    NodePtr parseArray();
    NodePtr parseArrayElement();
    NodePtr parsePrefixed();
    NodePtr parseReference(SheetPrefix* prefix = nullptr);
    NodePtr parseCell();
    NodePtr parseSpan(NodeKind kind);
    NodePtr parseWord(SheetPrefix* prefix);
    NodePtr parseStructured(NodePtr node);
    NodePtr parseCall(NodePtr node);
    void parseArguments(Node& call);
    NodePtr parseArgument();

    const Item& item() const { return mItems[mAt]; }
    const Item& itemBehind() const;
    bool isAt(TokenKind kind) const { return item().kind == kind && !item().isEnd; }
    bool isAtOperator(std::string_view symbol) const;
    bool beginsReference() const;
    // A node for the current token, which is passed over.
    NodePtr take(NodeKind kind);
    NodePtr wrap(NodePtr op, Operator symbol, NodePtr operand) const;
    void expect(TokenKind kind) const;
    void requireReference(const Node& node) const;
    void closeOff(Node& node) const;
    [[noreturn]] void fail() const;

    std::vector<Item> mItems;
    std::size_t mAt = 0;
    int mDepth = 0;
    int mFunctionDepth = 0;
    bool mUnionAllowed = false;  // directly inside parentheses that are not a call's
};

}  // namespace brindle::workbook::formula
