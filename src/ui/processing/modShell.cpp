// SPDX-License-Identifier: MIT
#include "ui/processing/modShell.h"

#include "shell/ErrorLog.h"

namespace brindle {

namespace {

const char* errorText(std::int32_t answer) {
    switch (answer) {
        case open_result::kFileNotFound:
            return "File not found";
        case open_result::kPathNotFound:
            return "Path not found";
        case open_result::kAccessDenied:
            return "Access denied";
        case open_result::kOutOfMemory:
            return "Out of memory";
        case open_result::kBadProgram:
            return "Invalid EXE file or error in EXE image";
        case open_result::kSharingViolation:
            return "A sharing violation occurred";
        case open_result::kIncompleteAssociation:
            return "Incomplete or invalid file association";
        case open_result::kDdeTimeOut:
            return "DDE Time out";
        case open_result::kDdeFailed:
            return "DDE transaction failed";
        case open_result::kDdeBusy:
            return "DDE busy";
        case open_result::kNoAssociation:
            return "No association for file extension";
        case open_result::kLibraryNotFound:
            return "DLL not found";
        default:
            return "Unknown error";
    }
}

}  // namespace

std::int32_t OpenDoc(Desktop& desktop, const std::string& FilePath, std::string& ErrorText) {
    std::int32_t answer = 0;
    guarded({"OpenDoc", ModuleKind::Module, "modShell"}, [&] {
        answer = desktop.openDocument(FilePath);
        if (!open_result::isOpened(answer)) ErrorText = errorText(answer);
    });
    return answer;
}

}  // namespace brindle
