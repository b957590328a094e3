// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Ports/MainThread.h"

#include <condition_variable>
#include <deque>
#include <map>
#include <memory>
#include <mutex>
#include <utility>

namespace vello {

/// A main thread on the real clock, for tests against real servers. It is the test's own thread, which runs
/// queued actions while it waits.
class PumpedMainThread final : public MainThread {
public:
    Instant now() const override { return Clock::now(); }

    void post(Action action) override {
        std::lock_guard lock(mutex_);
        posted_.push_back(std::move(action));
        arrived_.notify_one();
    }

    [[nodiscard]] TaskHandle after(Duration delay, Action action) override {
        auto task = std::make_shared<Action>(std::move(action));
        timed_.emplace(now() + delay, task);
        return std::make_unique<Handle>(std::move(task));
    }

    /// Runs actions until the condition, evaluated after each, holds; returns false on timeout.
    template <class Condition>
    bool runUntil(Condition condition, Duration timeout = std::chrono::seconds(5)) {
        const Instant deadline = now() + timeout;
        while (!condition()) {
            if (now() >= deadline)
                return false;
            if (const Action action = next(std::min(deadline, now() + longestWait)))
                action();
        }
        return true;
    }

private:
    /// Conditions may depend on more than actions, so they are evaluated at least this often.
    static constexpr std::chrono::milliseconds longestWait{5};

    struct Handle final : ScheduledTask {
        explicit Handle(std::shared_ptr<Action> scheduled) : task(std::move(scheduled)) {}
        ~Handle() override { *task = nullptr; }
        std::shared_ptr<Action> task;
    };

    Action next(Instant deadline) {
        if (!timed_.empty() && timed_.begin()->first <= now()) {
            const auto task = timed_.extract(timed_.begin()).mapped();
            return *task ? *task : [] {};
        }
        if (!timed_.empty())
            deadline = std::min(deadline, timed_.begin()->first);
        std::unique_lock lock(mutex_);
        if (!arrived_.wait_until(lock, deadline, [&] { return !posted_.empty(); }))
            return nullptr;
        Action action = std::move(posted_.front());
        posted_.pop_front();
        return action;
    }

    std::mutex mutex_;
    std::condition_variable arrived_;
    std::deque<Action> posted_; ///< guarded by the mutex
    std::multimap<Instant, std::shared_ptr<Action>> timed_;
};

} // namespace vello
