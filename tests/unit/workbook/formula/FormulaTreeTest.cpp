// SPDX-License-Identifier: MIT
#include "workbook/formula/FormulaTree.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "workbook/formula/Formula.h"

namespace brindle::workbook::formula {
namespace {

std::string shortForm(const Node& node) {
    switch (node.kind) {
        case NodeKind::Cell: {
            std::string name;
            appendCell(name, node.first);
            return name;
        }
        case NodeKind::Area:
            return "area";
        case NodeKind::Unary:
            return 'u' + std::string(operatorText(node.op));
        case NodeKind::Call:
            return node.text + '/' + std::to_string(node.children.size());
        case NodeKind::CallResult:
            return "call/" + std::to_string(node.children.size());
        case NodeKind::Parentheses:
            return "()";
        case NodeKind::Missing:
            return "missing";
        case NodeKind::Array:
            return "array/" + std::to_string(node.columns);
        case NodeKind::Binary:
            return node.op == Operator::Intersection ? "isect" : std::string(operatorText(node.op));
        case NodeKind::Postfix:
            return 'p' + std::string(operatorText(node.op));
        default:
            return node.text;
    }
}

// The nodes in the order in which binary formats store tokens.
std::string postfixForm(const std::string& text) {
    std::string form;
    const Formula formula = Formula::parse(text);
    forEachPostorder(formula.root(), [&](const Node& node) {
        if (!form.empty()) form += ' ';
        form += shortForm(node);
    });
    return form;
}

struct Literal {
    NodeKind kind;
    std::string text;
    double number;
};

// The first leaf of a formula.
Literal literal(const char* text) {
    const Formula formula = Formula::parse(text);
    const Node* node = &formula.root();
    while (!node->children.empty()) node = node->children.front().get();
    return {node->kind, node->text, node->number};
}

TEST(FormulaTree, BindsAsTheApplicationDoes) {
    // clang-format off
    const std::pair<const char*, const char*> rows[] = {
        {"1+2*3", "1 2 3 * +"}, {"1-2-3", "1 2 - 3 -"}, {"2^3^4", "2 3 ^ 4 ^"},
        {"-2^2", "2 u- 2 ^"}, {"2^-3", "2 3 u- ^"}, {"-2%", "2 u- p%"}, {"2%^3", "2 p% 3 ^"},
        {"1&2+3", "1 2 3 + &"}, {"1=2&3", "1 2 3 & ="}, {"1<2=3", "1 2 < 3 ="},
        {"(1+2)*3", "1 2 + () 3 *"}, {"-A1 B1", "A1 B1 isect u-"}, {"A1:B1 C1", "area C1 isect"},
        {"(A1,B1 C1)", "A1 B1 C1 isect , ()"}, {"(A1,B1*2)", "A1 B1 , 2 * ()"},
        {"SUM((A1,B1),-1)", "A1 B1 , () 1 u- SUM/2"}, {"@A1:A3 B1", "area u@ B1 isect"},
        {"A1:INDEX(B1,2)#", "A1 B1 2 INDEX/2 p# :"}, {"A1:B1#", "A1 B1 p# :"},
        {"IF(A1,,2)", "A1 missing 2 IF/3"}, {"NOW( )", "NOW/0"},
        {"f(1)(2)(3)", "1 f/1 2 call/2 3 call/2"}, {"{1,2,3;-4,5,6}", "1 2 3 -4 5 6 array/3"},
        {"SUM (A1)", "A1 SUM/1"}, {"name (A1)", "name A1 () isect"},
    };
    // clang-format on
    for (const auto& [text, form] : rows) EXPECT_EQ(postfixForm(text), form) << text;
}

TEST(FormulaTree, HoldsReferencesInParts) {
    struct Row {
        const char* text;
        NodeKind kind;
        CellReference first, last;
        const char* book;
        const char* firstSheet;
        const char* lastSheet;
    };
    // clang-format off
    const Row rows[] = {
        {"$B7", NodeKind::Cell, {{2, true}, {7, false}}, {}, "", "", ""},
        {"S!A1:$C$4", NodeKind::Area, {{1, false}, {1, false}}, {{3, true}, {4, true}}, "", "S",
         ""},
        {"'a b:It''s'!$C:E", NodeKind::Columns, {{3, true}, {}}, {{5, false}, {}}, "", "a b",
         "It's"},
        {"[2]S!5:$7", NodeKind::Rows, {{}, {5, false}}, {{}, {7, true}}, "2", "S", ""},
        {"'C:\\d\\[b.xls]S'!A1", NodeKind::Cell, {{1, false}, {1, false}}, {}, "C:\\d\\[b.xls", "S",
         ""},
        {"[b.xls]S:T!A1", NodeKind::Cell, {{1, false}, {1, false}}, {}, "b.xls", "S", "T"},
        {"[1]!n", NodeKind::Name, {}, {}, "1", "", ""},
        {"#REF!A1", NodeKind::Cell, {{1, false}, {1, false}}, {}, "", "#REF", ""},
    };
    // clang-format on
    const auto same = [](AxisReference a, AxisReference b) {
        return a.index == b.index && a.absolute == b.absolute;
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.text);
        const Formula formula = Formula::parse(row.text);
        const Node& node = formula.root();
        EXPECT_EQ(node.kind, row.kind);
        EXPECT_TRUE(same(node.first.column, row.first.column) &&
                    same(node.first.row, row.first.row));
        EXPECT_TRUE(same(node.last.column, row.last.column) && same(node.last.row, row.last.row));
        const SheetPrefix prefix = node.prefix.value_or(SheetPrefix());
        EXPECT_EQ(prefix.book, row.book);
        EXPECT_EQ(prefix.firstSheet, row.firstSheet);
        EXPECT_EQ(prefix.lastSheet, row.lastSheet);
        EXPECT_EQ(prefix.deletedSheet, prefix.firstSheet == "#REF");
    }
}

TEST(FormulaTree, HoldsLiterals) {
    EXPECT_EQ(literal(R"("a""b")").text, R"(a"b)");
    EXPECT_DOUBLE_EQ(literal(".5e1").number, 5);
    EXPECT_DOUBLE_EQ(literal("{-1.5}").number, -1.5);
    EXPECT_DOUBLE_EQ(literal("true").number, 1);
    EXPECT_EQ(literal("true").kind, NodeKind::Boolean);
    EXPECT_EQ(literal("#n/a").text, "#N/A");
}

TEST(FormulaTree, KeepsWhiteSpaceAtItsSymbol) {
    const Formula formula = Formula::parse(" 1\n+ SUM (  A1 ,B1 ) ");
    const Node& sum = formula.root();
    EXPECT_EQ(sum.before, "\n");
    EXPECT_EQ(sum.after, " ");
    EXPECT_EQ(sum.children[0]->before, " ");
    const Node& call = *sum.children[1];
    EXPECT_EQ(call.gap, " ");
    EXPECT_EQ(call.children[0]->before, "  ");
    EXPECT_EQ(call.children[0]->after, " ");
    EXPECT_EQ(call.children[1]->after, " ");
}

TEST(FormulaTree, TakesStructuredReferencesApart) {
    using Item = StructuredReference::Item;
    struct Row {
        const char* text;
        const char* table;
        int items;
        const char* firstColumn;
        const char* lastColumn;
    };
    const Row rows[] = {
        {"T[Col]", "T", 0, "Col", ""},
        {"T[]", "T", 0, "", ""},
        {"[#Data]", "", Item::Data, "", ""},
        {"[@Col]", "", Item::ThisRow, "Col", ""},
        {"[@[a b]:[c]]", "", Item::ThisRow, "a b", "c"},
        {"T[[#Headers],[#data],[a]:[b]]", "T", Item::Headers | Item::Data, "a", "b"},
        {"T[[#This Row], [x]]", "T", Item::ThisRow, "x", ""},
        {"T[a'[1']''b]", "T", 0, "a[1]'b", ""},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.text);
        const Formula formula = Formula::parse(row.text);
        ASSERT_EQ(formula.root().kind, NodeKind::Structured);
        const StructuredReference& structured = *formula.root().structured;
        EXPECT_EQ(formula.root().text, row.table);
        EXPECT_EQ(structured.items, row.items);
        EXPECT_EQ(structured.firstColumn, row.firstColumn);
        EXPECT_EQ(structured.lastColumn, row.lastColumn);
    }
}

TEST(FormulaTree, ListsSheetsAndBooks) {
    using Names = std::vector<std::string>;
    struct Row {
        const char* text;
        Names sheets;
        Names books;
    };
    // clang-format off
    const Row rows[] = {
        {"A1+Name", {}, {}}, {"b!A1+'a b'!A1+B!C1", {"b", "a b"}, {}},
        {R"(SUM('It''s:Z'!A1,"x!A1"))", {"It's", "Z"}, {}}, {"s!f(t!A1)", {"s", "t"}, {}},
        {"[1]S!A1+'C:\\d\\[b.xls]S'!A1+'C:\\d\\c.xls'!N", {}, {"1", "C:\\d\\[b.xls",
         "C:\\d\\c.xls"}},
        {"b.xls!Name+sheet.1!Name", {"sheet.1"}, {"b.xls"}}, {"#REF!A1+S!#REF!", {"S"}, {}},
    };
    // clang-format on
    for (const Row& row : rows) {
        SCOPED_TRACE(row.text);
        const Formula formula = Formula::parse(row.text);
        EXPECT_EQ(formula.sheetNames(), row.sheets);
        EXPECT_EQ(formula.externalBooks(), row.books);
    }
}

}  // namespace
}  // namespace brindle::workbook::formula
