// SPDX-License-Identifier: MIT
#include "ui/processing/RunReport.h"

#include <array>
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

void addCounts(std::vector<EntryCount>& counts, const Entry& entry) {
    for (std::size_t scope = 0; scope < kScopes.size(); ++scope) {
        const std::int16_t count = entry.counts.*kScopes[scope].counter;
        if (count <= 0) continue;
        counts.push_back(
            {entry.FindWhat, entry.ReplaceWith, static_cast<std::int16_t>(scope), count});
    }
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
    const Scope& scope = kScopes.at(static_cast<std::size_t>(count.lookIn));
    return count.find + scope.label + std::to_string(count.count);
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
                                            bool CurrentFileFailed) {
    if (Items.Count() == 0) return Filed::Nowhere;
    if (CurrentFileFailed) return fileFailed(FilePath);
    if (mChangedByPath.count(FilePath) != 0) return Filed::Nowhere;
    return countsOf(Items).empty() ? fileNotChanged(FilePath) : fileChanged(FilePath, Items);
}

RunReport::Filed RunReport::fileFailed(const std::string& path) {
    if (mFailedByPath.count(path) != 0) return Filed::Nowhere;
    const auto added = mFailed.insert(mFailed.end(), path);
    mFailedByPath.emplace(*added, added);
    return Filed::Failed;
}

RunReport::Filed RunReport::fileNotChanged(const std::string& path) {
    if (mNotChangedByPath.count(path) != 0) return Filed::Nowhere;
    const auto added = mNotChanged.insert(mNotChanged.end(), path);
    mNotChangedByPath.emplace(*added, added);
    return Filed::NotChanged;
}

RunReport::Filed RunReport::fileChanged(const std::string& path, const Entries& Items) {
    const auto before = mNotChangedByPath.find(path);
    if (before != mNotChangedByPath.end()) {
        const auto item = before->second;
        mNotChangedByPath.erase(before);
        mNotChanged.erase(item);
    }
    const auto added = mChanged.insert(mChanged.end(), {path, {}});
    mChangedByPath.emplace(added->path, added);
    guarded(kAddChildNode, [&] { AddChildNode(*added, Items); });
    ++changedFileCount;
    return Filed::Changed;
}

void RunReport::AddChildNode(ChangedDocument& document, const Entries& Items) {
    for (const EntryCount& count : countsOf(Items)) {
        document.children.push_back(childText(count));
        mChangeCount = checkedSum(mChangeCount, count.count);
    }
}

void RunReport::clear(bool keepFailed) {
    mChangedByPath.clear();
    mNotChangedByPath.clear();
    mChanged.clear();
    mNotChanged.clear();
    mChangeCount = 0;
    changedFileCount = 0;
    if (keepFailed) return;
    mFailedByPath.clear();
    mFailed.clear();
}

std::string RunReport::text() const {
    std::string out;
    for (const ChangedDocument& document : mChanged) {
        if (document.children.empty()) continue;
        out += document.path + kFound + kLineEnd;
        for (const std::string& child : document.children) out += "\t" + child + kLineEnd;
    }
    for (const std::string& path : mNotChanged) out += path + kNotFound + kLineEnd;
    return out;
}

}  // namespace brindle
