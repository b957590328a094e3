// SPDX-License-Identifier: Apache-2.0
#include "AudioEngine/Realtime/FilterRamp.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace vello {

namespace {

/// -160 dBFS. Filters whose remaining output is below this can end without being heard.
constexpr double kInaudible = 1e-8;

bool isSame(const BiquadSetup& left, const BiquadSetup& right) noexcept {
    return left.excess == right.excess && left.a1 == right.a1 && left.a2 == right.a2;
}

} // namespace

FilterRamp::FilterRamp() : origin_({}), target_({}), current_({}) {
    for (std::size_t step = 0; step < steps; ++step)
        shares_[step] = (1.0 - std::cos(std::numbers::pi * static_cast<double>(step + 1) / steps)) / 2.0;
    shares_.back() = 1.0;
}

void FilterRamp::change(const EQChainSnapshot* snapshot) noexcept VELLO_REALTIME {
    const BiquadSetup* setup = snapshot != nullptr ? snapshot->biquadSetup() : nullptr;
    if (snapshot != nullptr)
        framesPerStep_ = snapshot->framesPerStep();
    const bool isNew = setup != nullptr ? !hasTarget_ || !isSame(*setup, target_) : hasTarget_;
    if (isNew)
        aim(setup);
    followed_ = serialNumberOf(snapshot);
}

void FilterRamp::aim(const BiquadSetup* setup) noexcept VELLO_REALTIME {
    hasTarget_ = setup != nullptr;
    if (hasTarget_)
        target_ = *setup;
    if (!followed_) {
        current_ = target_;
        isFiltering_ = hasTarget_;
        return;
    }
    origin_ = isFiltering_ ? current_ : target_;
    if (!isFiltering_)
        origin_.excess.fill(0.0);
    if (!hasTarget_) {
        target_ = current_;
        target_.excess.fill(0.0);
    }
    isFiltering_ = true;
    step_ = 0;
    framesLeftOfStep_ = 0;
}

std::size_t FilterRamp::advance(std::size_t frames) noexcept VELLO_REALTIME {
    if (framesLeftOfStep_ == 0 && isOnItsWay()) {
        mix(shares_[step_++]);
        framesLeftOfStep_ = framesPerStep_;
    }
    if (framesLeftOfStep_ > 0) {
        frames = std::min(frames, framesLeftOfStep_);
        framesLeftOfStep_ -= frames;
    }
    return frames;
}

void FilterRamp::mix(double share) noexcept VELLO_REALTIME {
    if (share == 1.0) {
        current_ = target_;
        return;
    }
    for (std::size_t k = 0; k < kSectionCount; ++k) {
        current_.excess[k] = std::lerp(origin_.excess[k], target_.excess[k], share);
        current_.a1[k] = std::lerp(origin_.a1[k], target_.a1[k], share);
        current_.a2[k] = std::lerp(origin_.a2[k], target_.a2[k], share);
    }
}

void FilterRamp::endIfInaudible(std::span<const CascadeState> states) noexcept VELLO_REALTIME {
    for (const CascadeState& state : states)
        for (const auto& differences : state.differences)
            for (const double difference : differences)
                if (!(std::abs(difference) < kInaudible))
                    return;
    isFiltering_ = false;
}

} // namespace vello
