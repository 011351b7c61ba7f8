// SPDX-License-Identifier: MIT
// Number format codes, as far as they decide what the edit line shows.
#include <algorithm>
#include <array>
#include <vector>

#include "base/Text.h"
#include "workbook/NumberText.h"

namespace brindle::workbook {

namespace {

constexpr std::string_view kElapsedLetters = "hms";

// What the first section of a format code consists of, as far as it matters here.
struct SectionParts {
    std::vector<std::string> letterRuns;  // of y m d h s, lower case; "[" in front of elapsed time
    bool percent = false;
    bool text = false;
    bool dayHalf = false;  // AM/PM or A/P
};

// Reads a format code up to the end of its first section.
class SectionReader {
public:
    explicit SectionReader(std::string_view code) : mCode(code), mLower(text::lowerAscii(code)) {}

    SectionParts read() {
        while (mAt < mCode.size() && mCode[mAt] != ';') takeNext();
        return std::move(mParts);
    }

private:
    void takeNext() {
        const char c = mLower[mAt];
        if (c == '"') {
            mAt = behind('"');
        } else if (c == '\\' || c == '_' || c == '*') {
            mAt += 2;
        } else if (c == '[') {
            takeBrackets();
        } else if (startsWith("general")) {
            mAt += 7;
        } else if (startsWith("am/pm") || startsWith("a/p")) {
            mParts.dayHalf = true;
            mAt += startsWith("a/p") ? 3U : 5U;
        } else if (std::string_view("ymdhs").find(c) != std::string_view::npos) {
            takeLetterRun();
        } else {
            mParts.percent = mParts.percent || c == '%';
            mParts.text = mParts.text || c == '@';
            ++mAt;
        }
    }

    bool startsWith(std::string_view word) const {
        return mLower.compare(mAt, word.size(), word) == 0;
    }

    // The position behind the next `mark`, or the end of the code.
    std::size_t behind(char mark) const {
        const std::size_t found = mCode.find(mark, mAt + 1);
        return found == std::string_view::npos ? mCode.size() : found + 1;
    }

    // Elapsed time ([h], [mm]); colours, conditions and locales do not count.
    void takeBrackets() {
        const std::size_t end = behind(']');
        const std::size_t length = end - mAt < 2 ? 0 : end - mAt - 2;
        const std::string inside = mLower.substr(mAt + 1, length);
        const bool elapsed = !inside.empty() &&
                             kElapsedLetters.find(inside.front()) != std::string_view::npos &&
                             inside.find_first_not_of(inside.front()) == std::string::npos;
        if (elapsed) mParts.letterRuns.push_back("[" + inside);
        mAt = end;
    }

    void takeLetterRun() {
        const std::size_t end = std::min(mLower.find_first_not_of(mLower[mAt], mAt), mLower.size());
        mParts.letterRuns.push_back(mLower.substr(mAt, end - mAt));
        mAt = end;
    }

    std::string_view mCode;
    std::string mLower;
    std::size_t mAt = 0;
    SectionParts mParts;
};

// An m counts minutes beside hours or before seconds, else months.
bool isMonth(const std::vector<std::string>& runs, std::size_t at) {
    if (runs[at].front() != 'm') return false;
    if (runs[at].size() > 2) return true;
    const bool behindHours = at > 0 && runs[at - 1].back() == 'h';
    const bool beforeSeconds = at + 1 < runs.size() && runs[at + 1].back() == 's';
    return !behindHours && !beforeSeconds;
}

bool hasDate(const std::vector<std::string>& runs) {
    for (std::size_t i = 0; i < runs.size(); ++i) {
        const char letter = runs[i].front();
        if (letter == 'y' || letter == 'd' || isMonth(runs, i)) return true;
    }
    return false;
}

struct BuiltInFormat {
    int id;
    NumberFormatKind kind;
    std::string_view code;
};

using enum NumberFormatKind;

// Those without a code differ with the (East Asian) language of the program.
constexpr std::array kBuiltInFormats{
    BuiltInFormat{0, Plain, "General"},
    BuiltInFormat{1, Plain, "0"},
    BuiltInFormat{2, Plain, "0.00"},
    BuiltInFormat{3, Plain, "#,##0"},
    BuiltInFormat{4, Plain, "#,##0.00"},
    BuiltInFormat{5, Plain, R"("$"#,##0_);\("$"#,##0\))"},
    BuiltInFormat{6, Plain, R"("$"#,##0_);[Red]\("$"#,##0\))"},
    BuiltInFormat{7, Plain, R"("$"#,##0.00_);\("$"#,##0.00\))"},
    BuiltInFormat{8, Plain, R"("$"#,##0.00_);[Red]\("$"#,##0.00\))"},
    BuiltInFormat{9, Percent, "0%"},
    BuiltInFormat{10, Percent, "0.00%"},
    BuiltInFormat{11, Plain, "0.00E+00"},
    BuiltInFormat{12, Plain, "# ?/?"},
    BuiltInFormat{13, Plain, "# ?\?/?\?"},
    BuiltInFormat{14, Date, "m/d/yyyy"},
    BuiltInFormat{15, Date, "d-mmm-yy"},
    BuiltInFormat{16, Date, "d-mmm"},
    BuiltInFormat{17, Date, "mmm-yy"},
    BuiltInFormat{18, Time, "h:mm AM/PM"},
    BuiltInFormat{19, Time, "h:mm:ss AM/PM"},
    BuiltInFormat{20, Time, "h:mm"},
    BuiltInFormat{21, Time, "h:mm:ss"},
    BuiltInFormat{22, Date, "m/d/yyyy h:mm"},
    BuiltInFormat{27, Date, ""},
    BuiltInFormat{28, Date, ""},
    BuiltInFormat{29, Date, ""},
    BuiltInFormat{30, Date, ""},
    BuiltInFormat{31, Date, ""},
    BuiltInFormat{32, Time, ""},
    BuiltInFormat{33, Time, ""},
    BuiltInFormat{34, Date, ""},
    BuiltInFormat{35, Date, ""},
    BuiltInFormat{36, Date, ""},
    BuiltInFormat{37, Plain, R"(#,##0_);\(#,##0\))"},
    BuiltInFormat{38, Plain, R"(#,##0_);[Red]\(#,##0\))"},
    BuiltInFormat{39, Plain, R"(#,##0.00_);\(#,##0.00\))"},
    BuiltInFormat{40, Plain, R"(#,##0.00_);[Red]\(#,##0.00\))"},
    BuiltInFormat{41, Plain, R"(_(* #,##0_);_(* \(#,##0\);_(* "-"_);_(@_))"},
    BuiltInFormat{42, Plain, R"(_("$"* #,##0_);_("$"* \(#,##0\);_("$"* "-"_);_(@_))"},
    BuiltInFormat{43, Plain, R"(_(* #,##0.00_);_(* \(#,##0.00\);_(* "-"??_);_(@_))"},
    BuiltInFormat{44, Plain, R"(_("$"* #,##0.00_);_("$"* \(#,##0.00\);_("$"* "-"??_);_(@_))"},
    BuiltInFormat{45, Time, "mm:ss"},
    BuiltInFormat{46, Time, "[h]:mm:ss"},
    BuiltInFormat{47, Time, "mm:ss.0"},
    BuiltInFormat{48, Plain, "##0.0E+0"},
    BuiltInFormat{49, Text, "@"},
    BuiltInFormat{50, Date, ""},
    BuiltInFormat{51, Date, ""},
    BuiltInFormat{52, Date, ""},
    BuiltInFormat{53, Date, ""},
    BuiltInFormat{54, Date, ""},
    BuiltInFormat{55, Date, ""},
    BuiltInFormat{56, Date, ""},
    BuiltInFormat{57, Date, ""},
    BuiltInFormat{58, Date, ""},
};

const BuiltInFormat* builtIn(int formatId) {
    const auto found =
        std::find_if(kBuiltInFormats.begin(), kBuiltInFormats.end(),
                     [formatId](const BuiltInFormat& format) { return format.id == formatId; });
    return found == kBuiltInFormats.end() ? nullptr : &*found;
}

}  // namespace

NumberFormatKind numberFormatKind(std::string_view formatCode) {
    const SectionParts parts = SectionReader(formatCode).read();
    if (hasDate(parts.letterRuns)) return Date;
    if (!parts.letterRuns.empty() || parts.dayHalf) return Time;
    if (parts.percent) return Percent;
    return parts.text ? Text : Plain;
}

NumberFormatKind builtInFormatKind(int formatId) {
    const BuiltInFormat* format = builtIn(formatId);
    return format ? format->kind : Plain;
}

std::string_view builtInFormatCode(int formatId) {
    const BuiltInFormat* format = builtIn(formatId);
    return format ? format->code : std::string_view();
}

}  // namespace brindle::workbook
