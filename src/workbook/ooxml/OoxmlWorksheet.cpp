// SPDX-License-Identifier: MIT
#include "workbook/ooxml/OoxmlWorksheet.h"

#include <algorithm>
#include <set>

#include "base/Error.h"
#include "workbook/NumberText.h"
#include "workbook/ooxml/Attributes.h"
#include "workbook/ooxml/IsoDate.h"
#include "workbook/ooxml/OoxmlDocument.h"
#include "workbook/ooxml/OoxmlNames.h"
#include "workbook/ooxml/SheetWriter.h"
#include "workbook/ooxml/Xstring.h"
#include "workbook/package/XmlScanner.h"

namespace brindle::workbook::ooxml {

using package::XmlScanner;
using package::XmlToken;

OoxmlWorksheet::OoxmlWorksheet(OoxmlDocument& document, const SheetEntry& entry)
    : mDocument(document), mEntry(entry) {}

bool OoxmlWorksheet::isIndexed() const {
    return mIndex && mIndexGeneration == mDocument.generation();
}

SheetIndex& OoxmlWorksheet::indexFor(const CellMatch& match) {
    mDocument.patternsFor(match);
    if (!isIndexed()) buildIndex();
    return *mIndex;
}

namespace {

// A search would see one of the two and a save change the other. Programs never write that.
void checkNoCellTwice(const package::ZipArchive& archive, std::size_t member) {
    class Positions final : public CellSink {
    public:
        void cell(const ScannedCell& cell) override { positions.push_back(cell.position); }
        std::vector<CellPosition> positions;
    };
    Positions cells;
    scanSheet(archive, member, cells, [&cells] { cells.positions.clear(); });
    std::sort(cells.positions.begin(), cells.positions.end());
    const auto twice = std::adjacent_find(cells.positions.begin(), cells.positions.end());
    if (twice == cells.positions.end()) return;
    throw Error::damaged("A cell is written twice")
        .inMember(archive.members()[member].name)
        .inCell(cellName(*twice));
}

}  // namespace

void OoxmlWorksheet::buildIndex() {
    const PatternSet& patterns = mDocument.patterns();
    mTexts = std::make_unique<CellTexts>(mDocument.texts());
    mIndex = std::make_unique<SheetIndex>(*mTexts, patterns);
    mIndexGeneration = mDocument.generation();
    const Package& package = mDocument.package();
    const std::size_t member = package.memberOf(mEntry.partName);
    try {
        mFrame = scanSheet(package.archive(), member, *mIndex, [this] { mIndex->restart(); });
        if (!mIndex->isOrdered()) checkNoCellTwice(package.archive(), member);
    } catch (...) {
        mIndex.reset();
        throw;
    }
    mIndex->finish();
    for (const auto& [position, edit] : mEdits) {
        mIndex->candidates().setMask(edit.cell, patterns.matching(edit.content.text.str()));
    }
}

std::optional<CellPosition> OoxmlWorksheet::findCell(const CellMatch& match, CellPosition after) {
    SheetIndex& index = indexFor(match);
    const Candidate* found = index.candidates().findBehind(
        after, mDocument.patterns().bitOf(match),
        [&](const Candidate& candidate) { return match.matches(currentText(candidate)); });
    if (!found) return std::nullopt;
    return found->position;
}

std::string OoxmlWorksheet::currentText(const Candidate& candidate) {
    const auto edit = mEdits.find(candidate.position);
    if (edit != mEdits.end()) return edit->second.content.text.str();
    return stateInFile(candidate).content.text.str();
}

std::string_view OoxmlWorksheet::part() {
    if (!mPart) mPart.emplace(mDocument.package().read(mEntry.partName));
    return mPart->view();
}

namespace {

// Passes the one cell of a piece of a sheet on, at the place where it really stands.
template <typename Use>
class OneCell final : public CellSink {
public:
    OneCell(CellPosition position, const Use& use) : mPosition(position), mUse(use) {}
    void cell(const ScannedCell& cell) override {
        ScannedCell placed = cell;
        placed.position = mPosition;
        mUse(placed);
    }

private:
    CellPosition mPosition;
    const Use& mUse;
};

}  // namespace

template <typename Use>
void OoxmlWorksheet::withScanned(const Candidate& candidate, const Use& use) {
    const std::string& prefix = mTexts->context().prefix();
    std::string piece = "<" + prefix + "sheetData><" + prefix + "row>";
    piece += part().substr(candidate.begin, candidate.length);
    piece += "</" + prefix + "row></" + prefix + "sheetData>";
    bool isTold = false;
    const auto tell = [&](const ScannedCell& cell) {
        isTold = true;
        use(cell);
    };
    OneCell<decltype(tell)> sink(candidate.position, tell);
    try {
        scanSheetText(mTexts->context().wrapped(piece), sink);
    } catch (const Error& error) {
        if (error.kind() != ErrorKind::Damaged) throw;
        isTold = false;
    }
    // Cut out of its row, it lacks a namespace that is declared between it and the root.
    if (!isTold) throw Error::refused("The cell is written in a form that cannot be changed");
}

OoxmlWorksheet::State OoxmlWorksheet::stateOf(const Candidate& candidate) {
    const auto edit = mEdits.find(candidate.position);
    if (edit == mEdits.end()) return stateInFile(candidate);
    State state;
    state.content = edit->second.content;
    state.sharedFormula = edit->second.oldSharedFormula;
    state.isSharedMaster = edit->second.wasSharedMaster;
    return state;
}

namespace {

bool holdsNumber(const ScannedCell& cell, bool date1904) {
    return cell.value.empty() || parseDecimal(cell.value) ||
           (cell.type == CellType::Date && serialOfIsoDate(cell.value, date1904));
}

}  // namespace

OoxmlWorksheet::State OoxmlWorksheet::stateInFile(const Candidate& candidate) {
    State state;
    CellContent& content = state.content;
    content.style = candidate.style;
    SharedStrings& strings = mDocument.texts().strings;
    if (candidate.sharedString != Candidate::kNoString) {
        const RichText item = strings.item(candidate.sharedString);
        content.kind = EnteredCell::Kind::Text;
        content.text = item.text();
        content.item = item.content();
        return state;
    }
    withScanned(candidate, [&](const ScannedCell& cell) {
        content.text = mTexts->textOf(cell);
        state.sharedFormula = cell.hasFormula ? sharedFormulaIndex(cell) : std::nullopt;
        state.isSharedMaster = state.sharedFormula && !cell.formula.empty() &&
                               mTexts->sharedMaster(*state.sharedFormula) == cell.position;
        if (cell.hasFormula) {
            content.kind = EnteredCell::Kind::Formula;
            if (!cell.formula.empty()) {
                content.formula = package::xmlText(cell.formula);
            } else if (state.sharedFormula) {
                content.formula =
                    mTexts->sharedFormulaAt(*state.sharedFormula, cell.position).value_or("");
            }
            if (rawAttribute(cell.formulaAttributes, "t") == "array") {
                content.arrayReference = rawAttribute(cell.formulaAttributes, "ref");
            }
        } else if (cell.type == CellType::InlineString) {
            content.kind = EnteredCell::Kind::Text;
            content.item = std::string(cell.inlineItem);
            content.isInline = true;
        } else if (cell.type == CellType::String) {
            content.kind = EnteredCell::Kind::Text;
            content.isInline = !strings.exists();
            const FragmentContext& context =
                content.isInline ? mTexts->context() : strings.context();
            content.item = RichText::plain(context, content.text.str());
        } else if (cell.type == CellType::Boolean) {
            content.kind = EnteredCell::Kind::Boolean;
        } else if (cell.type == CellType::Error) {
            content.kind = EnteredCell::Kind::Error;
        } else {
            content.kind = EnteredCell::Kind::Number;
            state.isNoNumber = !holdsNumber(cell, mDocument.texts().date1904);
        }
    });
    return state;
}

const SheetFrame& OoxmlWorksheet::frame() {
    if (!mFrame) {
        const Package& package = mDocument.package();
        mFrame = readSheetFrame(package.archive(), package.memberOf(mEntry.partName));
    }
    return *mFrame;
}

void OoxmlWorksheet::readFrame() {
    if (mIsFrameRead) return;
    std::set<std::string> tables;  // each once, however often it is named
    XmlScanner scanner(frame().text);
    for (XmlToken token = scanner.next(); token != XmlToken::EndOfInput; token = scanner.next()) {
        if (token != XmlToken::StartElement) continue;
        if (scanner.localName() == "sheetProtection" && scanner.depth() == 2) {
            mIsProtected = isTrue(scanner, "sheet");
        } else if (scanner.localName() == "tablePart" && scanner.depth() == 3) {
            const Relationship* table =
                mDocument.package().relationshipById(mEntry.partName, relationshipId(scanner));
            if (table && !table->isExternal) tables.insert(table->partName);
        }
    }
    mTables = std::make_unique<TableParts>(mDocument.package(), tables);
    mIsFrameRead = true;
}

std::vector<CellEdit*> OoxmlWorksheet::edits() {
    std::vector<CellEdit*> list;
    for (auto& [position, edit] : mEdits) list.push_back(&edit);
    return list;
}

bool OoxmlWorksheet::isChanged() const {
    return !mEdits.empty() || (mLinks && mLinks->isChanged()) || (mPages && mPages->isChanged());
}

void OoxmlWorksheet::changePart(Package& package) {
    std::vector<Splice> splices;
    if (mLinks) splices = mLinks->changes().sheet;
    if (mPages) {
        for (Splice& splice : mPages->splices()) splices.push_back(std::move(splice));
    }
    std::vector<const CellEdit*> written;
    for (const auto& [position, edit] : mEdits) {
        if (!edit.isInPlace) written.push_back(&edit);
    }
    if (splices.empty() && written.empty()) return;
    const std::string_view text = part();
    for (Splice& splice : splices) {
        splice.begin = frame().inPart(splice.begin, text.size());
        splice.end = frame().inPart(splice.end, text.size());
    }
    if (!written.empty()) {
        for (Splice& splice : changedCells(text, *mTexts, written, package.pulse())) {
            splices.push_back(std::move(splice));
        }
    }
    package.changePart(mEntry.partName, *mPart, std::move(splices));
    mPart.reset();  // a large part should not stand in memory longer than needed
}

std::map<std::string, std::string> OoxmlWorksheet::changedPartsBeside() const {
    std::map<std::string, std::string> parts;
    if (mTables) parts = mTables->changedParts();
    if (!mLinks) return parts;
    const RelationshipChanges changes = mLinks->changes().relationships;
    if (!changes.isEmpty()) {
        const std::string name = relationshipPartName(mEntry.partName);
        parts[name] = changedRelationships(mDocument.package().read(name).view(), changes);
    }
    return parts;
}

}  // namespace brindle::workbook::ooxml
