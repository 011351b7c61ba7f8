// SPDX-License-Identifier: MIT
#include "base/Pulse.h"

#include <chrono>
#include <future>
#include <system_error>

namespace brindle {

namespace {

constexpr std::chrono::milliseconds kBetweenBeats{20};
// Any library has done with so much within a few beats.
constexpr std::uint64_t kFewBytes = 2u << 20;

}  // namespace

void Pulse::during(const std::function<void()>& step) const {
    if (!mBeaten || std::this_thread::get_id() != mThread) return step();
    std::packaged_task<void()> task(step);
    std::future<void> done = task.get_future();
    std::thread worker;
    try {
        worker = std::thread(std::ref(task));
    } catch (const std::system_error&) {
        return step();  // no thread to be had: late beats are better than no result
    }
    while (done.wait_for(kBetweenBeats) != std::future_status::ready) beat();
    worker.join();
    done.get();
}

void Pulse::during(std::uint64_t bytes, const std::function<void()>& step) const {
    if (bytes <= kFewBytes) return step();
    during(step);
}

}  // namespace brindle
