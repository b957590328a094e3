// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QAbstractAnimation>
#include <QObject>
#include <QQmlParserStatus>
#include <QtQmlIntegration>

#include <chrono>
#include <memory>

namespace vello {

/// A number that moves to `to` linearly within a tenth of a second. Its value changes at most as often as
/// meters are read, and at the same moments as every other follower's. A window full of meters is therefore
/// drawn at half the screen's frame rate. Starts at its first target.
class LevelFollower : public QObject, public QQmlParserStatus {
    Q_OBJECT
    Q_INTERFACES(QQmlParserStatus)
    QML_ELEMENT
    Q_PROPERTY(double to READ to WRITE setTo NOTIFY toChanged)
    Q_PROPERTY(double value READ value NOTIFY valueChanged)
    /// While false, the value jumps to a new target.
    Q_PROPERTY(bool isAnimated READ isAnimated WRITE setAnimated NOTIFY animatedChanged)

public:
    static constexpr std::chrono::milliseconds duration{100};
    /// Interval between two changes of the value.
    static constexpr std::chrono::milliseconds step{33};

    explicit LevelFollower(QObject* parent = nullptr);
    ~LevelFollower() override;

    double to() const { return to_; }
    void setTo(double to);
    double value() const { return value_; }
    bool isAnimated() const { return isAnimated_; }
    void setAnimated(bool isAnimated);

    void classBegin() override { isComplete_ = false; }
    void componentComplete() override;

signals:
    void toChanged();
    void valueChanged();
    void animatedChanged();

private:
    class Clock;

    /// The current position, also between two steps.
    double position() const;
    void jump();
    void tick();
    void setValue(double value);

    std::unique_ptr<Clock> clock_;
    double from_ = 0.0;
    double to_ = 0.0;
    double value_ = 0.0;
    std::chrono::steady_clock::rep lastStep_ = 0;
    bool isAnimated_ = true;
    bool isComplete_ = true;
};

} // namespace vello
