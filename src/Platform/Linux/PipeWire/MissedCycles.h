// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <atomic>
#include <cstdint>

namespace vello {

/// Counts the xruns of one stream: the graph's cycles that it was not ready for, between two that it took
/// part in.
class MissedCycles {
public:
    /// `total` sums up several streams and must outlive the object.
    explicit MissedCycles(std::atomic<std::uint64_t>& total) : total_(total) {}

    /// A cycle of `frames` frames began at `position`, in frames of the graph's clock. Data thread.
    void cycle(std::uint64_t position, std::uint32_t frames) noexcept {
        const bool isFirst = isFirst_.exchange(false, std::memory_order_relaxed);
        const std::uint64_t expected = rt.position + rt.frames;
        // A greater jump is that of another clock.
        if (!isFirst && rt.frames > 0 && position > expected && position - expected < kLongestGap)
            total_.fetch_add((position - expected + rt.frames - 1) / rt.frames, std::memory_order_relaxed);
        rt = {position, frames};
    }
    /// The stream was paused, so the next cycle has no predecessor. Any thread.
    void restart() noexcept { isFirst_.store(true, std::memory_order_relaxed); }

private:
    static constexpr std::uint64_t kLongestGap = 1 << 20; ///< frames; at least 5 s

    std::atomic<std::uint64_t>& total_;
    std::atomic<bool> isFirst_{true};
    struct {
        std::uint64_t position = 0;
        std::uint32_t frames = 0;
    } rt;
};

} // namespace vello
