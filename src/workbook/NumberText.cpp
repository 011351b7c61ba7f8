// SPDX-License-Identifier: MIT
#include "workbook/NumberText.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <limits>

namespace brindle::workbook {

namespace {

constexpr int kSignificantDigits = 15;
constexpr int kLongestPlainText = 21;  // without the sign
constexpr std::string_view kNotFinite = "#NUM!";

// d.ddd times ten to the exponent; no trailing zeros, no digits at all for zero.
struct Decimal {
    bool negative = false;
    std::array<char, 20> digits{};
    int count = 0;
    int exponent = 0;
};

// Reads "d.ddde+xx" as std::to_chars writes it.
Decimal readScientific(const char* begin, const char* end) {
    Decimal decimal;
    for (; *begin != 'e'; ++begin) {
        if (*begin == '-') decimal.negative = true;
        if (*begin < '0' || *begin > '9') continue;
        decimal.digits[static_cast<std::size_t>(decimal.count++)] = *begin;
    }
    ++begin;
    if (*begin == '+') ++begin;
    std::from_chars(begin, end, decimal.exponent);
    while (decimal.count > 0 &&
           decimal.digits[static_cast<std::size_t>(decimal.count - 1)] == '0') {
        --decimal.count;
    }
    return decimal;
}

// Rounds to 15 digits what std::to_chars made of a double. Between a double and its shortest form
// there is no shorter number, so that both round alike unless the form is a tie; false then.
bool roundShortest(Decimal& decimal) {
    if (decimal.count <= kSignificantDigits) return true;
    const bool isTie =
        decimal.count == kSignificantDigits + 1 && decimal.digits[kSignificantDigits] == '5';
    if (isTie) return false;
    const bool isUp = decimal.digits[kSignificantDigits] >= '5';
    decimal.count = kSignificantDigits;
    const auto last = [&]() -> char& {
        return decimal.digits[static_cast<std::size_t>(decimal.count - 1)];
    };
    while (decimal.count > 0 && last() == (isUp ? '9' : '0')) --decimal.count;
    if (!isUp) return true;
    if (decimal.count > 0) {
        ++last();
    } else {
        decimal.digits[0] = '1';
        decimal.count = 1;
        ++decimal.exponent;
    }
    return true;
}

// The value rounded to 15 significant digits.
Decimal toDecimal(double value) {
    std::array<char, 40> text;
    char* const end = text.data() + text.size();
    // The shortest form is the quicker one to make, and with at most 15 digits it is the rounded
    // one, since so many digits survive the way through a double (of full precision).
    auto made = std::to_chars(text.data(), end, value, std::chars_format::scientific);
    Decimal decimal = readScientific(text.data(), made.ptr);
    const bool fullPrecision = std::fabs(value) >= std::numeric_limits<double>::min();
    if (fullPrecision && roundShortest(decimal)) return decimal;
    made = std::to_chars(text.data(), end, value, std::chars_format::scientific,
                         kSignificantDigits - 1);
    return readScientific(text.data(), made.ptr);
}

int plainLength(const Decimal& decimal) {
    if (decimal.exponent < 0) return 1 - decimal.exponent + decimal.count;
    const int whole = decimal.exponent + 1;
    return decimal.count > whole ? decimal.count + 1 : whole;
}

void appendPlain(std::string& out, const Decimal& decimal) {
    const auto count = static_cast<std::size_t>(decimal.count);
    if (decimal.exponent < 0) {
        out += "0.";
        out.append(static_cast<std::size_t>(-decimal.exponent - 1), '0');
        out.append(decimal.digits.data(), count);
        return;
    }
    const auto whole = static_cast<std::size_t>(decimal.exponent + 1);
    out.append(decimal.digits.data(), std::min(count, whole));
    if (count < whole) out.append(whole - count, '0');
    if (count > whole) {
        out += '.';
        out.append(decimal.digits.data() + whole, count - whole);
    }
}

void appendScientific(std::string& out, const Decimal& decimal) {
    out += decimal.digits[0];
    if (decimal.count > 1) {
        out += '.';
        out.append(decimal.digits.data() + 1, static_cast<std::size_t>(decimal.count - 1));
    }
    out += decimal.exponent < 0 ? "E-" : "E+";
    const int exponent = std::abs(decimal.exponent);
    if (exponent < 10) out += '0';
    out += std::to_string(exponent);
}

void appendDecimal(std::string& out, const Decimal& decimal) {
    if (decimal.count == 0) {
        out += '0';
        return;
    }
    if (decimal.negative) out += '-';
    if (plainLength(decimal) <= kLongestPlainText) {
        appendPlain(out, decimal);
    } else {
        appendScientific(out, decimal);
    }
}

// Most numbers are whole or have cents, whose digits are quickly told: a decimal number of at most
// 15 digits is the shortest one of its double, and no rounding changes it. False for others.
bool appendHundredths(std::string& out, double value) {
    const auto count = hundredths(value);
    if (!count) return false;
    const auto digits = static_cast<std::uint64_t>(std::abs(*count));
    const auto cents = static_cast<int>(digits % 100);
    std::array<char, 24> text;
    char* end = text.data();
    if (*count < 0) *end++ = '-';
    end = std::to_chars(end, text.data() + text.size(), digits / 100).ptr;
    if (cents != 0) {
        *end++ = '.';
        *end++ = static_cast<char>('0' + cents / 10);
        if (cents % 10 != 0) *end++ = static_cast<char>('0' + cents % 10);
    }
    out.append(text.data(), end);
    return true;
}

void appendNumber(std::string& out, double value) {
    if (!appendHundredths(out, value)) appendDecimal(out, toDecimal(value));
}

bool isDigit(char c) {
    return c >= '0' && c <= '9';
}

// Whether a stored text is what the number shows anyway.
bool isFinalForm(std::string_view stored) {
    if (!stored.empty() && stored.front() == '-') stored.remove_prefix(1);
    if (stored.empty() || stored.size() > kLongestPlainText) return false;
    const std::size_t point = std::min(stored.find('.'), stored.size());
    if (point == 0 || (point > 1 && stored.front() == '0')) return false;
    if (point < stored.size() && (stored.back() == '0' || stored.back() == '.')) return false;
    int significant = 0;
    for (std::size_t i = 0; i < stored.size(); ++i) {
        if (i == point) continue;
        if (!isDigit(stored[i])) return false;
        if (significant > 0 || stored[i] != '0') ++significant;
    }
    // Zero may have a sign that must go.
    return significant > 0 && significant <= kSignificantDigits;
}

// The power of ten of the first digit that is not zero; to tell an overflow from an underflow.
long magnitude(std::string_view number) {
    const std::size_t mark = std::min(number.find_first_of("eE"), number.size());
    long exponent = 0;
    if (mark < number.size())
        exponent = std::strtol(std::string(number.substr(mark + 1)).c_str(), nullptr, 10);
    const std::string_view mantissa = number.substr(0, mark);
    const std::size_t first = mantissa.find_first_of("123456789");
    if (first == std::string_view::npos) return 0;
    const std::size_t point = std::min(mantissa.find('.'), mantissa.size());
    return exponent + static_cast<long>(point) - static_cast<long>(first);
}

}  // namespace

std::optional<std::int64_t> hundredths(double value) {
    constexpr double kLimit = 1e13;
    if (!(std::fabs(value) < kLimit)) return std::nullopt;
    const auto count = static_cast<std::int64_t>(value * 100 + (value < 0 ? -0.5 : 0.5));
    return static_cast<double>(count) / 100 == value ? std::optional(count) : std::nullopt;
}

std::string numberText(double value) {
    std::string text;
    if (!std::isfinite(value)) return std::string(kNotFinite);
    appendNumber(text, value);
    return text;
}

bool appendNumberText(std::string& out, std::string_view stored) {
    if (isFinalForm(stored)) {
        out += stored;
        return true;
    }
    const std::optional<double> value = parseDecimal(stored);
    if (!value) return false;
    appendNumber(out, *value);
    return true;
}

std::string percentText(double value) {
    if (!std::isfinite(value)) return std::string(kNotFinite);
    Decimal decimal = toDecimal(value);
    decimal.exponent += 2;
    std::string text;
    appendDecimal(text, decimal);
    return text + '%';
}

std::string editText(double value, NumberFormatKind kind, bool date1904) {
    switch (kind) {
        case NumberFormatKind::Percent:
            return percentText(value);
        case NumberFormatKind::Date:
        case NumberFormatKind::Time:
            return dateText(value, kind, date1904);
        case NumberFormatKind::Plain:
        case NumberFormatKind::Text:
            break;
    }
    return numberText(value);
}

std::optional<double> parseDecimal(std::string_view text) {
    if (!text.empty() && text.front() == '+') {
        text.remove_prefix(1);
        if (!text.empty() && text.front() == '-') return std::nullopt;
    }
    const std::size_t first = !text.empty() && text.front() == '-' ? 1 : 0;
    // std::from_chars would also take "inf" and "nan".
    if (first >= text.size() || !(isDigit(text[first]) || text[first] == '.')) return std::nullopt;
    double value = 0;
    const auto read = std::from_chars(text.data(), text.data() + text.size(), value);
    if (read.ptr != text.data() + text.size()) return std::nullopt;
    if (read.ec == std::errc::result_out_of_range) {
        return magnitude(text) > 0 ? std::nullopt : std::optional(0.0);
    }
    if (read.ec != std::errc{}) return std::nullopt;
    return value;
}

std::string storedNumber(double value) {
    std::array<char, 40> text;
    if (value == 0) return "0";
    const auto made = std::to_chars(text.data(), text.data() + text.size(), value);
    std::replace(text.data(), made.ptr, 'e', 'E');
    return std::string(text.data(), made.ptr);
}

}  // namespace brindle::workbook
