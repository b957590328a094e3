// SPDX-License-Identifier: Apache-2.0
#include "Platform/Linux/System/TerminationSignals.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <poll.h>
#include <sys/signalfd.h>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace vello {
namespace {

constexpr std::array kSignals{SIGTERM, SIGINT, SIGHUP};
/// What the kernel takes for no limit.
constexpr std::chrono::milliseconds kForever{-1};

bool isIgnored(int signal) {
    struct sigaction action = {};
    return ::sigaction(signal, nullptr, &action) == 0 && action.sa_handler == SIG_IGN;
}

/// Blocks all the signals and returns a descriptor of those that count.
Descriptor blockAndWatch() {
    TerminationSignals::block();
    sigset_t watched;
    ::sigemptyset(&watched);
    for (const int signal : kSignals)
        if (signal != SIGHUP || !isIgnored(signal))
            ::sigaddset(&watched, signal);
    Descriptor signals(::signalfd(-1, &watched, SFD_CLOEXEC));
    if (!signals.isOpen())
        throw std::system_error(errno, std::generic_category(), "cannot watch for signals");
    return signals;
}

[[noreturn]] void takeItsCourse(int signal) {
    sigset_t set;
    ::sigemptyset(&set);
    ::sigaddset(&set, signal);
    ::pthread_sigmask(SIG_UNBLOCK, &set, nullptr);
    ::raise(signal);
    ::_exit(128 + signal);
}

} // namespace

struct TerminationSignals::Actions {
    Action willTerminate;
    Action quit;
    /// When the main thread began to terminate; the largest time before that. Written by the main thread,
    /// read by the watching one. Nothing else depends on it, so its order is relaxed.
    std::atomic<MainThread::Instant> begunAt{MainThread::Instant::max()};
};

void TerminationSignals::block() {
    sigset_t blocked;
    ::sigemptyset(&blocked);
    for (const int signal : kSignals)
        ::sigaddset(&blocked, signal);
    ::pthread_sigmask(SIG_BLOCK, &blocked, nullptr);
}

TerminationSignals::TerminationSignals(MainThread& mainThread, Action quit, const Timing& timing)
    : mainThread_(mainThread), timing_(timing), actions_(std::make_shared<Actions>()),
      signals_(blockAndWatch()), thread_([this](int end) { watch(end); }) {
    actions_->quit = std::move(quit);
}

void TerminationSignals::onWillTerminate(Action action) {
    actions_->willTerminate = std::move(action);
}

void TerminationSignals::watch(int end) const {
    int signal = waitForSignal(end, kForever);
    if (signal == 0)
        return;
    postTermination();
    pollfd ending{end, POLLIN, 0};
    if (const int second = waitForAnotherRequest(end); second != 0)
        signal = second;
    if (::poll(&ending, 1, 0) == 0)
        takeItsCourse(signal);
}

/// The number of the next signal that is not part of the first request; 0 at the end of this object or when
/// the patience has run out.
int TerminationSignals::waitForAnotherRequest(int end) const {
    const auto deadline = mainThread_.now() + timing_.patience;
    for (;;) {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - mainThread_.now());
        const int signal = waitForSignal(end, std::max(left, std::chrono::milliseconds::zero()));
        const auto begunAt = actions_->begunAt.load(std::memory_order_relaxed);
        if (signal == 0 || mainThread_.now() - timing_.grace >= begunAt)
            return signal;
    }
}

/// The next signal's number; 0 at the end of this object or of the time.
int TerminationSignals::waitForSignal(int end, std::chrono::milliseconds longest) const {
    std::array<pollfd, 2> events{{{signals_.number(), POLLIN, 0}, {end, POLLIN, 0}}};
    if (::poll(events.data(), events.size(), static_cast<int>(longest.count())) <= 0 ||
        events[1].revents != 0)
        return 0;
    signalfd_siginfo information{};
    const ssize_t size = ::read(signals_.number(), &information, sizeof information);
    return size == sizeof information ? static_cast<int>(information.ssi_signo) : 0;
}

void TerminationSignals::postTermination() const {
    mainThread_.post([&mainThread = mainThread_, actions = std::weak_ptr(actions_)] {
        const auto alive = actions.lock();
        if (!alive)
            return;
        alive->begunAt.store(mainThread.now(), std::memory_order_relaxed);
        if (const Action willTerminate = std::exchange(alive->willTerminate, nullptr))
            willTerminate();
        alive->quit();
    });
}

} // namespace vello
