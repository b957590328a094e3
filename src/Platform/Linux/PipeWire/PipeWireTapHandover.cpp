// SPDX-License-Identifier: Apache-2.0
// The end of a tap: it hands its streams to the tap that replaces it, or restores them.
#include "PipeWireTaps.h"

#include <algorithm>

#include <pipewire/thread-loop.h>

namespace vello {

using namespace std::chrono_literals;

namespace {

/// How long a stopping tap waits for the main thread to announce a replacement.
constexpr auto announcementPatience = 150ms;
/// Stops in such quick succession belong to one teardown and share that wait.
constexpr auto stopBurstGap = 50ms;
/// How long the replacement may take to start: slightly longer than its creator waits for its device.
/// Extended while links keep changing, up to `longestHandover`.
constexpr auto handoverPatience = 2500ms;
constexpr auto longestHandover = 15s;
/// How long the session manager may take to move the streams back.
constexpr auto releasePatience = 500ms;

bool sharesOne(const std::vector<AudioObjectID>& left, const std::vector<AudioObjectID>& right) {
    return std::ranges::find_first_of(left, right) != left.end();
}

} // namespace

bool PipeWireTaps::hasSuccessor(const Device& device) const {
    return std::ranges::any_of(taps_, [&](const auto& tap) {
        return tap.first > device.tap && sharesOne(tap.second.description.processes, device.processes);
    });
}

bool PipeWireTaps::isHandedOver(const Device& device) const {
    return !director_.hasStreams(device.captureName) && !isLinkedInto(device) &&
           std::ranges::any_of(devices_, [&](const auto& entry) {
               const Device& other = entry.second;
               return other.tap > device.tap && other.isDirected &&
                      sharesOne(other.processes, device.processes) &&
                      (isLinkedInto(other) || !director_.hasStreams(other.captureName));
           });
}

void PipeWireTaps::postMainThreadBarrier(int turns) {
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

void PipeWireTaps::awaitSuccessor(AudioObjectID device) {
    const auto now = MainThread::Clock::now();
    if (now > lastStopEnded_ + stopBurstGap)
        stopBurstDeadline_ = now + announcementPatience;
    // A rebuild destroys the old tap and creates the new one in one main-thread task, but the new tap's first
    // step follows one iteration later. After that iteration, a tap that is not announced will not come.
    isBarrierPending_ = true;
    postMainThreadBarrier(3);
    connection_.waitUntil(stopBurstDeadline_, [&] {
        const Device* current = find(device);
        return current == nullptr || hasSuccessor(*current) || !isBarrierPending_;
    });
    linksChangedAt_ = MainThread::Clock::now();
    connection_.waitUntil(now + longestHandover, [&] {
        const Device* current = find(device);
        return current == nullptr || !hasSuccessor(*current) || isHandedOver(*current) ||
               MainThread::Clock::now() > linksChangedAt_ + handoverPatience;
    });
}

void PipeWireTaps::awaitReleasedStreams() {
    PipeWireLock lock(connection_);
    MainThread::Instant settled{};
    for (const Device& leftover : leftovers_)
        if (leftover.wasAlive)
            settled = std::max(settled, leftoverUntil(leftover));
    connection_.waitUntil(settled, [] { return false; });
}

OSStatus PipeWireTaps::stop(AudioObjectID device, AudioDeviceIOProcID procID) {
    PipeWireLock lock(connection_);
    Device* found = find(device);
    if (found == nullptr)
        return kAudioHardwareBadObjectError;
    if (found->startedProc != procID)
        return kAudioHardwareNotRunningError;
    if (director_.hasStreams(found->captureName))
        awaitSuccessor(device);
    if ((found = find(device)) == nullptr)
        return kAudioHardwareBadObjectError;
    director_.release(found->captureName);
    connection_.waitUntil(MainThread::Clock::now() + releasePatience, [&] {
        const Device* current = find(device);
        return current == nullptr || !isLinkedInto(*current);
    });
    if ((found = find(device)) == nullptr)
        return kAudioHardwareBadObjectError;
    if (found->pair != nullptr)
        found->pair->stop();
    found->startedProc = 0;
    lastStopEnded_ = MainThread::Clock::now();
    return kAudioHardwareNoError;
}

} // namespace vello
