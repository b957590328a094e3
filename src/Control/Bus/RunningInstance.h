// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Control/State/InstanceHealth.h"
#include "Control/State/RunningState.h"

#include <chrono>
#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include <QDBusConnection>
#include <QDBusMessage>
#include <QVariant>

namespace vello {

/// A failed call. what() is one line, safe for a terminal, that gives the reason and a remedy.
class InstanceError : public std::runtime_error {
public:
    InstanceError(std::string kind, const std::string& sentence)
        : std::runtime_error(sentence), kind_(std::move(kind)) {}
    /// A word for programs: "notRunning", "noBus", "noAnswer", "refused" or that of an error of the
    /// interface, such as "unknownSource".
    const std::string& kind() const { return kind_; }
    bool isNotRunning() const { return kind_ == "notRunning"; }
    /// What was to be saved is on disk, but saved presets are not shared with the user's other machines.
    bool isNotShared() const { return kind_ == "notShared"; }

private:
    std::string kind_;
};

/// No instance runs, or it has ended.
InstanceError notRunning(const std::string& sentence);

/// Client-side proxy of the running instance. Every failure is an InstanceError.
class RunningInstance {
public:
    static constexpr std::chrono::seconds longestWait{5};

    /// Connects to the session bus of the environment; throws if there is no bus. Does not check whether an
    /// instance is running; the first call fails if not.
    RunningInstance();
    /// No call waits for longer than `patience`.
    explicit RunningInstance(const QString& busAddress, std::chrono::milliseconds patience = longestWait);
    ~RunningInstance();
    RunningInstance(const RunningInstance&) = delete;
    RunningInstance& operator=(const RunningInstance&) = delete;

    /// The state without meters and presets. Blocks until the replies.
    RunningState state() const;
    /// The built-in presets, then the user's. Blocks until the reply.
    std::vector<PresetState> presets() const;
    /// The sources with stored settings that do not play. Blocks until the reply.
    std::vector<SourceState> storedSources() const;
    /// The streams that are not captured. Blocks until the reply.
    std::vector<ExemptStreamState> exemptStreams() const;
    /// The applications that are held ready. Blocks until the reply.
    std::vector<ReadyApplicationState> readyApplications() const;
    /// For a report. Blocks until the reply.
    InstanceHealth health() const;
    /// The instance's process; absent when the bus does not know it. Blocks until the reply.
    std::optional<std::int32_t> pid() const;
    /// Calls a method of the interface that has no return value. Blocks until the reply.
    void call(const char* method, const QVariantList& arguments) const;
    QDBusConnection& bus() { return bus_; }

private:
    QDBusMessage ask(QDBusMessage question, const QVariantList& arguments) const;
    QVariantList answers(const char* method) const;
    QVariant property(const char* name) const;

    QDBusConnection bus_;
    std::chrono::milliseconds patience_;
};

} // namespace vello
