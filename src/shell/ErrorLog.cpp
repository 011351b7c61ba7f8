// SPDX-License-Identifier: MIT
#include "shell/ErrorLog.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <iterator>
#include <new>
#include <system_error>

#include "base/AppFolder.h"
#include "base/Clock.h"
#include "base/CodePages.h"
#include "base/FileIo.h"
#include "base/Text.h"

namespace brindle {

namespace {

struct RoutineName {
    std::string_view module;
    std::string_view procedure;
};

// Their lines have always gone without " at time"; whoever reads logs by pattern relies on it.
constexpr RoutineName kRoutinesWithoutAtTime[] = {
    {"frmMain", "cboSpreadsheetType_Change"},
    {"frmMain", "chkBackupMode_Click"},
    {"frmMain", "chkBackupMode_MouseMove"},
    {"frmMain", "chkIncludesubfolders_MouseMove"},
    {"frmMain", "chkKeepOiginal_Click"},
    {"frmMain", "chkKeepOiginal_MouseMove"},
    {"frmMain", "chkMatchCase_MouseMove"},
    {"frmMain", "chkWholeWord_MouseMove"},
    {"frmMain", "cmdAdd_MouseMove"},
    {"frmMain", "cmdBrowse3_Click"},
    {"frmMain", "cmdDelete_MouseMove"},
    {"frmMain", "cmdStartReplacing_MouseMove"},
    {"frmMain", "cmdStartSearching_MouseMove"},
    {"frmMain", "completeProcessForm"},
    {"frmMain", "Form_Resize"},
    {"frmMain", "IsModified"},
    {"frmMain", "menuSave_Click"},
    {"frmMain", "menuSaveAs_Click"},
    {"frmMain", "mfrmChangeLanguage_LanguageChanged"},
    {"frmMain", "mnuAbout_Click"},
    {"frmMain", "mnuExit_Click"},
    {"frmMain", "mnuHelp1_Click"},
    {"frmMain", "mnuHomePage_Click"},
    {"frmMain", "mnuOpen_Click"},
    {"frmMain", "optFileProcess_MouseMove"},
    {"frmMain", "optLoad_MouseMove"},
    {"frmMain", "txtGetFileName_Change"},
    {"frmMain", "txtGetFileName_MouseMove"},
    {"frmMain", "txtLoadsearch_Change"},
    {"frmMain", "txtLoadsearch_MouseMove"},
    {"frmMain", "txtPassword_MouseMove"},
    {"frmMain", "txtStartFolder_Change"},
    {"frmMain", "txtStartFolder_MouseMove"},
    {"frmMain", "ValidateItem"},
    {"frmProcessingDocuments", "Form_Resize"},
    {"frmProcessingDocuments", "trvChangedFiles_MouseMove"},
    {"frmProcessingDocuments", "trvErrors_MouseMove"},
    {"frmProcessingDocuments", "trvNotChangedFiles_MouseMove"},
    {"frmChangeLanguage", "cmdCancel_Click"},
    {"frmChangeLanguage", "cmdOK_Click"},
    {"frmChangeLanguage", "Form_Load"},
    {"modBrindle", "Main"},
    {"ExcelConnector", "closeObjects"},
};

const char* suffixOf(const Routine& routine) {
    const bool bare =
        std::any_of(std::begin(kRoutinesWithoutAtTime), std::end(kRoutinesWithoutAtTime),
                    [&](const RoutineName& row) {
                        return row.module == routine.module && row.procedure == routine.procedure;
                    });
    return bare ? "" : " at time";
}

const char* kindText(ModuleKind kind) {
    switch (kind) {
        case ModuleKind::Module:
            return "Module";
        case ModuleKind::Form:
            return "Form";
        case ModuleKind::Class:
            break;
    }
    return "Class Module";
}

// A line break of any width, or another control character, becomes one blank.
std::string asOneLine(std::string_view text) {
    std::string line;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const bool control = static_cast<unsigned char>(text[i]) < 0x20;
        if (text[i] == '\r' && i + 1 < text.size() && text[i + 1] == '\n') continue;
        line += control ? ' ' : text[i];
    }
    return line;
}

// A failure in a document names it; others read as they are known everywhere.
std::string describe(const Error& error) {
    const bool isInDocument = !error.place().file.empty() || !error.place().member.empty();
    return isInDocument ? error.description() + " (" + error.placeText() + ")"
                        : error.description();
}

// One character at a time, so that only what has no place in the code page is lost.
std::string encodedWithQuestionMarks(const CodePage& page, const std::string& text) {
    std::string bytes;
    for (std::size_t at = 0; at < text.size();) {
        const std::size_t begin = at;
        text::nextCodePoint(text, at);
        bytes += page.encode(std::string_view(text).substr(begin, at - begin)).value_or("?");
    }
    return bytes;
}

std::string inAnsiCodePage(const std::string& text) {
    const std::string name = ansiCodePage();
    if (text::lowerAscii(name) == "utf-8" || text::isAscii(text)) return text;
    const CodePage page(name);
    if (std::optional<std::string> bytes = page.encode(text)) return *bytes;
    return encodedWithQuestionMarks(page, text);
}

// Root may write to a file that nobody may write to; the user's wish counts for root too.
bool isWritable(int descriptor) {
    struct stat status {};
    return fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode) &&
           (status.st_mode & 0222) != 0;
}

void appendToLog(const std::string& line) {
    const std::string path = applicationFolder() + "/Errors.Log";
    const FileDescriptor log(
        open(path.c_str(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC | O_NONBLOCK, 0666));
    if (!log.isOpen() || !isWritable(log.get())) return;
    // What a full disk cuts off is lost; a second write could land inside another's line.
    if (write(log.get(), line.data(), line.size()) < 0) return;
}

bool isErrno(const std::error_code& code) {
    return code.category() == std::generic_category() || code.category() == std::system_category();
}

Error internalError() {
    return Error(ErrorKind::Internal, error_number::kInternal, "Internal error", SourceLocation{});
}

Error outOfMemory() {
    return Error(ErrorKind::System, error_number::kOutOfMemory, "Out of memory", SourceLocation{});
}

}  // namespace

void WriteFile(const std::string& message) {
    try {
        appendToLog(inAnsiCodePage(message + "- ") + generalDate(SystemClock().now()) + "\r\n");
    } catch (...) {
        // There is no place left to report to.
    }
}

std::string errorMessage(const Routine& routine, const Error& error) {
    return "Error " + std::to_string(error.number()) + " (" + asOneLine(describe(error)) +
           ") in procedure " + routine.procedure + " at Line No. " +
           std::to_string(error.thrownAt().line()) + " of " + kindText(routine.kind) + " " +
           routine.module + suffixOf(routine);
}

std::optional<Error> guarded(const Routine& routine, const std::function<void()>& body) {
    try {
        body();
        return std::nullopt;
    } catch (...) {
        Error error = currentError();
        if (error.kind() != ErrorKind::Cancelled) WriteFile(errorMessage(routine, error));
        return error;
    }
}

Error currentError() {
    try {
        throw;
    } catch (const Error& error) {
        return error;
    } catch (const std::bad_alloc&) {
        return outOfMemory();
    } catch (const std::system_error& error) {
        if (!isErrno(error.code())) return internalError();
        return Error::system(error.code().value(), error.what(), SourceLocation{});
    } catch (...) {
        return internalError();
    }
}

}  // namespace brindle
