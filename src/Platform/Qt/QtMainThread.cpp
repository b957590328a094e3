// SPDX-License-Identifier: Apache-2.0
#include "Platform/Qt/QtMainThread.h"

#include "Foundation/Descriptor.h"

#include <QObject>
#include <QPointer>
#include <QSocketNotifier>
#include <QTimer>

#include <algorithm>
#include <cerrno>
#include <deque>
#include <limits>
#include <mutex>
#include <sys/eventfd.h>
#include <system_error>
#include <utility>

namespace vello {
namespace {

/// Rounded up, so that a delay is never short.
int milliseconds(MainThread::Duration delay) {
    const auto count = std::chrono::ceil<std::chrono::milliseconds>(delay).count();
    return static_cast<int>(std::clamp<std::int64_t>(count, 0, std::numeric_limits<int>::max()));
}

class TimerTask final : public ScheduledTask {
public:
    /// `context` owns the timer, and destroys it when it goes first.
    TimerTask(QObject* context, MainThread::Duration delay, MainThread::Action action)
        : timer_(new QTimer(context)) {
        timer_->setSingleShot(true);
        timer_->setTimerType(Qt::PreciseTimer);
        // The action is destroyed once it has run, not with the handle.
        QObject::connect(timer_, &QTimer::timeout, context, std::move(action), Qt::SingleShotConnection);
        timer_->start(milliseconds(delay));
    }
    ~TimerTask() override {
        if (timer_ == nullptr)
            return;
        timer_->stop();
        timer_->disconnect();
        timer_->deleteLater(); // this may be its own timeout
    }
    TimerTask(const TimerTask&) = delete;
    TimerTask& operator=(const TimerTask&) = delete;

private:
    const QPointer<QTimer> timer_;
};

} // namespace

/// A queue of actions from any thread, with an event counter that wakes the event loop. Qt's own queue of
/// events would do, but the thread sanitizer does not see its locks: nothing that is handed from thread to
/// thread through it could be checked.
class QtMainThread::Loop final : public QObject {
public:
    Loop() : wakeUp_(openEventCounter()), notifier_(wakeUp_.number(), QSocketNotifier::Read) {
        connect(&notifier_, &QSocketNotifier::activated, this, [this] {
            // One at a time, so that timers and other events run in between.
            if (const Action action = take())
                action();
        });
    }

    void post(Action action) {
        const std::lock_guard lock(mutex_);
        actions_.push_back(std::move(action));
        ::eventfd_write(wakeUp_.number(), 1);
    }

private:
    static Descriptor openEventCounter() {
        Descriptor counter(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK));
        if (!counter.isOpen())
            throw std::system_error(errno, std::generic_category(), "cannot make an event counter");
        return counter;
    }

    /// Empty when no action is queued.
    Action take() {
        const std::lock_guard lock(mutex_);
        if (actions_.empty())
            return nullptr;
        Action action = std::move(actions_.front());
        actions_.pop_front();
        eventfd_t count = 0;
        if (actions_.empty())
            ::eventfd_read(wakeUp_.number(), &count);
        return action;
    }

    const Descriptor wakeUp_; ///< readable while an action is queued
    QSocketNotifier notifier_;
    std::mutex mutex_;
    std::deque<Action> actions_; ///< guarded by the mutex
};

QtMainThread::QtMainThread() : loop_(std::make_unique<Loop>()) {}

QtMainThread::~QtMainThread() = default;

MainThread::Instant QtMainThread::now() const {
    return Clock::now();
}

void QtMainThread::post(Action action) {
    loop_->post(std::move(action));
}

TaskHandle QtMainThread::after(Duration delay, Action action) {
    return std::make_unique<TimerTask>(loop_.get(), delay, std::move(action));
}

} // namespace vello
