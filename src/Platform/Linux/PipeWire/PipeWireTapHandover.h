// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "PipeWireConnection.h"
#include "Ports/MainThread.h"

#include <functional>
#include <memory>

namespace vello {

class PipeWireLinks;

/// The end of a tap: waits until its streams have moved to the tap that replaces it, or are restored.
/// Lock held on entry and return, released while waiting. Not on the control loop's thread.
class PipeWireTapHandover {
public:
    enum class Progress {
        unannounced, ///< no newer tap has processes of the old one
        underWay,    ///< a newer tap has, but not all streams have moved
        done,        ///< newer devices have all streams of the old one
        gone,        ///< the old device is gone
    };

    PipeWireTapHandover(PipeWireConnection& connection, const PipeWireLinks& links, MainThread& mainThread);

    /// Waits until a newer tap has the streams, or will not come, or takes too long. `progress` is called
    /// whenever the loop is signalled, with the lock held.
    void awaitSuccessor(const std::function<Progress()>& progress);
    /// Waits until the session manager has moved the streams back.
    void awaitRelease(const std::function<bool()>& isReleased) const;
    /// Call before the process ends: no newer tap will come, and the main thread may wait for the end of all.
    /// Lock held.
    void prepareToTerminate() { isEnding_ = true; }
    /// Call when the old device has stopped. Stops in quick succession belong to one teardown.
    void stopped() { lastStopEnded_ = MainThread::Clock::now(); }

private:
    void awaitAnnouncement(const std::function<Progress()>& progress);
    void postMainThreadBarrier(int turns);

    PipeWireConnection& connection_;
    const PipeWireLinks& links_;
    MainThread& mainThread_;
    MainThread::Instant stopBurstDeadline_{};
    MainThread::Instant lastStopEnded_{};
    bool isBarrierPending_ = false;
    bool isEnding_ = false;
    std::shared_ptr<bool> alive_ = std::make_shared<bool>(true);
};

} // namespace vello
