// SPDX-License-Identifier: MIT
#include "workbook/formula/FormulaParser.h"

#include <utility>

#include "base/Error.h"

namespace brindle::workbook::formula {
namespace {

struct BinaryOperator {
    std::string_view symbol;
    Operator op = Operator::None;
    int level = 0;  // 1 is the loosest
};

constexpr BinaryOperator kBinaryOperators[] = {
    {"=", Operator::Equal, 1},       {"<>", Operator::NotEqual, 1},
    {"<", Operator::Less, 1},        {"<=", Operator::LessEqual, 1},
    {">", Operator::Greater, 1},     {">=", Operator::GreaterEqual, 1},
    {"&", Operator::Concatenate, 2}, {"+", Operator::Add, 3},
    {"-", Operator::Subtract, 3},    {"*", Operator::Multiply, 4},
    {"/", Operator::Divide, 4},      {"^", Operator::Power, 5},
};

const BinaryOperator* findBinaryOperator(std::string_view symbol) {
    for (const BinaryOperator& candidate : kBinaryOperators) {
        if (candidate.symbol == symbol) return &candidate;
    }
    return nullptr;
}

}  // namespace

Parser::Parser(std::string_view text) {
    std::string_view space;
    for (const Token& token : tokenize(text)) {
        if (token.kind == TokenKind::Space) {
            space = textOf(text, token);
            continue;
        }
        mItems.push_back({space, textOf(text, token), token.kind, token.begin, false});
        space = {};
    }
    mItems.push_back(
        {space, {}, TokenKind::Unknown, static_cast<std::uint32_t>(text.size()), true});
}

std::unique_ptr<Node> Parser::parse() {
    NodePtr root = parseBinary(1);
    if (!item().isEnd) fail();
    closeOff(*root);
    return root;
}

void Parser::fail() const {
    Error error = Error::refused("The formula you typed contains an error");
    error.atOffset(item().offset);
    throw error;
}

const Parser::Item& Parser::itemBehind() const {
    return mItems[mAt + 1 < mItems.size() ? mAt + 1 : mAt];
}

bool Parser::isAtOperator(std::string_view symbol) const {
    return isAt(TokenKind::Operator) && item().text == symbol;
}

void Parser::expect(TokenKind kind) const {
    if (!isAt(kind)) fail();
}

void Parser::requireReference(const Node& node) const {
    if (!mayBeReference(node)) fail();
}

// The white space in front of the current symbol belongs to the node that it closes off.
void Parser::closeOff(Node& node) const {
    node.after = item().space;
}

Parser::NodePtr Parser::take(NodeKind kind) {
    auto node = std::make_unique<Node>(kind, item().offset);
    node->before = item().space;
    node->text = item().text;
    ++mAt;
    return node;
}

Parser::NodePtr Parser::wrap(NodePtr op, Operator symbol, NodePtr operand) const {
    op->op = symbol;
    op->text.clear();
    op->children.push_back(std::move(operand));
    return op;
}

Parser::NodePtr Parser::parseBinary(int loosest) {
    NodePtr left = parsePercent();
    while (isAt(TokenKind::Operator)) {
        const BinaryOperator* found = findBinaryOperator(item().text);
        if (found == nullptr || found->level < loosest) break;
        NodePtr op = wrap(take(NodeKind::Binary), found->op, std::move(left));
        op->children.push_back(parseBinary(found->level + 1));
        left = std::move(op);
    }
    return left;
}

Parser::NodePtr Parser::parsePercent() {
    NodePtr node = parseSigned();
    while (isAtOperator("%")) {
        node = wrap(take(NodeKind::Postfix), Operator::Percent, std::move(node));
    }
    return node;
}

// Any number of signs, without recursion.
Parser::NodePtr Parser::parseSigned() {
    std::vector<std::pair<NodePtr, Operator>> signs;
    while (isAtOperator("-") || isAtOperator("+")) {
        const Operator sign = item().text == "-" ? Operator::Minus : Operator::Plus;
        signs.emplace_back(take(NodeKind::Unary), sign);
    }
    NodePtr node = parseUnion();
    for (; !signs.empty(); signs.pop_back()) {
        node = wrap(std::move(signs.back().first), signs.back().second, std::move(node));
    }
    return node;
}

Parser::NodePtr Parser::parseUnion() {
    NodePtr left = parseIntersection();
    while (mUnionAllowed && isAt(TokenKind::Comma)) {
        requireReference(*left);
        NodePtr op = wrap(take(NodeKind::Binary), Operator::Union, std::move(left));
        op->children.push_back(parseIntersection());
        requireReference(*op->children.back());
        left = std::move(op);
    }
    return left;
}

bool Parser::beginsReference() const {
    switch (item().kind) {
        case TokenKind::SheetPrefix:
        case TokenKind::Cell:
        case TokenKind::Columns:
        case TokenKind::Rows:
        case TokenKind::Name:
        case TokenKind::Function:
        case TokenKind::Brackets:
        case TokenKind::ErrorValue:
        case TokenKind::Open:
            return true;
        default:
            return isAtOperator("@");
    }
}

// White space between two references is an operator; between anything else it is none.
Parser::NodePtr Parser::parseIntersection() {
    NodePtr left = parseRange();
    while (!item().space.empty() && beginsReference()) {
        requireReference(*left);
        auto op = std::make_unique<Node>(NodeKind::Binary, item().offset);
        op = wrap(std::move(op), Operator::Intersection, std::move(left));
        op->text = item().space;
        mItems[mAt].space = {};
        op->children.push_back(parseRange());
        requireReference(*op->children.back());
        left = std::move(op);
    }
    return left;
}

Parser::NodePtr Parser::parseRange() {
    if (isAtOperator("@")) return parseRangeEnd();
    NodePtr left = parseTied();
    while (isAtOperator(":")) {
        requireReference(*left);
        NodePtr op = wrap(take(NodeKind::Binary), Operator::Range, std::move(left));
        op->children.push_back(parseRangeEnd());
        requireReference(*op->children.back());
        left = std::move(op);
    }
    return left;
}

// "@" takes the whole range behind it.
Parser::NodePtr Parser::parseRangeEnd() {
    if (!isAtOperator("@")) return parseTied();
    const Nesting nesting(*this, mDepth, kMaxDepth);
    NodePtr op = take(NodeKind::Unary);
    return wrap(std::move(op), Operator::ImplicitIntersection, parseRange());
}

// An operand with the "#" behind it.
Parser::NodePtr Parser::parseTied() {
    NodePtr node = parseOperand();
    while (isAtOperator("#") && item().space.empty()) {
        requireReference(*node);
        node = wrap(take(NodeKind::Postfix), Operator::Spill, std::move(node));
    }
    return node;
}

}  // namespace brindle::workbook::formula
