// SPDX-License-Identifier: MIT
#include "workbook/xls/formula/TokenTree.h"

namespace brindle::workbook::xls {
namespace {

constexpr std::size_t kMostSpace = 8192;

}  // namespace

void TokenTree::clear() {
    mTexts.clear();
    mNodes.assign(1, Node());
    mStack.clear();
    for (std::string& space : mSpaces) space.clear();
}

// --- building

bool TokenTree::addSpace(Place place, char space, std::size_t count) {
    std::string& spaces = mSpaces[static_cast<std::size_t>(place)];
    spaces.append(count, space);
    return spaces.size() <= kMostSpace;
}

TokenTree::Span TokenTree::addText(std::string_view text) {
    const Span span{static_cast<std::uint32_t>(mTexts.size()),
                    static_cast<std::uint32_t>(text.size())};
    mTexts += text;
    return span;
}

TokenTree::Node TokenTree::newNode(Kind kind) {
    Node node;
    node.kind = kind;
    for (std::size_t i = 0; i < std::size(mSpaces); ++i) {
        if (mSpaces[i].empty()) continue;
        node.spaces[i] = addText(mSpaces[i]);
        mSpaces[i].clear();
    }
    return node;
}

void TokenTree::push(const Node& node) {
    mStack.push_back(static_cast<std::uint32_t>(mNodes.size()));
    mNodes.push_back(node);
}

std::string& TokenTree::beginText() {
    mTextBegin = mTexts.size();
    return mTexts;
}

void TokenTree::addOperand() {
    const Span text{static_cast<std::uint32_t>(mTextBegin),
                    static_cast<std::uint32_t>(mTexts.size() - mTextBegin)};
    Node node = newNode(Kind::Operand);
    node.text = text;
    push(node);
}

void TokenTree::addMissing() {
    push(newNode(Kind::Missing));
}

bool TokenTree::adopt(Node& parent, std::size_t count) {
    if (count > mStack.size()) return false;
    std::uint32_t next = 0;
    for (std::size_t i = 0; i < count; ++i) {
        const std::uint32_t child = mStack.back();
        mStack.pop_back();
        if (mNodes[child].kind == Kind::Missing && parent.kind != Kind::Call) return false;
        mNodes[child].nextSibling = next;
        next = child;
    }
    parent.firstChild = next;
    return true;
}

bool TokenTree::addOperator(Kind kind, std::string_view symbol, int precedence,
                            std::size_t operands) {
    Node node = newNode(kind);
    node.precedence = static_cast<std::uint8_t>(precedence);
    node.text = addText(symbol);
    if (!adopt(node, operands)) return false;
    push(node);
    return true;
}

bool TokenTree::addPrefix(std::string_view symbol, int precedence) {
    return addOperator(Kind::Prefix, symbol, precedence, 1);
}

bool TokenTree::addPostfix(std::string_view symbol, int precedence) {
    return addOperator(Kind::Postfix, symbol, precedence, 1);
}

bool TokenTree::addInfix(std::string_view symbol, int precedence) {
    return addOperator(Kind::Infix, symbol, precedence, 2);
}

bool TokenTree::addParentheses() {
    return addOperator(Kind::Parentheses, {}, 0, 1);
}

bool TokenTree::addCall(std::string_view name, std::size_t arguments) {
    return addOperator(Kind::Call, name, 0, arguments);
}

bool TokenTree::addNamedCall(std::size_t arguments) {
    if (arguments >= mStack.size()) return false;
    if (mNodes[mStack[mStack.size() - arguments - 1]].kind != Kind::Operand) return false;
    if (!addOperator(Kind::Call, {}, 0, arguments + 1)) return false;
    mNodes.back().isNamed = true;
    return true;
}

// --- printing

bool TokenTree::print(std::string& out) {
    if (mStack.size() != 1 || mNodes[mStack.front()].kind == Kind::Missing) return false;
    mSteps.clear();
    enter(out, mStack.front(), false);
    while (!mSteps.empty()) {
        Step& step = mSteps.back();
        if (step.child == 0) {
            leave(out, step);
            mSteps.pop_back();
            continue;
        }
        between(out, step);
        const std::uint32_t child = step.child;
        const bool isWrapped = needsWrap(mNodes[step.node], mNodes[child], step.printed > 0);
        step.child = mNodes[child].nextSibling;
        ++step.printed;
        enter(out, child, isWrapped);  // may move the step
    }
    // White space at the end belongs to no token.
    out += mSpaces[static_cast<std::size_t>(Place::Before)];
    return true;
}

void TokenTree::append(std::string& out, Span span) const {
    out.append(mTexts, span.at, span.size);
}

void TokenTree::appendSpace(std::string& out, const Node& node, Place place) const {
    append(out, node.spaces[static_cast<std::size_t>(place)]);
}

bool TokenTree::needsWrap(const Node& parent, const Node& child, bool isLater) const {
    if (child.precedence == 0) return false;
    switch (parent.kind) {
        case Kind::Call:
            return child.precedence == kArgumentPrecedence;
        case Kind::Prefix:
            // "-2%" is one number less both ways.
            return child.kind == Kind::Infix && child.precedence < parent.precedence;
        case Kind::Postfix:
            return child.precedence < parent.precedence;
        case Kind::Infix:
            return child.precedence < parent.precedence ||
                   (isLater && child.precedence == parent.precedence);
        default:
            return false;
    }
}

// What stands in front of the first child.
void TokenTree::enter(std::string& out, std::uint32_t index, bool isWrapped) {
    const Node& node = mNodes[index];
    if (isWrapped) out += '(';
    mSteps.push_back({index, node.firstChild, 0, isWrapped});
    if (node.kind == Kind::Postfix || node.kind == Kind::Infix) return;
    appendSpace(out, node, Place::Before);
    append(out, node.text);
    if (node.kind == Kind::Parentheses || (node.kind == Kind::Call && !node.isNamed)) {
        appendSpace(out, node, Place::Opening);
        out += '(';
    }
}

// What stands in front of any child, the first one included.
void TokenTree::between(std::string& out, const Step& step) const {
    const Node& node = mNodes[step.node];
    if (node.kind == Kind::Infix && step.printed == 1) {
        appendSpace(out, node, Place::Before);
        append(out, node.text);
    } else if (node.kind == Kind::Call && step.printed > 0) {
        const bool isFirstArgument = node.isNamed && step.printed == 1;
        if (isFirstArgument) appendSpace(out, node, Place::Opening);
        out += isFirstArgument ? '(' : ',';
    }
}

// What stands behind the last child.
void TokenTree::leave(std::string& out, const Step& step) const {
    const Node& node = mNodes[step.node];
    if (node.kind == Kind::Postfix) {
        appendSpace(out, node, Place::Before);
        append(out, node.text);
    } else if (node.kind == Kind::Parentheses || node.kind == Kind::Call) {
        if (node.isNamed && step.printed == 1) {
            appendSpace(out, node, Place::Opening);
            out += '(';
        }
        appendSpace(out, node, Place::Closing);
        out += ')';
    }
    if (step.isWrapped) out += ')';
}

}  // namespace brindle::workbook::xls
