// SPDX-License-Identifier: MIT
// The operand half of the parser: literals, references, names, calls.
#include <charconv>
#include <utility>

#include "base/Error.h"
#include "base/Text.h"
#include "workbook/formula/FormulaParser.h"
#include "workbook/formula/FunctionNames.h"
#include "workbook/formula/StructuredReference.h"

namespace brindle::workbook::formula {
namespace {

constexpr std::size_t kMaxTextUnits = 255;
constexpr std::size_t kMaxArguments = 255;

std::string withoutQuotes(std::string_view literal) {
    std::string text;
    for (std::size_t i = 1; i + 1 < literal.size(); ++i) {
        text += literal[i];
        if (literal[i] == '"') ++i;
    }
    return text;
}

// False beyond the range of numbers; what is too small is 0.
bool readNumber(std::string_view text, double& value) {
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error == std::errc::result_out_of_range) {
        value = 0;
        return text::lowerAscii(text).find("e-") != std::string::npos;
    }
    return error == std::errc() && end == text.data() + text.size();
}

bool isBoolean(std::string_view text) {
    return text::equals(text, "TRUE", CaseMode::Folded) ||
           text::equals(text, "FALSE", CaseMode::Folded);
}

void makeBoolean(Node& node) {
    node.kind = NodeKind::Boolean;
    node.text = text::upperAscii(node.text);
    node.number = node.text == "TRUE" ? 1 : 0;
}

}  // namespace

Parser::NodePtr Parser::parseOperand() {
    if (item().isEnd) fail();
    switch (item().kind) {
        case TokenKind::Number:
            return parseNumber();
        case TokenKind::Text:
            return parseText();
        case TokenKind::Open:
            return parseParentheses();
        case TokenKind::OpenArray:
            return parseArray();
        case TokenKind::SheetPrefix:
            return parsePrefixed();
        default:
            return parseReference();
    }
}

Parser::NodePtr Parser::parseParentheses() {
    const Nesting nesting(*this, mDepth, kMaxDepth);
    NodePtr node = take(NodeKind::Parentheses);
    node->text.clear();
    const bool outerUnion = std::exchange(mUnionAllowed, true);
    node->children.push_back(parseBinary(1));
    mUnionAllowed = outerUnion;
    expect(TokenKind::Close);
    closeOff(*node->children.back());
    ++mAt;
    return node;
}

Parser::NodePtr Parser::parseNumber() {
    double value = 0;
    if (!readNumber(item().text, value)) fail();
    NodePtr node = take(NodeKind::Number);
    node->number = value;
    return node;
}

Parser::NodePtr Parser::parseText() {
    std::string text = withoutQuotes(item().text);
    if (text::lengthUtf16(text) > kMaxTextUnits) {
        Error error = Error::refused("Text values in formulas are limited to 255 characters");
        error.atOffset(item().offset);
        throw error;
    }
    NodePtr node = take(NodeKind::Text);
    node->text = std::move(text);
    return node;
}

Parser::NodePtr Parser::parseArray() {
    NodePtr array = take(NodeKind::Array);
    array->text.clear();
    std::uint32_t inRow = 0;
    for (bool more = true; more;) {
        array->children.push_back(parseArrayElement());
        closeOff(*array->children.back());
        ++inRow;
        if (isAt(TokenKind::Comma)) {
            ++mAt;
            continue;
        }
        if (array->columns == 0) array->columns = inRow;
        if (inRow != array->columns) fail();
        inRow = 0;
        more = isAt(TokenKind::Semicolon);
        if (!more) expect(TokenKind::CloseArray);
        ++mAt;
    }
    return array;
}

// A literal; numbers may carry a sign.
Parser::NodePtr Parser::parseArrayElement() {
    if (isAt(TokenKind::Text)) return parseText();
    if (isAt(TokenKind::ErrorValue)) return parseReference();
    if (isAt(TokenKind::Name) && isBoolean(item().text)) {
        NodePtr node = take(NodeKind::Boolean);
        makeBoolean(*node);
        return node;
    }
    std::string_view sign;
    const Item start = item();
    if (isAtOperator("-") || isAtOperator("+")) {
        sign = start.text;
        ++mAt;
        if (!item().space.empty()) fail();
    }
    expect(TokenKind::Number);
    NodePtr node = parseNumber();
    if (sign.empty()) return node;
    node->before = start.space;
    node->offset = start.offset;
    node->text.insert(0, sign);
    if (sign == "-") node->number = -node->number;
    return node;
}

Parser::NodePtr Parser::parsePrefixed() {
    const Item start = item();
    SheetPrefix prefix = parseSheetPrefix(start.text);
    if (prefix.book.empty() && prefix.firstSheet.empty()) fail();
    ++mAt;
    if (item().isEnd || !item().space.empty() || isAt(TokenKind::Brackets)) fail();
    NodePtr node = parseReference(&prefix);
    node->before = start.space;
    node->offset = start.offset;
    return node;
}

// `prefix` is null in front of a reference without one; it is moved into the node.
Parser::NodePtr Parser::parseReference(SheetPrefix* prefix) {
    NodePtr node;
    switch (item().kind) {
        case TokenKind::ErrorValue:
            node = take(NodeKind::ErrorValue);
            node->text = text::upperAscii(node->text);
            break;
        case TokenKind::Cell:
            node = parseCell();
            break;
        case TokenKind::Columns:
            node = parseSpan(NodeKind::Columns);
            break;
        case TokenKind::Rows:
            node = parseSpan(NodeKind::Rows);
            break;
        case TokenKind::Name:
        case TokenKind::Function:
        case TokenKind::Brackets:
            return parseWord(prefix);
        default:
            fail();
    }
    if (prefix != nullptr) node->prefix = std::move(*prefix);
    return node;
}

// A cell, or an area when the second cell follows without white space.
Parser::NodePtr Parser::parseCell() {
    NodePtr node = take(NodeKind::Cell);
    scanCell(node->text, 0, node->first);
    node->text.clear();
    const bool tied = isAtOperator(":") && item().space.empty() &&
                      itemBehind().kind == TokenKind::Cell && itemBehind().space.empty();
    if (!tied) return node;
    const Item& behind = mItems[mAt + 2];
    const bool spills = behind.kind == TokenKind::Operator && behind.text == "#";
    if (spills) return node;
    ++mAt;
    node->kind = NodeKind::Area;
    scanCell(item().text, 0, node->last);
    ++mAt;
    return node;
}

// Whole columns or rows, which the lexer cuts as one token.
Parser::NodePtr Parser::parseSpan(NodeKind kind) {
    NodePtr node = take(kind);
    const std::size_t second = node->text.find(':') + 1;
    if (kind == NodeKind::Columns) {
        scanColumn(node->text, 0, node->first.column);
        scanColumn(node->text, second, node->last.column);
    } else {
        scanRow(node->text, 0, node->first.row);
        scanRow(node->text, second, node->last.row);
    }
    node->text.clear();
    return node;
}

// Names, booleans, structured references, calls.
Parser::NodePtr Parser::parseWord(SheetPrefix* prefix) {
    if (isAt(TokenKind::Brackets)) {
        auto node = std::make_unique<Node>(NodeKind::Structured, item().offset);
        node->before = item().space;
        return parseStructured(std::move(node));
    }
    const bool isFunction = isAt(TokenKind::Function);
    NodePtr node = take(NodeKind::Name);
    if (prefix != nullptr) node->prefix = std::move(*prefix);
    if (isFunction) return parseCall(std::move(node));
    if (isAt(TokenKind::Brackets) && item().space.empty()) return parseStructured(std::move(node));
    if (prefix != nullptr) return node;
    // White space between a function and its parenthesis: with an unknown name it is an
    // intersection of that name.
    if (isAt(TokenKind::Open) && findFunction(node->text) != nullptr) {
        return parseCall(std::move(node));
    }
    if (isBoolean(node->text)) makeBoolean(*node);
    return node;
}

Parser::NodePtr Parser::parseStructured(NodePtr node) {
    node->kind = NodeKind::Structured;
    node->structured = parseStructuredReference(item().text);
    if (!node->structured) fail();
    ++mAt;
    return node;
}

Parser::NodePtr Parser::parseCall(NodePtr node) {
    node->kind = NodeKind::Call;
    if (!node->prefix) node->text = usualFunctionName(node->text);
    node->gap = item().space;
    parseArguments(*node);
    // What a call returns can be called in its turn: LAMBDA(x,x+1)(5)
    while (isAt(TokenKind::Open) && item().space.empty()) {
        auto outer = std::make_unique<Node>(NodeKind::CallResult, item().offset);
        outer->children.push_back(std::move(node));
        parseArguments(*outer);
        node = std::move(outer);
    }
    return node;
}

void Parser::parseArguments(Node& call) {
    const Nesting nesting(*this, mDepth, kMaxDepth);
    const Nesting functions(*this, mFunctionDepth, kMaxFunctionDepth);
    const bool outerUnion = std::exchange(mUnionAllowed, false);
    const std::size_t own = call.children.size();
    ++mAt;
    if (isAt(TokenKind::Close)) {
        call.inside = item().space;
    } else {
        call.children.push_back(parseArgument());
        while (isAt(TokenKind::Comma)) {
            ++mAt;
            call.children.push_back(parseArgument());
        }
    }
    expect(TokenKind::Close);
    if (call.children.size() - own > kMaxArguments) fail();
    ++mAt;
    mUnionAllowed = outerUnion;
}

Parser::NodePtr Parser::parseArgument() {
    NodePtr argument = isAt(TokenKind::Comma) || isAt(TokenKind::Close)
                           ? std::make_unique<Node>(NodeKind::Missing, item().offset)
                           : parseBinary(1);
    closeOff(*argument);
    return argument;
}

}  // namespace brindle::workbook::formula
