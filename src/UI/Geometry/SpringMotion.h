// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace vello {

/// A spring. `response` is the period in seconds of one undamped swing. `dampingFraction` is the damping
/// ratio (1: no overshoot). Both are above 0, the fraction is at most 1.
struct Spring {
    double response = 0.3;
    double dampingFraction = 1.0;

    friend bool operator==(const Spring&, const Spring&) = default;
};

/// A number that follows its target as a damped spring. The solution is in closed form, so it does not depend
/// on the frame rate. A new target in flight keeps the velocity. Times are seconds of one monotonic clock.
class SpringMotion {
public:
    /// Starts at rest at `value`.
    explicit SpringMotion(double value) : target_(value) {}

    /// From `now` on moves towards `target` as `spring` does, from the current value and velocity.
    void retarget(double target, Spring spring, double now);
    /// Moves to `value` at once and rests there.
    void jump(double value);

    double target() const { return target_; }
    double value(double now) const;
    /// In units per second.
    double velocity(double now) const;
    /// Whether the remaining motion stays within `tolerance`, including further swings.
    bool isSettled(double now, double tolerance) const;

private:
    struct State {
        double offset = 0.0; ///< from the target
        double velocity = 0.0;
    };
    State state(double now) const;

    Spring spring_;
    double target_;
    double begun_ = 0.0;
    State initial_;
};

} // namespace vello
