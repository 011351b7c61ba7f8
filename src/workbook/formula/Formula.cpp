// SPDX-License-Identifier: MIT
#include "workbook/formula/Formula.h"

#include <algorithm>
#include <utility>

#include "base/Error.h"
#include "base/Text.h"
#include "workbook/formula/FormulaParser.h"
#include "workbook/formula/FormulaTree.h"

namespace brindle::workbook::formula {
namespace {

constexpr std::size_t kMaxFormulaUnits = 8192;

// A book in front of one of its names, without brackets, looks like a sheet: b.xls!Name
bool isBookWithoutSheet(const Node& node) {
    const bool isName = node.kind == NodeKind::Name || node.kind == NodeKind::Call ||
                        node.kind == NodeKind::Structured;
    return isName && node.prefix->lastSheet.empty() && looksLikeBookName(node.prefix->firstSheet);
}

// Nodes with a prefix in the order of the text.
std::vector<const Node*> prefixedNodes(const Node& root) {
    std::vector<const Node*> found;
    forEachPostorder(root, [&](const Node& node) {
        if (node.prefix) found.push_back(&node);
    });
    std::sort(found.begin(), found.end(),
              [](const Node* a, const Node* b) { return a->offset < b->offset; });
    return found;
}

void addOnce(std::vector<std::string>& names, const std::string& name) {
    const bool known = std::any_of(names.begin(), names.end(), [&](const std::string& other) {
        return text::equals(name, other, CaseMode::Folded);
    });
    if (!name.empty() && !known) names.push_back(name);
}

}  // namespace

Formula Formula::parse(std::string_view text) {
    if (text::lengthUtf16(text) > kMaxFormulaUnits) throw Error::refused("Formula is too long");
    if (!text::isValidUtf8(text)) {
        throw Error::refused("The formula you typed contains an error");
    }
    return Formula(Parser(text).parse());
}

Formula::Formula(std::unique_ptr<Node> root) : mRoot(std::move(root)) {}
Formula::Formula(Formula&&) noexcept = default;
Formula& Formula::operator=(Formula&&) noexcept = default;
Formula::~Formula() = default;

std::vector<std::string> Formula::sheetNames() const {
    std::vector<std::string> names;
    for (const Node* node : prefixedNodes(*mRoot)) {
        const SheetPrefix& prefix = *node->prefix;
        if (!prefix.book.empty() || prefix.deletedSheet || isBookWithoutSheet(*node)) continue;
        addOnce(names, prefix.firstSheet);
        addOnce(names, prefix.lastSheet);
    }
    return names;
}

std::vector<std::string> Formula::externalBooks() const {
    std::vector<std::string> books;
    for (const Node* node : prefixedNodes(*mRoot)) {
        const SheetPrefix& prefix = *node->prefix;
        if (!prefix.book.empty())
            addOnce(books, prefix.book);
        else if (isBookWithoutSheet(*node))
            addOnce(books, prefix.firstSheet);
    }
    return books;
}

}  // namespace brindle::workbook::formula
