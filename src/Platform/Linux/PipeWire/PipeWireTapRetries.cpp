// SPDX-License-Identifier: Apache-2.0
// Handles a tap whose playback side the device refuses or the session manager does not link.
#include "PipeWireTaps.h"

#include "PipeWireQuirks.h"

#include <algorithm>
#include <ranges>
#include <utility>

#include <pipewire/loop.h>

namespace vello {

using namespace std::chrono_literals;

namespace {

/// A device accepts a limited number of links (128 a channel, PipeWire 0.3.65). The session manager tries a
/// link a few times in quick succession (six times, WirePlumber 0.4), and never again for the same node. It
/// has finished with a node when no link has changed anywhere for this long.
constexpr auto quietTime = 2s;
/// With many nodes to link it is slow, and may pause for 20 seconds when a node that it is working on
/// vanishes.
constexpr auto quietTimeOfMany = 25s;
/// A new node is tried again. The pauses between retries grow, because for each retry the session manager
/// checks all its nodes.
constexpr MainThread::Duration firstRetryDelay = 1s;
constexpr MainThread::Duration longestRetryDelay = 60s;
/// A session manager that is merely slow suffers more when a node that it is working on vanishes. So a node
/// that was given up stays for longer than the session manager would wait for it.
constexpr auto leftoverPatience = 30s;

} // namespace

MainThread::Instant PipeWireTaps::givenUpAt(const Device& device) const {
    const auto unlinked = std::ranges::count_if(std::views::values(devices_),
                                                [&](const Device& other) { return !isLinkedOut(other); });
    return std::max(linksChangedAt_, device.workGivenAt) + (unlinked > 1 ? quietTimeOfMany : quietTime);
}

MainThread::Instant PipeWireTaps::leftoverUntil(const Device& leftover) const {
    if (leftover.wasAlive || isLinkedOut(leftover))
        return leftover.destroyedAt + quirks::settleTime;
    return std::max(linksChangedAt_, leftover.workGivenAt) + leftoverPatience;
}

/// Without any device there is nothing to link to, and the session manager links the tap when a device
/// appears.
bool PipeWireTaps::isWithoutOutput(const Device& device) const {
    return device.pair != nullptr && !isLinkedOut(device) && graph_.defaultSink() != nullptr;
}

void PipeWireTaps::startRetryTimer() {
    std::optional<MainThread::Instant> next;
    for (const auto& [id, device] : devices_)
        if (isWithoutOutput(device)) {
            const auto due = device.retryAt.value_or(givenUpAt(device));
            next = std::min(next.value_or(due), due);
        }
    for (const Device& leftover : leftovers_)
        next = std::min(next.value_or(leftoverUntil(leftover)), leftoverUntil(leftover));
    if (!next)
        return;
    const auto pause = std::max(*next - MainThread::Clock::now(), MainThread::Duration(1ms));
    const auto seconds = std::chrono::floor<std::chrono::seconds>(pause);
    timespec time{.tv_sec = seconds.count(), .tv_nsec = std::chrono::nanoseconds(pause - seconds).count()};
    pw_loop_update_timer(connection_.loop(), retryTimer_, &time, nullptr, false);
}

void PipeWireTaps::retryIsDue(void* data, std::uint64_t) {
    static_cast<PipeWireTaps*>(data)->retryRefused();
}

void PipeWireTaps::retryRefused() {
    const auto now = MainThread::Clock::now();
    dropLeftovers();
    for (auto& [id, device] : devices_) {
        if (!isWithoutOutput(device))
            continue;
        if (device.retryAt && now >= *device.retryAt) {
            retry(device);
        } else if (!device.retryAt && now >= givenUpAt(device)) {
            // Playing the applications unequalized is better than silence.
            director_.release(device.captureName);
            device.isDirected = false;
            device.retryDelay = std::clamp(2 * device.retryDelay, firstRetryDelay, longestRetryDelay);
            device.retryAt = now + device.retryDelay;
        }
    }
    makeWaitingPairs();
    startRetryTimer();
}

/// The new pair is made when it is its turn.
void PipeWireTaps::retry(Device& device) {
    Device leftover;
    leftover.captureName = std::exchange(device.captureName, {});
    leftover.channels = device.channels;
    leftover.workGivenAt = device.workGivenAt;
    leftover.pair = std::move(device.pair);
    leaveOver(std::move(leftover));
    device.retryAt.reset();
}

// A session manager that is still working on a node when the node vanishes waits for it for 20 seconds, and
// makes no other links meanwhile (WirePlumber 0.4).
void PipeWireTaps::leaveOver(Device device) {
    if (device.pair == nullptr)
        return;
    device.pair->stop();
    device.destroyedAt = MainThread::Clock::now();
    leftovers_.push_back(std::move(device));
}

void PipeWireTaps::dropLeftovers() {
    const auto now = MainThread::Clock::now();
    std::erase_if(leftovers_, [&](const Device& device) { return now >= leftoverUntil(device); });
}

} // namespace vello
