// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>

struct pw_loop;
struct spa_source;

namespace vello {

/// Runs an action once after a pause, on the control loop's thread with its lock held.
class PipeWireTimer {
public:
    /// `loop` must outlive the timer.
    PipeWireTimer(pw_loop* loop, std::function<void()> action);
    /// The lock is held, or the loop's thread has ended.
    ~PipeWireTimer();
    PipeWireTimer(const PipeWireTimer&) = delete;
    PipeWireTimer& operator=(const PipeWireTimer&) = delete;

    /// The pause must be longer than zero. It replaces one that is not over yet. Lock held.
    void start(std::chrono::nanoseconds pause);

private:
    static void expired(void* data, std::uint64_t expirations);

    pw_loop* loop_;
    std::function<void()> action_;
    spa_source* source_;
};

} // namespace vello
