// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "UI/Panel/FrameClock.h"

#include <QObject>
#include <QPointer>
#include <QQmlParserStatus>
#include <QtQmlIntegration>

#include <chrono>

namespace vello {

/// A number that moves to `to` linearly within a tenth of a second, at the ticks of `clock`. It sets out with
/// the first tick after a change of `to`, and starts at its first target.
class LevelFollower : public QObject, public QQmlParserStatus {
    Q_OBJECT
    Q_INTERFACES(QQmlParserStatus)
    QML_ELEMENT
    /// Must outlive the follower. Without a clock, the value jumps to a new target.
    Q_PROPERTY(vello::FrameClock* clock READ clock WRITE setClock NOTIFY clockChanged)
    Q_PROPERTY(double to READ to WRITE setTo NOTIFY toChanged)
    Q_PROPERTY(double value READ value NOTIFY valueChanged)
    /// While false, the value jumps to a new target.
    Q_PROPERTY(bool isAnimated READ isAnimated WRITE setAnimated NOTIFY animatedChanged)
    /// While false, the value stays as it is, so that nothing is drawn. Then it jumps to its target.
    Q_PROPERTY(bool isOnScreen READ isOnScreen WRITE setOnScreen NOTIFY onScreenChanged)

public:
    static constexpr std::chrono::milliseconds duration{100};

    explicit LevelFollower(QObject* parent = nullptr) : QObject(parent) {}

    FrameClock* clock() const { return clock_; }
    void setClock(FrameClock* clock);
    double to() const { return to_; }
    void setTo(double to);
    double value() const { return value_; }
    bool isAnimated() const { return isAnimated_; }
    void setAnimated(bool isAnimated);
    bool isOnScreen() const { return isOnScreen_; }
    void setOnScreen(bool isOnScreen);

    void classBegin() override { isComplete_ = false; }
    void componentComplete() override;

signals:
    void clockChanged();
    void toChanged();
    void valueChanged();
    void animatedChanged();
    void onScreenChanged();

private:
    /// One movement, which a new target cuts short.
    struct Way {
        double from = 0.0;
        double to = 0.0;
        FrameClock::Instant start;

        double position(FrameClock::Instant now) const;
    };

    void jump();
    void tick();
    void setValue(double value);

    QPointer<FrameClock> clock_;
    Way way_;
    double to_ = 0.0;
    double value_ = 0.0;
    bool isAnimated_ = true;
    bool isOnScreen_ = true;
    bool isComplete_ = true;
};

} // namespace vello
