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
#include "workbook/ooxml/SheetIndex.h"
#include "workbook/ooxml/SheetWriter.h"
#include "workbook/ooxml/Xstring.h"
#include "workbook/package/XmlScanner.h"

namespace brindle::workbook::ooxml {

using package::XmlScanner;
using package::XmlToken;

OoxmlWorksheet::OoxmlWorksheet(OoxmlDocument& document, const SheetEntry& entry)
    : EditedWorksheet(document), mDocument(document), mEntry(entry) {}

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

CandidateList OoxmlWorksheet::readCandidates(const PatternSet& patterns) {
    mTexts = std::make_unique<CellTexts>(mDocument.texts());
    SheetIndex index(*mTexts, patterns);
    const Package& package = mDocument.package();
    const std::size_t member = package.memberOf(mEntry.partName);
    mFrame = scanSheet(package.archive(), member, index, [&index] { index.restart(); });
    if (!index.isOrdered()) checkNoCellTwice(package.archive(), member);
    return index.finish();
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

namespace {

bool holdsNumber(const ScannedCell& cell, bool date1904) {
    return cell.value.empty() || parseDecimal(cell.value) ||
           (cell.type == CellType::Date && serialOfIsoDate(cell.value, date1904));
}

}  // namespace

CellContent OoxmlWorksheet::contentInFile(const Candidate& candidate) {
    CellContent content;
    content.style = candidate.style;
    SharedStrings& strings = mDocument.texts().strings;
    if (candidate.sharedString != Candidate::kNoString) {
        const RichText item = strings.item(candidate.sharedString);
        content.kind = EnteredCell::Kind::Text;
        content.text = item.text();
        content.item = item.content();
        return content;
    }
    withScanned(candidate, [&](const ScannedCell& cell) {
        content.text = mTexts->textOf(cell);
        content.sharedFormula = cell.hasFormula ? sharedFormulaIndex(cell) : std::nullopt;
        content.isSharedMaster = content.sharedFormula && !cell.formula.empty() &&
                                 mTexts->sharedMaster(*content.sharedFormula) == cell.position;
        if (cell.hasFormula) {
            content.kind = EnteredCell::Kind::Formula;
            if (!cell.formula.empty()) {
                content.formula = package::xmlText(cell.formula);
            } else if (content.sharedFormula) {
                content.formula =
                    mTexts->sharedFormulaAt(*content.sharedFormula, cell.position).value_or("");
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
            content.isNoNumber = !holdsNumber(cell, mDocument.texts().date1904);
        }
    });
    return content;
}

const SheetFrame& OoxmlWorksheet::frame() {
    if (!mFrame) {
        const Package& package = mDocument.package();
        mFrame = readSheetFrame(package.archive(), package.memberOf(mEntry.partName));
    }
    return *mFrame;
}

void OoxmlWorksheet::readFrame() {
    if (mTables) return;
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
}

bool OoxmlWorksheet::isProtected() {
    readFrame();
    return mIsProtected;
}

TableParts& OoxmlWorksheet::tables() {
    readFrame();
    return *mTables;
}

void OoxmlWorksheet::changePart(Package& package) {
    std::vector<Splice> splices;
    if (knownLinks()) splices = knownLinks()->changes().sheet;
    if (knownPages()) {
        for (Splice& splice : knownPages()->splices()) splices.push_back(std::move(splice));
    }
    std::vector<const CellEdit*> written;
    for (const CellEdit* edit : edits()) {
        if (!edit->isInPlace) written.push_back(edit);
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
    if (!knownLinks()) return parts;
    const RelationshipChanges changes = knownLinks()->changes().relationships;
    if (!changes.isEmpty()) {
        const std::string name = relationshipPartName(mEntry.partName);
        parts[name] = changedRelationships(mDocument.package().read(name).view(), changes);
    }
    return parts;
}

}  // namespace brindle::workbook::ooxml
