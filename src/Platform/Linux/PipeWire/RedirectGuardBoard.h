// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Foundation/Descriptor.h"

#include <array>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <optional>
#include <utility>
#include <vector>

#include <pthread.h>

namespace vello {

/// A number in shared memory. One process can wait for another to change it. Every call is async-signal-safe.
class SharedNumber {
public:
    std::uint32_t get() const noexcept { return number_.load(); }
    void set(std::uint32_t number) noexcept;
    void increase() noexcept;
    /// Waits while the number is `seen`, at most for `longest`; without `longest`, no limit. May return
    /// early.
    void awaitChange(std::uint32_t seen, std::optional<std::chrono::nanoseconds> longest) noexcept;

private:
    void wake() noexcept;

    std::atomic<std::uint32_t> number_{0};
    static_assert(std::atomic<std::uint32_t>::is_always_lock_free);
};

/// Node IDs in shared memory. One process writes, with one thread at a time; the other process reads at any
/// time.
class SharedNodes {
public:
    /// Ignores a node that is already present, and any node when the table is full.
    void add(std::uint32_t nodeID) noexcept;
    void remove(std::uint32_t nodeID) noexcept;
    std::vector<std::uint32_t> all() const;

private:
    void replace(std::uint32_t nodeID, std::uint32_t by) noexcept;

    /// 0 marks a free entry; it is the ID of the server itself, never of a stream.
    std::array<std::atomic<std::uint32_t>, 256> nodes_{};
};

/// The state shared by the guarded process and its guard. Each field names its writer.
struct RedirectGuardBoard {
    /// Who controls the applications' streams.
    enum class Care : std::uint32_t {
        guarded,      ///< the guarded process
        beingGivenUp, ///< the guard is restoring them
        givenUp       ///< the guard has restored them; the guarded process may capture them again
    };

    /// Held by the guarded process's main thread for its lifetime. The mutex is robust: when its owner dies,
    /// the kernel passes it on first, some milliseconds before it closes the connection to the audio server.
    /// So the guard acts before the server does.
    pthread_mutex_t lifeline{};
    /// Guarded process: incremented to make the guard read the board again.
    SharedNumber calls;
    /// Guarded process: a fatal signal is being handled.
    std::atomic<bool> isDying{false};
    /// Guarded process: streams are directed to it, and its two threads beat.
    std::atomic<bool> isWatched{false};
    std::atomic<std::uint32_t> mainBeats{0};
    std::atomic<std::uint32_t> dataBeats{0};
    /// Guarded process: the streams that are directed to it. The server does not report every redirect to the
    /// guard.
    SharedNodes directed;
    /// Guard: 1, it has mirrored the streams. Guarded process: 0, the guard has ended.
    SharedNumber isGuardReady;
    /// Guard: the streams of a dying process play into their devices.
    SharedNumber haveStreamsMoved;
    /// Guard: beingGivenUp, then givenUp. Guarded process: guarded.
    std::atomic<Care> care{Care::guarded};
};

/// The board in memory that both processes map.
class SharedGuardBoard {
public:
    /// Makes a new board; the calling thread holds its lifeline.
    static SharedGuardBoard make();
    /// Maps the board behind `descriptor` and takes ownership of the descriptor.
    static SharedGuardBoard open(int descriptor);
    ~SharedGuardBoard();
    SharedGuardBoard(SharedGuardBoard&& other) noexcept;
    SharedGuardBoard& operator=(SharedGuardBoard&&) = delete;

    /// Null when the system refused the memory.
    RedirectGuardBoard* get() const { return board_; }
    /// Descriptor of the memory. It is close-on-exec unless it is passed on.
    int descriptor() const { return memory_.number(); }

private:
    SharedGuardBoard(Descriptor memory, RedirectGuardBoard* board)
        : memory_(std::move(memory)), board_(board) {}

    Descriptor memory_;
    RedirectGuardBoard* board_;
};

} // namespace vello
