// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <functional>
#include <memory>

namespace vello {

/// Handle of an action that waits for its time. Dropping it before then cancels the action; dropping it
/// afterwards, or from inside the action, is harmless. Main thread only.
class ScheduledTask {
public:
    virtual ~ScheduledTask() = default;
};
using TaskHandle = std::unique_ptr<ScheduledTask>;

/// The one thread on which all control code runs, and its clock.
class MainThread {
public:
    using Clock = std::chrono::steady_clock;
    using Instant = Clock::time_point;
    using Duration = Clock::duration;
    using Action = std::function<void()>;

    virtual ~MainThread() = default;

    /// The monotonic clock; it also counts while the machine computes something else. Any thread.
    virtual Instant now() const = 0;
    /// Runs `action` soon on the main thread, in the order of the calls, never inside this call. Any thread.
    virtual void post(Action action) = 0;
    /// Runs `action` on the main thread once `delay` has passed, unless the handle is dropped first; a delay
    /// of zero or less runs it soon. Never inside this call. Main thread only.
    [[nodiscard]] virtual TaskHandle after(Duration delay, Action action) = 0;
};

} // namespace vello
