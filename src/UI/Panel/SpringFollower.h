// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "UI/Geometry/SpringMotion.h"

#include <QAbstractAnimation>
#include <QObject>
#include <QQmlParserStatus>
#include <QtQmlIntegration>

#include <algorithm>

namespace vello {

/// A number that follows `to` as a damped spring; `value` is its current position. Starts at its first
/// target. Keeps its velocity when the target changes in flight.
class SpringFollower : public QObject, public QQmlParserStatus {
    Q_OBJECT
    Q_INTERFACES(QQmlParserStatus)
    QML_ELEMENT
    Q_PROPERTY(double to READ to WRITE setTo NOTIFY toChanged)
    Q_PROPERTY(double value READ value NOTIFY valueChanged)
    /// The value, limited to 0 to 1.
    Q_PROPERTY(double share READ share NOTIFY valueChanged)
    Q_PROPERTY(double response READ response WRITE setResponse NOTIFY springChanged)
    Q_PROPERTY(double dampingFraction READ dampingFraction WRITE setDampingFraction NOTIFY springChanged)
    /// While false, the value jumps to a new target.
    Q_PROPERTY(bool isAnimated READ isAnimated WRITE setAnimated NOTIFY animatedChanged)
    Q_PROPERTY(bool isMoving READ isMoving NOTIFY movingChanged)

public:
    explicit SpringFollower(QObject* parent = nullptr);
    ~SpringFollower() override;

    double to() const { return to_; }
    void setTo(double to);
    double value() const { return value_; }
    double share() const { return std::clamp(value_, 0.0, 1.0); }
    double response() const { return spring_.response; }
    void setResponse(double response);
    double dampingFraction() const { return spring_.dampingFraction; }
    void setDampingFraction(double dampingFraction);
    bool isAnimated() const { return isAnimated_; }
    void setAnimated(bool isAnimated);
    bool isMoving() const;

    /// Moves from `value`, at rest there, to the target; stays at the target when it is not animated.
    Q_INVOKABLE void startFrom(double value);

    void classBegin() override { isComplete_ = false; }
    void componentComplete() override;

signals:
    void toChanged();
    void valueChanged();
    void springChanged();
    void animatedChanged();
    void movingChanged();

private:
    class Clock;

    void jump();
    void begin();
    void tick(double seconds);
    void setValue(double value);

    Spring spring_;
    SpringMotion motion_{0.0};
    std::unique_ptr<Clock> clock_;
    double to_ = 0.0;
    double value_ = 0.0;
    double tolerance_ = 0.001;
    bool isAnimated_ = true;
    bool isComplete_ = true;
};

} // namespace vello
