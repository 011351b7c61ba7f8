// SPDX-License-Identifier: MIT
#include "cli/Jobs.h"

#include <exception>
#include <functional>
#include <mutex>
#include <new>
#include <optional>
#include <system_error>
#include <thread>
#include <vector>

#include "cli/DocumentQueue.h"
#include "engine/RunFlags.h"

namespace brindle::cli {

namespace {

// A fixed number for each job: results are small, and one large document must not stop the others
// for long.
constexpr std::int32_t kLookAheadPerJob = 64;

// Hands results on until handling one fails; then it stops the run and keeps the failure.
class Handler {
public:
    Handler(const Run& run, const ResultHandler& handle) : mRun(run), mHandle(handle) {}

    void operator()(const DocumentResult& result) {
        if (mFailure) return;
        try {
            mHandle(result);
        } catch (...) {
            mFailure = std::current_exception();
            mRun.stop = true;
        }
    }
    void rethrow() const {
        if (mFailure) std::rethrow_exception(mFailure);
    }

private:
    const Run& mRun;
    const ResultHandler& mHandle;
    std::exception_ptr mFailure;
};

// The engine and its flags.
struct Engine {
    explicit Engine(const Run& run) : flags(run.stop), connector(run.host, flags, run.options) {
        flags.isSearchOnly = run.isSearchOnly;
    }

    RunFlags flags;
    ExcelConnector connector;
};

void reportTo(Engine& engine, Handler& handler) {
    engine.connector.FileStatusChanged = [&](const std::string& path, std::int32_t& number, int,
                                             Entries& entries) {
        handler(documentResult(path, number, entries, engine.flags, engine.connector));
    };
}

void runAlone(const Run& run, DocumentSource& source, Handler& handler) {
    Engine engine(run);
    reportTo(engine, handler);
    engine.connector.StartReplace(run.app, run.entries, source);
}

// One of several jobs: the engine takes its documents from the shared queue.
class Job : private DocumentSource {
public:
    Job(const Run& run, DocumentQueue& queue) : mRun(run), mQueue(queue), mEngine(run) {}

    void work() {
        Entries entries;
        for (const Entry* entry : mRun.entries.NewEnum()) {
            // Logged, but a run with an entry less is another run.
            if (entries.AddByObject(*entry) == nullptr) throw std::bad_alloc();
        }
        mEngine.connector.FileStatusChanged = [this](const std::string& path, std::int32_t&, int,
                                                     Entries& counted) {
            mQueue.finish(*mTask, documentResult(path, mTask->number, counted, mEngine.flags,
                                                 mEngine.connector));
            mTask.reset();
        };
        mEngine.connector.StartReplace(mRun.app, entries, *this);
        giveUp();
    }

private:
    std::optional<std::string> next() override {
        giveUp();
        mTask = mQueue.take();
        if (!mTask) return std::nullopt;
        return mTask->path;
    }
    void giveUp() {
        if (mTask) mQueue.giveUp(*mTask);
        mTask.reset();
    }

    const Run& mRun;
    DocumentQueue& mQueue;
    Engine mEngine;
    std::optional<Task> mTask;
};

// Runs jobs on threads of their own. What a job throws is kept for the one who waits.
class JobThreads {
public:
    JobThreads(const Run& run, DocumentQueue& queue) : mRun(run), mQueue(queue) {}
    ~JobThreads() { join(); }

    // False when the system gives no further thread.
    bool start() {
        try {
            mThreads.emplace_back([this] { body(); });
            return true;
        } catch (const std::system_error&) {
            return false;
        }
    }
    void join() {
        for (std::thread& thread : mThreads) thread.join();
        mThreads.clear();
    }
    void rethrow() const {
        if (mFailure) std::rethrow_exception(mFailure);
    }

private:
    void body() {
        try {
            Job(mRun, mQueue).work();
        } catch (...) {
            const std::lock_guard lock(mMutex);
            mFailure = std::current_exception();
            mRun.stop = true;
            mQueue.abandon();
        }
    }

    const Run& mRun;
    DocumentQueue& mQueue;
    std::vector<std::thread> mThreads;
    std::mutex mMutex;
    std::exception_ptr mFailure;
};

void runTogether(const Run& run, DocumentSource& source, Handler& handler) {
    const auto lookAhead = static_cast<std::int32_t>(run.jobs) * kLookAheadPerJob;
    DocumentQueue queue(source, run.stop, lookAhead, run.app.CurrentProject.BackupMode,
                        std::ref(handler));
    JobThreads threads(run, queue);
    unsigned started = 0;
    while (started < run.jobs && threads.start()) ++started;
    if (started == 0) return runAlone(run, source, handler);
    threads.join();
    queue.handOutRest();
    threads.rethrow();
}

}  // namespace

void runDocuments(const Run& run, DocumentSource& source, const ResultHandler& handle) {
    Handler handler(run, handle);
    if (run.jobs > 1) {
        runTogether(run, source, handler);
    } else {
        runAlone(run, source, handler);
    }
    handler.rethrow();
}

}  // namespace brindle::cli
