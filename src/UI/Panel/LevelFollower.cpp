// SPDX-License-Identifier: Apache-2.0
#include "UI/Panel/LevelFollower.h"

namespace vello {

/// Runs in step with the window's frames, as every Qt animation does.
class LevelFollower::Clock final : public QAbstractAnimation {
public:
    explicit Clock(LevelFollower& follower) : follower_(follower) {}

    int duration() const override { return static_cast<int>(LevelFollower::duration.count()); }

protected:
    void updateCurrentTime(int) override { follower_.tick(); }

private:
    LevelFollower& follower_;
};

LevelFollower::LevelFollower(QObject* parent) : QObject(parent), clock_(std::make_unique<Clock>(*this)) {}

LevelFollower::~LevelFollower() = default;

double LevelFollower::position() const {
    if (clock_->state() != QAbstractAnimation::Running)
        return to_;
    return from_ + (to_ - from_) * clock_->currentTime() / clock_->duration();
}

void LevelFollower::setTo(double to) {
    if (to == to_)
        return;
    from_ = position();
    to_ = to;
    emit toChanged();
    if (!isComplete_ || !isAnimated_)
        return jump();
    clock_->stop();
    clock_->start();
}

void LevelFollower::setAnimated(bool isAnimated) {
    if (isAnimated == isAnimated_)
        return;
    isAnimated_ = isAnimated;
    emit animatedChanged();
    if (!isAnimated_)
        jump();
}

void LevelFollower::componentComplete() {
    isComplete_ = true;
    jump();
}

void LevelFollower::jump() {
    clock_->stop();
    setValue(to_);
}

void LevelFollower::tick() {
    const auto now = std::chrono::steady_clock::now().time_since_epoch();
    const auto current = std::chrono::duration_cast<std::chrono::milliseconds>(now) / step;
    const bool isAtEnd = clock_->currentTime() >= clock_->duration();
    if (!isAtEnd && current == lastStep_)
        return;
    lastStep_ = current;
    setValue(isAtEnd ? to_ : position());
}

void LevelFollower::setValue(double value) {
    if (value == value_)
        return;
    value_ = value;
    emit valueChanged();
}

} // namespace vello
