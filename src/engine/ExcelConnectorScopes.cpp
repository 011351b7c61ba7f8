// SPDX-License-Identifier: MIT
// What all scopes share: what a failure means, and where it happened.
#include <utility>

#include "engine/excel/Workbook.h"
#include "engine/ExcelConnector.h"
#include "shell/ErrorLog.h"

namespace brindle {
namespace {

// Parts of a file are read when a scope first asks for them, so damage that should have ended
// the opening may be met only here. It fails the document; a refusal of one item, or a value
// that cannot be taken, ends the scope of one entry.
bool failsDocument(const Error& error) {
    switch (error.kind()) {
        case ErrorKind::Refused:
        case ErrorKind::Argument:
        case ErrorKind::NotFound:
        case ErrorKind::Cancelled:
            return false;
        default:
            return error.number() != error_number::kOverflow;
    }
}

std::string nameOf(const excel::Worksheet& sheet) {
    try {
        return sheet.Name();
    } catch (const Error&) {
        return {};  // only a hint for people; the refusal itself matters more
    }
}

const char* pagesSuffix(workbook::PageKind pages) {
    switch (pages) {
        case workbook::PageKind::Even:
            return " (even pages)";
        case workbook::PageKind::First:
            return " (first page)";
        case workbook::PageKind::Odd:
            break;
    }
    return "";
}

}  // namespace

Error ExcelConnector::located(Error error) const {
    error.inFile(mWorkbook->FullName());
    if (mPlace.isOnSheet) error.inMember(nameOf(*mWorksheet));
    return error.inCell(placeText());
}

std::string ExcelConnector::placeText() const {
    if (mPlace.cell.row > 0) return workbook::cellName(mPlace.cell);
    std::string text = mPlace.item;
    if (mPlace.index > 0) text += " " + std::to_string(mPlace.index);
    return text + pagesSuffix(mPlace.pages);
}

void ExcelConnector::moveTo(const char* item, std::int32_t index) {
    mPlace.item = item;
    mPlace.index = index;
}

std::optional<Error> ExcelConnector::attempt(const Steps& steps) {
    try {
        steps();
    } catch (...) {
        Error error = currentError();
        if (failsDocument(error)) throw error;
        return error;
    }
    return std::nullopt;
}

void ExcelConnector::runScope(const char* procedure, const Entry& entry, const Steps& steps) {
    std::optional<Error> ofDocument;
    const auto ended = guarded({procedure, ModuleKind::Class, "ExcelConnector"}, [&] {
        takeOptions(entry);
        try {
            steps();
        } catch (...) {
            const Error error = located(currentError());
            if (!failsDocument(error)) throw error;
            ofDocument = error;
        }
    });
    if (ofDocument) throw *ofDocument;
    if (ended) refuse(entry, *ended);
}

void ExcelConnector::refuse(const Entry& entry, const Error& error) {
    Refusal refusal;
    refusal.find = entry.FindWhat;
    refusal.lookIn = entry.Look_In;
    if (mPlace.isOnSheet) refusal.sheet = nameOf(*mWorksheet);
    refusal.place = placeText();
    refusal.number = error.number();
    refusal.description = error.description();
    mRefusals.push_back(std::move(refusal));
}

void ExcelConnector::takeOptions(const Entry& entry) {
    mMatchCase = entry.MatchCase;
    mMatchEntireCellContents = entry.MatchEntireCellContents;
}

CaseMode ExcelConnector::caseMode() const {
    return mMatchCase ? CaseMode::Exact : CaseMode::Folded;
}

void ExcelConnector::forEachWorksheet(const Steps& steps) {
    const excel::Worksheets sheets = mWorkbook->Worksheets();
    const std::int32_t count = sheets.Count();
    for (std::int32_t i = 1; i <= count; ++i) {
        mWorksheet = std::make_unique<excel::Worksheet>(sheets.Item(i));
        mPlace = {};
        mPlace.isOnSheet = true;
        steps();
        mPulse.beat();
    }
}

// Hyperlink addresses and document properties: with case, only the whole value matches.
bool ExcelConnector::valueMatches(const std::string& value, const Entry& entry) const {
    return mMatchCase ? value == entry.FindWhat
                      : text::contains(value, entry.FindWhat, CaseMode::Folded);
}

}  // namespace brindle
