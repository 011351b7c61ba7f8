// SPDX-License-Identifier: MIT
// What a run came to, document by document: the result of one document, the filing of results
// into changed, not changed and failed, and the plain-text report on them. No window in sight:
// the processing window and the command line share this.
#pragma once

#include <cstdint>
#include <functional>
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

// "Sheet1!B7"; empty when nothing is known.
std::string placeText(const Refusal& refusal);

// "Total (Cell) : The cell is protected"
std::string refusalText(const Refusal& refusal);

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
    // Stays at its address as long as it is in a list, also when it goes to another one.
    struct Document {
        std::string path;
        std::vector<std::string> children;  // texts of its counts
        std::vector<std::string> remarks;   // what else there is to say: refusals, the failure
        std::uint64_t order = 0;            // ascends in each list
    };
    // What filing a document did to the lists. `children` of a changed one may be none.
    enum class Filed { Nowhere, Changed, NotChanged, Failed };

    // Files a document by its counts in `Items`, or under failed, at the end of its list. A
    // document in which nothing was found moves to changed, with its remarks, when a later report
    // on the same path has something; otherwise the first report on a path stays. An empty entry
    // list files it nowhere. Nowhere is also the answer when the lists stay as they are.
    Filed AddChangedFiles(const std::string& FilePath, const Entries& Items, bool CurrentFileFailed,
                          std::vector<std::string> remarks = {});

    // Lists empty and counters 0; the failed ones stay when `keepFailed`.
    void clear(bool keepFailed = false);

    const std::list<Document>& changed() const { return mChanged.documents; }
    const std::list<Document>& notChanged() const { return mNotChanged.documents; }
    const std::list<Document>& failed() const { return mFailed.documents; }

    // The report: changed documents with their counts, then those without a find; failed ones and
    // remarks are no part of it. Every line ends with CR LF.
    std::string text() const;
    // The same form with everything: remarks below the counts, failed documents last.
    std::string fullText() const;

    std::int32_t mChangeCount = 0;      // sum of all counts filed
    std::int32_t changedFileCount = 0;  // documents filed under changed

    // Called before a document without a find moves to changed; may be empty.
    std::function<void(const Document&)> leavesNotChanged;

private:
    struct List {
        std::list<Document> documents;
        // The keys are texts inside the list.
        std::unordered_map<std::string_view, std::list<Document>::iterator> byPath;

        bool has(const std::string& path) const { return byPath.count(path) != 0; }
        void clear();
    };

    Document& append(List& list, const std::string& path);
    Document& appendChanged(const std::string& path);
    void AddChildNode(Document& document, const Entries& Items);

    List mChanged;
    List mNotChanged;
    List mFailed;
    std::uint64_t mOrder = 0;
};

}  // namespace brindle
