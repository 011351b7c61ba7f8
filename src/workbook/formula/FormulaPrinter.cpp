// SPDX-License-Identifier: MIT
#include <utility>

#include "workbook/formula/Formula.h"
#include "workbook/formula/FormulaTree.h"

namespace brindle::workbook::formula {
namespace {

// Works on a list of things still to print instead of recursing: operator chains make trees
// that are thousands of levels deep.
class Printer {
public:
    std::string print(const Node& root) {
        push(root);
        while (!mPending.empty()) {
            const Pending next = mPending.back();
            mPending.pop_back();
            if (next.node != nullptr)
                expand(*next.node);
            else
                mOut += next.text;
        }
        return std::move(mOut);
    }

private:
    struct Pending {
        const Node* node = nullptr;
        std::string_view text;  // when there is no node
    };

    // What is pushed last is printed first.
    void push(std::string_view text) { mPending.push_back({nullptr, text}); }
    void push(const Node& node) { mPending.push_back({&node, {}}); }

    void expand(const Node& node) {
        push(node.after);
        switch (node.kind) {
            case NodeKind::Binary:
                expandBinary(node);
                return;
            case NodeKind::Postfix:
                push(operatorText(node.op));
                push(node.before);
                push(*node.children.front());
                return;
            case NodeKind::CallResult:
                pushArguments(node, 1);
                push(*node.children.front());
                return;
            default:
                break;
        }
        mOut += node.before;
        if (node.prefix) mOut += node.prefix->text;
        switch (node.kind) {
            case NodeKind::Unary:
                push(*node.children.front());
                push(operatorText(node.op));
                break;
            case NodeKind::Parentheses:
                pushArguments(node, 0);
                break;
            case NodeKind::Call:
                mOut.append(node.text) += node.gap;
                pushArguments(node, 0);
                break;
            case NodeKind::Array:
                expandArray(node);
                break;
            default:
                printLeaf(node);
                break;
        }
    }

    void expandBinary(const Node& node) {
        push(*node.children.back());
        push(node.op == Operator::Intersection ? std::string_view(node.text)
                                               : operatorText(node.op));
        push(node.before);
        push(*node.children.front());
    }

    // Children from `first` on, in parentheses.
    void pushArguments(const Node& node, std::size_t first) {
        push(")");
        push(node.inside);
        for (std::size_t i = node.children.size(); i > first; --i) {
            push(*node.children[i - 1]);
            if (i - 1 > first) push(",");
        }
        push("(");
    }

    void expandArray(const Node& node) {
        push("}");
        for (std::size_t i = node.children.size(); i > 0; --i) {
            push(*node.children[i - 1]);
            if (i > 1) push((i - 1) % node.columns == 0 ? ";" : ",");
        }
        push("{");
    }

    void printLeaf(const Node& node) {
        switch (node.kind) {
            case NodeKind::Text:
                printText(node.text);
                break;
            case NodeKind::Cell:
                appendCell(mOut, node.first);
                break;
            case NodeKind::Area:
            case NodeKind::Columns:
            case NodeKind::Rows:
                appendCell(mOut, node.first);
                mOut += ':';
                appendCell(mOut, node.last);
                break;
            case NodeKind::Structured:
                mOut.append(node.text) += node.structured->written;
                break;
            default:
                mOut += node.text;
                break;
        }
    }

    void printText(std::string_view text) {
        mOut += '"';
        for (const char c : text) {
            if (c == '"') mOut += c;
            mOut += c;
        }
        mOut += '"';
    }

    std::string mOut;
    std::vector<Pending> mPending;
};

}  // namespace

std::string Formula::print() const {
    return Printer().print(*mRoot);
}

}  // namespace brindle::workbook::formula
