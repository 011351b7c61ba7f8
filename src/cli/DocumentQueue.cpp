// SPDX-License-Identifier: MIT
#include "cli/DocumentQueue.h"

#include <algorithm>
#include <chrono>
#include <utility>

namespace brindle::cli {

namespace {

// A stop comes from a signal handler, which cannot wake a sleeping thread.
constexpr auto kStopCheck = std::chrono::milliseconds(50);

}  // namespace

DocumentQueue::DocumentQueue(DocumentSource& source, std::atomic<bool>& stop,
                             std::int32_t lookAhead, bool withBackups, Receiver receiver)
    : mSource(source),
      mStop(stop),
      mLookAhead(lookAhead),
      mReceiver(std::move(receiver)),
      mNames(withBackups) {}

std::optional<Task> DocumentQueue::take() {
    std::optional<Task> task = takeFromSource();
    if (!task || waitForEarlier(task->number)) return task;
    giveUp(*task);
    return std::nullopt;
}

std::optional<Task> DocumentQueue::takeFromSource() {
    // A source may wait for its own input; results go on coming out meanwhile.
    const Lock sourceLock(mSourceMutex);
    if (!hasRoom()) return std::nullopt;
    std::optional<std::string> path = mSource.next();
    if (!path) {
        const Lock lock(mMutex);
        mSourceEnded = true;
        return std::nullopt;
    }
    std::vector<std::string> files = mNames.of(*path);
    const Lock lock(mMutex);
    Task task{++mTaken, std::move(*path)};
    for (const std::string& file : files) mUsers[file].push_back(task.number);
    mFiles[task.number] = std::move(files);
    return task;
}

void DocumentQueue::finish(const Task& task, DocumentResult result) {
    Lock lock(mMutex);
    release(task.number);
    mResults.emplace(task.number, std::move(result));
    handOut(lock);
}

void DocumentQueue::giveUp(const Task& task) {
    Lock lock(mMutex);
    release(task.number);
    mResults.emplace(task.number, std::nullopt);
    handOut(lock);
}

void DocumentQueue::abandon() {
    const Lock lock(mMutex);
    mIsAbandoned = true;
    mChanged.notify_all();
}

void DocumentQueue::handOutRest() {
    for (const auto& [number, result] : mResults) {
        if (result) mReceiver(*result);
    }
    mResults.clear();
}

// A thread that comes while another one is at it leaves its result to that one.
void DocumentQueue::handOut(Lock& lock) {
    if (mIsHandingOut) return;
    mIsHandingOut = true;
    while (!mResults.empty() && mResults.begin()->first == mHandedOut + 1) {
        const auto first = mResults.extract(mResults.begin());
        lock.unlock();
        if (first.mapped()) mReceiver(*first.mapped());
        lock.lock();
        ++mHandedOut;
        mChanged.notify_all();
    }
    mIsHandingOut = false;
}

bool DocumentQueue::hasRoom() {
    Lock lock(mMutex);
    while (!mStop && mTaken - mHandedOut >= mLookAhead) mChanged.wait_for(lock, kStopCheck);
    return !mStop && !mSourceEnded && !mIsAbandoned;
}

bool DocumentQueue::waitForEarlier(std::int32_t number) {
    Lock lock(mMutex);
    // No end on a stop: the earlier document is in work and will be finished, and a document
    // once taken has its number.
    mChanged.wait(lock, [&] {
        const std::vector<std::string>& files = mFiles.at(number);
        return mIsAbandoned ||
               std::all_of(files.begin(), files.end(), [&](const std::string& file) {
                   return mUsers.at(file).front() == number;
               });
    });
    return !mIsAbandoned;
}

void DocumentQueue::release(std::int32_t number) {
    const auto files = mFiles.extract(number);
    if (files.empty()) return;
    bool someoneWaits = false;
    for (const std::string& file : files.mapped()) {
        std::deque<std::int32_t>& users = mUsers.at(file);
        users.erase(std::find(users.begin(), users.end(), number));
        someoneWaits = someoneWaits || !users.empty();
        if (users.empty()) mUsers.erase(file);
    }
    if (someoneWaits) mChanged.notify_all();
}

}  // namespace brindle::cli
