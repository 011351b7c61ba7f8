// SPDX-License-Identifier: MIT
#include "workbook/xls/formula/LinkTable.h"

#include <utility>

#include "base/Error.h"
#include "workbook/formula/BookLinks.h"
#include "workbook/formula/FunctionNames.h"

namespace brindle::workbook::xls {
namespace {

using formula::SheetPrefix;

// How a name of this workbook is told from one of a sheet, as packages have it.
constexpr std::string_view kOwnBookPrefix = "[0]!";
constexpr std::string_view kOwnBookText = "0";
constexpr std::string_view kDeletedPrefix = "#REF!";
constexpr std::string_view kDeletedName = "#REF";

// Lists of the workbook's index.
constexpr std::size_t kSheetList = 0;
constexpr std::size_t kNameList = 1;
// Lists of the books' index; behind them two for each book.
constexpr std::size_t kBookList = 0;
constexpr std::size_t kAddInList = 1;
constexpr std::size_t sheetList(std::size_t book) {
    return 2 + 2 * book;
}
constexpr std::size_t nameList(std::size_t book) {
    return 3 + 2 * book;
}

bool appendBookSheets(std::string& out, const LinkedBook& book, std::uint16_t first,
                      std::uint16_t last) {
    if (first == kNoSheet) {
        formula::appendBookPrefix(out, book.path, {}, {});
    } else if (first == kDeletedSheet || last == kDeletedSheet) {
        formula::appendBookPrefix(out, book.path, kDeletedName, {});
    } else if (first >= book.sheets.size() || last >= book.sheets.size()) {
        return false;
    } else {
        formula::appendBookPrefix(out, book.path, book.sheets[first],
                                  first == last ? std::string_view() : book.sheets[last]);
    }
    return true;
}

const ExternName* nameOf(const LinkedBook& book, std::uint16_t index) {
    if (index == 0 || index > book.names.size()) return nullptr;
    const ExternName& name = book.names[index - 1];
    return name.name.empty() ? nullptr : &name;
}

bool appendBookName(std::string& out, const ExternSheets::Target& target, std::uint16_t index) {
    const ExternName* const name = nameOf(*target.book, index);
    if (name == nullptr) return false;
    std::uint16_t sheet = target.first;
    if (name->sheet != 0) sheet = static_cast<std::uint16_t>(name->sheet - 1);
    if (!appendBookSheets(out, *target.book, sheet, sheet)) return false;
    out += name->name;
    return true;
}

std::string_view withoutFunctionPrefix(std::string_view name) {
    return name.substr(formula::functionPrefixLength(name));
}

}  // namespace

// --- building

LinkTable::LinkTable(const StringCodec& codec) : LinkTable(codec, std::make_shared<Workbook>()) {}

LinkTable::LinkTable(const StringCodec& codec, std::shared_ptr<Workbook> workbook)
    : mCodec(&codec), mWorkbook(std::move(workbook)), mLinks(codec) {}

void LinkTable::setSheets(std::vector<std::string> names) {
    mWorkbook->prefixes.clear();
    for (const std::string& name : names) {
        mWorkbook->prefixes.push_back((formula::needsQuotes(name) ? formula::quoted(name) : name) +
                                      '!');
    }
    mWorkbook->sheets = std::move(names);
}

bool LinkTable::concerns(std::uint16_t recordId) {
    return recordId == record::kName || recordId == record::kName3 ||
           ExternSheets::concerns(recordId);
}

void LinkTable::learn(const Record& record, std::string_view body, std::size_t end) {
    if (record.id != record::kName && record.id != record::kName3) {
        mLinks.learn(record, body, end);
        return;
    }
    DefinedName name;
    try {
        name = parseName(body, *mCodec);
    } catch (const Error&) {
        // It keeps its number, and has no text.
    }
    // Sheets of a workbook have no names but those that they all share.
    if (!mIsOfSheet) mWorkbook->names.push_back(std::move(name));
}

LinkTable LinkTable::forSheet() const {
    if (mCodec->version() != Version::Biff5) return *this;
    LinkTable table(*mCodec, mWorkbook);
    table.mIsOfSheet = true;
    return table;
}

// --- tokens to text

bool LinkTable::appendPrefix(std::string& out, SheetLink sheets) const {
    const std::optional<Target> target = mLinks.target(sheets);
    if (!target) return false;
    switch (target->kind) {
        case LinkedBook::Kind::Own:
            return appendOwnPrefix(out, target->first, target->last);
        case LinkedBook::Kind::SameSheet:
            return true;
        case LinkedBook::Kind::Workbook:
            return appendBookSheets(out, *target->book, target->first, target->last);
        default:
            return false;
    }
}

bool LinkTable::appendOwnPrefix(std::string& out, std::uint16_t first, std::uint16_t last) const {
    const std::vector<std::string>& sheets = mWorkbook->sheets;
    if (first == kDeletedSheet || last == kDeletedSheet) {
        out += kDeletedPrefix;
    } else if (first == kNoSheet) {
        out += kOwnBookPrefix;
    } else if (first >= sheets.size() || last >= sheets.size()) {
        return false;
    } else if (first == last) {
        out += mWorkbook->prefixes[first];
    } else {
        const std::string both = sheets[first] + ':' + sheets[last];
        const bool plain =
            !formula::needsQuotes(sheets[first]) && !formula::needsQuotes(sheets[last]);
        out += plain ? both : formula::quoted(both);
        out += '!';
    }
    return true;
}

bool LinkTable::appendName(std::string& out, std::uint16_t index) const {
    const std::vector<DefinedName>& names = mWorkbook->names;
    if (index == 0 || index > names.size() || names[index - 1].name.empty()) return false;
    out += names[index - 1].name;
    return true;
}

bool LinkTable::appendExternName(std::string& out, std::uint16_t number,
                                 std::uint16_t index) const {
    const std::optional<Target> target = mLinks.target({number, kNoSheet, kNoSheet});
    if (!target) return false;
    switch (target->kind) {
        case LinkedBook::Kind::Own:
            return appendOwnName(out, *target, index);
        case LinkedBook::Kind::AddIn: {
            const ExternName* const name = nameOf(*target->book, index);
            if (name != nullptr) out += name->name;
            return name != nullptr;
        }
        case LinkedBook::Kind::Workbook:
            return appendBookName(out, *target, index);
        default:
            return false;
    }
}

bool LinkTable::appendOwnName(std::string& out, const Target& target, std::uint16_t index) const {
    const std::vector<DefinedName>& names = mWorkbook->names;
    if (index == 0 || index > names.size() || names[index - 1].name.empty()) return false;
    const DefinedName& name = names[index - 1];
    std::uint16_t sheet = target.first;
    if (name.sheet != 0) sheet = static_cast<std::uint16_t>(name.sheet - 1);
    if (!appendOwnPrefix(out, sheet, sheet)) return false;
    out += name.name;
    return true;
}

// --- text to tokens

const NameIndex& LinkTable::workbookIndex() const {
    std::optional<NameIndex>& index = mWorkbook->index;
    if (!index) {
        index.emplace();
        for (std::size_t i = 0; i < mWorkbook->sheets.size(); ++i) {
            index->add(kSheetList, mWorkbook->sheets[i], static_cast<std::uint32_t>(i));
        }
        for (std::size_t i = 0; i < mWorkbook->names.size(); ++i) {
            index->add(kNameList, mWorkbook->names[i].name, static_cast<std::uint32_t>(i));
        }
    }
    return *index;
}

const NameIndex& LinkTable::bookIndex() const {
    if (mBookIndex) return *mBookIndex;
    mBookIndex.emplace();
    const std::vector<LinkedBook>& books = mLinks.books();
    for (std::uint32_t i = 0; i < books.size(); ++i) {
        const LinkedBook& book = books[i];
        if (book.kind == LinkedBook::Kind::Workbook) mBookIndex->add(kBookList, book.path, i);
        for (std::uint32_t j = 0; j < book.sheets.size(); ++j) {
            mBookIndex->add(sheetList(i), book.sheets[j], j);
        }
        for (std::uint32_t j = 0; j < book.names.size(); ++j) {
            mBookIndex->add(nameList(i), book.names[j].name, j);
            if (book.kind == LinkedBook::Kind::AddIn) {
                mBookIndex->add(kAddInList, book.names[j].name, i);
            }
        }
    }
    return *mBookIndex;
}

std::optional<std::uint16_t> LinkTable::ownSheet(std::string_view name) const {
    const auto& found = workbookIndex().find(kSheetList, name);
    if (found.empty() || found.front() >= kNoSheet) return std::nullopt;
    return static_cast<std::uint16_t>(found.front());
}

const std::vector<std::uint32_t>& LinkTable::booksOf(std::string_view path) const {
    return bookIndex().find(kBookList, path);
}

std::optional<std::uint16_t> LinkTable::bookSheet(std::size_t book, std::string_view name) const {
    const auto& found = bookIndex().find(sheetList(book), name);
    if (found.empty() || found.front() >= kNoSheet) return std::nullopt;
    return static_cast<std::uint16_t>(found.front());
}

std::optional<SheetLink> LinkTable::sheetLink(const SheetPrefix& prefix) {
    const bool isRange = !prefix.lastSheet.empty();
    if (prefix.book.empty()) {
        if (prefix.deletedSheet) {
            return mLinks.linkToOwn(kDeletedSheet, kDeletedSheet, mWorkbook->sheets);
        }
        const auto first = ownSheet(prefix.firstSheet);
        const auto last = isRange ? ownSheet(prefix.lastSheet) : first;
        if (!first || !last || *first > *last) return std::nullopt;
        return mLinks.linkToOwn(*first, *last, mWorkbook->sheets);
    }
    if (prefix.firstSheet.empty()) return std::nullopt;
    for (const std::uint32_t book : booksOf(formula::bookPath(prefix))) {
        if (prefix.deletedSheet) return mLinks.linkTo(book, kDeletedSheet, kDeletedSheet);
        const auto first = bookSheet(book, prefix.firstSheet);
        const auto last = isRange ? bookSheet(book, prefix.lastSheet) : first;
        if (first && last && *first <= *last) return mLinks.linkTo(book, *first, *last);
    }
    return std::nullopt;
}

std::optional<std::uint16_t> LinkTable::ownName(std::string_view shownName,
                                                std::size_t scope) const {
    for (const std::uint32_t number : workbookIndex().find(kNameList, shownName)) {
        if (number < 0xFFFF && mWorkbook->names[number].sheet == scope) {
            return static_cast<std::uint16_t>(number + 1);
        }
    }
    return std::nullopt;
}

std::optional<NameLink> LinkTable::name(std::string_view shownName, std::size_t sheet) const {
    auto index = ownName(shownName, sheet + 1);
    if (!index) index = ownName(shownName, 0);
    return index ? std::optional<NameLink>({std::nullopt, *index}) : std::nullopt;
}

std::optional<NameLink> LinkTable::function(std::string_view shownName, std::size_t sheet) {
    const std::string_view bare = withoutFunctionPrefix(shownName);
    if (const auto own = name(bare, sheet)) return own;
    for (const std::uint32_t book : bookIndex().find(kAddInList, bare)) {
        if (const auto link = bookName(book, SheetPrefix(), bare)) return link;
    }
    return std::nullopt;
}

std::optional<NameLink> LinkTable::name(const SheetPrefix& prefix, std::string_view shownName) {
    const bool isBookAlone = prefix.book.empty();
    if ((isBookAlone && ownSheet(prefix.firstSheet)) || prefix.book == kOwnBookText) {
        return ownNameBehind(prefix, shownName);
    }
    // A book without a path or sheet looks like a sheet.
    const std::string path = isBookAlone ? prefix.firstSheet : formula::bookPath(prefix);
    for (const std::uint32_t book : booksOf(path)) {
        const auto link = bookName(book, isBookAlone ? SheetPrefix() : prefix, shownName);
        if (link) return link;
    }
    return std::nullopt;
}

std::optional<NameLink> LinkTable::ownNameBehind(const SheetPrefix& prefix,
                                                 std::string_view shownName) {
    if (!prefix.lastSheet.empty()) return std::nullopt;
    std::optional<std::uint16_t> index;
    std::uint16_t sheet = kNoSheet;
    if (const auto own = ownSheet(prefix.firstSheet)) {
        index = ownName(shownName, *own + 1U);
        if (index) sheet = *own;
    }
    // A sheet in front of a name of the workbook means the workbook.
    if (!index) index = ownName(shownName, 0);
    if (!index) return std::nullopt;
    const auto link = mLinks.linkToOwn(sheet, sheet, mWorkbook->sheets);
    return link ? std::optional<NameLink>({link, *index}) : std::nullopt;
}

std::optional<NameLink> LinkTable::bookName(std::size_t book, const SheetPrefix& prefix,
                                            std::string_view shownName) {
    std::uint16_t scope = 0;
    std::uint16_t sheet = kNoSheet;
    if (!prefix.firstSheet.empty()) {
        const auto found = bookSheet(book, prefix.firstSheet);
        if (!found || !prefix.lastSheet.empty()) return std::nullopt;
        if (mCodec->version() == Version::Biff8) {
            scope = static_cast<std::uint16_t>(*found + 1);
        } else {
            sheet = *found;
        }
    }
    for (const std::uint32_t number : bookIndex().find(nameList(book), shownName)) {
        if (number >= 0xFFFF || mLinks.books()[book].names[number].sheet != scope) continue;
        const auto link = mLinks.linkTo(book, sheet, sheet);
        if (!link) return std::nullopt;
        return NameLink{link, static_cast<std::uint16_t>(number + 1)};
    }
    return std::nullopt;
}

}  // namespace brindle::workbook::xls
