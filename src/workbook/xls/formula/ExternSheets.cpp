// SPDX-License-Identifier: MIT
#include "workbook/xls/formula/ExternSheets.h"

#include <algorithm>
#include <utility>

#include "base/Error.h"
#include "base/LittleEndian.h"

namespace brindle::workbook::xls {
namespace {

constexpr std::size_t kMostLinks = 0x7FFF;  // of a signed number, which BIFF5 has
constexpr std::size_t kRangeSize = 6;

std::uint64_t rangeKey(const SheetRange& range) {
    return (static_cast<std::uint64_t>(range.book) << 32) |
           (static_cast<std::uint64_t>(range.first) << 16) | range.last;
}

}  // namespace

bool ExternSheets::concerns(std::uint16_t recordId) {
    switch (recordId) {
        case record::kExternCount:
        case record::kExternSheet:
        case record::kExternName:
        case record::kExternName3:
        case record::kExternCache:
        case record::kExternCacheRow:
        case record::kSupBook:
        case record::kBoundSheet:
        case record::kCountry:
        case record::kDefColWidth:
        case record::kColInfo:
        case record::kDimensions:
            return true;
        default:
            return false;
    }
}

void ExternSheets::learn(const Record& record, std::string_view body, std::size_t end) {
    learnPlace(record, end);
    try {
        learnLinks(record.id, body);
    } catch (const Error&) {
        // One link that leads nowhere is no reason to refuse the workbook.
        const bool isExternSheet = record.id == record::kExternSheet;
        if (isExternSheet && mCodec->version() == Version::Biff8) {
            mCanGrow = false;
        } else if (isExternSheet || record.id == record::kSupBook) {
            mBooks.emplace_back();
        } else if (!mBooks.empty()) {
            mBooks.back().names.emplace_back();
        }
    }
}

void ExternSheets::learnLinks(std::uint16_t id, std::string_view body) {
    const bool isBiff8 = mCodec->version() == Version::Biff8;
    switch (id) {
        case record::kSupBook:
            mBooks.push_back(parseSupBook(body, *mCodec));
            break;
        case record::kExternSheet:
            if (isBiff8) {
                const std::vector<SheetRange> ranges = parseSheetRanges(body);
                mRanges.insert(mRanges.end(), ranges.begin(), ranges.end());
            } else {
                mBooks.push_back(parseExternSheet(body, *mCodec));
            }
            break;
        case record::kExternName:
        case record::kExternName3:
            if (!mBooks.empty()) mBooks.back().names.push_back(parseExternName(body, *mCodec));
            break;
        default:
            break;
    }
}

void ExternSheets::learnPlace(const Record& record, std::size_t end) {
    const bool isBiff8 = mCodec->version() == Version::Biff8;
    switch (record.id) {
        case record::kExternSheet:
            if (isBiff8) {
                // What goes in front of it must stand behind all books.
                if (mRangesSpan) mCanGrow = false;
                mRangesSpan = Span{record.offset, end};
            }
            mPlace = end;
            break;
        case record::kExternCount:
            mCountSpan = Span{record.offset, end};
            mPlace = end;
            break;
        case record::kSupBook:
            if (mRangesSpan) mCanGrow = false;
            mPlace = end;
            break;
        case record::kExternName:
        case record::kExternName3:
        case record::kExternCache:
        case record::kExternCacheRow:
            mPlace = end;
            break;
        case record::kBoundSheet:
        case record::kCountry:
            if (isBiff8) mPlace = end;
            break;
        case record::kDefColWidth:
        case record::kColInfo:
        case record::kDimensions:
            if (!isBiff8 && !mPlace) mPlace = record.offset;
            break;
        default:
            break;
    }
}

std::optional<ExternSheets::Target> ExternSheets::target(SheetLink link) const {
    Target target;
    if (mCodec->version() == Version::Biff8) {
        if (link.number >= mRanges.size()) return std::nullopt;
        const SheetRange& range = mRanges[link.number];
        if (range.book >= mBooks.size()) return std::nullopt;
        target.book = &mBooks[range.book];
        target.kind = target.book->kind;
        target.first = range.first;
        target.last = range.last;
        return target;
    }
    const int number = static_cast<std::int16_t>(link.number);
    const auto position = static_cast<std::size_t>(std::abs(number));
    if (position > 0 && position <= mBooks.size()) target.book = &mBooks[position - 1];
    if (number < 0) {
        target.kind = LinkedBook::Kind::Own;
        target.first = link.first;
        target.last = link.last;
        return target;
    }
    if (target.book == nullptr) return std::nullopt;
    target.kind = target.book->kind;
    target.first = target.last = target.book->sheets.empty() ? kNoSheet : 0;
    return target;
}

// --- links that a new formula needs

std::optional<SheetLink> ExternSheets::linkToOwn(std::uint16_t first, std::uint16_t last,
                                                 const std::vector<std::string>& sheets) {
    if (mCodec->version() != Version::Biff8) return listedOwn(first, last, sheets);
    const std::optional<std::size_t> book = ownBook(sheets.size());
    return book ? linkTo(*book, first, last) : std::nullopt;
}

std::optional<SheetLink> ExternSheets::linkTo(std::size_t book, std::uint16_t first,
                                              std::uint16_t last) {
    if (mCodec->version() == Version::Biff8) {
        const auto number = numberOf({static_cast<std::uint16_t>(book), first, last});
        return number ? std::optional<SheetLink>({*number, 0, 0}) : std::nullopt;
    }
    if (book >= mBooks.size() || book >= kMostLinks) return std::nullopt;
    const std::uint16_t only = mBooks[book].sheets.empty() ? kNoSheet : 0;
    if (first != only || last != only) return std::nullopt;
    return SheetLink{static_cast<std::uint16_t>(book + 1), 0, 0};
}

std::optional<std::uint16_t> ExternSheets::numberOf(const SheetRange& range) {
    if (mNumbers.empty()) {
        for (std::size_t i = 0; i < mRanges.size(); ++i) {
            mNumbers.try_emplace(rangeKey(mRanges[i]), static_cast<std::uint16_t>(i));
        }
    }
    const auto known = mNumbers.find(rangeKey(range));
    if (known != mNumbers.end()) return known->second;
    if (!mCanGrow || !mPlace || mRanges.size() >= kMostLinks) return std::nullopt;
    const auto number = static_cast<std::uint16_t>(mRanges.size());
    mRanges.push_back(range);
    mNumbers.emplace(rangeKey(range), number);
    mIsChanged = true;
    return number;
}

std::optional<std::size_t> ExternSheets::ownBook(std::size_t sheetCount) {
    const auto own = std::find_if(mBooks.begin(), mBooks.end(), [](const LinkedBook& book) {
        return book.kind == LinkedBook::Kind::Own;
    });
    if (own != mBooks.end()) return static_cast<std::size_t>(own - mBooks.begin());
    if (!mCanGrow || !mPlace || mBooks.size() >= kMostLinks) return std::nullopt;
    LinkedBook book;
    book.kind = LinkedBook::Kind::Own;
    mBooks.push_back(std::move(book));
    mNewRecords = ownSupBook(sheetCount);
    mIsChanged = true;
    return mBooks.size() - 1;
}

std::optional<SheetLink> ExternSheets::listedOwn(std::uint16_t first, std::uint16_t last,
                                                 const std::vector<std::string>& sheets) {
    if (mCodec->version() != Version::Biff5) return std::nullopt;
    if (mOwnNumbers.empty()) {
        for (std::size_t i = 0; i < mBooks.size() && i < kMostLinks; ++i) {
            if (mBooks[i].kind != LinkedBook::Kind::Own) continue;
            const std::string name = mBooks[i].sheets.empty() ? "" : mBooks[i].sheets.front();
            mOwnNumbers.try_emplace(name, static_cast<std::uint16_t>(i + 1));
        }
    }
    const std::string name = first < sheets.size() ? sheets[first] : "";
    auto known = mOwnNumbers.find(name);
    if (known == mOwnNumbers.end()) {
        if (!mCanGrow || !mPlace || mBooks.size() >= kMostLinks) return std::nullopt;
        mNewRecords += ownExternSheet(name, *mCodec);
        LinkedBook book;
        book.kind = LinkedBook::Kind::Own;
        if (!name.empty()) book.sheets.push_back(name);
        mBooks.push_back(std::move(book));
        known = mOwnNumbers.emplace(name, static_cast<std::uint16_t>(mBooks.size())).first;
        mIsChanged = true;
    }
    return SheetLink{static_cast<std::uint16_t>(-known->second), first, last};
}

// --- records

std::string ExternSheets::rangesRecord() const {
    std::string body = littleEndian(static_cast<std::uint16_t>(mRanges.size()));
    std::string records;
    std::uint16_t id = record::kExternSheet;
    for (const SheetRange& range : mRanges) {
        if (body.size() + kRangeSize > longestBody(Version::Biff8)) {
            appendRecord(records, std::exchange(id, record::kContinue), body);
            body.clear();
        }
        body += littleEndian(range.book);
        body += littleEndian(range.first);
        body += littleEndian(range.last);
    }
    appendRecord(records, id, body);
    return records;
}

std::vector<RecordSplice> ExternSheets::splices() const {
    if (!mIsChanged) return {};
    if (mCodec->version() == Version::Biff8) {
        const Span span = mRangesSpan.value_or(Span{*mPlace, *mPlace});
        return {{span.begin, span.end, mNewRecords + rangesRecord()}};
    }
    std::string count;
    appendRecord(count, record::kExternCount,
                 littleEndian(static_cast<std::uint16_t>(mBooks.size())));
    if (!mCountSpan) return {{*mPlace, *mPlace, count + mNewRecords}};
    return {{mCountSpan->begin, mCountSpan->end, count}, {*mPlace, *mPlace, mNewRecords}};
}

}  // namespace brindle::workbook::xls
