// SPDX-License-Identifier: MIT
// The engine: one object carries out one run over the documents of a project.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "base/Error.h"
#include "base/Host.h"
#include "base/Pulse.h"
#include "base/Text.h"
#include "engine/DocumentSource.h"
#include "engine/RunFlags.h"
#include "project/Application.h"
#include "workbook/CellMatch.h"
#include "workbook/DocumentModel.h"

namespace brindle {

namespace excel {
class Application;
class DocumentProperty;
class Hyperlink;
class Shape;
class Workbook;
class Worksheet;
}  // namespace excel

// A replacement that the workbook refused. The document is not failed, but not all that was
// asked was done.
struct Refusal {
    std::string find;  // of the entry
    std::int16_t lookIn = 0;
    std::string sheet;  // may be empty
    std::string place;  // cell address, section, property name, ...; may be empty
    int number = 0;
    std::string description;
};

// What only this implementation offers beyond the project's own options.
struct RunOptions {
    bool allowInPlace = false;  // write into files that have several names
    std::string ansiCodePage;   // of text files without a byte-order mark; empty: the locale's
};

// Makes the spreadsheet application of a run; returns nothing when it cannot be started.
using ExcelFactory = std::function<std::unique_ptr<excel::Application>()>;

class ExcelConnector {
public:
    // Everything passed by reference outlives the object. An empty factory means the native
    // workbook layer.
    ExcelConnector(Host& host, RunFlags& flags, RunOptions options = {}, ExcelFactory factory = {});
    ~ExcelConnector();
    ExcelConnector(const ExcelConnector&) = delete;
    ExcelConnector& operator=(const ExcelConnector&) = delete;

    // One whole run over the documents that the CurrentProject of `app` names.
    void StartReplace(Application& app, Entries& entries);
    // The same over any source; the walks of the project are two such sources. Does not count
    // the documents: TotalFiles is the caller's.
    void StartReplace(Application& app, Entries& entries, DocumentSource& source);

    // The steps that the walks are made of.
    void ReplaceFile(const std::string& vFileName, Application& app, Entries& vEntries,
                     std::int32_t& vCurFileCount);
    void AddChangedFilePath(const std::string& vFilePath, std::int32_t& vCurFileCount,
                            Entries& vEntries);
    std::int32_t getFilesCount(const std::string& folder, Application& app, Entries& entries);
    void getFolders(const std::string& folder, Application& app, Entries& entries);
    void closeObjects();

    // Raised once for every processed document; the entries' counters hold its counts.
    std::function<void(const std::string& vFileName, std::int32_t& vCurFileCount, int vStatus,
                       Entries& vEntries)>
        FileStatusChanged;

    std::int32_t TotalFiles = 0;

    // Of the document that FileStatusChanged reports. What failed it: empty when it did not
    // fail; kind Refused, number 70, when it could only be read in a run that replaces.
    const std::optional<Error>& documentError() const { return mDocumentError; }
    // What ended a scope of an entry, or a single header, footer or property, before its time.
    const std::vector<Refusal>& refusals() const { return mRefusals; }

private:
    using Steps = std::function<void()>;

    // The item that a scope routine is at; for refusals.
    struct Place {
        bool isOnSheet = false;
        const char* item = "";   // "hyperlink", "LeftHeader", ...
        std::int32_t index = 0;  // from 1; 0 for an item that needs none
        workbook::PageKind pages = workbook::PageKind::Odd;
        workbook::CellPosition cell;
    };

    bool begin(Entries& entries);
    void scanFolder(Application& app, Entries& entries);
    void processList(Application& app, Entries& entries);
    void processDocument(const std::string& path, Application& app, Entries& entries,
                         std::int32_t& number);
    void tidyFolderOf(const std::string& path);
    void convertDocument(const std::string& path, Application& app, Entries& entries);
    void openWorkbook(const std::string& path, Application& app);
    void applyEntries(Entries& entries);
    void applyEntry(Entry& entry);
    void closeWorkbook();
    void failDocument(const Error& error);
    void letEventsRun() noexcept;

    // What all scopes share (ExcelConnectorScopes.cpp). Each scope runs in runScope, which
    // decides what a failure means for the document. `attempt` is the same for one step whose
    // failure a scope passes over: neither logged nor kept, but returned.
    void runScope(const char* procedure, const Entry& entry, const Steps& steps);
    std::optional<Error> attempt(const Steps& steps);
    void refuse(const Entry& entry, const Error& error);
    Error located(Error error) const;
    std::string placeText() const;
    void moveTo(const char* item, std::int32_t index = 0);
    void takeOptions(const Entry& entry);
    CaseMode caseMode() const;
    bool valueMatches(const std::string& value, const Entry& entry) const;
    void forEachWorksheet(const Steps& steps);

    void ReplaceCell(Entry& vEntry);
    void replaceOnSheet(Entry& entry, const workbook::CellMatch& match);
    void collectPatterns(Entries& entries);
    workbook::CellMatch matchOf(const Entry& entry);

    void ConvertHyperlinks(Entry& vEntry);
    void convertHyperlink(excel::Hyperlink link, Entry& entry);
    void Header(Entry& vEntry);
    void Footer(Entry& vEntry);
    void convertSections(Entry& entry, workbook::PageSection left);
    void headerfooter(std::string text, workbook::PageSection position, workbook::PageKind pages,
                      Entry& vEntry);
    void shapes(Entry& vEntry);
    void convertShape(excel::Shape shape, Entry& entry);

    void BuiltProperties(Entry& vEntry);
    void CustomeProperties(Entry& vEntry);
    void replaceValue(excel::DocumentProperty& property, const std::string& value,
                      const Entry& entry);

    Host& mHost;
    RunFlags& mFlags;
    RunOptions mOptions;
    ExcelFactory mFactory;

    std::unique_ptr<excel::Application> mExcel;
    excel::Workbook* mWorkbook = nullptr;          // open in mExcel
    std::unique_ptr<excel::Worksheet> mWorksheet;  // of mWorkbook, when open
    Place mPlace;
    bool mMatchCase = false;
    bool mMatchEntireCellContents = false;

    std::int32_t mMatchCount = 0;    // of the counting walk
    std::int32_t mFolderNumber = 0;  // of the document in the folder walk
    std::int32_t mListNumber = 0;    // of the document in a list

    int mCurrentYear = 0;  // at the start of the run
    // One pattern for each entry on cells, made once; the vector is lent to every document.
    std::unordered_map<const Entry*, workbook::CellMatch> mMatches;
    std::vector<workbook::CellMatch> mExpectedPatterns;
    std::unordered_set<std::string> mTidiedFolders;
    std::function<void()> mLetEventsRun;
    Pulse mPulse;  // calls that; none when nobody watches
    std::chrono::steady_clock::time_point mLastEvents;

    std::optional<Error> mDocumentError;
    std::vector<Refusal> mRefusals;
};

}  // namespace brindle
