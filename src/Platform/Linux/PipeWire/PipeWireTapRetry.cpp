// SPDX-License-Identifier: Apache-2.0
#include "PipeWireTapRetry.h"

#include <algorithm>

namespace vello {

using namespace std::chrono_literals;

namespace {

/// The session manager has finished with a node when no link has changed anywhere for this long.
constexpr auto kQuietTime = 2s;
/// With many nodes to link it is slow, and may pause for 20 seconds when a node that it is working on
/// vanishes.
constexpr auto kQuietTimeOfMany = 25s;
/// The pauses between retries grow, because for each retry the session manager checks all its nodes.
constexpr MainThread::Duration kFirstRetryDelay = 1s;
constexpr MainThread::Duration kLongestRetryDelay = 60s;

} // namespace

MainThread::Instant PipeWireTapRetry::dueAt(MainThread::Instant quietSince, bool isOneOfMany) const {
    return remakeAt_.value_or(quietSince + (isOneOfMany ? kQuietTimeOfMany : kQuietTime));
}

void PipeWireTapRetry::giveUp(MainThread::Instant now) {
    delay_ = std::clamp(2 * delay_, kFirstRetryDelay, kLongestRetryDelay);
    remakeAt_ = now + delay_;
}

} // namespace vello
