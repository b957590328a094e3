// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Ports/MainThread.h"
#include "Ports/SystemLog.h"

#include <map>
#include <string>

namespace vello {

class ProcessTap;
class TapCoordinator;

/// Checks every 2 s that each tap's callback runs and passes audio. Rebuilds a tap after three failed checks
/// in a row, at most every 20 s per source. A tap that is not connected yet does not fail. Main thread only;
/// it reads counters of the callback and never waits for it.
class TapWatchdog {
public:
    /// All three must outlive the watchdog.
    TapWatchdog(TapCoordinator& coordinator, MainThread& mainThread, SystemLog& log);

    /// Starts the checks. A second call does nothing.
    void start();
    /// Stops the checks and resets all state.
    void stop();
    /// Checks every tap once.
    void runChecks();
    /// Resets the failure count of a source whose tap is gone. The cooldown until the next rebuild continues.
    void forgetMisses(const std::string& sourceID) { missCounts_.erase(sourceID); }

    enum class Verdict { tooEarly, healthy, failed };
    /// Judges one tap by the counters that its callback keeps. A source that is not audible may be silent.
    static Verdict judge(const ProcessTap& tap, bool sourceIsAudible, MainThread::Instant now);

private:
    void checkAgain();
    void countMiss(const std::string& sourceID, MainThread::Instant now);
    void rebuild(const std::string& sourceID, MainThread::Instant now);

    TapCoordinator& coordinator_;
    MainThread& mainThread_;
    const Logger logger_;
    TaskHandle timerTask_;
    std::map<std::string, int> missCounts_; ///< failed checks in a row, by source
    std::map<std::string, MainThread::Instant> cooldownUntil_;
};

} // namespace vello
