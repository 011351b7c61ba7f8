// SPDX-License-Identifier: MIT
#include "ui/processing/RunReport.h"

#include <array>
#include <iterator>
#include <optional>
#include <string>
#include <utility>

#include "base/Error.h"
#include "engine/clsCounts.h"
#include "project/Entry.h"
#include "shell/ErrorLog.h"

namespace brindle {

namespace {

constexpr Routine kAddChildNode{"AddChildNode", ModuleKind::Form, "frmProcessingDocuments"};

// Fixed phrases, not translated: people paste the report into other programs and search for them.
constexpr const char* kFound = " - At least 1 occurrence(s) found ";
constexpr const char* kNotFound = " - No occurrence(s) found ";
constexpr const char* kFailed = " - Error ";
constexpr const char* kLineEnd = "\r\n";

struct Scope {
    std::int16_t clsCounts::*counter;
    const char* label;
};

// In the order of Look_In.
constexpr std::array<Scope, 7> kScopes{{
    {&clsCounts::CellCounter, " (Cell) : "},
    {&clsCounts::HyperlinkCounter, " (HyperLink) : "},
    {&clsCounts::HeaderCounter, " (Header) : "},
    {&clsCounts::FooterCounter, " (Footer) : "},
    {&clsCounts::ShapesCounter, " (Shapes) : "},
    {&clsCounts::BuiltInPropCounter, " (Built in Properties) : "},
    {&clsCounts::CustomPropCounter, " (Custom Properties) : "},
}};

const char* labelOf(std::int16_t lookIn) {
    return kScopes.at(static_cast<std::size_t>(lookIn)).label;
}

void addCounts(std::vector<EntryCount>& counts, const Entry& entry) {
    for (std::size_t scope = 0; scope < kScopes.size(); ++scope) {
        const std::int16_t count = entry.counts.*kScopes[scope].counter;
        if (count <= 0) continue;
        counts.push_back(
            {entry.FindWhat, entry.ReplaceWith, static_cast<std::int16_t>(scope), count});
    }
}

void appendLines(std::string& out, const std::vector<std::string>& lines) {
    for (const std::string& line : lines) out += "\t" + line + kLineEnd;
}

std::int32_t checkedSum(std::int32_t a, std::int32_t b) {
    std::int32_t sum = 0;
    if (__builtin_add_overflow(a, b, &sum)) {
        throw Error(ErrorKind::TooLarge, error_number::kOverflow, "Overflow");
    }
    return sum;
}

// All that is known about the failure, but for the document's path, which stands before it.
std::string detailOf(const Error& error) {
    std::string detail = error.what();
    const std::string& file = error.place().file;
    if (file.empty()) return detail;
    for (const auto& [with, without] : {std::pair{" (" + file + ")", std::string()},
                                        std::pair{"(" + file + ", ", std::string("(")}}) {
        const std::size_t found = detail.find(with);
        if (found != std::string::npos) detail.replace(found, with.size(), without);
    }
    return detail;
}

}  // namespace

std::vector<EntryCount> countsOf(const Entries& entries) {
    std::vector<EntryCount> counts;
    for (const Entry* entry : entries.NewEnum()) addCounts(counts, *entry);
    return counts;
}

std::string childText(const EntryCount& count) {
    return count.find + labelOf(count.lookIn) + std::to_string(count.count);
}

std::string placeText(const Refusal& refusal) {
    if (refusal.sheet.empty()) return refusal.place;
    return refusal.place.empty() ? refusal.sheet : refusal.sheet + "!" + refusal.place;
}

std::string refusalText(const Refusal& refusal) {
    return refusal.find + labelOf(refusal.lookIn) + refusal.description;
}

DocumentResult documentResult(const std::string& path, std::int32_t number, const Entries& entries,
                              const RunFlags& flags, const ExcelConnector& engine) {
    DocumentResult result;
    result.path = path;
    result.number = number;
    result.refusals = engine.refusals();
    if (!flags.CurrentFileFailed) {
        result.counts = countsOf(entries);
        result.status = result.counts.empty() ? DocumentStatus::Unchanged : DocumentStatus::Changed;
        return result;
    }
    result.status = DocumentStatus::Failed;
    if (const std::optional<Error>& error = engine.documentError()) {
        result.errorNumber = error->number();
        result.errorText = error->description();
        result.errorDetail = detailOf(*error);
    }
    return result;
}

RunReport::Filed RunReport::AddChangedFiles(const std::string& FilePath, const Entries& Items,
                                            bool CurrentFileFailed,
                                            std::vector<std::string> remarks) {
    const auto remark = [&](Document& document) {
        document.remarks.insert(document.remarks.end(), std::move_iterator(remarks.begin()),
                                std::move_iterator(remarks.end()));
    };
    if (Items.Count() == 0) return Filed::Nowhere;
    if (CurrentFileFailed) {
        if (mFailed.has(FilePath)) return Filed::Nowhere;
        remark(append(mFailed, FilePath));
        return Filed::Failed;
    }
    if (mChanged.has(FilePath)) return Filed::Nowhere;
    if (countsOf(Items).empty()) {
        if (mNotChanged.has(FilePath)) return Filed::Nowhere;
        remark(append(mNotChanged, FilePath));
        return Filed::NotChanged;
    }
    Document& document = appendChanged(FilePath);
    guarded(kAddChildNode, [&] { AddChildNode(document, Items); });
    remark(document);
    ++changedFileCount;
    return Filed::Changed;
}

RunReport::Document& RunReport::append(List& list, const std::string& path) {
    const auto added = list.documents.insert(list.documents.end(), {path, {}, {}, ++mOrder});
    list.byPath.emplace(added->path, added);
    return *added;
}

RunReport::Document& RunReport::appendChanged(const std::string& path) {
    const auto before = mNotChanged.byPath.find(path);
    if (before == mNotChanged.byPath.end()) return append(mChanged, path);
    const auto document = before->second;
    if (leavesNotChanged) leavesNotChanged(*document);
    mNotChanged.byPath.erase(before);
    mChanged.documents.splice(mChanged.documents.end(), mNotChanged.documents, document);
    mChanged.byPath.emplace(document->path, document);
    document->order = ++mOrder;
    return *document;
}

void RunReport::AddChildNode(Document& document, const Entries& Items) {
    for (const EntryCount& count : countsOf(Items)) {
        document.children.push_back(childText(count));
        mChangeCount = checkedSum(mChangeCount, count.count);
    }
}

void RunReport::List::clear() {
    byPath.clear();
    documents.clear();
}

void RunReport::clear(bool keepFailed) {
    mChanged.clear();
    mNotChanged.clear();
    mChangeCount = 0;
    changedFileCount = 0;
    if (!keepFailed) mFailed.clear();
}

std::string RunReport::text() const {
    std::string out;
    for (const Document& document : changed()) {
        if (document.children.empty()) continue;
        out += document.path + kFound + kLineEnd;
        appendLines(out, document.children);
    }
    for (const Document& document : notChanged()) out += document.path + kNotFound + kLineEnd;
    return out;
}

std::string RunReport::fullText() const {
    std::string out;
    const auto appendAll = [&](const std::list<Document>& documents, const char* phrase) {
        for (const Document& document : documents) {
            out += document.path + phrase + kLineEnd;
            appendLines(out, document.children);
            appendLines(out, document.remarks);
        }
    };
    appendAll(changed(), kFound);
    appendAll(notChanged(), kNotFound);
    appendAll(failed(), kFailed);
    return out;
}

}  // namespace brindle
