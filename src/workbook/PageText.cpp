// SPDX-License-Identifier: MIT
#include "workbook/PageText.h"

#include <algorithm>
#include <array>
#include <vector>

#include "base/Text.h"

namespace brindle::workbook {

namespace {

constexpr std::size_t kLongest = 255;
constexpr int kCentre = 1;

constexpr std::array kProperties = {"LeftHeader", "CenterHeader", "RightHeader",
                                    "LeftFooter", "CenterFooter", "RightFooter"};
constexpr std::array kCodes = {"&L", "&C", "&R"};

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
    SectionReader(std::string_view raw, const PageSpelling& spelling)
        : mRaw(raw), mSpelling(spelling) {}

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
    char next() { return mSpelling.next(mRaw, mAt); }

    // Codes do not count between quotes; a quote without its end is like any character.
    void skipFontName() {
        const std::size_t start = mAt;
        while (mAt < mRaw.size()) {
            if (next() == '"') return;
        }
        mAt = start;
    }

    std::string_view mRaw;
    const PageSpelling& mSpelling;
    std::size_t mAt = 0;
    std::vector<Span> mSpans;
};

// All pieces of the section become one, where the first of them stands.
std::string replaced(std::string_view raw, const PageSpelling& spelling,
                     const std::vector<Span>& spans, int column, std::string_view text) {
    std::string out;
    std::size_t copied = 0;
    bool isWritten = text.empty();
    for (const Span& span : spans) {
        if (span.column != column) continue;
        out += raw.substr(copied, (isWritten ? span.code : span.begin) - copied);
        if (!isWritten)
            out += spelling.changed(raw.substr(span.begin, span.end - span.begin), text);
        isWritten = true;
        copied = span.end;
    }
    out += raw.substr(copied);
    return out;
}

std::string inserted(std::string_view raw, const PageSpelling& spelling,
                     const std::vector<Span>& spans, int column, std::string_view text) {
    const auto next = std::find_if(spans.begin(), spans.end(),
                                   [&](const Span& span) { return span.column > column; });
    const std::size_t at = next == spans.end() ? raw.size() : next->code;
    std::string out(raw.substr(0, at));
    out += spelling.encoded(kCodes[static_cast<std::size_t>(column)]);
    out += spelling.encoded(text);
    const bool needsCode = next != spans.end() && next->code == next->begin;
    if (needsCode) out += spelling.encoded(kCodes[kCentre]);
    out += raw.substr(at);
    return out;
}

}  // namespace

const PageSpelling& PageSpelling::plain() {
    static const PageSpelling spelling;
    return spelling;
}

std::string PageText::textOf(int column) const {
    std::string text;
    for (const Span& span : SectionReader(mRaw, *mSpelling).read()) {
        if (span.column != column) continue;
        text +=
            mSpelling->decoded(std::string_view(mRaw).substr(span.begin, span.end - span.begin));
    }
    return text;
}

std::string PageText::section(PageSection section) const {
    return textOf(columnOf(section));
}

void PageText::setSection(PageSection section, std::string_view text) {
    const int column = columnOf(section);
    if (text == textOf(column)) return;
    const std::vector<Span> spans = SectionReader(mRaw, *mSpelling).read();
    const bool isThere = std::any_of(spans.begin(), spans.end(),
                                     [&](const Span& span) { return span.column == column; });
    const PageText changed(isThere ? replaced(mRaw, *mSpelling, spans, column, text)
                                   : inserted(mRaw, *mSpelling, spans, column, text),
                           *mSpelling);
    if (text::lengthUtf16(mSpelling->decoded(changed.mRaw)) > kLongest) {
        throw cannotSet(section, "more than 255 characters");
    }
    for (int other = 0; other < 3; ++other) {
        const bool isAsMeant = other == column ? changed.textOf(other) == text
                                               : changed.textOf(other) == textOf(other);
        if (!isAsMeant) throw cannotSet(section, "the text would run into another section");
    }
    *this = changed;
}

bool PageText::isSameAs(const PageText& other) const {
    for (int column = 0; column < 3; ++column) {
        if (textOf(column) != other.textOf(column)) return false;
    }
    return true;
}

Error cannotSet(PageSection section, const char* reason) {
    return Error::refused(std::string("Unable to set the ") +
                          kProperties[static_cast<std::size_t>(section)] +
                          " property of the PageSetup class: " + reason);
}

}  // namespace brindle::workbook
