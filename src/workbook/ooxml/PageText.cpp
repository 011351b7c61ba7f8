// SPDX-License-Identifier: MIT
#include "workbook/ooxml/PageText.h"

#include <algorithm>
#include <array>
#include <vector>

#include "base/Text.h"
#include "workbook/ooxml/Xstring.h"
#include "workbook/package/XmlScanner.h"

namespace brindle::workbook::ooxml {

namespace {

constexpr std::size_t kLongest = 255;
constexpr int kCentre = 1;

constexpr std::array kProperties = {"LeftHeader", "CenterHeader", "RightHeader",
                                    "LeftFooter", "CenterFooter", "RightFooter"};
constexpr std::array kCodes = {"&amp;L", "&amp;C", "&amp;R"};

// 0, 1, 2 for left, centre, right.
int columnOf(PageSection section) {
    return static_cast<int>(section) % 3;
}

int columnOfCode(char letter) {
    switch (letter) {
        case 'L':
        case 'l':
            return 0;
        case 'C':
        case 'c':
            return kCentre;
        case 'R':
        case 'r':
            return 2;
        default:
            return -1;
    }
}

// A piece of a section, as places in the raw text.
struct Span {
    int column = kCentre;
    std::size_t code = 0;   // where its code begins
    std::size_t begin = 0;  // of its text
    std::size_t end = 0;
};

class SectionReader {
public:
    explicit SectionReader(std::string_view raw) : mRaw(raw) {}

    std::vector<Span> read() {
        Span span;
        while (mAt < mRaw.size()) {
            const std::size_t begin = mAt;
            if (next() != '&' || mAt == mRaw.size()) continue;
            const char code = next();
            if (code == '"') skipFontName();
            const int column = columnOfCode(code);
            if (column < 0) continue;
            span.end = begin;
            mSpans.push_back(span);
            span = {column, begin, mAt, mAt};
        }
        span.end = mRaw.size();
        mSpans.push_back(span);
        // In front of the first code there need be nothing.
        if (mSpans.front().end == 0) mSpans.erase(mSpans.begin());
        return std::move(mSpans);
    }

private:
    // The character at hand, if it is one byte; moves behind it.
    char next() {
        if (mRaw[mAt] != '&') return mRaw[mAt++];
        const std::size_t end = std::min(mRaw.find(';', mAt), mRaw.size() - 1) + 1;
        const std::string text = package::xmlText(mRaw.substr(mAt, end - mAt));
        mAt = end;
        return text.size() == 1 ? text[0] : '\0';
    }

    // Codes do not count between quotes; a quote without its end is like any character.
    void skipFontName() {
        const std::size_t start = mAt;
        while (mAt < mRaw.size()) {
            if (next() == '"') return;
        }
        mAt = start;
    }

    std::string_view mRaw;
    std::size_t mAt = 0;
    std::vector<Span> mSpans;
};

std::string textOf(std::string_view raw, int column) {
    std::string text;
    for (const Span& span : SectionReader(raw).read()) {
        if (span.column == column)
            appendXstring(text, raw.substr(span.begin, span.end - span.begin));
    }
    return text;
}

// All pieces of the section become one, where the first of them stands.
std::string replaced(std::string_view raw, const std::vector<Span>& spans, int column,
                     std::string_view text) {
    std::string out;
    std::size_t copied = 0;
    bool isWritten = text.empty();
    for (const Span& span : spans) {
        if (span.column != column) continue;
        out += raw.substr(copied, (isWritten ? span.code : span.begin) - copied);
        if (!isWritten) out += xstringChanged(raw.substr(span.begin, span.end - span.begin), text);
        isWritten = true;
        copied = span.end;
    }
    out += raw.substr(copied);
    return out;
}

std::string inserted(std::string_view raw, const std::vector<Span>& spans, int column,
                     std::string_view text) {
    const auto next = std::find_if(spans.begin(), spans.end(),
                                   [&](const Span& span) { return span.column > column; });
    const std::size_t at = next == spans.end() ? raw.size() : next->code;
    std::string out(raw.substr(0, at));
    out += kCodes[static_cast<std::size_t>(column)];
    out += xstringEscaped(text);
    const bool needsCode = next != spans.end() && next->code == next->begin;
    if (needsCode) out += kCodes[kCentre];
    out += raw.substr(at);
    return out;
}

}  // namespace

std::string PageText::section(PageSection section) const {
    return textOf(mRaw, columnOf(section));
}

void PageText::setSection(PageSection section, std::string_view text) {
    const int column = columnOf(section);
    if (text == textOf(mRaw, column)) return;
    const std::vector<Span> spans = SectionReader(mRaw).read();
    const bool isThere = std::any_of(spans.begin(), spans.end(),
                                     [&](const Span& span) { return span.column == column; });
    std::string raw =
        isThere ? replaced(mRaw, spans, column, text) : inserted(mRaw, spans, column, text);
    if (text::lengthUtf16(xstring(raw)) > kLongest) {
        throw cannotSet(section, "more than 255 characters");
    }
    for (int other = 0; other < 3; ++other) {
        const bool isAsMeant = other == column ? textOf(raw, other) == text
                                               : textOf(raw, other) == textOf(mRaw, other);
        if (!isAsMeant) throw cannotSet(section, "the text would run into another section");
    }
    mRaw = std::move(raw);
}

bool PageText::isSameAs(const PageText& other) const {
    for (int column = 0; column < 3; ++column) {
        if (textOf(mRaw, column) != textOf(other.mRaw, column)) return false;
    }
    return true;
}

Error cannotSet(PageSection section, const char* reason) {
    return Error::refused(std::string("Unable to set the ") +
                          kProperties[static_cast<std::size_t>(section)] +
                          " property of the PageSetup class: " + reason);
}

}  // namespace brindle::workbook::ooxml
