// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "PipeWireConnection.h"
#include "Platform/Linux/PipeWire/PipeWireRedirectGuard.h"
#include "Ports/MainThread.h"
#include "Ports/SystemLog.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>

struct spa_loop;

namespace vello {

/// Shows the guard that this process is not frozen, as long as it captures anything. The main thread beats,
/// which requires the control loop's lock, and makes the data thread beat as well. A thread that is stuck
/// anywhere thus stops at least one of the two. Costs nothing while no stream is captured.
///
/// Captures the streams again after the guard has restored them and both threads run. Main thread only,
/// except where a function says otherwise.
class PipeWireHeartbeat {
public:
    struct Work {
        /// Whether any stream is captured. Lock held.
        std::function<bool()> isCapturing;
        /// Directs the streams to their captures again. Lock held.
        std::function<void()> takeStreamsAgain;
    };

    PipeWireHeartbeat(MainThread& mainThread, PipeWireConnection& connection, PipeWireRedirectGuard& guard,
                      SystemLog& log, Work work);
    /// The connection's loops must have ended.
    ~PipeWireHeartbeat();
    PipeWireHeartbeat(const PipeWireHeartbeat&) = delete;
    PipeWireHeartbeat& operator=(const PipeWireHeartbeat&) = delete;

    /// Starts the beats once something is captured. Does nothing when already started. Any thread.
    void start();

private:
    void beat();
    void askDataThread();
    static int answer(spa_loop* loop, bool isAsync, std::uint32_t sequence, const void* data,
                      std::size_t size, void* guard);
    /// Captures the streams again if the guard has restored them and both threads run.
    void resume();

    MainThread& mainThread_;
    PipeWireConnection& connection_;
    PipeWireRedirectGuard& guard_;
    Logger logger_;
    const Work work_;
    TaskHandle nextBeat_;
    /// Count of the data thread's beats at the last request; the next request waits for an answer.
    std::optional<std::uint32_t> beatsWhenAsked_;
    /// Count of the data thread's beats when this thread noticed that the guard had restored the streams.
    std::optional<std::uint32_t> beatsWhenGivenUp_;
    std::shared_ptr<bool> alive_ = std::make_shared<bool>(true);
};

} // namespace vello
