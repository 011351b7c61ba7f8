// SPDX-License-Identifier: MIT
// The syntax tree of a formula, complete enough to print the text again byte for byte (but for
// letter case) and to compile it to the tokens of a binary format.
//
// White space belongs to the symbol that it stands in front of: `before` of a node is the white
// space in front of its own first symbol (for a binary operator that is the operator, not its
// left operand), `after` the white space between a node and the ",", ";", bracket or end of text
// that closes it off.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "workbook/formula/CellReference.h"
#include "workbook/formula/SheetPrefix.h"

namespace brindle::workbook::formula {

enum class NodeKind : std::uint8_t {
    Number,       // number; text as written, in an array constant with its sign
    Text,         // text without quotes, doubled quotes undone
    Boolean,      // number is 1 or 0
    ErrorValue,   // text is the name, upper case; with a prefix a reference to nothing
    Missing,      // an argument that was left out
    Cell,         // first
    Area,         // first and last, as written: "A1:B2" without white space
    Columns,      // first.column to last.column
    Rows,         // first.row to last.row
    Name,         // text
    Structured,   // text is the table (may be empty), structured holds the rest
    Call,         // text is the function as normalised; children are the arguments
    CallResult,   // children: what is called (a call, a name, a LAMBDA), then the arguments
    Parentheses,  // one child
    Array,        // children row by row, `columns` in each row
    Unary,        // op; one child behind it
    Postfix,      // op; one child in front of it
    Binary,       // op; two children
};

enum class Operator : std::uint8_t {
    None,
    Range,                 // :
    Intersection,          // white space
    Union,                 // ,
    Plus,                  // + as a sign
    Minus,                 // - as a sign
    ImplicitIntersection,  // @
    Percent,               // %
    Spill,                 // #
    Power,
    Multiply,
    Divide,
    Add,
    Subtract,
    Concatenate,
    Equal,
    NotEqual,
    Less,
    LessEqual,
    Greater,
    GreaterEqual,
};

// The symbol of an operator; empty for Intersection, whose white space is the node's text.
std::string_view operatorText(Operator op);

// [...] of a structured reference.
struct StructuredReference {
    enum Item : std::uint8_t { All = 1, Data = 2, Headers = 4, Totals = 8, ThisRow = 16 };
    std::string written;      // with its brackets
    std::uint8_t items = 0;   // of Item; "@" is ThisRow
    std::string firstColumn;  // escapes undone; empty: all columns
    std::string lastColumn;   // of a span of columns, else empty
};

struct Node {
    NodeKind kind = NodeKind::Missing;
    Operator op = Operator::None;
    std::string before;
    std::string after;
    std::string gap;     // Call: between the name and "("; a call without arguments: `inside`
    std::string inside;  // Call without arguments: between its parentheses
    std::string text;
    double number = 0;
    std::optional<SheetPrefix> prefix;  // of references, names and calls
    CellReference first;
    CellReference last;
    std::optional<StructuredReference> structured;
    std::uint32_t columns = 0;
    std::uint32_t offset = 0;  // bytes into the parsed text
    std::vector<std::unique_ptr<Node>> children;

    Node() = default;
    Node(NodeKind nodeKind, std::uint32_t at) : kind(nodeKind), offset(at) {}
    // Chains of operators are as deep as they are long; taken apart without recursion.
    ~Node();
    Node(const Node&) = delete;
    Node& operator=(const Node&) = delete;
};

// Calls `visit` for every node, children before their parent and from left to right: the order
// of the tokens in binary formats. Does not recurse.
void forEachPostorder(const Node& root, const std::function<void(const Node&)>& visit);

// Whether a node can stand where a reference must: a reference, name, call or an operator that
// yields one, in parentheses or not.
bool mayBeReference(const Node& node);

}  // namespace brindle::workbook::formula
