// SPDX-License-Identifier: MIT
#include "workbook/formula/FormulaTree.h"

#include <array>
#include <utility>

namespace brindle::workbook::formula {

std::string_view operatorText(Operator op) {
    constexpr std::array<std::string_view, 21> kTexts = {"",  ":", "",   ",", "+",  "-", "@",
                                                         "%", "#", "^",  "*", "/",  "+", "-",
                                                         "&", "=", "<>", "<", "<=", ">", ">="};
    return kTexts[static_cast<std::size_t>(op)];
}

Node::~Node() {
    std::vector<std::unique_ptr<Node>> doomed = std::move(children);
    while (!doomed.empty()) {
        const std::unique_ptr<Node> node = std::move(doomed.back());
        doomed.pop_back();
        for (auto& child : node->children) doomed.push_back(std::move(child));
        node->children.clear();
    }
}

void forEachPostorder(const Node& root, const std::function<void(const Node&)>& visit) {
    std::vector<std::pair<const Node*, std::size_t>> path{{&root, 0}};
    while (!path.empty()) {
        auto& [node, next] = path.back();
        if (next < node->children.size()) {
            const Node* child = node->children[next++].get();
            path.emplace_back(child, 0);
        } else {
            visit(*node);
            path.pop_back();
        }
    }
}

bool mayBeReference(const Node& node) {
    const Node* inner = &node;
    while (inner->kind == NodeKind::Parentheses) inner = inner->children.front().get();
    switch (inner->kind) {
        case NodeKind::ErrorValue:
        case NodeKind::Cell:
        case NodeKind::Area:
        case NodeKind::Columns:
        case NodeKind::Rows:
        case NodeKind::Name:
        case NodeKind::Structured:
        case NodeKind::Call:
        case NodeKind::CallResult:
            return true;
        case NodeKind::Unary:
            return inner->op == Operator::ImplicitIntersection;
        case NodeKind::Postfix:
            return inner->op == Operator::Spill;
        case NodeKind::Binary:
            return inner->op <= Operator::Union;
        default:
            return false;
    }
}

}  // namespace brindle::workbook::formula
