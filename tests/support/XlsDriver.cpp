// SPDX-License-Identifier: MIT
// Shows what the parts of the product make of a binary workbook, and what they write. PASSWORD may
// be empty.
//     xls_driver formulas FILE PASSWORD
//         a line for each formula: sheet, row, column, kind and text, tabs between; the tokens in
//         hexadecimal behind "!" when it cannot be shown; "\\", "\n", "\t" are escaped
//     xls_driver time FILE PASSWORD COUNT
//         shows them COUNT times and prints what each takes
//     xls_driver compile FILE PASSWORD
//         compiles all of them from their text: a line for each thing counted, behind its count and
//         a tab, then, behind an empty line, what does not come out as it is stored
//     xls_driver properties FILE PASSWORD
//         a line for each document property: "builtin" or "custom", its index, and "text" with the
//         text in hexadecimal or the kind of the error by its number
//     xls_driver set FILE PASSWORD [builtin|custom INDEX TEXT]...
//         changes them in FILE and says which changes are refused
//     xls_driver rebuild FILE PASSWORD FOLDER
//         writes the property streams with every value set to what it is, as 0 and 1
//     xls_driver decrypt FILE PASSWORD NEW
//         writes the workbook stream in the clear
//     xls_driver encrypt FILE PASSWORD NEW STREAM
//         writes FILE with another workbook stream, given in the clear
//     xls_driver seal FILE PASSWORD NEW ENCRYPTION NAME CONTENT
//         gives a property set in the stream "encryption" another content, under the key of FILE
// Exit status 2 and a line on standard error when the file is refused.
#include <fcntl.h>

#include <chrono>
#include <cstdio>
#include <fstream>
#include <functional>
#include <string>
#include <vector>

#include "base/Error.h"
#include "base/FileIo.h"
#include "base/LittleEndian.h"
#include "FormulaRecompile.h"
#include "workbook/FormatTable.h"
#include "workbook/xls/encryption/EncryptedProperties.h"
#include "workbook/xls/properties/PropertyStreams.h"
#include "XlsFormulas.h"

namespace {

using namespace brindle;
using namespace brindle::workbook;
using namespace brindle::workbook::xls;

// The words behind the name of the command.
using Words = std::vector<std::string>;

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
    std::string text;
    char digits[3];
    for (const char c : bytes) {
        std::snprintf(digits, sizeof digits, "%02x", static_cast<unsigned char>(c));
        text += digits;
    }
    return text;
}

WorkbookFile fileOf(const Words& words) {
    return {std::make_unique<InputFile>(words.at(0)), words.at(1), "windows-1252"};
}

void write(const std::string& path, std::string_view bytes) {
    std::ofstream(path, std::ios::binary) << bytes;
}

void listFormulas(const Words& words) {
    constexpr const char* kKinds[] = {"own", "shared", "array", "table", "lost"};
    XlsFormulas book(words.at(0), words.at(1));
    for (const XlsFormulaSheet& sheet : book.sheets()) {
        const FormulaDecoder decoder(book.codec(), sheet.links);
        for (const XlsFormula& formula : sheet.formulas) {
            const auto text = XlsFormulas::text(decoder, formula);
            const std::string shown =
                text ? escaped(*text) : "!" + hexadecimal(formula.tokens.tokens);
            std::printf("%s\t%d\t%d\t%s\t%s\n", escaped(sheet.name).c_str(), formula.cell.row,
                        formula.cell.column, kKinds[static_cast<int>(formula.kind)], shown.c_str());
        }
    }
}

void timeFormulas(const Words& words) {
    XlsFormulas book(words.at(0), words.at(1));
    std::string text;
    std::size_t decoded = 0;
    const auto begin = std::chrono::steady_clock::now();
    for (int count = std::stoi(words.at(2)); count > 0; --count) {
        for (const XlsFormulaSheet& sheet : book.sheets()) {
            const FormulaDecoder decoder(book.codec(), sheet.links);
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

void compileFormulas(const Words& words) {
    XlsFormulas book(words.at(0), words.at(1));
    const RecompileResult result = recompile(book);
    for (const auto& [what, count] : result.counts) std::printf("%zu\t%s\n", count, what.c_str());
    std::printf("\n");
    for (const std::string& line : result.details) std::printf("%s\n", line.c_str());
}

std::unique_ptr<Document> documentOf(const Words& words) {
    OpenOptions options;
    options.password = options.writeResPassword = words.at(1);
    return openDocument(words.at(0), options);
}

void listProperties(const Words& words) {
    const auto document = documentOf(words);
    for (const bool custom : {false, true}) {
        for (std::size_t i = 0; i < document->propertyCount(custom); ++i) {
            std::printf("%s %zu ", custom ? "custom" : "builtin", i);
            try {
                std::printf("text %s\n", hexadecimal(document->propertyText(custom, i)).c_str());
            } catch (const Error& error) {
                std::printf("%d\n", static_cast<int>(error.kind()));
            }
        }
    }
}

void setProperties(const Words& words) {
    const auto document = documentOf(words);
    for (std::size_t i = 2; i + 2 < words.size(); i += 3) {
        const std::size_t index = std::stoul(words[i + 1]);
        try {
            document->setPropertyText(words[i] == "custom", index, words[i + 2]);
        } catch (const Error& error) {
            std::printf("%s %zu: %s\n", words[i].c_str(), index, error.what());
        }
    }
    document->save();
}

void rebuild(PropertySet& set, const std::string& target) {
    constexpr std::uint32_t kMostIds = 256;
    for (const FormatId& format : {kSummaryFormat, kDocumentSummaryFormat, kUserDefinedFormat}) {
        for (std::uint32_t id = 1; id < kMostIds; ++id) {
            const auto found = set.storedValue({format, id});
            if (!found) continue;
            set.setValue({format, id}, littleEndian(std::uint32_t{found->value.type}) +
                                           std::string(found->value.data));
        }
    }
    write(target, set.bytes());
}

void rebuildProperties(const Words& words) {
    const WorkbookFile file = fileOf(words);
    PropertyStreams streams(file.read(kSummaryStream), file.read(kDocumentSummaryStream));
    rebuild(streams.summary(), words.at(2) + "/0");
    rebuild(streams.documentSummary(), words.at(2) + "/1");
}

void decrypt(const Words& words) {
    write(words.at(2), fileOf(words).stream());
}

void encrypt(const Words& words) {
    const WorkbookFile file = fileOf(words);
    std::string stream = readWholeFile(words.at(3));
    const FileDescriptor descriptor(open(words.at(2).c_str(), O_CREAT | O_TRUNC | O_WRONLY, 0600));
    OutputFile out(descriptor.get(), words.at(2));
    file.write(out, stream, {});
}

void seal(const Words& words) {
    const WorkbookFile file = fileOf(words);
    if (!file.cipher() || !file.cipher()->propertyKeys()) {
        throw Error::damaged("The properties are not encrypted");
    }
    EncryptedProperties properties(readWholeFile(words.at(3)), *file.cipher()->propertyKeys());
    properties.replace(words.at(4), readWholeFile(words.at(5)));
    write(words.at(2), properties.bytes());
}

struct CommandRow {
    const char* name;
    void (*run)(const Words& words);
};

constexpr CommandRow kCommands[] = {
    {"formulas", listFormulas},     {"time", timeFormulas}, {"compile", compileFormulas},
    {"properties", listProperties}, {"set", setProperties}, {"rebuild", rebuildProperties},
    {"decrypt", decrypt},           {"encrypt", encrypt},   {"seal", seal},
};

}  // namespace

int main(int argc, char** argv) {
    const Words words(argv + 1, argv + argc);
    try {
        for (const CommandRow& command : kCommands) {
            if (words.at(0) != command.name) continue;
            command.run({words.begin() + 1, words.end()});
            return 0;
        }
        std::fprintf(stderr, "There is no command %s\n", words.at(0).c_str());
    } catch (const Error& error) {
        std::fprintf(stderr, "%s\n", error.what());
    }
    return 2;
}
