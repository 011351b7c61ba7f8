// SPDX-License-Identifier: MIT
#include "workbook/ooxml/RichText.h"

#include <algorithm>
#include <cstring>
#include <span>

#include "workbook/ooxml/Xstring.h"

namespace brindle::workbook::ooxml {

using package::XmlScanner;
using package::XmlToken;

namespace {

std::string textElement(const std::string& prefix, std::string_view text) {
    const char* space = needsSpacePreserved(text) ? " xml:space=\"preserve\">" : ">";
    return "<" + prefix + "t" + space + xstringEscaped(text) + "</" + prefix + "t>";
}

// The new text of one piece: what of [piece] no span covers, and the replacement for every
// span that begins in it. `spans` are those that do not end before the piece.
std::string pieceText(std::string_view text, const TextSpan& piece, std::span<const TextSpan> spans,
                      std::string_view replacement) {
    std::string out;
    std::size_t at = piece.begin;
    for (const TextSpan& span : spans) {
        if (span.begin >= piece.end) break;
        const std::size_t begin = std::max(span.begin, piece.begin);
        out += text.substr(at, begin - at);
        if (span.begin >= piece.begin) out += replacement;
        at = std::min(span.end, piece.end);
    }
    return out + std::string(text.substr(at, piece.end - at));
}

}  // namespace

std::optional<std::string_view> RichText::singleText(std::string_view item) {
    constexpr std::string_view kPlain = "<t>";
    constexpr std::string_view kPreserved = "<t xml:space=\"preserve\">";
    constexpr std::string_view kEnd = "</t>";
    if (!item.ends_with(kEnd)) return std::nullopt;
    if (item.starts_with(kPlain)) {
        item.remove_prefix(kPlain.size());
    } else if (item.starts_with(kPreserved)) {
        item.remove_prefix(kPreserved.size());
    } else {
        return std::nullopt;
    }
    item.remove_suffix(kEnd.size());
    if (std::memchr(item.data(), '<', item.size())) return std::nullopt;
    return item;
}

RichText::RichText(const FragmentContext& context, std::string_view item) : mItem(item) {
    if (const auto single = singleText(mItem)) {
        appendXstring(mText, *single);
        const TextSpan whole{0, mItem.size()};
        mPieces.push_back({{0, mText.size()}, whole, whole});
    } else {
        parse(context);
    }
}

void RichText::parse(const FragmentContext& context) {
    const std::string wrapped = context.wrapped(mItem);
    const std::size_t shift = context.offset();
    XmlScanner scanner(wrapped);
    Piece piece;
    bool inText = false;
    for (XmlToken token = scanner.next(); token != XmlToken::EndOfInput; token = scanner.next()) {
        const bool inRun = scanner.depth() == 3;
        if (token == XmlToken::StartElement && scanner.depth() == 2) {
            piece.run.begin = scanner.begin() - shift;
            const std::string_view name = scanner.localName();
            const bool isPhonetic = name == "rPh" || name == "phoneticPr";
            // Elements that we do not know hold no text of ours, whatever is in them.
            if (isPhonetic || (name != "r" && name != "t")) {
                scanner.skipElement();
                if (isPhonetic) mPhonetic.push_back({piece.run.begin, scanner.end() - shift});
                continue;
            }
        }
        if (scanner.localName() == "t" && scanner.depth() >= 2 && scanner.depth() <= 3) {
            if (token == XmlToken::StartElement) {
                inText = true;
                piece.element.begin = scanner.begin() - shift;
                piece.text.begin = mText.size();
            } else if (token == XmlToken::Text && inText) {
                mText += package::xmlText(scanner.rawText());
            } else if (token == XmlToken::CData && inText) {
                mText += scanner.rawText();
            } else if (token == XmlToken::EndElement) {
                inText = false;
                piece.element.end = scanner.end() - shift;
                std::string decoded = withoutXstringEscapes(mText.substr(piece.text.begin));
                mText.replace(piece.text.begin, std::string::npos, decoded);
                piece.text.end = mText.size();
                if (!inRun) piece.run = piece.element;
                mPieces.push_back(piece);
            }
        } else if (inRun && token == XmlToken::StartElement) {
            scanner.skipElement();
        }
        const bool runEnds =
            token == XmlToken::EndElement && scanner.depth() == 2 && scanner.localName() == "r";
        if (runEnds) {
            for (auto known = mPieces.rbegin();
                 known != mPieces.rend() && known->run.begin == piece.run.begin; ++known) {
                known->run.end = scanner.end() - shift;
            }
        }
    }
}

// Valid runs hold one t, careless writers' runs several.
bool RichText::isAloneInRun(std::size_t index) const {
    const auto sharesRun = [&](std::size_t other) {
        return other < mPieces.size() && mPieces[other].run.begin == mPieces[index].run.begin;
    };
    return !sharesRun(index + 1) && (index == 0 || !sharesRun(index - 1));
}

std::string RichText::replaced(const std::vector<TextSpan>& spans,
                               std::string_view replacement) const {
    struct Change {
        TextSpan where;
        std::string with;
    };
    std::vector<Change> changes;
    for (const TextSpan& phonetic : mPhonetic) changes.push_back({phonetic, {}});
    std::span<const TextSpan> left(spans);
    for (std::size_t i = 0; i < mPieces.size(); ++i) {
        const Piece& piece = mPieces[i];
        while (!left.empty() && left.front().end <= piece.text.begin) left = left.subspan(1);
        const std::string_view before =
            std::string_view(mText).substr(piece.text.begin, piece.text.end - piece.text.begin);
        const std::string after = pieceText(mText, piece.text, left, replacement);
        if (after == before) continue;
        if (after.empty()) {
            // A run without text goes as a whole.
            changes.push_back({isAloneInRun(i) ? piece.run : piece.element, {}});
        } else {
            const std::string_view old = std::string_view(mItem).substr(piece.element.begin);
            const std::size_t nameEnd = old.find_first_of(" \t\r\n/>");
            changes.push_back(
                {piece.element, textElement(prefixOf(old.substr(1, nameEnd - 1)), after)});
        }
    }
    std::sort(changes.begin(), changes.end(),
              [](const Change& a, const Change& b) { return a.where.begin < b.where.begin; });
    std::string out;
    std::size_t at = 0;
    for (const Change& change : changes) {
        out.append(mItem, at, change.where.begin - at);
        out += change.with;
        at = change.where.end;
    }
    out.append(mItem, at);
    return out;
}

std::string RichText::plain(const FragmentContext& context, std::string_view text) {
    return textElement(context.prefix(), text);
}

}  // namespace brindle::workbook::ooxml
