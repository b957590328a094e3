// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QAnimationDriver>
#include <QBasicTimer>

#include <chrono>

namespace vello {

/// Controls the time of all animations during its lifetime: each iteration of the event loop advances it by
/// one frame. A motion thus goes through the same frames as on a screen, always the same ones, without taking
/// real time. Only one instance at a time, on the main thread.
class VirtualFrames : public QAnimationDriver {
public:
    static constexpr std::chrono::milliseconds frame{16};

    VirtualFrames() { install(); }
    ~VirtualFrames() override { uninstall(); }

    /// Since the start of the running animations.
    qint64 elapsed() const override { return elapsed_.count(); }

protected:
    void start() override {
        elapsed_ = {};
        next_.start(0, this);
        QAnimationDriver::start();
    }
    void stop() override {
        next_.stop();
        QAnimationDriver::stop();
    }
    void timerEvent(QTimerEvent*) override {
        elapsed_ += frame;
        advanceAnimation();
    }

private:
    std::chrono::milliseconds elapsed_{};
    QBasicTimer next_;
};

} // namespace vello
