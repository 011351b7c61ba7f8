// SPDX-License-Identifier: MIT
// Any bytes are a text document. What is found and what a replacement leaves is judged by the
// naive rules, where those know the encoding; an undone replacement gives the same bytes.
#include <stdlib.h>

#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "base/CodePages.h"
#include "base/Error.h"
#include "base/Text.h"
#include "tests/support/NaiveText.h"
#include "workbook/text/TextFormat.h"

namespace {

using namespace brindle;
using namespace brindle::workbook;
using Fields = std::map<CellPosition, std::string>;

std::string gFolder;

void check(bool good) {
    if (!good) std::abort();
}

std::string readAll(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

std::unique_ptr<Document> openText(const std::string& path) {
    OpenOptions options;
    return textfile::open(std::make_unique<InputFile>(path), options);
}

// The texts of a file without a mark and without a separator line.
Fields fieldsOf(const std::string& bytes, char separator) {
    static const CodePage kCodePage("windows-1252");
    Fields fields = test::naiveFields(bytes, separator);
    for (auto& [cell, text] : fields) text = kCodePage.decode(text);
    return fields;
}

bool isNaive(const std::string& bytes) {
    return !bytes.starts_with("\xEF\xBB\xBF") && !bytes.starts_with("\xFF\xFE") &&
           !bytes.starts_with("\xFE\xFF") && !bytes.starts_with("sep=") && bytes.size() < 30'000;
}

void checkFound(const Fields& fields, const CellMatch& match,
                const std::vector<CellPosition>& found) {
    auto next = found.begin();
    for (const auto& [cell, text] : fields) {
        if (!match.matches(text)) continue;
        check(next != found.end() && *next == cell);
        ++next;
    }
    check(next == found.end());
}

// All matching cells in row order.
std::vector<CellPosition> findAll(Worksheet& sheet, const CellMatch& match) {
    std::vector<CellPosition> cells;
    for (CellPosition at{0, 0};;) {
        const auto found = sheet.findCell(match, at);
        if (!found || *found <= at) return cells;
        cells.push_back(at = *found);
    }
}

void replaceAll(Worksheet& sheet, const CellMatch& match, const std::string& with) {
    for (const CellPosition& cell : findAll(sheet, match)) sheet.replaceInCell(cell, match, with);
}

struct Case {
    bool comma;
    bool exact;
    bool whole;
    std::string find;
    std::string with;
    std::string content;
};

Case caseOf(std::string data) {
    Case made{};
    data.resize(std::max<std::size_t>(data.size(), 3));
    const auto flags = static_cast<unsigned char>(data[0]);
    made.comma = (flags & 1) != 0;
    made.exact = (flags & 2) != 0;
    made.whole = (flags & 4) != 0;
    const std::size_t findLength = static_cast<unsigned char>(data[1]) % 8;
    const std::size_t withLength = static_cast<unsigned char>(data[2]) % 8;
    data.erase(0, 3);
    made.find = data.substr(0, findLength);
    data.erase(0, findLength);
    made.with = data.substr(0, withLength);
    data.erase(0, withLength);
    made.content = data;
    return made;
}

void tryReplacing(const std::string& path, const Case& it, const CellMatch& match) {
    const char separator = it.comma ? ',' : '\t';
    Fields expected = fieldsOf(it.content, separator);
    for (auto cell = expected.begin(); cell != expected.end();) {
        cell->second = replaceSpans(cell->second, match.spans(cell->second), it.with);
        cell = cell->second.empty() ? expected.erase(cell) : std::next(cell);
    }
    const auto document = openText(path);
    replaceAll(document->worksheet(0), match, it.with);
    document->save();
    const std::string after = readAll(path);
    if (isNaive(it.content) && isNaive(after)) check(fieldsOf(after, separator) == expected);
}

void tryUndoing(const std::string& path, const std::string& content) {
    const CellMatch forward("a", CaseMode::Exact, false);
    const std::string odd = "\",\r\t%";
    if (content.find("%") != std::string::npos) return;
    std::ofstream(path, std::ios::binary) << content;
    const auto document = openText(path);
    replaceAll(document->worksheet(0), forward, odd);
    replaceAll(document->worksheet(0), CellMatch(odd, CaseMode::Exact, false), "a");
    check(!document->isChanged());
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    std::string name = (std::filesystem::temp_directory_path() / "brindle fuzz XXXXXX").string();
    if (mkdtemp(name.data()) == nullptr) return 1;
    gFolder = name;
    std::atexit([] { std::filesystem::remove_all(gFolder); });
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const Case it = caseOf(std::string(reinterpret_cast<const char*>(data), size));
    // Patterns are UTF-8; whoever takes them from outside sees to that.
    if (!text::isValidUtf8(it.find) || !text::isValidUtf8(it.with)) return 0;
    const std::string path = gFolder + (it.comma ? "/a.csv" : "/a.txt");
    std::ofstream(path, std::ios::binary | std::ios::trunc) << it.content;
    try {
        const CellMatch match(it.find, it.exact ? CaseMode::Exact : CaseMode::Folded, it.whole);
        const auto document = openText(path);
        const auto found = findAll(document->worksheet(0), match);
        if (isNaive(it.content)) {
            checkFound(fieldsOf(it.content, it.comma ? ',' : '\t'), match, found);
        }
        tryReplacing(path, it, match);
        tryUndoing(path, it.content);
    } catch (const Error& error) {
        // Refusals and UTF-32 are expected of foreign bytes, faults of ours are not.
        check(error.kind() != ErrorKind::Internal);
    }
    return 0;
}
