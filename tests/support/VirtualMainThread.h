// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Ports/MainThread.h"

#include <atomic>
#include <cstdint>
#include <deque>
#include <map>
#include <memory>
#include <mutex>
#include <utility>

namespace vello {

/// A main thread whose clock moves only when the test advances it. The thread that calls `advance` and
/// `runPosted` is the main thread.
class VirtualMainThread final : public MainThread {
public:
    VirtualMainThread() = default;
    /// Drops pending actions without running them.
    ~VirtualMainThread() override;
    VirtualMainThread(const VirtualMainThread&) = delete;
    VirtualMainThread& operator=(const VirtualMainThread&) = delete;

    Instant now() const override;
    void post(Action action) override;
    [[nodiscard]] TaskHandle after(Duration delay, Action action) override;

    /// Runs every posted action and every due delayed action, including those that these add, until none is
    /// left.
    void runPosted();
    /// Advances the clock by `duration`, stopping at the time of each delayed action; an action sees its own
    /// time as now().
    void advance(Duration duration);
    /// Number of pending delayed actions.
    std::size_t pendingTaskCount() const { return scheduled_.size(); }
    /// Number of actions that have run, posted and delayed.
    std::size_t runTaskCount() const { return runTaskCount_; }

private:
    class Task;
    /// Due time, then order of the calls.
    using Key = std::pair<Instant, std::uint64_t>;
    using Schedule = std::map<Key, Action>;

    bool runOnePosted();
    bool runOneDue(Instant until);

    std::atomic<Instant> now_{Instant{std::chrono::hours{1}}};
    std::mutex mutex_; ///< guards posted_
    std::deque<Action> posted_;
    Schedule scheduled_;
    std::uint64_t nextOrder_ = 0;
    std::size_t runTaskCount_ = 0;
    std::shared_ptr<bool> isAlive_ = std::make_shared<bool>(true);
};

} // namespace vello
