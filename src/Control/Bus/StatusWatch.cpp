// SPDX-License-Identifier: Apache-2.0
#include "StatusWatch.h"

#include "Control/Bus/StateMaps.h"
#include "DBusNames.h"

#include <algorithm>
#include <exception>
#include <utility>

#include <QDBusArgument>
#include <QDBusServiceWatcher>
#include <QEventLoop>
#include <QTimer>

namespace vello {
namespace {

void setMeters(RunningState& state, const std::vector<MeterReading>& readings) {
    for (SourceState& source : state.sources) {
        const auto reading = std::ranges::find(readings, source.source.id, &MeterReading::id);
        source.meters = reading == readings.end() ? std::nullopt : std::optional(*reading);
    }
}

std::vector<MeterReading> meters(const RunningState& state) {
    std::vector<MeterReading> readings;
    for (const SourceState& source : state.sources)
        if (source.meters)
            readings.push_back(*source.meters);
    return readings;
}

} // namespace

StatusWatch::StatusWatch(RunningInstance& instance, Levels levels) : instance_(instance) {
    QDBusConnection& bus = instance_.bus();
    bus.connect(dbus::kService, dbus::kPath, dbus::kInterface, "Levels", this,
                SLOT(levelsCameIn(QDBusMessage)));
    bus.connect(dbus::kService, dbus::kPath, dbus::kPropertiesInterface, "PropertiesChanged", this,
                SLOT(propertiesChanged(QDBusMessage)));
    bus.connect({}, "/org/freedesktop/DBus/Local", "org.freedesktop.DBus.Local", "Disconnected", this,
                SLOT(instanceEnded()));
    auto* watcher =
        new QDBusServiceWatcher(dbus::kService, bus, QDBusServiceWatcher::WatchForUnregistration, this);
    connect(watcher, &QDBusServiceWatcher::serviceUnregistered, this, &StatusWatch::instanceEnded);
    if (levels == Levels::told)
        instance_.call("SubscribeLevels", {});
    state_ = instance_.state();
}

void StatusWatch::readPresets() {
    hasPresets_ = true;
    state_.presets = instance_.presets();
}

RunningState StatusWatch::once(std::chrono::milliseconds patience) {
    const bool isHeard =
        std::ranges::find(state_.sources, TapState::running, &SourceState::tapState) != state_.sources.end();
    if (!isHeard)
        return state_;
    QEventLoop loop;
    onChange_ = [&loop] { loop.quit(); };
    QTimer::singleShot(patience, &loop, &QEventLoop::quit);
    loop.exec();
    onChange_ = [] {};
    return state_;
}

void StatusWatch::run(const Observer& observer) {
    QEventLoop loop;
    onChange_ = [&] {
        if (hasEnded_ || isStopped_)
            loop.quit();
        else
            observer(state_);
    };
    observer(state_);
    if (!hasEnded_ && !isStopped_)
        loop.exec();
    onChange_ = [] {};
    if (hasEnded_)
        throw notRunning("VELLO has ended; start it with: vello --headless");
}

void StatusWatch::changed() {
    onChange_();
}

void StatusWatch::stop() {
    isStopped_ = true;
    onChange_();
}

void StatusWatch::levelsCameIn(const QDBusMessage& signal) {
    setMeters(state_, decodeMeters(signal.arguments().value(0)));
    onChange_();
}

void StatusWatch::propertiesChanged(const QDBusMessage& signal) {
    const auto names = qdbus_cast<QVariantMap>(signal.arguments().value(1));
    try {
        RunningState state = instance_.state();
        setMeters(state, meters(state_));
        state.presets = hasPresets_ && names.contains("Presets") ? instance_.presets() : state_.presets;
        state_ = std::move(state);
    } catch (const std::exception&) {
        return instanceEnded();
    }
    onChange_();
}

void StatusWatch::instanceEnded() {
    hasEnded_ = true;
    onChange_();
}

} // namespace vello
