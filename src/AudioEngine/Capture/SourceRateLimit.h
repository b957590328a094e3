// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Ports/MainThread.h"

#include <functional>
#include <map>
#include <string>

namespace vello {

/// Runs an action for a source immediately, but at most once per period for each source. Main thread only.
class SourceRateLimit {
public:
    using Action = std::function<void(const std::string& sourceID)>;

    /// `mainThread` must outlive the object. The action must not destroy the object.
    SourceRateLimit(MainThread& mainThread, MainThread::Duration period, Action action);

    /// Requests within a period after the last run cause one more run, at the end of the period.
    void request(const std::string& sourceID);
    /// Cancels all pending runs.
    void clear() { sources_.clear(); }

private:
    struct Source {
        MainThread::Instant nextRun; ///< earliest time
        TaskHandle waiting = {};
    };

    void run(const std::string& sourceID);

    MainThread& mainThread_;
    const MainThread::Duration period_;
    const Action action_;
    std::map<std::string, Source> sources_;
};

} // namespace vello
