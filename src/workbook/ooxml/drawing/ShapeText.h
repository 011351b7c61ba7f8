// SPDX-License-Identifier: MIT
// The text of a shape as a sequence of what carries text and the markup between: runs, fields,
// line breaks, ends of paragraphs. Of a changed text, all markup that the change does not touch
// is written as it was read.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "workbook/TextDiff.h"

namespace brindle::workbook::ooxml {

class ShapeText {
public:
    enum class Kind {
        Markup,    // no text
        Run,       // text of one format
        Field,     // the same, computed by the application
        Break,     // a line break inside a paragraph
        Paragraph  // from the end of one paragraph to the content of the next
    };
    struct Node {
        Kind kind = Kind::Markup;
        std::string text;    // what it means; of breaks and paragraphs a line feed
        std::string head;    // markup in front of the text; of all others the whole
        std::string raw;     // the text as it is written
        std::string tail;    // markup behind it
        std::string format;  // Run, Field: markup of its format, for runs made out of it
        // The text between two runs of this format, to write a line break inside of one.
        std::string lineBreak;
        // Field: head and tail of a run in its place.
        std::string runHead;
        std::string runTail;
        bool isLinked = false;  // Field: shows a cell
        bool isFixed = false;   // Paragraph: cannot be taken away
    };

    void add(Node node) { mNodes.push_back(std::move(node)); }
    // Appends markup.
    void addMarkup(std::string_view markup);

    // Line feeds between lines and paragraphs.
    std::string text() const;
    bool hasRuns() const;
    std::string xml() const;

    // This text changed to `after`: characters that stay keep their run; new ones go to the run
    // of the first character that they replace, else of the one in front. A changed field
    // becomes a run, and with `unlink` so does every field that shows a cell. Throws Error
    // (Refused) when there is no place for it or XML cannot hold it.
    ShapeText changedTo(std::string_view after, bool unlink) const;

private:
    struct Insertion {
        std::size_t node = 0;
        std::size_t at = 0;        // in the text
        bool needsNewRun = false;  // in front of the node
        const std::string* text = nullptr;
    };
    std::vector<std::size_t> begins() const;
    Insertion placeOf(const TextChange& change, const std::vector<std::size_t>& begins) const;
    std::size_t nodeAt(std::size_t position, const std::vector<std::size_t>& begins) const;
    Node newRun(std::size_t near, std::string_view text) const;

    std::vector<Node> mNodes;
};

}  // namespace brindle::workbook::ooxml
