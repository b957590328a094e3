// SPDX-License-Identifier: Apache-2.0
#include "VirtualMainThread.h"

#include <algorithm>

namespace vello {

class VirtualMainThread::Task final : public ScheduledTask {
public:
    Task(Schedule& schedule, Key key, std::weak_ptr<bool> scheduleIsAlive)
        : schedule_(schedule), key_(key), scheduleIsAlive_(std::move(scheduleIsAlive)) {}
    ~Task() override {
        if (scheduleIsAlive_.expired())
            return;
        // Extracted from the map before its destruction, because objects held by the action may drop further
        // tasks.
        const auto node = schedule_.extract(key_);
    }
    Task(const Task&) = delete;
    Task& operator=(const Task&) = delete;

private:
    Schedule& schedule_;
    Key key_;
    std::weak_ptr<bool> scheduleIsAlive_;
};

VirtualMainThread::~VirtualMainThread() {
    isAlive_.reset();
}

MainThread::Instant VirtualMainThread::now() const {
    return now_.load();
}

void VirtualMainThread::post(Action action) {
    const std::lock_guard lock(mutex_);
    posted_.push_back(std::move(action));
}

TaskHandle VirtualMainThread::after(Duration delay, Action action) {
    const Key key{now() + std::max(delay, Duration::zero()), nextOrder_++};
    scheduled_.emplace(key, std::move(action));
    return std::make_unique<Task>(scheduled_, key, isAlive_);
}

void VirtualMainThread::runPosted() {
    while (runOnePosted() || runOneDue(now())) {
    }
}

void VirtualMainThread::advance(Duration duration) {
    const Instant end = now() + duration;
    runPosted();
    while (runOneDue(end))
        runPosted();
    now_ = end;
}

bool VirtualMainThread::runOnePosted() {
    Action action;
    {
        const std::lock_guard lock(mutex_);
        if (posted_.empty())
            return false;
        action = std::move(posted_.front());
        posted_.pop_front();
    }
    ++runTaskCount_;
    action();
    return true;
}

bool VirtualMainThread::runOneDue(Instant until) {
    if (scheduled_.empty() || scheduled_.begin()->first.first > until)
        return false;
    const auto node = scheduled_.extract(scheduled_.begin());
    now_ = std::max(now(), node.key().first);
    ++runTaskCount_;
    node.mapped()();
    return true;
}

} // namespace vello
