// SPDX-License-Identifier: MIT
#include "workbook/text/FieldText.h"

#include <algorithm>

#include "base/Error.h"
#include "base/Text.h"
#include "workbook/CellMatch.h"

namespace brindle::workbook::textfile {

namespace {

constexpr std::size_t kLongestCell = 32767;  // UTF-16 units

std::string_view withoutQuotes(std::string_view bytes, std::string& scratch) {
    if (bytes.empty() || bytes.front() != '"') return bytes;
    scratch.clear();
    std::size_t from = 1;
    for (;;) {
        const std::size_t quote = bytes.find('"', from);
        if (quote == std::string_view::npos) break;
        const bool doubled = quote + 1 < bytes.size() && bytes[quote + 1] == '"';
        scratch.append(bytes, from, quote - from + (doubled ? 1 : 0));
        from = quote + (doubled ? 2 : 1);
        if (!doubled) break;
    }
    scratch.append(bytes, from);
    return scratch;
}

}  // namespace

std::string_view fieldText(std::string_view bytes, const TextEncoding& encoding,
                           std::string& scratch) {
    const std::string_view plain = withoutQuotes(bytes, scratch);
    if (encoding.kind() != TextEncoding::Kind::CodePage || brindle::text::isAscii(plain)) {
        return plain;
    }
    scratch = encoding.decode(plain);
    return scratch;
}

FieldText::FieldText(std::string_view raw, const TextDialect& dialect)
    : mRaw(raw), mDialect(dialect), mQuote(encode("\"")) {
    mText.reserve(raw.size());
    mCharacters.reserve(raw.size());
    mQuoted = isQuoteAt(0);
    if (mQuoted) {
        readQuoted(mQuote.size());
    } else {
        readPlain(0);
    }
    if (!mClosed) {
        mTail = mText.size();
        mTailRaw = mRaw.size();
    }
}

bool FieldText::isQuoteAt(std::size_t position) const {
    return mRaw.substr(std::min(position, mRaw.size())).starts_with(mQuote);
}

std::size_t FieldText::readOne(std::size_t position) {
    const std::size_t textBegin = mText.size();
    const std::size_t next = mDialect.encoding.readCharacter(mRaw, position, mText);
    if (mText.size() > textBegin) {
        mCharacters.push_back({static_cast<std::uint32_t>(textBegin),
                               static_cast<std::uint32_t>(position),
                               static_cast<std::uint32_t>(next - position)});
    }
    return next;
}

void FieldText::readQuoted(std::size_t position) {
    while (position < mRaw.size()) {
        if (!isQuoteAt(position)) {
            position = readOne(position);
        } else if (isQuoteAt(position + mQuote.size())) {
            readOne(position);
            position += 2 * mQuote.size();
        } else {
            mClosed = true;
            mTail = mText.size();
            mTailRaw = position + mQuote.size();
            readPlain(mTailRaw);
            return;
        }
    }
}

void FieldText::readPlain(std::size_t position) {
    while (position < mRaw.size()) position = readOne(position);
}

std::string FieldText::encode(std::string_view utf8) const {
    const std::optional<std::string> bytes = mDialect.encoding.encode(utf8);
    if (!bytes) {
        throw Error::refused("The replacement has a character that the file's encoding, " +
                             mDialect.encoding.name() + ", cannot hold");
    }
    return *bytes;
}

// The bytes of the text in front of `upTo`, with the spans replaced.
std::string FieldText::build(std::size_t upTo, const std::vector<TextSpan>& spans,
                             std::string_view replacement, bool doubled) const {
    const std::string inserted =
        encode(doubled ? brindle::text::replaceAll(replacement, "\"", "\"\"", CaseMode::Exact)
                       : std::string(replacement));
    std::string bytes;
    auto span = spans.begin();
    for (const Character& character : mCharacters) {
        if (character.text >= upTo) break;
        while (span != spans.end() && span->end <= character.text && span->begin < span->end)
            ++span;
        if (span != spans.end() && character.text >= span->begin && character.text < span->end) {
            if (character.text == span->begin) bytes += inserted;
            continue;
        }
        if (doubled && mText[character.text] == '"') bytes += mQuote;
        bytes += mRaw.substr(character.raw, character.rawLength);
    }
    return bytes;
}

bool FieldText::needsQuotes(std::string_view text) const {
    const char special[] = {'"', '\r', '\n', mDialect.separator};
    return text.find_first_of(std::string_view(special, sizeof special)) != std::string_view::npos;
}

std::string FieldText::rewrite(const std::vector<TextSpan>& spans, std::string_view replacement,
                               bool originallyQuoted) const {
    const std::string newText = replaceSpans(mText, spans, replacement);
    if (brindle::text::lengthUtf16(newText) > kLongestCell) {
        throw Error::refused("The text would be longer than a cell can hold");
    }
    const bool addedQuotes = mQuoted && !originallyQuoted;
    const bool quote = addedQuotes
                           ? needsQuotes(newText)
                           : mQuoted || needsQuotes(replacement) || newText.starts_with('"');
    if (!quote) return build(mText.size(), spans, replacement, false);
    const bool keepsTail = mTail < mText.size() && (spans.empty() || spans.back().end <= mTail);
    const std::size_t upTo = keepsTail ? mTail : mText.size();
    std::string bytes = mQuote + build(upTo, spans, replacement, true);
    if (mClosed || !mQuoted) bytes += mQuote;
    if (keepsTail) bytes += mRaw.substr(mTailRaw);
    return bytes;
}

}  // namespace brindle::workbook::textfile
