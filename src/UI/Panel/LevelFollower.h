// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QAbstractAnimation>
#include <QObject>
#include <QQmlParserStatus>
#include <QtQmlIntegration>

#include <chrono>
#include <memory>

namespace vello {

/// A number that goes over to `to` evenly within a tenth of a second. Its value changes as often as meters
/// are read and no more, at the same moments as every other's: a window full of meters is drawn at half the
/// rate of the screen's frames. It starts at its first target.
class LevelFollower : public QObject, public QQmlParserStatus {
    Q_OBJECT
    Q_INTERFACES(QQmlParserStatus)
    QML_ELEMENT
    Q_PROPERTY(double to READ to WRITE setTo NOTIFY toChanged)
    Q_PROPERTY(double value READ value NOTIFY valueChanged)
    /// While false a new target is reached at once.
    Q_PROPERTY(bool isAnimated READ isAnimated WRITE setAnimated NOTIFY animatedChanged)

public:
    static constexpr std::chrono::milliseconds duration{100};
    /// Between two changes of the value.
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

    /// Where the number is now, between two steps as well.
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
