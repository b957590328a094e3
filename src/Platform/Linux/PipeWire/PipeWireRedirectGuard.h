// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Foundation/Descriptor.h"
#include "Platform/Linux/PipeWire/HeldSockets.h"
#include "Platform/Linux/PipeWire/RedirectKeeper.h"

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <mutex>
#include <span>
#include <thread>

#include <sys/types.h>

namespace vello {

struct RedirectGuardBoard;
class SharedGuardBoard;
class SharedNumber;

/// The name of the guard's program.
inline constexpr const char* kRedirectGuardProgram = "vello-redirect-guard";

/// A small process that acts when this process is killed or frozen. When this process dies without cleanup,
/// the session manager still holds the redirects of the applications' streams: an application whose output
/// the user had chosen would play on the default output instead. While this process is frozen, what it
/// captures is silent. The guard removes the redirects at once.
///
/// The guard is a separate program and is started, not forked. It is replaced when it ends, and by then this
/// process has threads, whose locks a fork would inherit in an unknown state. The file of the program is held
/// open: after an upgrade under a running process, its next guard is still the one that it was built with,
/// which knows the memory that both share.
class PipeWireRedirectGuard final : public RedirectKeeper {
public:
    /// Starts `program`. Construct on the main thread, which must outlive all others. When the system cannot
    /// start a guard, the redirects of a killed process stay until the next start.
    explicit PipeWireRedirectGuard(const std::filesystem::path& program);
    /// Dismisses the guard, because this process restores the streams itself. Kills a guard that does not
    /// exit within a second. On the thread of the construction.
    ~PipeWireRedirectGuard() override;
    PipeWireRedirectGuard(const PipeWireRedirectGuard&) = delete;
    PipeWireRedirectGuard& operator=(const PipeWireRedirectGuard&) = delete;

    /// Waits until the guard has mirrored the streams, for half a second at most. Streams redirected before
    /// that would not be restored in time.
    void awaitGuard() noexcept;
    /// Makes the guard restore the streams. Returns when they play into their devices or the guard's time is
    /// over. For the signal handler of a dying process.
    void giveBackInSignalHandler() noexcept;

    /// Keeps the connection to the audio server open after a sudden death until the guard has finished.
    /// Otherwise the removal of our nodes would occupy the session manager and the graph, and applications
    /// would be silent for longer. One thread.
    void holdConnection(std::span<const int> sockets) noexcept { connection_.hold(sockets); }
    /// The connection has ended normally.
    void letGoOfConnection() noexcept { connection_.letGo(); }

    /// While `isWatched`, both threads must beat every FreezeJudge::beatPeriod, or the guard restores the
    /// streams. Any thread.
    void watch(bool isWatched) noexcept;
    void beatOnMainThread() noexcept;
    /// Also on the data thread.
    void beatOnDataThread() noexcept;
    std::uint32_t beatsOnDataThread() const noexcept;
    bool isGivenUp() const noexcept override;
    void directed(std::uint32_t nodeID) noexcept override;
    void released(std::uint32_t nodeID) noexcept override;
    /// Whether this process may capture its streams again: the guard has restored them after a freeze and has
    /// finished.
    bool mayTakeAgain() const noexcept;
    /// This process runs again and redirects the streams to itself.
    void takeAgain() noexcept;

private:
    using Clock = std::chrono::steady_clock;
    using Lock = std::unique_lock<std::mutex>;

    /// Replaces a guard that has ended. Runs on its own thread.
    void keepGuard();
    void startGuard(const Lock& lock);
    void awaitGuardsEnd(Lock& lock);
    void startThread();
    /// Waits until `number` is not 0, at most until `deadline` of the monotonic clock.
    static void awaitNumber(SharedNumber& number, std::int64_t deadline) noexcept;

    const Descriptor program_;
    const std::unique_ptr<SharedGuardBoard> shared_;
    HeldSockets connection_;
    RedirectGuardBoard* const board_;
    /// When the signal handler stops waiting for the guard, in nanoseconds of the monotonic clock; 0: no
    /// handler waits.
    std::atomic<std::int64_t> handlerDeadline_{0};

    std::mutex mutex_; ///< guards the members below
    std::condition_variable changed_;
    pid_t guard_ = -1;
    bool isEnding_ = false;
    std::thread thread_;
};

} // namespace vello
