// SPDX-License-Identifier: MIT
#include "workbook/ooxml/CellTexts.h"

#include <charconv>
#include <cstring>
#include <iterator>

#include "base/Error.h"
#include "workbook/formula/CellReference.h"
#include "workbook/ooxml/IsoDate.h"
#include "workbook/ooxml/Xstring.h"
#include "workbook/package/XmlScanner.h"

namespace brindle::workbook::ooxml {

namespace {

// Bytes; 8,192 characters and the prefixes of stored names take less.
constexpr std::size_t kLongestShared = 65536;

bool holdsCharacter(std::string_view text, char c) {
    return !text.empty() && std::memchr(text.data(), c, text.size()) != nullptr;
}

std::string formulaText(const ScannedCell& cell) {
    return holdsCharacter(cell.formula, '&') || holdsCharacter(cell.formula, '\r')
               ? package::xmlText(cell.formula)
               : std::string(cell.formula);
}

bool isShownAsStored(std::string_view formula) {
    return !holdsCharacter(formula, '[') && formula.find("_x") == std::string_view::npos;
}

// At the start of `text`, which then is behind it.
bool takePosition(std::string_view& text, CellPosition& position) {
    formula::CellReference cell;
    const std::size_t length = formula::scanCell(text, 0, cell);
    if (length == 0) return false;
    position = {cell.row.index, cell.column.index};
    text.remove_prefix(length);
    return true;
}

// What the edit line shows in every cell of a what-if table, without the braces.
std::string dataTableText(std::string_view attributes) {
    const std::string first(rawAttribute(attributes, "r1"));
    const std::string second(rawAttribute(attributes, "r2"));
    const auto isTrue = [&](const char* name) {
        const std::string_view value = rawAttribute(attributes, name);
        return value == "1" || value == "true";
    };
    if (isTrue("dt2D")) return "=TABLE(" + first + "," + second + ")";
    return isTrue("dtr") ? "=TABLE(" + first + ",)" : "=TABLE(," + first + ")";
}

// Whether a stored number has a date, as nearly all do that are shown as one.
bool isSurelyDate(std::string_view stored) {
    std::size_t digits = 0;
    while (digits < stored.size() && stored[digits] >= '0' && stored[digits] <= '9') ++digits;
    // Six digits end in the year 4637; what follows must be a plain fraction.
    return digits > 0 && digits <= 6 &&
           stored.find_first_not_of("0123456789.", digits) == std::string_view::npos;
}

}  // namespace

std::optional<std::uint32_t> sharedFormulaIndex(const ScannedCell& cell) {
    if (cell.formulaAttributes.empty()) return std::nullopt;
    if (rawAttribute(cell.formulaAttributes, "t") != "shared") return std::nullopt;
    const std::string_view raw = rawAttribute(cell.formulaAttributes, "si");
    std::uint32_t index = 0;
    const auto [end, error] = std::from_chars(raw.data(), raw.data() + raw.size(), index);
    if (error != std::errc() || end != raw.data() + raw.size()) return std::nullopt;
    return index;
}

std::optional<CellRange> parseRange(std::string_view text) {
    CellPosition first;
    if (!takePosition(text, first)) return std::nullopt;
    CellPosition last = first;
    if (!text.empty()) {
        if (text.front() != ':') return std::nullopt;
        text.remove_prefix(1);
        if (!takePosition(text, last) || !text.empty()) return std::nullopt;
    }
    return CellRange{first.row, first.column, last.row, last.column};
}

std::uint32_t sharedStringIndex(const ScannedCell& cell) {
    // Asked for nearly every cell, hence by hand.
    std::uint32_t index = 0;
    if (cell.value.empty() || cell.value.size() > 9) return UINT32_MAX;
    for (const char c : cell.value) {
        if (c < '0' || c > '9') return UINT32_MAX;
        index = index * 10 + static_cast<std::uint32_t>(c - '0');
    }
    return index;
}

void CellTexts::restart() {
    mShared.clear();
    mBlocks.clear();
    mOpenBlocks.clear();
    mHasFormulas = false;
}

void CellTexts::learn(const ScannedCell& cell, const PatternSet& patterns) {
    if (!cell.hasFormula) return;
    mHasFormulas = true;
    if (!cell.formulaAttributes.empty()) learnFormula(cell, patterns);
}

void CellTexts::learnFormula(const ScannedCell& cell, const PatternSet& patterns) {
    const std::string_view type = rawAttribute(cell.formulaAttributes, "t");
    if (const auto index = sharedFormulaIndex(cell)) {
        if (cell.formula.empty() || mShared.count(*index)) return;
        const std::string text = formulaText(cell);
        // It is made anew for each of its cells.
        if (text.size() > kLongestShared) {
            throw Error::damaged("A shared formula is longer than a formula can be");
        }
        formula::SharedFormula shared(text, cell.position);
        // Another workbook is stored as a number and shown by its name.
        const PatternMask possible = isShownAsStored(text)
                                         ? patterns.possibleWithLetterRuns(shared.fixedText())
                                         : ~PatternMask{0};
        mShared.emplace(*index, Shared{std::move(shared), cell.position, possible});
    } else if (type == "array") {
        std::string shown = "=";
        appendShown(shown, formulaText(cell));
        learnBlock(cell, std::move(shown), false, patterns);
    } else if (type == "dataTable") {
        learnBlock(cell, dataTableText(cell.formulaAttributes), true, patterns);
    }
}

void CellTexts::learnBlock(const ScannedCell& cell, std::string shown, bool isDataTable,
                           const PatternSet& patterns) {
    const auto range = parseRange(rawAttribute(cell.formulaAttributes, "ref"));
    if (!range) return;
    const bool isOneCell =
        range->firstRow == range->lastRow && range->firstColumn == range->lastColumn;
    // A formula in a block of one cell is entered like any other; a what-if table never is.
    if (isOneCell && !isDataTable) return;
    // Blocks do not overlap: the defining cell stands in no other.
    if (openBlockAt(cell.position)) return;
    const PatternMask mask = patterns.matching(shown);
    mOpenBlocks[range->firstColumn] = mBlocks.size();
    mBlocks.push_back({*range, std::move(shown), isDataTable, mask});
}

// Of blocks that do not overlap, the next one to the left is the only one that can hold a cell.
const FormulaBlock* CellTexts::openBlockAt(CellPosition position) {
    for (auto behind = mOpenBlocks.upper_bound(position.column); behind != mOpenBlocks.begin();) {
        const auto open = std::prev(behind);
        const FormulaBlock& block = mBlocks[open->second];
        if (block.range.lastRow >= position.row) return block.holds(position) ? &block : nullptr;
        behind = mOpenBlocks.erase(open);
    }
    return nullptr;
}

const FormulaBlock* CellTexts::blockAt(CellPosition position) const {
    for (const FormulaBlock& block : mBlocks) {
        if (block.holds(position)) return &block;
    }
    return nullptr;
}

std::optional<std::string> CellTexts::sharedFormulaAt(std::uint32_t index,
                                                      CellPosition position) const {
    const auto shared = mShared.find(index);
    if (shared == mShared.end()) return std::nullopt;
    std::string text;
    shared->second.formula.appendTextAt(text, position);
    return text;
}

std::optional<CellPosition> CellTexts::sharedMaster(std::uint32_t index) const {
    const auto shared = mShared.find(index);
    if (shared == mShared.end()) return std::nullopt;
    return shared->second.master;
}

void CellTexts::appendShown(std::string& out, std::string_view stored) const {
    if (isShownAsStored(stored)) {
        out += stored;
    } else {
        out += formula::shownText(stored, mWorkbook.externalBooks);
    }
}

void CellTexts::appendFormula(std::string& out, const ScannedCell& cell) const {
    if (!cell.formula.empty()) {
        out += '=';
        if (holdsCharacter(cell.formula, '&') || holdsCharacter(cell.formula, '\r')) {
            appendShown(out, package::xmlText(cell.formula));
        } else {
            appendShown(out, cell.formula);
        }
        return;
    }
    const auto index = sharedFormulaIndex(cell);
    const auto shared = index ? mShared.find(*index) : mShared.end();
    if (shared == mShared.end()) return;
    out += '=';
    const std::size_t begin = out.size();
    shared->second.formula.appendTextAt(out, cell.position);
    if (const std::string_view stored = std::string_view(out).substr(begin);
        !isShownAsStored(stored)) {
        const std::string copy(stored);
        out.resize(begin);
        appendShown(out, copy);
    }
}

void CellTexts::appendNumber(std::string& out, const ScannedCell& cell) const {
    const NumberFormatKind kind = mWorkbook.styles.style(cell.style).kind;
    if (cell.type == CellType::Date) {
        const auto serial = serialOfIsoDate(cell.value, mWorkbook.date1904);
        if (serial) {
            out += editText(*serial, kind, mWorkbook.date1904);
        } else {
            out += xstring(cell.value);
        }
        return;
    }
    if (kind == NumberFormatKind::Plain || kind == NumberFormatKind::Text) {
        if (!appendNumberText(out, cell.value)) out += xstring(cell.value);
        return;
    }
    const auto value = parseDecimal(cell.value);
    if (value) {
        out += editText(*value, kind, mWorkbook.date1904);
    } else {
        out += xstring(cell.value);
    }
}

std::string CellTexts::textOf(const ScannedCell& cell) {
    const FormulaBlock* block = blockAt(cell.position);
    return block ? block->shown : ownText(cell);
}

// The text of a cell outside of every block.
std::string CellTexts::ownText(const ScannedCell& cell) {
    std::string out;
    if (cell.hasFormula) {
        appendFormula(out, cell);
        return out;
    }
    switch (cell.type) {
        case CellType::SharedString:
            if (cell.value.empty()) return {};
            return mWorkbook.strings.item(sharedStringIndex(cell)).text();
        case CellType::InlineString:
            if (!cell.hasInlineItem) return {};
            return RichText(mContext, cell.inlineItem).text();
        case CellType::Boolean:
            if (cell.value.empty()) return {};
            return cell.value == "1" || cell.value == "true" ? "TRUE" : "FALSE";
        case CellType::String:
        case CellType::Error:
            return xstring(cell.value);
        case CellType::Number:
        case CellType::Date:
            if (!cell.value.empty()) appendNumber(out, cell);
            return out;
    }
    return out;
}

PatternMask CellTexts::formulaMask(const ScannedCell& cell, const PatternSet& patterns) {
    PatternMask among = ~PatternMask{0};
    if (cell.formula.empty()) {
        const auto index = sharedFormulaIndex(cell);
        const auto shared = index ? mShared.find(*index) : mShared.end();
        if (shared == mShared.end() || shared->second.possible == 0) return 0;
        among = shared->second.possible;
    }
    mScratch.clear();
    appendFormula(mScratch, cell);
    return patterns.matching(mScratch, among);
}

PatternMask CellTexts::numberMask(const ScannedCell& cell, const PatternSet& patterns) {
    if (cell.value.empty() || patterns.possibleForNumbers() == 0) return 0;
    const NumberFormatKind kind = mWorkbook.styles.style(cell.style).kind;
    const PatternMask among = patterns.possible(kind, isSurelyDate(cell.value));
    if (among == 0) return 0;
    mScratch.clear();
    appendNumber(mScratch, cell);
    return patterns.matching(mScratch, among);
}

PatternMask CellTexts::stringMask(const ScannedCell& cell) const {
    return mWorkbook.strings.mask(sharedStringIndex(cell));
}

PatternMask CellTexts::maskOf(const ScannedCell& cell, const PatternSet& patterns) {
    if (const FormulaBlock* block = openBlockAt(cell.position)) return block->mask;
    if (cell.hasFormula) return formulaMask(cell, patterns);
    switch (cell.type) {
        case CellType::SharedString:
            return stringMask(cell);
        case CellType::Number:
        case CellType::Date:
            return numberMask(cell, patterns);
        case CellType::Boolean: {
            const PatternMask among = patterns.possible(TextClass::Boolean);
            return among == 0 ? 0 : patterns.matching(ownText(cell), among);
        }
        case CellType::Error: {
            const PatternMask among = patterns.possible(TextClass::Error);
            return among == 0 ? 0 : patterns.matching(ownText(cell), among);
        }
        case CellType::String:
        case CellType::InlineString:
            return patterns.matching(ownText(cell));
    }
    return 0;
}

}  // namespace brindle::workbook::ooxml
