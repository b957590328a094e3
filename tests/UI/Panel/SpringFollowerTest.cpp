// SPDX-License-Identifier: Apache-2.0
#include "UI/Panel/SpringFollower.h"

#include "PanelQuickTest.h"

#include <QAbstractAnimation>
#include <QAnimationDriver>

#include <algorithm>
#include <cmath>
#include <numbers>
#include <vector>

namespace vello {
namespace {

/// Frames that the test triggers.
class SteppedFrames : public QAnimationDriver {
public:
    SteppedFrames() { install(); }
    ~SteppedFrames() override { uninstall(); }

    qint64 elapsed() const override { return elapsed_; }
    void step(int milliseconds) {
        QCoreApplication::processEvents(); // includes animations that have just started
        elapsed_ += milliseconds;
        advanceAnimation();
    }

private:
    qint64 elapsed_ = 0;
};

constexpr int kFrame = 16; // ms
constexpr double kTolerance = 0.005;

/// The motion from 0 to 1 as a formula.
double sprung(double seconds, double response, double dampingFraction) {
    const double w = 2.0 * std::numbers::pi / response;
    if (dampingFraction == 1.0)
        return 1.0 - std::exp(-w * seconds) * (1.0 + w * seconds);
    const double damped = w * std::sqrt(1.0 - dampingFraction * dampingFraction);
    return 1.0 - std::exp(-dampingFraction * w * seconds) *
                     (std::cos(damped * seconds) + dampingFraction * w / damped * std::sin(damped * seconds));
}

/// A damped spring, integrated from its equation of motion in small steps.
struct SteppedSpring {
    double response;
    double dampingFraction;
    double target = 1.0;
    double value = 0.0;
    double velocity = 0.0;

    void advance(double seconds) {
        const double w = 2.0 * std::numbers::pi / response;
        constexpr int steps = 20000;
        const double step = seconds / steps;
        for (int count = 0; count < steps; ++count) {
            velocity += step * (w * w * (target - value) - 2.0 * dampingFraction * w * velocity);
            value += step * velocity;
        }
    }
};

/// Ticks with every frame, after the animations that were started before it.
class FrameClock : public QAbstractAnimation {
public:
    using OnFrame = std::function<void(double seconds)>;
    explicit FrameClock(OnFrame onFrame = [](double) {}) : onFrame_(std::move(onFrame)) {}
    int duration() const override { return -1; }
    double seconds() const { return currentTime() / 1000.0; }

protected:
    void updateCurrentTime(int milliseconds) override { onFrame_(milliseconds / 1000.0); }

private:
    OnFrame onFrame_;
};

class SpringFollowerTest : public testing::Test {
protected:
    SteppedFrames frames;
    SpringFollower follower;
    FrameClock clock; ///< started with a motion, measures its duration
};

TEST_F(SpringFollowerTest, StartsAtItsFirstTarget) {
    follower.setAnimated(false);
    follower.setTo(1.0);
    EXPECT_EQ(follower.value(), 1.0);
    follower.setAnimated(true);
    follower.setTo(2.0);
    EXPECT_TRUE(follower.isMoving());
    EXPECT_EQ(follower.value(), 1.0);
}

TEST_F(SpringFollowerTest, LimitsItsShareToZeroToOne) {
    follower.setAnimated(false);
    for (const auto& [value, share] : {std::pair(-0.2, 0.0), {0.4, 0.4}, {1.2, 1.0}}) {
        follower.setTo(value);
        EXPECT_EQ(follower.value(), value);
        EXPECT_EQ(follower.share(), share);
    }
}

TEST_F(SpringFollowerTest, FollowsTheFormulaOfEverySpringOfThePanel) {
    for (const auto& [response, dampingFraction] :
         {std::pair(0.2, 1.0), {0.25, 1.0}, {0.256, 1.0}, {0.26, 0.85}, {0.3, 1.0}}) {
        SpringFollower spring;
        spring.setResponse(response);
        spring.setDampingFraction(dampingFraction);
        spring.setTo(1.0);
        clock.start();
        int compared = 0;
        for (int frame = 0; frame < 60; ++frame) {
            frames.step(kFrame);
            EXPECT_NEAR(spring.value(), sprung(clock.seconds(), response, dampingFraction), kTolerance)
                << response << " after " << clock.seconds() << " s";
            compared += spring.isMoving() && spring.value() != 0.0 ? 1 : 0;
        }
        clock.stop();
        EXPECT_EQ(spring.value(), 1.0);
        EXPECT_GT(compared, 10);
        EXPECT_FALSE(spring.isMoving()) << response;
    }
}

TEST_F(SpringFollowerTest, TakesItsVelocityAlongWhenItsTargetChangesInFlight) {
    follower.setResponse(0.26);
    follower.setDampingFraction(0.85);
    SteppedSpring expected{.response = 0.26, .dampingFraction = 0.85};
    follower.setTo(1.0);
    clock.start();
    const std::vector<std::pair<int, double>> turns{{5, 0.0}, {8, 2.0}, {11, -1.0}};
    double reached = 0.0;
    for (int frame = 1; frame <= 60; ++frame) {
        frames.step(kFrame);
        expected.advance(clock.seconds() - reached);
        reached = clock.seconds();
        EXPECT_NEAR(follower.value(), expected.value, kTolerance) << "after " << frame << " frames";
        for (const auto& [turn, target] : turns) {
            if (turn == frame) {
                follower.setTo(target);
                expected.target = target;
            }
        }
    }
    EXPECT_EQ(follower.value(), -1.0);
}

TEST_F(SpringFollowerTest, JumpsInFlightWhenItMustNotMoveAnyMore) {
    follower.setTo(1.0);
    frames.step(kFrame);
    frames.step(kFrame);
    ASSERT_GT(follower.value(), 0.0);
    ASSERT_LT(follower.value(), 0.5);
    follower.setAnimated(false);
    EXPECT_EQ(follower.value(), 1.0);
    EXPECT_FALSE(follower.isMoving());
    follower.setTo(0.0);
    EXPECT_EQ(follower.value(), 0.0);
}

TEST_F(SpringFollowerTest, BeginsAnewWithoutAMotionLeftOver) {
    follower.setTo(1.0);
    for (int frame = 0; frame < 60; ++frame)
        frames.step(kFrame);
    ASSERT_FALSE(follower.isMoving());
    follower.setTo(0.0);
    clock.start();
    for (int frame = 0; frame < 5; ++frame)
        frames.step(kFrame);
    EXPECT_LT(follower.value(), 1.0);
    EXPECT_NEAR(follower.value(), 1.0 - sprung(clock.seconds(), 0.3, 1.0), kTolerance);
}

class RenderedSpringTest : public PanelQuickTest {};

TEST_F(RenderedSpringTest, OpensACardAlongTheFormulaAndTurnsRoundInFlight) {
    scene.play(101, "Player");
    open();
    QQuickItem& card = *playerRow().parentItem();
    auto* const spring = card.findChild<SpringFollower*>(QString(), Qt::FindDirectChildrenOnly);
    ASSERT_TRUE(spring);
    SteppedSpring expected{.response = 0.26, .dampingFraction = 0.85};
    double reached = 0.0;
    int compared = 0;
    int drawn = 0;
    QObject::connect(scene.window, &QQuickWindow::afterRendering, [&drawn] { ++drawn; });
    bool hasTurned = false;
    FrameClock clock([&](double seconds) {
        if (seconds <= reached || !spring->isMoving())
            return;
        if (compared > 0) {
            EXPECT_EQ(std::lround((seconds - reached) * 1000.0), VirtualFrames::frame.count());
        }
        EXPECT_EQ(drawn, compared + 1) << "every frame before";
        expected.advance(seconds - reached);
        reached = seconds;
        EXPECT_NEAR(spring->value(), expected.value, kTolerance) << "after " << seconds << " s";
        ++compared;
        if (!hasTurned && spring->value() > 0.3) {
            hasTurned = true;
            expected.target = 0.0;
            scene.item("player")->toggle();
        }
    });
    scene.item("player")->toggle();
    ASSERT_TRUE(spring->isMoving());
    clock.start();
    scene.settle();
    EXPECT_TRUE(hasTurned);
    EXPECT_GT(compared, 5);
    EXPECT_EQ(card.height(), 38.0);
}

} // namespace
} // namespace vello
