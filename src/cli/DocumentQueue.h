// SPDX-License-Identifier: MIT
#pragma once

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

#include "cli/FileNames.h"
#include "engine/DocumentSource.h"
#include "ui/processing/RunReport.h"

namespace brindle::cli {

// A document that a job is to work on.
struct Task {
    std::int32_t number = 0;
    std::string path;
};

// Stands between the source, the jobs that take documents from it, and the one that wants the
// results in order. All of it may be called from any thread.
class DocumentQueue {
public:
    // Gets the results one at a time and in order, from whichever thread finishes a document.
    // Must not throw.
    using Receiver = std::function<void(const DocumentResult&)>;

    // `lookAhead`: how many documents may be taken beyond the last result handed out.
    // `withBackups`: documents whose backups have one name are worked on one after the other.
    DocumentQueue(DocumentSource& source, std::atomic<bool>& stop, std::int32_t lookAhead,
                  bool withBackups, Receiver receiver);

    // The next document, once no earlier one that shares its file is in work any more; nothing
    // at the end and after a stop. Each is to be finished or given up.
    std::optional<Task> take();
    void finish(const Task& task, DocumentResult result);
    // A document that was taken but not worked on.
    void giveUp(const Task& task);

    // A job died, perhaps with a document: nobody waits for it any more, and take() gives nothing.
    void abandon();
    // The results behind a document that has none. When no job is left.
    void handOutRest();

private:
    using Lock = std::unique_lock<std::mutex>;

    std::optional<Task> takeFromSource();
    // Waits until a document may be taken; false when none will be.
    bool hasRoom();
    // False when an earlier one will not be released.
    bool waitForEarlier(std::int32_t number);
    void release(std::int32_t number);
    void handOut(Lock& lock);

    DocumentSource& mSource;
    std::atomic<bool>& mStop;
    const std::int32_t mLookAhead;
    const Receiver mReceiver;

    std::mutex mSourceMutex;  // taken before mMutex, never after it
    FileNames mNames;         // guarded by mSourceMutex

    std::mutex mMutex;
    std::condition_variable mChanged;
    bool mSourceEnded = false;
    bool mIsHandingOut = false;
    bool mIsAbandoned = false;
    std::int32_t mTaken = 0;
    std::int32_t mHandedOut = 0;
    std::map<std::int32_t, std::optional<DocumentResult>> mResults;  // nothing: given up
    // Who uses a file, in the order of their numbers, and the files that each one uses.
    std::unordered_map<std::string, std::deque<std::int32_t>> mUsers;
    std::unordered_map<std::int32_t, std::vector<std::string>> mFiles;
};

}  // namespace brindle::cli
