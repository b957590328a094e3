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

/// Shows the guard that this process is not frozen, as long as it captures anything: a beat of the main
/// thread, which needs the control loop's lock and asks the data thread for its own. So a thread that is
/// stuck anywhere stops one of the two. What has no tap costs nobody any time.
///
/// Takes the streams again when the guard has given them back and both threads move. Main thread only, except
/// where a call says otherwise.
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
    /// The connection's loops have ended.
    ~PipeWireHeartbeat();
    PipeWireHeartbeat(const PipeWireHeartbeat&) = delete;
    PipeWireHeartbeat& operator=(const PipeWireHeartbeat&) = delete;

    /// Begins, now that something is captured. Harmless when it has begun. Any thread, without the lock.
    void start();

private:
    void beat();
    void askDataThread();
    static int answer(spa_loop* loop, bool isAsync, std::uint32_t sequence, const void* data,
                      std::size_t size, void* guard);
    /// Takes the streams again, when they have been given up and it is time.
    void resume();

    MainThread& mainThread_;
    PipeWireConnection& connection_;
    PipeWireRedirectGuard& guard_;
    Logger logger_;
    const Work work_;
    TaskHandle nextBeat_;
    /// The data thread's beats when it was asked last; it is asked again when it has answered.
    std::optional<std::uint32_t> beatsWhenAsked_;
    /// The data thread's beats when this thread found the streams given up.
    std::optional<std::uint32_t> beatsWhenGivenUp_;
    std::shared_ptr<bool> alive_ = std::make_shared<bool>(true);
};

} // namespace vello
