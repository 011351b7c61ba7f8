// SPDX-License-Identifier: MIT
#include "workbook/ooxml/SheetWriter.h"

#include <algorithm>
#include <map>
#include <set>

#include "base/Error.h"
#include "workbook/package/XmlScanner.h"

namespace brindle::workbook::ooxml {

namespace {

// The cells that are left of the shared formulas that lose their defining cell.
class OrphanCollector final : public CellSink {
public:
    struct Family {
        CellPosition first;
        std::uint64_t begin = 0;
        std::uint64_t end = 0;
        CellRange range;
    };

    OrphanCollector(const std::set<std::uint32_t>& lost, const std::set<CellPosition>& edited)
        : mLost(lost), mEdited(edited) {}

    void cell(const ScannedCell& cell) override {
        if (!cell.hasFormula || cell.formulaAttributes.empty()) return;
        const auto index = sharedFormulaIndex(cell);
        if (!index || !mLost.count(*index) || mEdited.count(cell.position)) return;
        // A cell that carries a text of its own does not follow the defining one.
        if (!cell.formula.empty()) return;
        const CellPosition at = cell.position;
        const auto [known, isNew] = mFamilies.emplace(*index, Family());
        Family& family = known->second;
        if (isNew) {
            family = {at, cell.begin, cell.end, {at.row, at.column, at.row, at.column}};
        }
        family.range.firstRow = std::min(family.range.firstRow, at.row);
        family.range.firstColumn = std::min(family.range.firstColumn, at.column);
        family.range.lastRow = std::max(family.range.lastRow, at.row);
        family.range.lastColumn = std::max(family.range.lastColumn, at.column);
    }

    const std::map<std::uint32_t, Family>& families() const { return mFamilies; }

private:
    const std::set<std::uint32_t>& mLost;
    const std::set<CellPosition>& mEdited;
    std::map<std::uint32_t, Family> mFamilies;
};

std::string rangeName(const CellRange& range) {
    const std::string first = cellName({range.firstRow, range.firstColumn});
    const std::string last = cellName({range.lastRow, range.lastColumn});
    return first == last ? first : first + ":" + last;
}

// The cell with its f element made the defining one.
std::string promoted(const FragmentContext& context, std::string_view raw, const CellRange& range,
                     const std::string& formula) {
    const std::string text = context.wrapped(raw);
    package::XmlScanner scanner(text);
    while (scanner.next() != package::XmlToken::EndOfInput) {
        if (scanner.depth() == 3 && scanner.localName() == "f") break;
    }
    const std::size_t begin = scanner.begin();
    const std::string name(scanner.qualifiedName());
    std::string start = "<" + name;
    for (const auto& attribute : scanner.attributes()) {
        if (attribute.qualifiedName == "ref") continue;
        start += " " + text.substr(attribute.begin, attribute.end - attribute.begin);
    }
    start +=
        " ref=\"" + rangeName(range) + "\">" + package::xmlEscaped(formula) + "</" + name + ">";
    scanner.skipElement();
    const std::string changed = text.substr(0, begin) + start + text.substr(scanner.end());
    return changed.substr(context.offset(), changed.size() - context.offset() - 4);
}

std::vector<Splice> promotions(std::string_view part, const CellTexts& texts,
                               const std::vector<const CellEdit*>& edits, Pulse pulse) {
    std::set<std::uint32_t> lost;
    for (const CellEdit* edit : edits) {
        if (edit->wasSharedMaster) lost.insert(*edit->oldSharedFormula);
    }
    std::vector<Splice> splices;
    if (lost.empty()) return splices;
    std::set<CellPosition> edited;
    for (const CellEdit* edit : edits) edited.insert(edit->cell.position);
    OrphanCollector collector(lost, edited);
    scanSheetText(part, collector, pulse);
    for (const auto& [index, family] : collector.families()) {
        const auto formula = texts.sharedFormulaAt(index, family.first);
        if (!formula) continue;
        const std::string_view raw = part.substr(family.begin, family.end - family.begin);
        splices.push_back(
            {family.begin, family.end, promoted(texts.context(), raw, family.range, *formula)});
    }
    return splices;
}

}  // namespace

std::vector<Splice> changedCells(std::string_view part, const CellTexts& texts,
                                 const std::vector<const CellEdit*>& edits, Pulse pulse) {
    std::vector<Splice> splices = promotions(part, texts, edits, pulse);
    for (const CellEdit* edit : edits) {
        const std::string_view raw = part.substr(edit->cell.begin, edit->cell.length);
        splices.push_back({edit->cell.begin, edit->cell.begin + edit->cell.length,
                           cellXml(texts.context(), raw, *edit)});
    }
    return splices;
}

}  // namespace brindle::workbook::ooxml
