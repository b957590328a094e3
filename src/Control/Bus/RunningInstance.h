// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Control/State/RunningState.h"

#include <vector>

#include <QDBusConnection>
#include <QVariant>

namespace vello {

/// The other end of the bus: the instance that runs. Every failure is a std::runtime_error with one line, fit
/// for a terminal, that says why and what to do.
class RunningInstance {
public:
    /// On the session bus of the environment; throws where there is none. Whether an instance runs shows at
    /// the first call.
    RunningInstance();
    explicit RunningInstance(const QString& busAddress);
    ~RunningInstance();
    RunningInstance(const RunningInstance&) = delete;
    RunningInstance& operator=(const RunningInstance&) = delete;

    /// Everything but the meters. Blocks for the answer.
    RunningState state() const;
    /// The streams that are left as they are. Blocks for the answer.
    std::vector<ExemptStreamState> exemptStreams() const;
    /// Calls a method of the interface that returns nothing. Blocks for the answer.
    void call(const char* method, const QVariantList& arguments) const;
    QDBusConnection& bus() { return bus_; }

private:
    QDBusConnection bus_;
};

} // namespace vello
