// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <chrono>
#include <cstdint>
#include <optional>

namespace vello {

/// Counters that the threads of the guarded process increase while they run. Only a change matters.
struct Heartbeats {
    std::uint32_t main = 0;
    std::uint32_t data = 0;
};

/// Distinguishes a frozen process from one that merely had no CPU time, by checking its heartbeats
/// repeatedly.
///
/// Counts its own checks instead of the elapsed time: while the machine was suspended or stalled, the judge
/// did not check either.
class FreezeJudge {
public:
    using Instant = std::chrono::steady_clock::time_point;

    /// Interval of the checks, and the number of checks without a beat that count as a freeze: two seconds.
    static constexpr std::chrono::milliseconds period{500};
    static constexpr int looksWithoutBeat = 4;
    /// After a longer gap between two checks the judge starts again, because it cannot know the reason for
    /// the gap.
    static constexpr std::chrono::milliseconds longestGap{1500};
    /// Interval of the heartbeats.
    static constexpr std::chrono::milliseconds beatPeriod{250};

    /// Makes one check. Returns true when one of the threads has not moved for `looksWithoutBeat` checks. A
    /// check before its time is ignored.
    bool isFrozen(Instant now, const Heartbeats& beats);
    /// Starts again at the next check.
    void reset() { lastLook_.reset(); }

private:
    struct Thread {
        std::uint32_t beats = 0;
        int misses = 0;
    };

    std::optional<Instant> lastLook_;
    std::array<Thread, 2> threads_;
};

} // namespace vello
