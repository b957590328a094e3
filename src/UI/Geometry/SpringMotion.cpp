// SPDX-License-Identifier: Apache-2.0
#include "UI/Geometry/SpringMotion.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace vello {
namespace {

double angularFrequency(Spring spring) {
    return 2.0 * std::numbers::pi / spring.response;
}

} // namespace

void SpringMotion::retarget(double target, Spring spring, double now) {
    const State reached = state(now);
    initial_ = {target_ + reached.offset - target, reached.velocity};
    target_ = target;
    spring_ = spring;
    begun_ = now;
}

void SpringMotion::jump(double value) {
    initial_ = {};
    target_ = value;
}

double SpringMotion::value(double now) const {
    return target_ + state(now).offset;
}

double SpringMotion::velocity(double now) const {
    return state(now).velocity;
}

bool SpringMotion::isSettled(double now, double tolerance) const {
    const State reached = state(now);
    // The energy of a damped spring only falls, so this bounds every later swing.
    return std::hypot(reached.offset, reached.velocity / angularFrequency(spring_)) <= tolerance;
}

// The solution of x'' + 2 z w x' + w^2 x = 0 for the initial offset and velocity.
SpringMotion::State SpringMotion::state(double now) const {
    const double time = std::max(0.0, now - begun_);
    const double w = angularFrequency(spring_);
    const double z = std::min(spring_.dampingFraction, 1.0);
    const double x0 = initial_.offset;
    const double v0 = initial_.velocity;
    const double decay = std::exp(-z * w * time);
    if (z == 1.0)
        return {decay * (x0 + (v0 + w * x0) * time), decay * (v0 - w * (v0 + w * x0) * time)};

    const double damped = w * std::sqrt(1.0 - z * z);
    const double cosine = std::cos(damped * time);
    const double sine = std::sin(damped * time);
    return {decay * (x0 * cosine + (v0 + z * w * x0) / damped * sine),
            decay * (v0 * cosine - (w * w * x0 + z * w * v0) / damped * sine)};
}

} // namespace vello
