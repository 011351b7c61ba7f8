// SPDX-License-Identifier: MIT
#include "workbook/ooxml/OoxmlDocument.h"

#include <algorithm>

#include "base/Error.h"
#include "workbook/ooxml/CalcChain.h"
#include "workbook/ooxml/OoxmlNames.h"
#include "workbook/StringPlacement.h"

namespace brindle::workbook::ooxml {

namespace {

std::string partOfType(const Package& package, const WorkbookPart& workbook,
                       std::string_view type) {
    const Relationship* relationship = package.relationshipByType(workbook.partName, type);
    if (!relationship || !package.hasPart(relationship->partName)) return {};
    return relationship->partName;
}

StyleSheet readStyles(const Package& package, const std::string& partName) {
    if (partName.empty()) return {};
    try {
        return StyleSheet(package.read(partName).view());
    } catch (Error& error) {
        throw error.inMember(partName);
    }
}

}  // namespace

OoxmlDocument::OoxmlDocument(std::unique_ptr<InputFile> file, const OpenOptions& options)
    : EditedDocument(options),
      mPackage(std::move(file), options.password),
      mWorkbook(readWorkbookPart(mPackage)),
      mStyles(readStyles(mPackage, partOfType(mPackage, mWorkbook, kStylesType))),
      mStrings(mPackage, partOfType(mPackage, mWorkbook, kSharedStringsType)),
      mTexts{mStyles, mStrings, mWorkbook.externalBooks, mWorkbook.date1904} {
    for (std::size_t i = 0; i < mWorkbook.sheets.size(); ++i) {
        const SheetEntry& sheet = mWorkbook.sheets[i];
        if (!sheet.isWorksheet) continue;
        if (i == mWorkbook.activeTab) mActiveSheet = mWorksheets.size();
        mWorksheets.push_back(std::make_unique<OoxmlWorksheet>(*this, sheet));
    }
    if (patterns().isEmpty()) return;
    // Now rather than when first asked: damage found on the way fails the opening.
    for (const auto& sheet : mWorksheets) sheet->lookThrough(patterns().patterns().front());
}

bool OoxmlDocument::isReservedByPassword() const {
    bool isAllowed = false;
    mPackage.pulse().during([&] {
        isAllowed =
            mWorkbook.reservation.allows(options().writeResPassword, options().ansiCodePage);
    });
    return !isAllowed;
}

void OoxmlDocument::lookThroughStrings(const PatternSet& patterns) {
    try {
        mStrings.look(patterns);
    } catch (Error& error) {
        throw error.inMember(mStrings.partName());
    }
}

bool OoxmlDocument::hasChangedSheets() const {
    return std::any_of(mWorksheets.begin(), mWorksheets.end(),
                       [](const auto& sheet) { return sheet->isChanged(); });
}

bool OoxmlDocument::hasEdits() const {
    return hasChangedSheets() || mDrawings.isChanged() || (mBuiltIn && mBuiltIn->isChanged()) ||
           (mCustom && mCustom->isChanged());
}

void OoxmlDocument::changeCalculation() {
    const bool areCellsChanged =
        std::any_of(mWorksheets.begin(), mWorksheets.end(),
                    [](const auto& sheet) { return sheet->hasCellEdits(); });
    if (!areCellsChanged) return;
    FormulaCells lost;
    bool hasFormulas = false;
    for (const auto& sheet : mWorksheets) {
        hasFormulas = hasFormulas || sheet->hasFormulas();
        for (const CellEdit* edit : sheet->edits()) {
            const bool isFormula = edit->content.kind == EnteredCell::Kind::Formula;
            const bool wasFormula = edit->oldKind == EnteredCell::Kind::Formula;
            if (wasFormula && !isFormula)
                lost.insert({sheet->entry().sheetId, edit->cell.position});
            hasFormulas = hasFormulas || isFormula;
        }
    }
    const std::string chain = partOfType(mPackage, mWorkbook, kCalcChainType);
    if (!chain.empty() && !lost.empty()) {
        const PartText part = mPackage.read(chain);
        if (const auto text = withoutCells(part.view(), lost)) {
            mPackage.replacePart(chain, *text);
        } else {
            mPackage.removePart(chain, mWorkbook.partName);
        }
    }
    // Results that depend on the changed cells are out of date.
    if (hasFormulas || !chain.empty()) {
        const PartText part = mPackage.read(mWorkbook.partName);
        const std::string changed = withFullCalculation(part.view());
        if (changed != part.view()) mPackage.replacePart(mWorkbook.partName, changed);
    }
}

void OoxmlDocument::changeSheets() {
    StringPlacement(mWorksheets, mStrings).place(mWorksheets.size() != mWorkbook.sheets.size());
    for (const auto& sheet : mWorksheets) {
        if (!sheet->isChanged()) continue;
        sheet->changePart(mPackage);
        for (const auto& [name, text] : sheet->changedPartsBeside()) {
            mPackage.replacePart(name, text);
        }
    }
    if (mStrings.isChanged()) mStrings.changePart(mPackage);
    if (mStyles.isChanged()) {
        mPackage.replacePart(partOfType(mPackage, mWorkbook, kStylesType), mStyles.changedPart());
    }
    changeCalculation();
}

void OoxmlDocument::changeParts() {
    if (hasChangedSheets()) changeSheets();
    mDrawings.changeParts(mPackage);
    if (mBuiltIn) mBuiltIn->changeParts(mPackage);
    if (mCustom) mCustom->changeParts(mPackage);
}

namespace {

class IgnoredCells final : public CellSink {
public:
    void cell(const ScannedCell&) override {}
};

}  // namespace

// The large parts are read by the readers that a search uses.
bool OoxmlDocument::isReadBack(const package::ZipArchive& written, std::size_t member) const {
    const std::string& name = written.members()[member].name;
    const auto isPart = [&](std::string_view partName) {
        return !partName.empty() &&
               package::normalisedMemberName(partName) == package::normalisedMemberName(name);
    };
    if (isPart(mStrings.partName())) return isReadableStringPart(written, member);
    const bool isSheet = std::any_of(mWorksheets.begin(), mWorksheets.end(),
                                     [&](const auto& it) { return isPart(it->entry().partName); });
    if (!isSheet) return false;
    IgnoredCells cells;
    scanSheet(written, member, cells, [] {});
    return true;
}

void OoxmlDocument::writeEdits(const ReplaceOptions& replace) {
    changeParts();
    replaceFile(
        mPackage.file().path(), replace, [this](OutputFile& out) { mPackage.writeTo(out); },
        [this](const std::string& temporary) {
            mPackage.verify(temporary,
                            [this](const package::ZipArchive& written, std::size_t member) {
                                return isReadBack(written, member);
                            });
        });
}

}  // namespace brindle::workbook::ooxml
