// SPDX-License-Identifier: Apache-2.0
#include "Platform/Qt/QtMainThread.h"

#include <QObject>
#include <QSocketNotifier>
#include <QTimerEvent>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <deque>
#include <limits>
#include <mutex>
#include <sys/eventfd.h>
#include <system_error>
#include <unistd.h>
#include <unordered_map>
#include <utility>

namespace vello {
namespace {

int openEventCounter() {
    const int descriptor = ::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    if (descriptor < 0)
        throw std::system_error(errno, std::generic_category(), "cannot make an event counter");
    return descriptor;
}

/// Actions from any thread. Its descriptor is readable while there are some.
class PostedActions {
public:
    PostedActions() : descriptor_(openEventCounter()) {}
    ~PostedActions() { ::close(descriptor_); }
    PostedActions(const PostedActions&) = delete;
    PostedActions& operator=(const PostedActions&) = delete;

    int descriptor() const { return descriptor_; }

    void add(MainThread::Action action) {
        const std::lock_guard lock(mutex_);
        actions_.push_back(std::move(action));
        const std::uint64_t one = 1;
        [[maybe_unused]] const ssize_t written = ::write(descriptor_, &one, sizeof one);
    }

    /// Absent when there is none.
    MainThread::Action take() {
        const std::lock_guard lock(mutex_);
        if (actions_.empty())
            return nullptr;
        MainThread::Action action = std::move(actions_.front());
        actions_.pop_front();
        std::uint64_t count = 0;
        if (actions_.empty()) [[maybe_unused]]
            const ssize_t size = ::read(descriptor_, &count, sizeof count);
        return action;
    }

private:
    const int descriptor_;
    std::mutex mutex_;
    std::deque<MainThread::Action> actions_;
};

} // namespace

/// Receives the event loop's events. Timers are known by Qt's number, which Qt gives again once a timer has
/// ended: the serial tells the old owner from the new.
class QtMainThread::Loop final : public QObject {
public:
    Loop() : notifier_(posted_.descriptor(), QSocketNotifier::Read) {
        connect(&notifier_, &QSocketNotifier::activated, this, [this] {
            // One at a time, so that timers and other events have their turn in between.
            if (const Action action = posted_.take())
                action();
        });
    }

    void post(Action action) { posted_.add(std::move(action)); }

    std::pair<int, std::uint64_t> start(Duration delay, Action action) {
        const int timer = startTimer(milliseconds(delay), Qt::PreciseTimer);
        timers_[timer] = {++lastSerial_, std::move(action)};
        return {timer, lastSerial_};
    }

    void cancel(int timer, std::uint64_t serial) {
        const auto entry = timers_.find(timer);
        if (entry == timers_.end() || entry->second.serial != serial)
            return;
        killTimer(timer);
        // The action goes last: what it owns may start and cancel timers while it is destroyed.
        const auto dropped = timers_.extract(entry);
    }

private:
    struct Timer {
        std::uint64_t serial = 0;
        Action action;
    };

    static int milliseconds(Duration delay) {
        const auto count = std::chrono::ceil<std::chrono::milliseconds>(delay).count();
        return static_cast<int>(std::clamp<std::int64_t>(count, 0, std::numeric_limits<int>::max()));
    }

    void timerEvent(QTimerEvent* event) override {
        killTimer(event->timerId());
        if (const auto due = timers_.extract(event->timerId()))
            due.mapped().action();
    }

    PostedActions posted_;
    QSocketNotifier notifier_;
    std::unordered_map<int, Timer> timers_;
    std::uint64_t lastSerial_ = 0;
};

class QtMainThread::Task final : public ScheduledTask {
public:
    Task(const std::shared_ptr<Loop>& loop, std::pair<int, std::uint64_t> timer)
        : loop_(loop), timer_(timer) {}
    ~Task() override {
        if (const auto loop = loop_.lock())
            loop->cancel(timer_.first, timer_.second);
    }
    Task(const Task&) = delete;
    Task& operator=(const Task&) = delete;

private:
    const std::weak_ptr<Loop> loop_;
    const std::pair<int, std::uint64_t> timer_;
};

QtMainThread::QtMainThread() : loop_(std::make_shared<Loop>()) {}

QtMainThread::~QtMainThread() = default;

MainThread::Instant QtMainThread::now() const {
    return Clock::now();
}

void QtMainThread::post(Action action) {
    loop_->post(std::move(action));
}

TaskHandle QtMainThread::after(Duration delay, Action action) {
    return std::make_unique<Task>(loop_, loop_->start(delay, std::move(action)));
}

} // namespace vello
