// SPDX-License-Identifier: MIT
#pragma once

#include <string>

namespace brindle {

// The options of a project. Texts are UTF-8, except that paths are bytes as the file system
// has them.
class clsProjExcel {
public:
    std::string LoadsearchFilePath;  // entry list, used when IsGrid is false
    bool IsGrid = false;             // the entries are those of the grid
    bool IsScanFolder = false;       // the documents are those below StartFolder
    std::string StartFolder;
    std::string SpreadsheetTypeToExamine;  // patterns, each followed by ";": "*.xls;*.xl;"
    std::string GetFilenamesFromTextFile;  // list of documents, used when IsScanFolder is false
    bool IncludeSubFolders = false;
    std::string Password;  // to open documents with; empty: none
    bool KeepTheOriginalFileDate = false;
    bool BackupMode = false;
};

}  // namespace brindle
