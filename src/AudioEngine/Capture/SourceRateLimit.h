// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Ports/MainThread.h"

#include <functional>
#include <map>
#include <string>

namespace vello {

/// Runs an action for a source at once, but not more often than once a period for each. Main thread only.
class SourceRateLimit {
public:
    using Action = std::function<void(const std::string& sourceID)>;

    /// `mainThread` outlives the object; the action may not destroy it.
    SourceRateLimit(MainThread& mainThread, MainThread::Duration period, Action action);

    /// Within a period after the action ran, further requests run it once, at the end of the period.
    void request(const std::string& sourceID);
    /// What waits does not happen any more.
    void clear() { sources_.clear(); }

private:
    struct Source {
        MainThread::Instant nextRun; ///< not before
        TaskHandle waiting = {};
    };

    void run(const std::string& sourceID);

    MainThread& mainThread_;
    const MainThread::Duration period_;
    const Action action_;
    std::map<std::string, Source> sources_;
};

} // namespace vello
