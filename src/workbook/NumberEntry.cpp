// SPDX-License-Identifier: MIT
#include <algorithm>
#include <string>

#include "base/Text.h"
#include "workbook/EntryForms.h"
#include "workbook/NumberText.h"

namespace brindle::workbook {

namespace {

constexpr std::size_t kSignificantDigits = 15;
constexpr std::size_t kFractionDigits = 3;  // of numerator and denominator
constexpr std::size_t kGroup = 3;

bool isDigit(char c) {
    return c >= '0' && c <= '9';
}

std::size_t countDigits(std::string_view text, std::size_t at) {
    std::size_t count = 0;
    while (at + count < text.size() && isDigit(text[at + count])) ++count;
    return count;
}

// Digits beyond the 15th significant one become 0.
void cutDigits(std::string& number) {
    std::size_t significant = 0;
    for (char& c : number) {
        if (!isDigit(c)) continue;
        if (significant > 0 || c != '0') ++significant;
        if (significant > kSignificantDigits) c = '0';
    }
}

class NumberReader {
public:
    explicit NumberReader(std::string_view text) : mText(text) {}

    std::optional<RecognisedNumber> read() {
        takeParentheses();
        if (!takePrefix() || !takeDigits()) return std::nullopt;
        takeExponent();
        const bool fraction = takeFraction();
        takeSuffix();
        if (mAt != mText.size() || (mCurrency && mPercent)) return std::nullopt;
        if (fraction && (mCurrency || mPercent || mDenominator == 0)) return std::nullopt;
        return result();
    }

private:
    bool at(char c) const { return mAt < mText.size() && mText[mAt] == c; }

    void takeParentheses() {
        if (mText.size() < 2 || mText.front() != '(' || mText.back() != ')') return;
        mText = text::trimBlanks(mText.substr(1, mText.size() - 2));
        mParentheses = true;
    }

    static bool takeOnce(bool& taken) {
        const bool first = !taken;
        taken = true;
        return first;
    }

    // Sign, currency and percent marks in any order, each once.
    bool takePrefix() {
        bool sign = mParentheses;
        for (; mAt < mText.size(); ++mAt) {
            const char c = mText[mAt];
            if (c == '+' || c == '-') {
                if (!takeOnce(sign)) return false;
                mNegative = c == '-';
            } else if (c == '$') {
                if (!takeOnce(mCurrency)) return false;
            } else if (c == '%') {
                if (!takeOnce(mPercent)) return false;
            } else if (c != ' ') {
                break;
            }
        }
        return true;
    }

    // "1234", "1,234", "1.5", ".5", "5."
    bool takeDigits() {
        std::size_t count = countDigits(mText, mAt);
        mNumber = mText.substr(mAt, count);
        mAt += count;
        while (count > 0 && at(',')) {
            if (mNumber.size() > kGroup && !mGrouped) return false;
            if (countDigits(mText, mAt + 1) != kGroup) return false;
            mNumber += mText.substr(mAt + 1, kGroup);
            mAt += 1 + kGroup;
            mGrouped = true;
        }
        if (!at('.')) return !mNumber.empty();
        const std::size_t decimals = countDigits(mText, ++mAt);
        mDecimals = decimals > 0;
        if (mNumber.empty() && !mDecimals) return false;
        mNumber += '.';
        mNumber += mText.substr(mAt, decimals);
        mAt += decimals;
        return true;
    }

    void takeExponent() {
        if (!at('E') && !at('e')) return;
        std::size_t end = mAt + 1;
        if (end < mText.size() && (mText[end] == '+' || mText[end] == '-')) ++end;
        const std::size_t count = countDigits(mText, end);
        if (count == 0) return;
        end += count;
        mExponent = mText.substr(mAt + 1, end - mAt - 1);
        mScientific = true;
        mAt = end;
    }

    // The "1/2" of "1 1/2".
    bool takeFraction() {
        if (mGrouped || mScientific || mNumber.find('.') != std::string::npos || !at(' ')) {
            return false;
        }
        const std::size_t numerator = std::min(mText.find_first_not_of(' ', mAt), mText.size());
        const std::size_t numeratorDigits = countDigits(mText, numerator);
        const std::size_t slash = numerator + numeratorDigits;
        if (slash >= mText.size() || mText[slash] != '/') return false;
        const std::size_t denominatorDigits = countDigits(mText, slash + 1);
        if (!isFractionPart(numeratorDigits) || !isFractionPart(denominatorDigits)) return false;
        mNumerator = std::stoi(std::string(mText.substr(numerator, numeratorDigits)));
        mDenominator = std::stoi(std::string(mText.substr(slash + 1, denominatorDigits)));
        mDenominatorDigits = denominatorDigits;
        mAt = slash + 1 + denominatorDigits;
        return true;
    }

    static bool isFractionPart(std::size_t digits) {
        return digits >= 1 && digits <= kFractionDigits;
    }

    void takeSuffix() {
        const std::size_t mark = mText.find_first_not_of(' ', mAt);
        if (mark == std::string_view::npos || mText[mark] != '%' || mPercent) return;
        mPercent = true;
        mAt = mark + 1;
    }

    std::optional<RecognisedNumber> result() {
        cutDigits(mNumber);
        if (mScientific) mNumber += 'E' + mExponent;
        std::optional<double> value = parseDecimal(mNumber);
        if (value && mPercent) value = hundredth(*value);
        if (!value) return std::nullopt;
        if (mDenominatorDigits > 0) *value += static_cast<double>(mNumerator) / mDenominator;
        const bool negative = (mNegative || mParentheses) && *value != 0;
        return RecognisedNumber{negative ? -*value : *value, formatCode()};
    }

    // Dividing the decimal text keeps 7% the double that 0.07 is.
    std::optional<double> hundredth(double value) const {
        if (mScientific) return value / 100;
        return parseDecimal(mNumber + "E-2");
    }

    std::string_view formatCode() const {
        if (mPercent) return builtInFormatCode(mDecimals ? 10 : 9);
        if (mCurrency) return builtInFormatCode(mDecimals ? 8 : 6);
        if (mScientific) return builtInFormatCode(11);
        if (mDenominatorDigits > 0) return fractionFormat();
        if (mGrouped) return builtInFormatCode(mDecimals ? 4 : 3);
        return {};
    }

    std::string_view fractionFormat() const {
        if (mDenominatorDigits > 2) return "# ?\?\?/?\?\?";
        return builtInFormatCode(mDenominatorDigits == 2 ? 13 : 12);
    }

    std::string_view mText;
    std::size_t mAt = 0;
    std::string mNumber;    // without groups, marks and exponent
    std::string mExponent;  // with its sign
    bool mParentheses = false;
    bool mNegative = false;
    bool mCurrency = false;
    bool mPercent = false;
    bool mGrouped = false;
    bool mDecimals = false;
    bool mScientific = false;
    int mNumerator = 0;
    int mDenominator = 0;
    std::size_t mDenominatorDigits = 0;
};

}  // namespace

std::optional<RecognisedNumber> recogniseNumber(std::string_view text) {
    return NumberReader(text).read();
}

}  // namespace brindle::workbook
