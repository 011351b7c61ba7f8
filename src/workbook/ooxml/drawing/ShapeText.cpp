// SPDX-License-Identifier: MIT
#include "workbook/ooxml/drawing/ShapeText.h"

#include <algorithm>

#include "base/Error.h"
#include "workbook/package/XmlScanner.h"

namespace brindle::workbook::ooxml {

namespace {

using Kind = ShapeText::Kind;

bool isRun(const ShapeText::Node& node) {
    return node.kind == Kind::Run || node.kind == Kind::Field;
}

void makeRun(ShapeText::Node& node) {
    if (node.kind != Kind::Field) return;
    node.kind = Kind::Run;
    node.head = node.runHead;
    node.tail = node.runTail;
    node.isLinked = false;
}

void setText(ShapeText::Node& node, std::string text) {
    makeRun(node);
    node.text = std::move(text);
    node.raw.clear();
    std::string_view rest = node.text;
    for (;;) {
        const std::size_t line = std::min(rest.find('\n'), rest.size());
        package::appendXmlEscaped(node.raw, rest.substr(0, line));
        if (line == rest.size()) return;
        node.raw += node.lineBreak;
        rest.remove_prefix(line + 1);
    }
}

Error noPlace() {
    return Error::refused("Unable to set the Text property of the Characters class");
}

}  // namespace

void ShapeText::addMarkup(std::string_view markup) {
    if (markup.empty()) return;
    Node node;
    node.head = markup;
    mNodes.push_back(std::move(node));
}

std::string ShapeText::text() const {
    std::string text;
    for (const Node& node : mNodes) text += node.text;
    return text;
}

bool ShapeText::hasRuns() const {
    return std::any_of(mNodes.begin(), mNodes.end(), isRun);
}

std::string ShapeText::xml() const {
    std::string xml;
    for (const Node& node : mNodes) {
        xml += node.head;
        xml += node.raw;
        xml += node.tail;
    }
    return xml;
}

std::vector<std::size_t> ShapeText::begins() const {
    std::vector<std::size_t> begins;
    std::size_t at = 0;
    for (const Node& node : mNodes) {
        begins.push_back(at);
        at += node.text.size();
    }
    return begins;
}

// The node with the character at `position`, which is in the text.
std::size_t ShapeText::nodeAt(std::size_t position, const std::vector<std::size_t>& begins) const {
    auto next = std::upper_bound(begins.begin(), begins.end(), position);
    return static_cast<std::size_t>(next - begins.begin()) - 1;
}

// A new text belongs to the run of the first character that it replaces. When that is a line
// break, or there is none, a run beside it takes it, as long as no text would come between.
ShapeText::Insertion ShapeText::placeOf(const TextChange& change,
                                        const std::vector<std::size_t>& begins) const {
    const auto [begin, end] = change.where;
    Insertion place;
    place.at = begin;
    place.text = &change.with;
    if (begin < end || begin == 0) {
        place.node = nodeAt(begin, begins);
        if (begin < end && isRun(mNodes[place.node])) return place;
    }
    if (begin > 0) {
        const std::size_t before = nodeAt(begin - 1, begins);
        if (isRun(mNodes[before])) {
            place.node = before;
            return place;
        }
        if (begin == end) place.node = before + 1;
    }
    for (std::size_t i = begin == 0 ? 0 : place.node; i < mNodes.size() && begins[i] <= end; ++i) {
        if (!isRun(mNodes[i]) || begins[i] < begin) continue;
        place.node = i;
        place.at = begins[i];
        return place;
    }
    place.needsNewRun = true;
    return place;
}

ShapeText::Node ShapeText::newRun(std::size_t near, std::string_view text) const {
    const auto isBefore = [&](std::size_t i) { return i < near && isRun(mNodes[i]); };
    std::size_t model = mNodes.size();
    for (std::size_t i = 0; i < mNodes.size(); ++i) {
        if (isBefore(i) || (model == mNodes.size() && isRun(mNodes[i]))) model = i;
    }
    if (model == mNodes.size()) throw noPlace();
    Node run = mNodes[model];
    setText(run, std::string(text));
    return run;
}

ShapeText ShapeText::changedTo(std::string_view after, bool unlink) const {
    const std::string before = text();
    const std::vector<TextChange> changes = textChanges(before, after);
    const std::vector<std::size_t> starts = begins();
    std::vector<Insertion> insertions;
    for (const TextChange& change : changes) {
        if (!change.with.empty()) insertions.push_back(placeOf(change, starts));
    }

    ShapeText result;
    std::size_t change = 0;     // the first that may reach into the node or beyond
    std::size_t insertion = 0;  // the next
    for (std::size_t i = 0; i < mNodes.size(); ++i) {
        Node node = mNodes[i];
        const std::size_t end = starts[i] + node.text.size();
        std::string text;
        std::size_t at = starts[i];
        const auto keepUpTo = [&](std::size_t limit) {
            while (at < limit) {
                while (change < changes.size() && changes[change].where.end <= at) ++change;
                const std::size_t hidden =
                    change < changes.size() ? changes[change].where.begin : limit;
                const std::size_t stop = std::min(std::max(at, hidden), limit);
                text += before.substr(at, stop - at);
                at = stop;
                if (at < limit) at = std::min(changes[change].where.end, limit);
            }
        };
        while (insertion < insertions.size() && insertions[insertion].node == i) {
            const Insertion& place = insertions[insertion++];
            if (place.needsNewRun) {
                result.add(newRun(i, *place.text));
                continue;
            }
            keepUpTo(std::min(place.at, end));
            text += *place.text;
        }
        keepUpTo(end);
        if (text != node.text) {
            if (node.isFixed) throw noPlace();
            if (text.empty()) continue;
            setText(node, std::move(text));
        } else if (unlink && node.isLinked) {
            makeRun(node);
        }
        result.add(std::move(node));
    }
    for (; insertion < insertions.size(); ++insertion) {
        result.add(newRun(mNodes.size(), *insertions[insertion].text));
    }
    if (result.text() != after) throw noPlace();
    return result;
}

}  // namespace brindle::workbook::ooxml
