// SPDX-License-Identifier: Apache-2.0
#include "UI/Panel/SpringFollower.h"

#include <algorithm>
#include <cmath>

namespace vello {
namespace {

constexpr double kSettledShare = 0.001;

} // namespace

/// Runs in step with the window's frames, as every Qt animation does.
class SpringFollower::Clock final : public QAbstractAnimation {
public:
    explicit Clock(SpringFollower& follower) : follower_(follower) {}

    int duration() const override { return -1; }
    double seconds() const { return state() == Running ? currentTime() / 1000.0 : 0.0; }

protected:
    void updateCurrentTime(int milliseconds) override { follower_.tick(milliseconds / 1000.0); }

private:
    SpringFollower& follower_;
};

SpringFollower::SpringFollower(QObject* parent) : QObject(parent), clock_(std::make_unique<Clock>(*this)) {}

SpringFollower::~SpringFollower() = default;

void SpringFollower::setTo(double to) {
    if (to == to_)
        return;
    to_ = to;
    emit toChanged();
    if (isComplete_ && isAnimated_)
        begin();
    else
        jump();
}

void SpringFollower::setResponse(double response) {
    if (response == spring_.response || !(response > 0.0))
        return;
    spring_.response = response;
    emit springChanged();
}

void SpringFollower::setDampingFraction(double dampingFraction) {
    if (dampingFraction == spring_.dampingFraction || !(dampingFraction > 0.0))
        return;
    spring_.dampingFraction = dampingFraction;
    emit springChanged();
}

void SpringFollower::setAnimated(bool isAnimated) {
    if (isAnimated == isAnimated_)
        return;
    isAnimated_ = isAnimated;
    emit animatedChanged();
    if (!isAnimated_)
        jump();
}

bool SpringFollower::isMoving() const {
    return clock_->state() == QAbstractAnimation::Running;
}

void SpringFollower::startFrom(double value) {
    if (!isAnimated_ || value == to_)
        return;
    motion_.jump(value);
    setValue(value);
    begin();
}

void SpringFollower::componentComplete() {
    isComplete_ = true;
    jump();
}

void SpringFollower::jump() {
    const bool wasMoving = isMoving();
    clock_->stop();
    motion_.jump(to_);
    setValue(to_);
    if (wasMoving)
        emit movingChanged();
}

void SpringFollower::begin() {
    tolerance_ = std::max(std::abs(to_ - value_) * kSettledShare, 1e-9);
    motion_.retarget(to_, spring_, clock_->seconds());
    if (isMoving())
        return;
    clock_->start();
    emit movingChanged();
}

void SpringFollower::tick(double seconds) {
    if (motion_.isSettled(seconds, tolerance_))
        jump();
    else
        setValue(motion_.value(seconds));
}

void SpringFollower::setValue(double value) {
    if (value == value_)
        return;
    value_ = value;
    emit valueChanged();
}

} // namespace vello
