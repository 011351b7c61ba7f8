// SPDX-License-Identifier: MIT
// Shows the formulas of binary workbooks:
//     formula_driver FILE
//         a line for each: sheet, row, column (from 1), kind (own, shared, array, table,
//         lost), text; parts apart by tabs, line breaks and backslashes of the text escaped; the
//         text of one that cannot be shown is the bytes of its tokens behind a "!"
//     formula_driver time COUNT FILE
//         decodes all of them COUNT times and tells nanoseconds for each
//     formula_driver compile FILE
//         compiles all of them from their text: a line for each thing counted, behind its count and
//         a tab, then, behind an empty line, what does not come out as it is stored
// Exit status 2 and a line on standard error when the file is refused.
#include <chrono>
#include <cstdio>
#include <string>

#include "base/Error.h"
#include "FormulaRecompile.h"
#include "XlsFormulas.h"

namespace {

using namespace brindle;
using namespace brindle::workbook::xls;

std::string escaped(std::string_view text) {
    std::string result;
    for (const char c : text) {
        if (c == '\n') {
            result += "\\n";
        } else if (c == '\t') {
            result += "\\t";
        } else {
            if (c == '\\') result += c;
            result += c;
        }
    }
    return result;
}

std::string hexadecimal(std::string_view bytes) {
    std::string text = "!";
    char digits[4];
    for (const char c : bytes) {
        std::snprintf(digits, sizeof digits, "%02x ", static_cast<unsigned char>(c));
        text += digits;
    }
    return text;
}

void list(const XlsFormulas& book) {
    constexpr const char* kKinds[] = {"own", "shared", "array", "table", "lost"};
    for (const XlsFormulaSheet& sheet : book.sheets()) {
        const FormulaDecoder decoder(book.codec(), *sheet.links);
        for (const XlsFormula& formula : sheet.formulas) {
            const auto text = XlsFormulas::text(decoder, formula);
            const std::string shown = text ? escaped(*text) : hexadecimal(formula.tokens.tokens);
            std::printf("%s\t%d\t%d\t%s\t%s\n", escaped(sheet.name).c_str(), formula.cell.row,
                        formula.cell.column, kKinds[static_cast<int>(formula.kind)], shown.c_str());
        }
    }
}

void measure(const XlsFormulas& book, int count) {
    std::string text;
    std::size_t decoded = 0;
    const auto begin = std::chrono::steady_clock::now();
    for (int i = 0; i < count; ++i) {
        for (const XlsFormulaSheet& sheet : book.sheets()) {
            const FormulaDecoder decoder(book.codec(), *sheet.links);
            for (const XlsFormula& formula : sheet.formulas) {
                text.clear();
                if (decoder.appendText(text, formula.tokens, formula.cell)) ++decoded;
            }
        }
    }
    const std::chrono::duration<double, std::nano> time = std::chrono::steady_clock::now() - begin;
    std::printf("%zu formulas, %.0f ns each\n", decoded,
                time.count() / static_cast<double>(decoded));
}

void compile(XlsFormulas&& book) {
    const RecompileResult result = recompile(book);
    for (const auto& [what, count] : result.counts) std::printf("%zu\t%s\n", count, what.c_str());
    std::printf("\n");
    for (const std::string& line : result.details) std::printf("%s\n", line.c_str());
}

}  // namespace

int main(int argc, char** argv) {
    const std::vector<std::string> words(argv + 1, argv + argc);
    try {
        if (words.at(0) == "time") {
            measure(XlsFormulas(words.at(2)), std::stoi(words.at(1)));
        } else if (words.at(0) == "compile") {
            compile(XlsFormulas(words.at(1)));
        } else {
            list(XlsFormulas(words.at(0)));
        }
    } catch (const Error& error) {
        std::fprintf(stderr, "%s\n", error.what());
        return 2;
    }
    return 0;
}
