// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Control/State/RunningState.h"

#include <vector>

#include <QDBusConnection>
#include <QVariant>

namespace vello {

/// Client-side proxy of the running instance. Every failure is a std::runtime_error with one line, safe for a
/// terminal, that gives the reason and a remedy.
class RunningInstance {
public:
    /// Connects to the session bus of the environment; throws if there is no bus. Does not check whether an
    /// instance is running; the first call fails if not.
    RunningInstance();
    explicit RunningInstance(const QString& busAddress);
    ~RunningInstance();
    RunningInstance(const RunningInstance&) = delete;
    RunningInstance& operator=(const RunningInstance&) = delete;

    /// The state without meters. Blocks until the reply.
    RunningState state() const;
    /// The streams that are not captured. Blocks until the reply.
    std::vector<ExemptStreamState> exemptStreams() const;
    /// The applications that are held ready. Blocks until the reply.
    std::vector<ReadyApplicationState> readyApplications() const;
    /// Calls a method of the interface that has no return value. Blocks until the reply.
    void call(const char* method, const QVariantList& arguments) const;
    QDBusConnection& bus() { return bus_; }

private:
    QDBusConnection bus_;
};

} // namespace vello
