// SPDX-License-Identifier: MIT
#include "workbook/xls/StoredPattern.h"

namespace brindle::workbook::xls {

namespace {

// Bytes of which those bits are free in which their alternatives differ.
class Alternatives {
public:
    void addByte() {
        mBytes += '\0';
        mFreeBits += '\0';
        mIsSet = false;
    }
    // One more form of what the last `form.size()` bytes may be.
    void addForm(std::string_view form) {
        const std::size_t begin = mBytes.size() - form.size();
        for (std::size_t i = 0; i < form.size(); ++i) {
            char& byte = mBytes[begin + i];
            char& freeBits = mFreeBits[begin + i];
            if (!mIsSet) byte = form[i];
            freeBits = static_cast<char>(freeBits | (byte ^ form[i]));
        }
        mIsSet = true;
    }
    // The last byte may be anything.
    void freeByte() { mFreeBits.back() = '\xFF'; }
    bool isLastByteTelling() const { return static_cast<unsigned char>(mBytes.back()) >= 0x20; }
    bool isSet() const { return mIsSet; }
    MaskedBytes made() const { return {mBytes, mFreeBits}; }

private:
    std::string mBytes;
    std::string mFreeBits;
    bool mIsSet = false;
};

std::u32string formsOf(char32_t character, CaseMode mode) {
    if (mode == CaseMode::Exact) return {character};
    const char32_t folded = text::foldCodePoint(character);
    return folded + text::otherCases(folded);
}

}  // namespace

std::optional<StoredPattern> StoredPattern::of(std::string_view text, CaseMode mode) {
    if (text.empty() || !text::isValidUtf8(text)) return std::nullopt;
    Alternatives narrow;
    Alternatives wide;
    bool hasNarrow = true;
    const bool isLong = text::lengthUtf16(text) > 1;
    for (std::size_t position = 0; position < text.size();) {
        narrow.addByte();
        wide.addByte();
        wide.addByte();
        for (const char32_t form : formsOf(text::nextCodePoint(text, position), mode)) {
            if (form > 0xFFFF) return std::nullopt;
            const char bytes[] = {static_cast<char>(form & 0xFF), static_cast<char>(form >> 8)};
            wide.addForm({bytes, 2});
            if (form <= 0xFF) narrow.addForm({bytes, 1});
        }
        // In most scripts the high bytes are alike all over a text, and tell nothing.
        if (isLong && !wide.isLastByteTelling()) wide.freeByte();
        hasNarrow = hasNarrow && narrow.isSet();
    }
    return StoredPattern{hasNarrow ? std::optional(narrow.made()) : std::nullopt, wide.made()};
}

}  // namespace brindle::workbook::xls
