// SPDX-License-Identifier: MIT
// An expression that is put together in reverse Polish order and printed as formulas are
// written. Both take time and memory in proportion to the text, however deep it is nested.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace brindle::workbook::xls {

class TokenTree {
public:
    // Keeps its memory.
    void clear();

    // White space that belongs to what is added next: in front of its text, or of its opening
    // or closing parenthesis. False when it is longer than any formula.
    enum class Place : std::uint8_t { Before, Opening, Closing };
    bool addSpace(Place place, char space, std::size_t count);

    // An operand: its text is appended to what beginText() returns, then addOperand() is called.
    std::string& beginText();
    void addOperand();
    void addMissing();  // an argument that was left out

    // These take as many operands as they need, and are false when there are not enough or one
    // is missing that must not be.
    bool addPrefix(std::string_view symbol, int precedence);
    bool addPostfix(std::string_view symbol, int precedence);
    bool addInfix(std::string_view symbol, int precedence);
    bool addParentheses();
    bool addCall(std::string_view name, std::size_t arguments);
    // A call whose function is the operand in front of the arguments.
    bool addNamedCall(std::size_t arguments);

    // Operators of less precedence than this one get parentheses as arguments.
    static constexpr int kArgumentPrecedence = 20;

    // Bytes of texts so far.
    std::size_t size() const { return mTexts.size(); }
    // Appends the whole; false when it is not exactly one expression.
    bool print(std::string& out);

private:
    struct Span {
        std::uint32_t at = 0;
        std::uint32_t size = 0;
    };
    enum class Kind : std::uint8_t { Missing, Operand, Prefix, Postfix, Infix, Parentheses, Call };
    struct Node {
        Kind kind = Kind::Missing;
        bool isNamed = false;  // a call whose function is the first child
        std::uint8_t precedence = 0;
        Span text;  // operand, symbol or function name
        Span spaces[3];
        std::uint32_t firstChild = 0;  // 0: none; the first node is never used
        std::uint32_t nextSibling = 0;
    };
    struct Step {
        std::uint32_t node = 0;
        std::uint32_t child = 0;  // the next one to print
        std::uint32_t printed = 0;
        bool isWrapped = false;  // in parentheses that precedence needs
    };

    Node newNode(Kind kind);
    Span addText(std::string_view text);
    bool adopt(Node& parent, std::size_t count);
    bool addOperator(Kind kind, std::string_view symbol, int precedence, std::size_t operands);
    void push(const Node& node);

    void enter(std::string& out, std::uint32_t node, bool isWrapped);
    void between(std::string& out, const Step& step) const;
    void leave(std::string& out, const Step& step) const;
    bool needsWrap(const Node& parent, const Node& child, bool isLater) const;
    void append(std::string& out, Span span) const;
    void appendSpace(std::string& out, const Node& node, Place place) const;

    std::string mTexts;
    std::vector<Node> mNodes;
    std::vector<std::uint32_t> mStack;  // nodes without a parent so far
    std::vector<Step> mSteps;
    std::string mSpaces[3];  // of what comes next, by place
    std::size_t mTextBegin = 0;
};

}  // namespace brindle::workbook::xls
