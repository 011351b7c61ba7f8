// SPDX-License-Identifier: MIT
// One run over a source of documents, on one thread or on several.
#pragma once

#include <atomic>
#include <functional>

#include "base/Host.h"
#include "engine/DocumentSource.h"
#include "engine/ExcelConnector.h"
#include "project/Application.h"
#include "ui/processing/RunReport.h"

namespace brindle::cli {

// Everything passed by reference outlives the run.
struct Run {
    Host& host;               // called from several threads when there are several jobs
    Application& app;         // its options; only read
    Entries& entries;         // each job works on a copy; only read
    std::atomic<bool>& stop;  // ends the run after the documents in work
    bool isSearchOnly = false;
    RunOptions options;
    unsigned jobs = 1;
};

using ResultHandler = std::function<void(const DocumentResult&)>;

// Works through `source` and hands every document's result to `handle`, one at a time, in the
// order of the source and numbered from 1; with several jobs, from any of their threads. The result
// is the same for any number of jobs: a document that shares its file, or its backup, with an
// earlier one waits for it. Jobs run ahead of the slowest document by a fixed number of documents
// only. When `handle` throws, the run ends after the documents in work and the exception comes out
// here.
void runDocuments(const Run& run, DocumentSource& source, const ResultHandler& handle);

}  // namespace brindle::cli
