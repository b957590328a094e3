// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <chrono>
#include <cstdint>
#include <optional>

namespace vello {

/// How often the threads of the guarded process have shown that they run. The numbers only have to change.
struct Heartbeats {
    std::uint32_t main = 0;
    std::uint32_t data = 0;
};

/// Tells a frozen process from one that only had no time, by looking at its heartbeats again and again.
///
/// It counts its own looks and not the time that has passed: when the machine was suspended, or everything on
/// it stood still, the judge did not look either.
class FreezeJudge {
public:
    using Instant = std::chrono::steady_clock::time_point;

    /// Time from look to look, and how many of them without a beat make a freeze: two seconds.
    static constexpr std::chrono::milliseconds period{500};
    static constexpr int looksWithoutBeat = 4;
    /// A judge that did not get to look for longer than this does not know what happened, and begins anew.
    static constexpr std::chrono::milliseconds longestGap{1500};
    /// How often the hearts beat.
    static constexpr std::chrono::milliseconds beatPeriod{250};

    /// One look. True when one of the threads has not moved over that many. A look that comes before its time
    /// is none.
    bool isFrozen(Instant now, const Heartbeats& beats);
    /// Begins anew at the next look.
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
