// SPDX-License-Identifier: MIT
#include "workbook/xls/XlsDocument.h"

#include <algorithm>

#include "base/Error.h"
#include "base/Text.h"
#include "workbook/StringPlacement.h"
#include "workbook/xls/biff/SheetRecords.h"
#include "workbook/xls/Protection.h"
#include "workbook/xls/StreamCheck.h"
#include "workbook/xls/StreamWriter.h"

namespace brindle::workbook::xls {

namespace {

// The sheet of a workbook that holds one without a name is called like the file.
std::string nameOfFile(const std::string& path) {
    const std::size_t slash = path.rfind('/');
    const std::string name = slash == std::string::npos ? path : path.substr(slash + 1);
    const std::size_t dot = name.rfind('.');
    return dot == std::string::npos || dot == 0 ? name : name.substr(0, dot);
}

// Sheets that are not searched need not be where the workbook says.
bool hasSheet(std::string_view stream, std::size_t offset) {
    const auto id = RecordReader(stream, offset).peek();
    return id && isBof(*id);
}

}  // namespace

XlsDocument::XlsDocument(std::unique_ptr<InputFile> file, const OpenOptions& options)
    : EditedDocument(options),
      mFile(std::move(file), options.password, options.ansiCodePage),
      mGlobals(mFile.stream(), mFile.version(), nameOfFile(mFile.file().path())),
      mStrings(mFile.stream(), mGlobals.sharedStrings()),
      mTexts{mFile.stream(), mGlobals.codec(),    mGlobals.formats(),
             mStrings,       mGlobals.date1904(), options.pulse} {
    for (std::size_t i = 0; i < mGlobals.sheets().size(); ++i) {
        const SheetEntry& sheet = mGlobals.sheets()[i];
        if (!sheet.isWorksheet) continue;
        if (i == mGlobals.activeSheet()) mActiveSheet = mWorksheets.size();
        mWorksheets.push_back(std::make_unique<XlsWorksheet>(*this, sheet));
    }
    if (patterns().isEmpty()) return;
    // Now rather than when first asked: damage found on the way fails the opening.
    for (const auto& sheet : mWorksheets) sheet->lookThrough(patterns().patterns().front());
}

bool XlsDocument::isReservedByPassword() const {
    const auto sharing = mGlobals.fileSharing();
    return sharing &&
           !allowsWriting(sharing->body, options().writeResPassword, options().ansiCodePage);
}

void XlsDocument::checkText(const StringItem& item) const {
    if (mGlobals.version() == Version::Biff8) return;
    constexpr std::size_t kLongest = 255;
    if (mGlobals.codec().encode(item.text).count > kLongest) {
        throw Error::refused("The text is longer than 255 characters");
    }
}

std::optional<std::string> XlsDocument::changedCellText(const FormulaTokens& formula,
                                                        XlsWorksheet& home) {
    const auto shown = home.shownFormula(formula);
    return shown ? workbook::changedCellText(*shown, mWorksheets, home) : std::nullopt;
}

WorkbookProperties& XlsDocument::properties() {
    if (!mProperties)
        mProperties = std::make_unique<WorkbookProperties>(mFile, options().currentYear);
    return *mProperties;
}

std::size_t XlsDocument::propertyCount(bool custom) {
    return properties().count(custom);
}

std::string XlsDocument::propertyText(bool custom, std::size_t index) {
    return properties().text(custom, index);
}

void XlsDocument::setPropertyText(bool custom, std::size_t index, std::string_view text) {
    if (properties().text(custom, index) == text) return;
    checkMayChange();
    properties().setText(custom, index, text);
}

bool XlsDocument::hasChangedCells() const {
    return std::any_of(mWorksheets.begin(), mWorksheets.end(),
                       [](const auto& sheet) { return sheet->hasCellEdits(); });
}

bool XlsDocument::isStreamChanged() const {
    return std::any_of(mWorksheets.begin(), mWorksheets.end(),
                       [](const auto& sheet) { return sheet->isChanged(); });
}

bool XlsDocument::hasEdits() const {
    return isStreamChanged() || (mProperties && mProperties->isChanged());
}

// Of macro sheets and others that are not searched.
std::optional<std::vector<std::uint32_t>> XlsDocument::stringsElsewhere() const {
    std::vector<std::uint32_t> strings;
    for (const SheetEntry& sheet : mGlobals.sheets()) {
        if (sheet.isWorksheet) continue;
        if (!hasSheet(mFile.stream(), sheet.offset)) return std::nullopt;
        SheetRecords records(mFile.stream(), sheet.offset);
        Record record;
        while (records.next(record)) {
            const CellShape shape = cellShape(record.id, mGlobals.version());
            if (shape != CellShape::SharedString) continue;
            strings.push_back(cellOf(record, shape, mGlobals.version()).sharedString);
        }
    }
    return strings;
}

// A workbook that was calculated by no known version is calculated anew when it is opened.
void XlsDocument::appendRecalculation(std::vector<RecordSplice>& splices) const {
    constexpr std::size_t kEngineAt = 4;
    const auto record = mGlobals.recalculation();
    const bool hasFormulas = std::any_of(mWorksheets.begin(), mWorksheets.end(),
                                         [](const auto& sheet) { return sheet->hasFormulas(); });
    if (!record || !hasFormulas || !hasChangedCells() ||
        record->body.size() < kEngineAt + sizeof(std::uint32_t)) {
        return;
    }
    std::string body(record->body);
    putLittleEndian(body.data() + kEngineAt, std::uint32_t{0});
    RecordSplice splice{record->offset, record->end(), {}};
    appendRecord(splice.bytes, record->id, body);
    splices.push_back(std::move(splice));
}

std::string XlsDocument::changedStream() {
    if (mGlobals.version() == Version::Biff8) {
        const auto elsewhere = stringsElsewhere();
        StringPlacement(mWorksheets, mStrings)
            .place(!elsewhere, elsewhere.value_or(std::vector<std::uint32_t>()));
    }
    std::vector<RecordSplice> splices;
    for (const auto& sheet : mWorksheets) {
        options().pulse.beat();
        sheet->appendSplices(splices);
    }
    mGlobals.formats().appendSplices(splices);
    for (RecordSplice& splice : mGlobals.links().splices()) splices.push_back(std::move(splice));
    appendRecalculation(splices);
    mStrings.appendSplices(splices);
    std::string stream;
    options().pulse.during(mFile.stream().size(), [&] {
        stream = splicedStream(mFile.stream(), std::move(splices));
        checkChangedStream(stream, mFile.stream());
    });
    return stream;
}

void XlsDocument::writeEdits(const ReplaceOptions& replace) {
    std::string stream = isStreamChanged() ? changedStream() : std::string(mFile.stream());
    std::vector<WorkbookFile::Stream> others;
    if (mProperties) others = mProperties->changedStreams();
    replaceFile(
        mFile.file().path(), replace, [&](OutputFile& out) { mFile.write(out, stream, others); },
        [&](const std::string& temporary) { mFile.verify(temporary, stream, others); });
}

}  // namespace brindle::workbook::xls
