// SPDX-License-Identifier: MIT
#include "workbook/formula/StructuredReference.h"

#include <utility>

#include "base/Text.h"

namespace brindle::workbook::formula {
namespace {

using Item = StructuredReference::Item;

constexpr std::pair<std::string_view, Item> kItems[] = {{"#all", Item::All},
                                                        {"#data", Item::Data},
                                                        {"#headers", Item::Headers},
                                                        {"#totals", Item::Totals},
                                                        {"#this row", Item::ThisRow}};

class Reader {
public:
    Reader(std::string_view inner, StructuredReference& result) : mRest(inner), mResult(result) {}

    bool read() {
        skipSpace();
        if (mRest.empty()) return true;
        if (mRest.front() == '@') return readThisRow();
        return mRest.front() == '[' ? readList() : readBare();
    }

private:
    void skipSpace() {
        const std::size_t next = mRest.find_first_not_of(" \t\r\n");
        mRest.remove_prefix(next == std::string_view::npos ? mRest.size() : next);
    }

    bool take(char symbol) {
        skipSpace();
        if (mRest.empty() || mRest.front() != symbol) return false;
        mRest.remove_prefix(1);
        return true;
    }

    // Up to the closing bracket or the end, escapes undone.
    bool readColumn(bool bracketed, std::string& column) {
        std::size_t at = 0;
        for (; at < mRest.size() && mRest[at] != ']'; ++at) {
            if (mRest[at] == '[') return false;
            if (mRest[at] == '\'' && ++at == mRest.size()) return false;
            column += mRest[at];
        }
        if (bracketed != (at < mRest.size()) || column.empty()) return false;
        mRest.remove_prefix(bracketed ? at + 1 : at);
        return true;
    }

    bool addItem(std::string_view name) {
        for (const auto& [text, item] : kItems) {
            if (!text::equals(name, text, CaseMode::Folded)) continue;
            mResult.items = static_cast<std::uint8_t>(mResult.items | item);
            return true;
        }
        return false;
    }

    bool readBare() {
        if (mRest.front() == '#') return addItem(text::trimBlanks(mRest));
        return readColumn(false, mResult.firstColumn);
    }

    bool readThisRow() {
        mRest.remove_prefix(1);
        mResult.items = Item::ThisRow;
        skipSpace();
        if (mRest.empty()) return true;
        if (mRest.front() != '[') return readColumn(false, mResult.firstColumn);
        mRest.remove_prefix(1);
        return readColumns() && atEnd();
    }

    // Behind the "[" of a column: a column or a span of columns.
    bool readColumns() {
        if (!readColumn(true, mResult.firstColumn)) return false;
        if (!take(':')) return true;
        return take('[') && readColumn(true, mResult.lastColumn);
    }

    bool readList() {
        do {
            if (!mResult.firstColumn.empty() || !take('[')) return false;
            if (!mRest.empty() && mRest.front() == '#') {
                const std::size_t close = mRest.find(']');
                if (close == std::string_view::npos || !addItem(mRest.substr(0, close)))
                    return false;
                mRest.remove_prefix(close + 1);
            } else if (!readColumns()) {
                return false;
            }
        } while (take(','));
        return atEnd();
    }

    bool atEnd() {
        skipSpace();
        return mRest.empty();
    }

    std::string_view mRest;
    StructuredReference& mResult;
};

}  // namespace

std::optional<StructuredReference> parseStructuredReference(std::string_view brackets) {
    StructuredReference result;
    result.written = brackets;
    if (!Reader(brackets.substr(1, brackets.size() - 2), result).read()) return std::nullopt;
    return result;
}

}  // namespace brindle::workbook::formula
