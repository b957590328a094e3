// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace vello {

/// How a spring moves: `response` is the time in seconds of one undamped swing, `dampingFraction` says how
/// much of the swinging is taken away (1: it reaches its target without overshoot). Both above 0, the
/// fraction at most 1.
struct Spring {
    double response = 0.3;
    double dampingFraction = 1.0;

    friend bool operator==(const Spring&, const Spring&) = default;
};

/// A number that follows its target as a damped spring does, in closed form: the same answer whatever the
/// frame rate. A new target in flight takes the velocity along. Times are seconds of one clock that never
/// goes back.
class SpringMotion {
public:
    /// At rest at `value`.
    explicit SpringMotion(double value) : target_(value) {}

    /// From `now` on moves as `spring` does towards `target`, beginning where it is and as fast as it is.
    void retarget(double target, Spring spring, double now);
    /// At rest at `value`, at once.
    void jump(double value);

    double target() const { return target_; }
    double value(double now) const;
    /// Units a second.
    double velocity(double now) const;
    /// Whether what is left of the motion stays below `tolerance`, also after the next swing.
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
