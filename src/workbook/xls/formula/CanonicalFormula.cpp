// SPDX-License-Identifier: MIT
#include "workbook/xls/formula/CanonicalFormula.h"

#include <string_view>
#include <utility>
#include <vector>

#include "base/Text.h"
#include "workbook/formula/FunctionNames.h"
#include "workbook/NumberText.h"

namespace brindle::workbook::xls {
namespace {

using formula::AxisReference;
using formula::CellReference;
using formula::Node;
using formula::NodeKind;
using formula::SheetPrefix;

constexpr std::int32_t kColumns = 256;
constexpr char kArea = ':';

// Parents before their children, each with the number of these: no two trees come out alike. A
// list of nodes to visit stands in for recursion.
class Canonical {
public:
    explicit Canonical(Version version) : mRows(version == Version::Biff8 ? 65536 : 16384) {}

    std::string write(const Node& root) {
        mPending.push_back(&root);
        while (!mPending.empty()) {
            const Node& node = *mPending.back();
            mPending.pop_back();
            writeNode(node);
        }
        return std::move(mOut);
    }

private:
    void writeNode(const Node& node) {
        writeText(node.before);
        if (node.prefix) writePrefix(*node.prefix);
        switch (node.kind) {
            case NodeKind::Number:
            case NodeKind::Boolean:
                writeKind(node);
                writeText(numberText(node.number));
                return;
            case NodeKind::Name:
                writeKind(node);
                writeText(text::fold(node.text));
                return;
            case NodeKind::Cell:
                writeKind(node);
                writeCell(node.first);
                return;
            case NodeKind::Area:
            case NodeKind::Columns:
            case NodeKind::Rows:
                writeArea(node);
                return;
            case NodeKind::Array:
                writeArray(node);
                return;
            case NodeKind::Call:
                writeCall(node);
                return;
            default:
                writeKind(node);
                writeText(node.text);
                if (node.structured) writeText(node.structured->written);
                if (node.kind == NodeKind::Parentheses) writeText(node.children.front()->after);
                writeChildren(node);
                return;
        }
    }

    void writeCall(const Node& node) {
        writeKind(node);
        const std::string_view name = node.text;
        writeText(text::fold(name.substr(formula::functionPrefixLength(name))));
        writeText(node.children.empty() ? node.inside : node.children.back()->after);
        writeChildren(node);
    }

    void writeArray(const Node& node) {
        writeKind(node);
        writeNumber(node.columns);
        writeNumber(node.children.size());
        for (const auto& element : node.children) {
            writeKind(*element);
            const bool isNumber =
                element->kind == NodeKind::Number || element->kind == NodeKind::Boolean;
            writeText(isNumber ? numberText(element->number) : element->text);
        }
    }

    // What reaches from edge to edge is shown as whole rows or columns, whose ends do not move.
    void writeArea(const Node& node) {
        CellReference first = node.first;
        CellReference last = node.last;
        if (node.kind == NodeKind::Columns) {
            first.row = {1, true};
            last.row = {mRows, true};
        }
        if (node.kind == NodeKind::Rows) {
            first.column = {1, true};
            last.column = {kColumns, true};
        }
        if (first.row.index > last.row.index) std::swap(first.row, last.row);
        if (first.column.index > last.column.index) std::swap(first.column, last.column);
        if (first.column.index == 1 && last.column.index == kColumns) {
            first.column = last.column = AxisReference();
        } else if (first.row.index == 1 && last.row.index == mRows) {
            first.row = last.row = AxisReference();
        }
        mOut += kArea;
        writeCell(first);
        writeCell(last);
    }

    void writePrefix(const SheetPrefix& prefix) {
        mOut += '!';
        writeText(text::fold(prefix.book));
        writeText(text::fold(prefix.firstSheet));
        writeText(text::fold(prefix.lastSheet));
    }

    void writeCell(const CellReference& cell) {
        writeAxis(cell.row);
        writeAxis(cell.column);
    }
    void writeAxis(const AxisReference& axis) {
        writeNumber(static_cast<std::size_t>(axis.index));
        mOut += axis.absolute ? '$' : ' ';
    }
    void writeKind(const Node& node) {
        mOut += static_cast<char>('a' + static_cast<int>(node.kind));
        mOut += static_cast<char>('a' + static_cast<int>(node.op));
    }
    void writeChildren(const Node& node) {
        writeNumber(node.children.size());
        for (std::size_t i = node.children.size(); i-- > 0;) {
            mPending.push_back(node.children[i].get());
        }
    }
    void writeNumber(std::size_t number) { (mOut += std::to_string(number)) += ';'; }
    void writeText(std::string_view text) {
        writeNumber(text.size());
        mOut += text;
    }

    std::int32_t mRows;
    std::string mOut;
    std::vector<const Node*> mPending;
};

}  // namespace

std::string canonicalFormula(const Node& root, Version version) {
    return Canonical(version).write(root);
}

}  // namespace brindle::workbook::xls
