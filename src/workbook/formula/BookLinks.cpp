// SPDX-License-Identifier: MIT
#include "workbook/formula/BookLinks.h"

#include <algorithm>
#include <optional>

#include "base/Error.h"
#include "base/Text.h"
#include "workbook/formula/CellReference.h"
#include "workbook/formula/SheetPrefix.h"

namespace brindle::workbook::formula {
namespace {

// External references are numbered from 1; 0 is the workbook itself.
std::optional<std::size_t> bookNumber(std::string_view book) {
    if (book.empty() || book.size() > 6) return std::nullopt;
    std::size_t number = 0;
    for (const char c : book) {
        if (c < '0' || c > '9') return std::nullopt;
        number = number * 10 + static_cast<std::size_t>(c - '0');
    }
    return number;
}

std::string joinedSheets(std::string_view first, std::string_view last) {
    std::string sheets(first);
    if (!last.empty()) sheets.append(1, ':') += last;
    return sheets;
}

bool anySheetNeedsQuotes(std::string_view first, std::string_view last) {
    if (first.empty() || text::equals(first, "#REF", CaseMode::Folded)) return false;
    return needsQuotes(first) || (!last.empty() && needsQuotes(last));
}

// Between "[" and "]" a file name may begin with anything that a name may hold.
bool isPlainFileName(std::string_view name) {
    return std::all_of(name.begin(), name.end(), isNameCharacter) &&
           name.find_first_of("\\?") == std::string_view::npos;
}

std::optional<std::size_t> findBook(std::string_view path, const std::vector<std::string>& books) {
    for (std::size_t i = 0; i < books.size(); ++i) {
        if (text::equals(path, books[i], CaseMode::Folded)) return i + 1;
    }
    return std::nullopt;
}

std::string storedForm(std::size_t number, const SheetPrefix& prefix) {
    const std::string inner =
        '[' + std::to_string(number) + ']' + joinedSheets(prefix.firstSheet, prefix.lastSheet);
    const bool plain =
        !anySheetNeedsQuotes(prefix.firstSheet, prefix.lastSheet) && text::isAscii(inner);
    return (plain ? inner : quoted(inner)) + '!';
}

}  // namespace

void appendBookPrefix(std::string& out, std::string_view path, std::string_view firstSheet,
                      std::string_view lastSheet) {
    const std::size_t slash = path.find_last_of("\\/");
    const std::size_t fileAt = slash == std::string_view::npos ? 0 : slash + 1;
    const std::string_view file = path.substr(fileAt);
    std::string inner(path);
    bool plain = fileAt == 0;
    if (firstSheet.empty()) {
        plain = plain && !needsQuotes(file);
    } else {
        inner.insert(fileAt, 1, '[').append(1, ']') += joinedSheets(firstSheet, lastSheet);
        plain = plain && isPlainFileName(file) && !anySheetNeedsQuotes(firstSheet, lastSheet);
    }
    out += plain ? inner : quoted(inner);
    out += '!';
}

std::string bookPath(const SheetPrefix& prefix) {
    std::string path = prefix.book;
    const std::size_t bracket = path.rfind('[');
    if (bracket != std::string::npos) path.erase(bracket, 1);
    return path;
}

std::string shownBookPrefix(std::string_view stored, const std::vector<std::string>& books) {
    const SheetPrefix prefix = parseSheetPrefix(stored);
    const std::optional<std::size_t> number = bookNumber(prefix.book);
    if (!number || *number == 0 || *number > books.size()) return std::string(stored);
    const std::string& path = books[*number - 1];
    // Data exchange links have no form of this kind.
    if (path.empty() || path.find('|') != std::string::npos) return std::string(stored);

    std::string shown;
    appendBookPrefix(shown, path, prefix.firstSheet, prefix.lastSheet);
    return shown;
}

std::string storedBookPrefix(std::string_view shown, const std::vector<std::string>& books,
                             bool beforeName) {
    const SheetPrefix prefix = parseSheetPrefix(shown);
    if (prefix.book.empty()) {
        if (!beforeName || !prefix.lastSheet.empty()) return std::string(shown);
        const std::optional<std::size_t> number = findBook(prefix.firstSheet, books);
        return number ? storedForm(*number, SheetPrefix()) : std::string(shown);
    }
    if (const auto number = bookNumber(prefix.book); number && *number == 0) {
        return std::string(shown);
    }
    const std::optional<std::size_t> number = findBook(bookPath(prefix), books);
    if (!number) throw Error::refused("The formula you typed contains an error");
    return storedForm(*number, prefix);
}

}  // namespace brindle::workbook::formula
