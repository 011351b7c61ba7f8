// SPDX-License-Identifier: MIT
// What a run came to, document by document: the result of one document, the filing of results
// into changed, not changed and failed, and the plain-text report on them. No window in sight:
// the processing window and the command line share this.
#pragma once

#include <cstdint>
#include <list>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "engine/ExcelConnector.h"
#include "engine/RunFlags.h"
#include "project/Entries.h"

namespace brindle {

// How often an entry was found in one scope of a document; never 0. Texts are UTF-8.
struct EntryCount {
    std::string find;
    std::string with;
    std::int16_t lookIn = 0;
    std::int32_t count = 0;
};

// The counts above 0 of all entries: in list order, and for each entry in the order of scopes.
std::vector<EntryCount> countsOf(const Entries& entries);

// "Total (Cell) : 3"
std::string childText(const EntryCount& count);

enum class DocumentStatus { Changed, Unchanged, Failed };

struct DocumentResult {
    std::string path;
    std::int32_t number = 0;                            // in the run, from 1
    DocumentStatus status = DocumentStatus::Unchanged;  // Changed: found something, in a search
    // Of a failed document: the failure as the error log has it, and the same with the part,
    // the cell and the offset, as far as they are known.
    int errorNumber = 0;
    std::string errorText;
    std::string errorDetail;
    std::vector<EntryCount> counts;  // empty for a failed document
    std::vector<Refusal> refusals;
};

// The result of the document that `engine` just reported, while `entries` hold its counts.
DocumentResult documentResult(const std::string& path, std::int32_t number, const Entries& entries,
                              const RunFlags& flags, const ExcelConnector& engine);

// Three lists of documents, each path at most once in a list, in the order of filing.
class RunReport {
public:
    struct ChangedDocument {
        std::string path;
        std::vector<std::string> children;  // texts of its counts
    };
    // What filing a document did to the lists. `children` of a changed one may be none.
    enum class Filed { Nowhere, Changed, NotChanged, Failed };

    // Files a document by its counts in `Items`, or under failed. A document in which nothing was
    // found moves to changed when a later report on the same path has something; otherwise the
    // first report on a path stays. An empty entry list files it nowhere. Nowhere is also the
    // answer when the lists stay as they are.
    Filed AddChangedFiles(const std::string& FilePath, const Entries& Items,
                          bool CurrentFileFailed);

    // Lists empty and counters 0; the failed ones stay when `keepFailed`.
    void clear(bool keepFailed = false);

    const std::list<ChangedDocument>& changed() const { return mChanged; }
    const std::list<std::string>& notChanged() const { return mNotChanged; }
    const std::list<std::string>& failed() const { return mFailed; }

    // The report: changed documents with their counts, then those without a find; failed ones are
    // no part of it. Every line ends with CR LF.
    std::string text() const;

    std::int32_t mChangeCount = 0;      // sum of all counts filed
    std::int32_t changedFileCount = 0;  // documents filed under changed

private:
    void AddChildNode(ChangedDocument& document, const Entries& Items);
    Filed fileFailed(const std::string& path);
    Filed fileNotChanged(const std::string& path);
    Filed fileChanged(const std::string& path, const Entries& Items);

    template <typename Item>
    using Index = std::unordered_map<std::string_view, typename std::list<Item>::iterator>;

    // The keys of an index are texts inside its list.
    std::list<ChangedDocument> mChanged;
    std::list<std::string> mNotChanged;
    std::list<std::string> mFailed;
    Index<ChangedDocument> mChangedByPath;
    Index<std::string> mNotChangedByPath;
    Index<std::string> mFailedByPath;
};

}  // namespace brindle
