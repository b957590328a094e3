// SPDX-License-Identifier: Apache-2.0
#include "UI/Panel/LevelFollower.h"

namespace vello {
namespace {

/// Half the time between two ticks: the tick that is closest to the end is the end.
constexpr std::chrono::milliseconds kTolerance{16};

} // namespace

double LevelFollower::Way::position(FrameClock::Instant now) const {
    const auto elapsed = now - start;
    if (elapsed + kTolerance >= duration)
        return to;
    return from + (to - from) * (std::chrono::duration<double>(elapsed) / duration);
}

void LevelFollower::setClock(FrameClock* clock) {
    if (clock == clock_)
        return;
    if (clock_)
        disconnect(clock_, nullptr, this, nullptr);
    clock_ = clock;
    if (clock_)
        connect(clock_, &FrameClock::ticked, this, &LevelFollower::tick);
    emit clockChanged();
}

void LevelFollower::setTo(double to) {
    if (to == to_)
        return;
    to_ = to;
    emit toChanged();
    if (!isComplete_ || !isAnimated_ || !clock_)
        jump();
}

void LevelFollower::setAnimated(bool isAnimated) {
    if (isAnimated == isAnimated_)
        return;
    isAnimated_ = isAnimated;
    emit animatedChanged();
    if (!isAnimated_)
        jump();
}

void LevelFollower::setOnScreen(bool isOnScreen) {
    if (isOnScreen == isOnScreen_)
        return;
    isOnScreen_ = isOnScreen;
    emit onScreenChanged();
    jump();
}

void LevelFollower::componentComplete() {
    isComplete_ = true;
    jump();
}

void LevelFollower::jump() {
    way_ = {to_, to_, {}};
    if (isOnScreen_)
        setValue(to_);
}

void LevelFollower::tick() {
    if (!isOnScreen_)
        return;
    const FrameClock::Instant now = clock_->now();
    const double position = way_.position(now);
    if (way_.to != to_)
        way_ = {position, to_, now};
    setValue(position);
}

void LevelFollower::setValue(double value) {
    if (value == value_)
        return;
    value_ = value;
    emit valueChanged();
}

} // namespace vello
