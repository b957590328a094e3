// SPDX-License-Identifier: Apache-2.0
#include "StatusWatch.h"

#include "Control/Bus/StateMaps.h"
#include "DBusNames.h"

#include <algorithm>
#include <exception>
#include <stdexcept>

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

StatusWatch::StatusWatch(RunningInstance& instance) : instance_(instance) {
    QDBusConnection& bus = instance_.bus();
    bus.connect(dbus::kService, dbus::kPath, dbus::kInterface, "Levels", this,
                SLOT(levelsCameIn(QDBusMessage)));
    bus.connect(dbus::kService, dbus::kPath, dbus::kPropertiesInterface, "PropertiesChanged", this,
                SLOT(propertiesChanged()));
    bus.connect({}, "/org/freedesktop/DBus/Local", "org.freedesktop.DBus.Local", "Disconnected", this,
                SLOT(instanceEnded()));
    auto* watcher =
        new QDBusServiceWatcher(dbus::kService, bus, QDBusServiceWatcher::WatchForUnregistration, this);
    connect(watcher, &QDBusServiceWatcher::serviceUnregistered, this, &StatusWatch::instanceEnded);
    instance_.call("SubscribeLevels", {});
    state_ = instance_.state();
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
    observer(state_);
    QEventLoop loop;
    std::exception_ptr problem;
    RunningState told = state_;
    onChange_ = [&] {
        if (hasEnded_)
            return loop.quit();
        if (state_ == told)
            return;
        told = state_;
        try {
            observer(told);
        } catch (...) { // must not propagate through the event loop
            problem = std::current_exception();
            loop.quit();
        }
    };
    loop.exec();
    onChange_ = [] {};
    if (problem)
        std::rethrow_exception(problem);
    throw std::runtime_error("VELLO has ended; start it with: vello --headless");
}

void StatusWatch::levelsCameIn(const QDBusMessage& signal) {
    setMeters(state_, decodeMeters(signal.arguments().value(0)));
    onChange_();
}

void StatusWatch::propertiesChanged() {
    const auto readings = meters(state_);
    try {
        state_ = instance_.state();
    } catch (const std::exception&) {
        return instanceEnded();
    }
    setMeters(state_, readings);
    onChange_();
}

void StatusWatch::instanceEnded() {
    hasEnded_ = true;
    onChange_();
}

} // namespace vello
