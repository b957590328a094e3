// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Ports/MainThread.h"
#include "Ports/SystemLog.h"

#include <map>
#include <string>

namespace vello {

class ProcessTap;
class TapCoordinator;

/// Looks every 2 s whether each tap's callback is called and passes sound, and has a tap that failed three
/// times in a row made again, at most every 20 s for one source. A tap that the audio system has not
/// connected has not failed. Main thread only; it reads counters that the callback keeps and never waits for
/// it.
class TapWatchdog {
public:
    /// All three outlive the watchdog.
    TapWatchdog(TapCoordinator& coordinator, MainThread& mainThread, SystemLog& log);

    /// Begins to look. A second call does nothing.
    void start();
    /// Ends it, and forgets everything.
    void stop();
    /// Looks at every tap once.
    void runChecks();
    /// The source's tap is gone; a new one begins without failures. The time until which it is not rebuilt
    /// holds on.
    void forgetMisses(const std::string& sourceID) { missCounts_.erase(sourceID); }

private:
    enum class Verdict { tooEarly, healthy, failed };

    void checkAgain();
    static Verdict judge(const ProcessTap& tap, bool sourceIsAudible, MainThread::Instant now);
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
