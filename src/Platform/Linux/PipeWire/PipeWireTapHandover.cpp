// SPDX-License-Identifier: Apache-2.0
#include "PipeWireTapHandover.h"

#include "PipeWireLinks.h"

#include <algorithm>

#include <pipewire/thread-loop.h>

namespace vello {

using namespace std::chrono_literals;

namespace {

/// How long a stopping tap waits for a main thread that is not free to announce a replacement. Until then the
/// old tap plays on, so that on a busy machine nothing is heard without its settings.
constexpr auto kAnnouncementPatience = 2500ms;
/// Stops in such quick succession belong to one teardown and share that wait.
constexpr auto kStopBurstGap = 50ms;
/// How long the replacement may take to start: slightly longer than its creator waits for its device.
/// Extended while links keep changing, up to `kLongestHandover`.
constexpr auto kHandoverPatience = 2500ms;
constexpr auto kLongestHandover = 15s;
/// How long the session manager may take to move the streams back.
constexpr auto kReleasePatience = 500ms;

} // namespace

PipeWireTapHandover::PipeWireTapHandover(PipeWireConnection& connection, const PipeWireLinks& links,
                                         MainThread& mainThread)
    : connection_(connection), links_(links), mainThread_(mainThread) {}

void PipeWireTapHandover::awaitSuccessor(const std::function<Progress()>& progress) {
    const auto begun = MainThread::Clock::now();
    awaitAnnouncement(progress);
    const auto announced = MainThread::Clock::now();
    while (progress() == Progress::underWay) {
        const auto deadline =
            std::min(begun + kLongestHandover, std::max(announced, links_.changedAt()) + kHandoverPatience);
        if (MainThread::Clock::now() >= deadline)
            return;
        connection_.waitUntil(deadline, [&] { return progress() != Progress::underWay; });
    }
}

void PipeWireTapHandover::awaitAnnouncement(const std::function<Progress()>& progress) {
    if (isEnding_)
        return;
    const auto now = MainThread::Clock::now();
    if (now > lastStopEnded_ + kStopBurstGap)
        stopBurstDeadline_ = now + kAnnouncementPatience;
    // A rebuild destroys the old tap and creates the new one in one main-thread task, but the new tap's first
    // step follows one iteration later. After that iteration, a tap that is not announced will not come.
    isBarrierPending_ = true;
    postMainThreadBarrier(3);
    connection_.waitUntil(stopBurstDeadline_,
                          [&] { return progress() != Progress::unannounced || !isBarrierPending_; });
}

void PipeWireTapHandover::postMainThreadBarrier(int turns) {
    mainThread_.post([this, turns, weak = std::weak_ptr(alive_)] {
        if (weak.expired())
            return;
        PipeWireLock lock(connection_);
        if (turns > 1)
            return postMainThreadBarrier(turns - 1);
        isBarrierPending_ = false;
        pw_thread_loop_signal(connection_.threadLoop(), false);
    });
}

void PipeWireTapHandover::awaitRelease(const std::function<bool()>& isReleased) const {
    connection_.waitUntil(MainThread::Clock::now() + kReleasePatience, isReleased);
}

} // namespace vello
