// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <optional>
#include <vector>

#include <pthread.h>

namespace vello {

/// A number in memory that processes share, which one waits for while another one changes it. Every call is
/// safe in a signal handler.
class SharedNumber {
public:
    std::uint32_t get() const noexcept { return number_.load(); }
    void set(std::uint32_t number) noexcept;
    void increase() noexcept;
    /// Waits while the number is `seen`, `longest` at most; nothing: without a limit. May return earlier.
    void awaitChange(std::uint32_t seen, std::optional<std::chrono::nanoseconds> longest) noexcept;

private:
    void wake() noexcept;

    std::atomic<std::uint32_t> number_{0};
    static_assert(std::atomic<std::uint32_t>::is_always_lock_free);
};

/// Numbers of nodes in shared memory. One process writes, and never from two threads at once; the other one
/// reads whenever it wants.
class SharedNodes {
public:
    /// What is known is not added again; what has no place any more is not added at all.
    void add(std::uint32_t nodeID) noexcept;
    void remove(std::uint32_t nodeID) noexcept;
    std::vector<std::uint32_t> all() const;

private:
    void replace(std::uint32_t nodeID, std::uint32_t by) noexcept;

    /// 0, which is the server itself, is free.
    std::array<std::atomic<std::uint32_t>, 256> nodes_{};
};

/// What the guarded process and its guard tell one another. Each field says who writes it.
struct RedirectGuardBoard {
    /// With whom the applications' streams are.
    enum class Care : std::uint32_t {
        guarded,      ///< with the guarded process
        beingGivenUp, ///< the guard is giving them back
        givenUp       ///< the guard has done so; the guarded process may take them again
    };

    /// Held by the guarded process's main thread for its life. It is robust: the kernel passes it on as one
    /// of the first things when its owner dies, some milliseconds before it closes the connection to the
    /// audio server; so the guard is ahead of the server.
    pthread_mutex_t lifeline{};
    /// Counts the guarded process's calls to look at this board again.
    SharedNumber calls;
    /// Guarded process: a fatal signal is being handled.
    std::atomic<bool> isDying{false};
    /// Guarded process: streams are directed to it, and the two hearts beat.
    std::atomic<bool> isWatched{false};
    std::atomic<std::uint32_t> mainBeats{0};
    std::atomic<std::uint32_t> dataBeats{0};
    /// Guarded process: the streams that are directed to it. The server does not tell the guard of every
    /// redirect.
    SharedNodes directed;
    /// Guard: 1, it knows the streams and follows them. Guarded process: 0, the guard has ended.
    SharedNumber isGuardReady;
    /// Guard: the streams of a dying process are heard from their devices.
    SharedNumber haveStreamsMoved;
    /// Guard: beingGivenUp, then givenUp. Guarded process: guarded.
    std::atomic<Care> care{Care::guarded};
};

/// The board in memory that both processes map.
class SharedGuardBoard {
public:
    /// Makes a new board, whose lifeline the calling thread holds.
    static SharedGuardBoard make();
    /// Maps the board behind `descriptor`, which becomes its own.
    static SharedGuardBoard open(int descriptor);
    ~SharedGuardBoard();
    SharedGuardBoard(SharedGuardBoard&& other) noexcept;
    SharedGuardBoard& operator=(SharedGuardBoard&&) = delete;

    /// Null when the system refused the memory.
    RedirectGuardBoard* get() const { return board_; }
    /// Of the memory. Closed when another program is started, unless it is handed on.
    int descriptor() const { return descriptor_; }

private:
    SharedGuardBoard(int descriptor, RedirectGuardBoard* board) : descriptor_(descriptor), board_(board) {}

    int descriptor_;
    RedirectGuardBoard* board_;
};

} // namespace vello
