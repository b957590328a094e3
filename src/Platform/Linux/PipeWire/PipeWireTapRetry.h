// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Ports/MainThread.h"

#include <optional>

namespace vello {

/// When a tap's pair that is not linked to its device is given up, and when it is made again.
///
/// A device accepts a limited number of links (128 a channel, PipeWire 0.3.65). The session manager tries a
/// link a few times in quick succession (six times, WirePlumber 0.4), and never again for the same node. A
/// new node is tried again.
class PipeWireTapRetry {
public:
    /// When the next step is due. `quietSince` is the time when a link last changed anywhere, or the session
    /// manager last received work for the pair. `isOneOfMany`: other pairs are not linked either.
    MainThread::Instant dueAt(MainThread::Instant quietSince, bool isOneOfMany) const;
    /// Whether the next step is to make the pair again, and not to give it up.
    bool isGivenUp() const { return remakeAt_.has_value(); }

    /// Plans the retry. The pause before it grows until the pair is linked.
    void giveUp(MainThread::Instant now);
    /// Call when the pair is made again.
    void remade() { remakeAt_.reset(); }
    /// Call when the pair is linked.
    void linked() { *this = {}; }

private:
    std::optional<MainThread::Instant> remakeAt_;
    MainThread::Duration delay_{};
};

} // namespace vello
