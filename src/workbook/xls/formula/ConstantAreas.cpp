// SPDX-License-Identifier: MIT
#include "workbook/xls/formula/ConstantAreas.h"

#include <algorithm>
#include <utility>

namespace brindle::workbook::xls {
namespace {

using formula::Node;
using formula::NodeKind;
using formula::Operator;
using Areas = std::vector<CellArea>;

constexpr std::size_t kMaxAreas = 256;

bool isPlain(const Node& node) {
    switch (node.kind) {
        case NodeKind::Cell:
        case NodeKind::Area:
        case NodeKind::Columns:
        case NodeKind::Rows:
            return !node.prefix;
        case NodeKind::Parentheses:
            return true;
        case NodeKind::Binary:
            return node.op == Operator::Range || node.op == Operator::Intersection ||
                   node.op == Operator::Union;
        default:
            return false;
    }
}

// The smallest area that holds both.
Areas rangeOf(const Areas& left, const Areas& right) {
    CellArea whole = left.front();
    for (const Areas* areas : {&left, &right}) {
        for (const CellArea& area : *areas) {
            whole.firstRow = std::min(whole.firstRow, area.firstRow);
            whole.lastRow = std::max(whole.lastRow, area.lastRow);
            whole.firstColumn = std::min(whole.firstColumn, area.firstColumn);
            whole.lastColumn = std::max(whole.lastColumn, area.lastColumn);
        }
    }
    return {whole};
}

Areas intersectionOf(const Areas& left, const Areas& right) {
    Areas common;
    for (const CellArea& a : left) {
        for (const CellArea& b : right) {
            const CellArea both{std::max(a.firstRow, b.firstRow), std::min(a.lastRow, b.lastRow),
                                std::max(a.firstColumn, b.firstColumn),
                                std::min(a.lastColumn, b.lastColumn)};
            if (both.firstRow <= both.lastRow && both.firstColumn <= both.lastColumn) {
                common.push_back(both);
            }
        }
    }
    return common;
}

Areas combine(Operator op, Areas left, const Areas& right) {
    if (left.empty() || right.empty()) return {};
    if (op == Operator::Range) return rangeOf(left, right);
    if (op == Operator::Intersection) return intersectionOf(left, right);
    left.insert(left.end(), right.begin(), right.end());
    return left;
}

}  // namespace

std::optional<Areas> constantAreas(const Node& root, const TokenWriter& writer) {
    std::vector<Areas> waiting;
    bool isConstant = true;
    formula::forEachPostorder(root, [&](const Node& node) {
        isConstant = isConstant && isPlain(node);
        if (!isConstant || node.kind == NodeKind::Parentheses) return;
        if (node.kind != NodeKind::Binary) {
            waiting.push_back({writer.areaOf(node)});
            return;
        }
        const Areas right = std::move(waiting.back());
        waiting.pop_back();
        waiting.back() = combine(node.op, std::move(waiting.back()), right);
        isConstant = waiting.back().size() <= kMaxAreas;
    });
    if (!isConstant) return std::nullopt;
    return std::move(waiting.back());
}

}  // namespace brindle::workbook::xls
