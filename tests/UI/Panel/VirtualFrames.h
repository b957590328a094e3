// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QAnimationDriver>
#include <QBasicTimer>

#include <chrono>

namespace vello {

/// The time of all animations while it lives: it moves by one frame each time that the event loop comes
/// round, and never by itself. So a motion goes through the same frames as at a screen, the same ones every
/// time, but takes no time. One at a time, on the main thread.
class VirtualFrames : public QAnimationDriver {
public:
    static constexpr std::chrono::milliseconds frame{16};

    VirtualFrames() { install(); }
    ~VirtualFrames() override { uninstall(); }

    /// Since the animations that run set out.
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
