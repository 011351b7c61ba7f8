// SPDX-License-Identifier: MIT
// Long work that lets somebody who waits for it do something now and then, such as paint a window.
#pragma once

#include <cstdint>
#include <functional>
#include <thread>

namespace brindle {

// Handed along with the work, by value. What is worked on may be in the middle of a change at any
// beat, so whoever is called must not touch it.
class Pulse {
public:
    // Nobody waits: beats do nothing.
    Pulse() = default;
    // `beaten` is borrowed for as long as the work goes on. It is called on this thread only, must
    // be cheap (it may be called many thousand times a second) and must not throw.
    explicit Pulse(const std::function<void()>& beaten)
        : mBeaten(&beaten), mThread(std::this_thread::get_id()) {}

    // For loops: to be called once in a millisecond or so of work.
    void beat() const {
        if (mBeaten && std::this_thread::get_id() == mThread) (*mBeaten)();
    }

    // For a step that cannot be divided, a call of a library or of the system: beats while it
    // lasts. When somebody waits the step has a thread of its own meanwhile, which has ended when
    // this returns; what it throws is thrown here.
    void during(const std::function<void()>& step) const;
    // The same for a step over so many bytes; few are done at once.
    void during(std::uint64_t bytes, const std::function<void()>& step) const;

private:
    const std::function<void()>* mBeaten = nullptr;
    std::thread::id mThread;
};

// For loops of short rounds: one beat in so many of them.
class RoundPulse {
public:
    explicit RoundPulse(Pulse pulse) : mPulse(pulse) {}
    void round() {
        if (++mRounds % kRounds == 0) mPulse.beat();
    }

private:
    static constexpr unsigned kRounds = 4096;

    Pulse mPulse;
    unsigned mRounds = 0;
};

}  // namespace brindle
