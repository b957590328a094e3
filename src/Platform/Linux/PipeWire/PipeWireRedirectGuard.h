// SPDX-License-Identifier: Apache-2.0
#pragma once

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

/// A small process that outlives a killed one, and moves when this one is frozen. When this process dies
/// without a word, the session manager still holds the redirects that led the applications' streams to it: an
/// application whose output the user had chosen would be heard on the default output instead; and while it
/// stands still, what it captures is silent. The guard takes the redirects away at once.
///
/// The guard is a program of its own and is started as such, not forked: it is replaced when it ends, and by
/// then this process has threads, whose locks a fork would inherit as they happen to be.
class PipeWireRedirectGuard final : public RedirectKeeper {
public:
    /// Starts `program`; on the main thread, which has to outlive every other. Without a guard, when the
    /// system refuses one, a killed process's redirects stay until the next start.
    explicit PipeWireRedirectGuard(const std::filesystem::path& program);
    /// Sends the guard away: this process gives the streams back itself. Kills a guard that does not leave
    /// within a second. On the thread of the construction.
    ~PipeWireRedirectGuard() override;
    PipeWireRedirectGuard(const PipeWireRedirectGuard&) = delete;
    PipeWireRedirectGuard& operator=(const PipeWireRedirectGuard&) = delete;

    /// Waits until the guard knows the streams, a moment at most: what is directed before that would not be
    /// given back in time.
    void awaitGuard() noexcept;
    /// Has the guard give the streams back, and returns when they play into their devices, or when the guard
    /// had its time. For the signal handler of a dying process.
    void giveBackInSignalHandler() noexcept;

    /// Keeps the connection to the audio server open beyond a sudden death, until the guard is done: when
    /// nodes go, the session manager and the graph are busy with that, and the applications are silent for
    /// longer. One thread.
    void holdConnection(std::span<const int> sockets) noexcept { connection_.hold(sockets); }
    /// The connection ends by itself.
    void letGoOfConnection() noexcept { connection_.letGo(); }

    /// While `isWatched`, both hearts have to beat every FreezeJudge::beatPeriod, or the guard gives the
    /// streams back. Any thread.
    void watch(bool isWatched) noexcept;
    void beatOnMainThread() noexcept;
    /// Data thread too.
    void beatOnDataThread() noexcept;
    std::uint32_t beatsOnDataThread() const noexcept;
    bool isGivenUp() const noexcept override;
    void directed(std::uint32_t nodeID) noexcept override;
    void released(std::uint32_t nodeID) noexcept override;
    /// Whether this process may take its streams again: it has been given up, and the guard is done with it.
    bool mayTakeAgain() const noexcept;
    /// This process has come to, and directs the streams to itself again.
    void takeAgain() noexcept;

private:
    using Clock = std::chrono::steady_clock;
    using Lock = std::unique_lock<std::mutex>;

    /// Replaces a guard that has ended. Runs on a thread of its own.
    void keepGuard();
    void startGuard(const Lock& lock);
    void awaitGuardsEnd(Lock& lock);
    void startThread();
    /// Waits until that number is no longer 0, until that time of the monotonic clock at most.
    static void awaitNumber(SharedNumber& number, std::int64_t deadline) noexcept;

    const std::filesystem::path program_;
    const std::unique_ptr<SharedGuardBoard> shared_;
    HeldSockets connection_;
    RedirectGuardBoard* const board_;
    /// When the signal handler stops waiting for the guard, in nanoseconds of the monotonic clock; 0: nobody
    /// waits.
    std::atomic<std::int64_t> handlerDeadline_{0};

    std::mutex mutex_; ///< guards what follows
    std::condition_variable changed_;
    pid_t guard_ = -1;
    bool isEnding_ = false;
    std::thread thread_;
};

} // namespace vello
