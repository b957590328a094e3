// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "AudioEngine/Realtime/BiquadCascade.h"
#include "AudioEngine/Realtime/EQChainSnapshot.h"
#include "AudioEngine/Realtime/Realtime.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

namespace vello {

/// The filters that a callback applies: those of the published snapshot, reached over 20 ms, so that a new
/// curve is not heard as a thump. On the way the coefficients are mixtures of the old and the new ones, which
/// are stable because the region of stable a1 and a2 is convex. A change on the way starts where the filters
/// are. The first snapshot is applied at once. Belongs to the data thread after construction.
///
/// What a callback does where nothing changes is inline: a noticeable part of a short callback was calls.
class FilterRamp {
public:
    /// The frames that the next setup is for.
    struct Stretch {
        const BiquadSetup* setup; ///< null: no filters
        std::size_t frames;
    };

    FilterRamp();

    /// Takes the filters of the snapshot as the new target. Null has no filters. Call once per callback.
    void follow(const EQChainSnapshot* snapshot) noexcept VELLO_REALTIME {
        if (serialNumberOf(snapshot) != followed_)
            change(snapshot);
    }
    /// What the next frames are filtered with: at least one, and at most `frames`. The setup is valid until
    /// the next call.
    Stretch next(std::size_t frames) noexcept VELLO_REALTIME {
        return {isFiltering_ ? &current_ : nullptr,
                isOnItsWay() || framesLeftOfStep_ > 0 ? advance(frames) : frames};
    }
    /// Call after each callback with the state of each channel. When there is no target, the filters end once
    /// their remaining output is inaudible.
    void settle(std::span<const CascadeState> states) noexcept VELLO_REALTIME {
        if (!hasTarget_ && isFiltering_ && !isOnItsWay())
            endIfInaudible(states);
    }

private:
    /// Of half a millisecond each. With longer steps their own frequency is heard.
    static constexpr std::size_t steps = 40;
    /// In place of a snapshot's serial number.
    static constexpr std::uint64_t kNoSnapshot = 0;

    static std::uint64_t serialNumberOf(const EQChainSnapshot* snapshot) noexcept {
        return snapshot != nullptr ? snapshot->serialNumber() : kNoSnapshot;
    }
    void change(const EQChainSnapshot* snapshot) noexcept VELLO_REALTIME;
    /// Goes on by as many frames as the returned number, at most `frames`, which are filtered alike.
    std::size_t advance(std::size_t frames) noexcept VELLO_REALTIME;
    void endIfInaudible(std::span<const CascadeState> states) noexcept VELLO_REALTIME;
    void aim(const BiquadSetup* setup) noexcept VELLO_REALTIME;
    void mix(double share) noexcept VELLO_REALTIME;
    bool isOnItsWay() const noexcept { return step_ < steps; }

    /// Serial number of the last snapshot; absent before the first one.
    std::optional<std::uint64_t> followed_;
    std::array<double, steps> shares_; ///< of the target, after each step: half a period of a cosine
    BiquadSetup origin_;
    BiquadSetup target_;
    BiquadSetup current_;
    bool hasTarget_ = false;   ///< false: the target is no filters
    bool isFiltering_ = false; ///< `current_` is applied
    std::size_t step_ = steps;
    std::size_t framesPerStep_ = 1;
    std::size_t framesLeftOfStep_ = 0;
};

} // namespace vello
