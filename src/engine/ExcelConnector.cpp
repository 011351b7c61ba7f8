// SPDX-License-Identifier: MIT
// The run and the steps of one document.
#include "engine/ExcelConnector.h"

#include <sys/stat.h>

#include <array>
#include <filesystem>

#include "base/Clock.h"
#include "base/CodePages.h"
#include "base/FileIo.h"
#include "engine/BackupPath.h"
#include "engine/excel/Application.h"
#include "engine/excel/Workbook.h"
#include "engine/ListSource.h"
#include "engine/modFileDateTime.h"
#include "lang/modINI.h"
#include "selection/DocumentList.h"
#include "shell/ErrorLog.h"

namespace brindle {
namespace {

constexpr Routine kReplaceFile{"ReplaceFile", ModuleKind::Class, "ExcelConnector"};
constexpr Routine kAddChangedFilePath{"AddChangedFilePath", ModuleKind::Class, "ExcelConnector"};
constexpr Routine kCloseObjects{"closeObjects", ModuleKind::Class, "ExcelConnector"};

// Given when the project has no password, so that a workbook reserved for writing opens
// read-only instead of asking.
constexpr const char* kNoWriteReservation = "kqv";

constexpr std::chrono::milliseconds kEventInterval{50};

bool isEmptyFile(const std::string& path) {
    struct stat status {};
    return stat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode) && status.st_size == 0;
}

std::string folderOf(const std::string& path) {
    const std::string folder = std::filesystem::path(path).parent_path().string();
    return folder.empty() ? "." : folder;
}

void makeBackup(const std::string& path, Pulse pulse) {
    const std::string backup = backupPath(path);
    if (backup.empty()) return;
    try {
        copyFile(path, backup, pulse);
    } catch (const Error&) {
        // A document without a backup is processed all the same.
    }
}

const char* readOnlyText(workbook::ReadOnlyReason reason) {
    switch (reason) {
        case workbook::ReadOnlyReason::Permission:
            return "The document is read-only: there is no permission to write it";
        case workbook::ReadOnlyReason::FileSystem:
            return "The document is read-only: its file system cannot be written";
        case workbook::ReadOnlyReason::InUse:
            return "The document is read-only: another program has it open";
        case workbook::ReadOnlyReason::WriteReserved:
            return "The document is read-only: writing it is reserved by another password";
        case workbook::ReadOnlyReason::Format:
            return "The document is read-only: its format can be searched but not changed";
        case workbook::ReadOnlyReason::None:
            break;
    }
    return "The document is read-only";
}

}  // namespace

ExcelConnector::ExcelConnector(Host& host, RunFlags& flags, RunOptions options,
                               ExcelFactory factory)
    : mHost(host), mFlags(flags), mOptions(std::move(options)), mFactory(std::move(factory)) {
    if (!mFactory) mFactory = [] { return std::make_unique<excel::Application>(); };
    mLetEventsRun = [this] { letEventsRun(); };
}

ExcelConnector::~ExcelConnector() = default;

bool ExcelConnector::begin(Entries& entries) {
    try {
        mExcel = mFactory();
    } catch (...) {
        // The message that the caller shows is all there is to say.
    }
    if (!mExcel) return false;
    mCurrentYear = localYear(SystemClock().now());
    mPulse = mHost.isWatched() ? Pulse(mLetEventsRun) : Pulse();
    collectPatterns(entries);
    return true;
}

void ExcelConnector::StartReplace(Application& app, Entries& entries) {
    const auto held = app.Items;  // a project loaded meanwhile must not end the list
    if (!begin(entries)) {
        mHost.showMessage(GetLngString("global msg", "1015"), MessageIcon::None,
                          MessageButtons::Ok);
        return;
    }
    if (app.CurrentProject.IsScanFolder)
        scanFolder(app, entries);
    else
        processList(app, entries);
    closeObjects();
}

void ExcelConnector::StartReplace(Application& app, Entries& entries, DocumentSource& source) {
    const auto held = app.Items;
    if (!begin(entries)) {
        mHost.showMessage(GetLngString("global msg", "1015"), MessageIcon::None,
                          MessageButtons::Ok);
        return;
    }
    while (!mFlags.StopProcessing) {
        const auto path = source.next();
        if (!path) {
            mFlags.NoFilesToProcess = mListNumber == 0;
            break;
        }
        processDocument(*path, app, entries, mListNumber);
        mHost.processEvents();
    }
    closeObjects();
}

void ExcelConnector::scanFolder(Application& app, Entries& entries) {
    TotalFiles = getFilesCount(app.CurrentProject.StartFolder, app, entries);
    mFlags.NoFilesToProcess = TotalFiles == 0;
    if (mFlags.StopProcessing) return;
    getFolders(app.CurrentProject.StartFolder, app, entries);
}

void ExcelConnector::processList(Application& app, Entries& entries) {
    const auto files = GetFilePaths(app.CurrentProject.GetFilenamesFromTextFile, mHost);
    mFlags.NoFilesToProcess = files.empty();
    if (files.empty()) return;
    for (const std::string& path : files)
        if (documentLength(path) > 0) ++TotalFiles;
    if (TotalFiles == 0) {
        closeObjects();
        mHost.showMessage(GetLngString("global msg", "1024"), MessageIcon::Exclamation,
                          MessageButtons::Ok);
        return;
    }
    for (const std::string& path : files) {
        const bool isThere = documentLength(path) > 0;
        if (mFlags.StopProcessing) return;
        mFlags.CurrentFileFailed = false;
        if (isThere) processDocument(path, app, entries, mListNumber);
        mHost.processEvents();
    }
}

void ExcelConnector::processDocument(const std::string& path, Application& app, Entries& entries,
                                     std::int32_t& number) {
    ++number;
    mFlags.CurrentFileFailed = false;
    ReplaceFile(path, app, entries, number);
    AddChangedFilePath(path, number, entries);
    for (std::int32_t i = 1; i <= entries.Count(); ++i)
        if (Entry* entry = entries.Item(i)) entry->counts.ClearCounters();
}

void ExcelConnector::ReplaceFile(const std::string& vFileName, Application& app, Entries& vEntries,
                                 std::int32_t& /*vCurFileCount*/) {
    mDocumentError.reset();
    mRefusals.clear();
    const auto failure = guarded(kReplaceFile, [&] {
        try {
            tidyFolderOf(vFileName);
            convertDocument(vFileName, app, vEntries);
        } catch (...) {
            throw currentError().inFile(vFileName);
        }
    });
    if (failure) failDocument(*failure);
    closeWorkbook();
}

// A failed document keeps its workbook open up to here; nothing of it may reach the disk.
void ExcelConnector::closeWorkbook() {
    mWorksheet.reset();
    if (mWorkbook) mWorkbook->Close(false);
    mWorkbook = nullptr;
}

void ExcelConnector::failDocument(const Error& error) {
    mDocumentError = error;
    mFlags.CurrentFileFailed = true;
}

void ExcelConnector::tidyFolderOf(const std::string& path) {
    if (mFlags.isSearchOnly) return;
    const std::string folder = folderOf(path);
    if (mTidiedFolders.insert(folder).second) removeStaleTemporaries(folder);
}

void ExcelConnector::convertDocument(const std::string& path, Application& app, Entries& entries) {
    // Before the backup, for which the document is read: that is an access, too.
    const FileDateTimes times = GetFileDateTime(path);
    if (app.CurrentProject.BackupMode) makeBackup(path, mPulse);
    // An empty file is an empty sheet, whatever its name: there is nothing to open.
    if (isEmptyFile(path)) return;
    openWorkbook(path, app);
    // Asking costs a dozen system calls, and a search does not care.
    const auto reason =
        mFlags.isSearchOnly ? workbook::ReadOnlyReason::None : mWorkbook->readOnlyReason();
    if (reason != workbook::ReadOnlyReason::None) {
        closeWorkbook();
        if (app.CurrentProject.KeepTheOriginalFileDate) SetFileDateTime(path, times);
        failDocument(
            Error(ErrorKind::Refused, error_number::kPermissionDenied, readOnlyText(reason)));
        return;
    }
    mWorksheet = std::make_unique<excel::Worksheet>(mWorkbook->Worksheets().Item(1));
    applyEntries(entries);
    if (!mFlags.isSearchOnly) mWorkbook->Save();
    closeWorkbook();
    if (app.CurrentProject.KeepTheOriginalFileDate) SetFileDateTime(path, times);
}

void ExcelConnector::openWorkbook(const std::string& path, Application& app) {
    workbook::OpenOptions options;
    options.password = app.CurrentProject.Password;
    options.writeResPassword = options.password.empty() ? kNoWriteReservation : options.password;
    options.currentYear = mCurrentYear;
    options.allowInPlace = mOptions.allowInPlace;
    options.ansiCodePage = mOptions.ansiCodePage.empty() ? ansiCodePage() : mOptions.ansiCodePage;
    options.expectedPatterns = &mExpectedPatterns;
    options.pulse = mPulse;
    mWorkbook = &mExcel->Workbooks().Open(path, options);
}

// By position, so that a change of the list from outside cannot pull it away.
void ExcelConnector::applyEntries(Entries& entries) {
    for (std::int32_t i = 1; i <= entries.Count(); ++i) {
        Entry* entry = entries.Item(i);
        if (entry && !entry->FindWhat.empty()) applyEntry(*entry);
    }
}

void ExcelConnector::applyEntry(Entry& entry) {
    // In the order of the values of Look_In.
    static constexpr std::array kScopes = {
        &ExcelConnector::ReplaceCell,      &ExcelConnector::ConvertHyperlinks,
        &ExcelConnector::Header,           &ExcelConnector::Footer,
        &ExcelConnector::shapes,           &ExcelConnector::BuiltProperties,
        &ExcelConnector::CustomeProperties};
    mPlace = {};
    const auto scope = static_cast<std::size_t>(entry.Look_In);
    if (entry.Look_In >= 0 && scope < kScopes.size()) (this->*kScopes[scope])(entry);
}

void ExcelConnector::AddChangedFilePath(const std::string& vFilePath, std::int32_t& vCurFileCount,
                                        Entries& vEntries) {
    guarded(kAddChangedFilePath, [&] {
        if (FileStatusChanged) FileStatusChanged(vFilePath, vCurFileCount, 1, vEntries);
    });
}

void ExcelConnector::closeObjects() {
    guarded(kCloseObjects, [&] {
        closeWorkbook();
        if (mExcel) mExcel->Quit();
    });
    mExcel.reset();
}

// Inside a document: often enough that a window never seems to hang, not so often that it
// costs anything.
void ExcelConnector::letEventsRun() noexcept {
    const auto now = std::chrono::steady_clock::now();
    if (now - mLastEvents < kEventInterval) return;
    try {
        mHost.processEventsInDocument();
    } catch (...) {
        // A window that cannot be painted is no reason to leave a document half done.
    }
    mLastEvents = std::chrono::steady_clock::now();
}

}  // namespace brindle
