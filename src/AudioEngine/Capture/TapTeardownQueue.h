// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>

namespace vello {

/// A worker thread that runs the blocking teardown of taps, one job at a time in the order of submission.
class TapTeardownQueue {
public:
    /// Must not throw and must not wait for the main thread, which may be blocked in drain().
    using Job = std::function<void()>;

    TapTeardownQueue();
    /// Runs the remaining jobs, then joins the thread.
    ~TapTeardownQueue();
    TapTeardownQueue(const TapTeardownQueue&) = delete;
    TapTeardownQueue& operator=(const TapTeardownQueue&) = delete;

    /// Returns at once. Any thread.
    void submit(Job job);
    /// Blocks until all jobs submitted so far have run. Any thread except the worker.
    void drain();

private:
    void work();
    /// Waits for the next job; returns an empty one when the queue ends.
    Job next();

    std::mutex mutex_; ///< guards jobs_ and isEnding_
    std::condition_variable changed_;
    std::deque<Job> jobs_;
    bool isEnding_ = false;
    std::thread worker_; ///< last, because it uses all other members
};

} // namespace vello
