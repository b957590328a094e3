// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>

namespace vello {

/// One worker thread that runs the blocking teardown of taps, one job at a time, in the order of submission.
class TapTeardownQueue {
public:
    /// Must not throw and must not wait for the main thread, which may be waiting in drain().
    using Job = std::function<void()>;

    TapTeardownQueue();
    /// Runs what was submitted, then ends the thread.
    ~TapTeardownQueue();
    TapTeardownQueue(const TapTeardownQueue&) = delete;
    TapTeardownQueue& operator=(const TapTeardownQueue&) = delete;

    /// Returns at once. Any thread.
    void submit(Job job);
    /// Waits until everything submitted before has run. Any thread but the worker.
    void drain();

private:
    void work();
    /// The next job; empty when the queue ends.
    Job next();

    std::mutex mutex_; ///< guards jobs_ and isEnding_
    std::condition_variable changed_;
    std::deque<Job> jobs_;
    bool isEnding_ = false;
    std::thread worker_; ///< last: it starts when all else is there
};

} // namespace vello
