// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <functional>
#include <memory>

namespace vello {

/// Handle of a delayed action. Dropping it cancels the action if it has not run yet; dropping it later, or
/// from inside the action, is harmless. Main thread only.
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

    /// Current time of the monotonic clock. Any thread.
    virtual Instant now() const = 0;
    /// Queues `action` to run on the main thread, in the order of the calls and never inside this call. Any
    /// thread.
    virtual void post(Action action) = 0;
    /// Runs `action` on the main thread once `delay` has passed, unless the handle is dropped first. A delay
    /// of zero or less means as soon as possible, but never inside this call. Main thread only.
    [[nodiscard]] virtual TaskHandle after(Duration delay, Action action) = 0;
};

} // namespace vello
