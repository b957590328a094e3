// SPDX-License-Identifier: Apache-2.0
#include "AudioEngine/Capture/TapWatchdog.h"

#include "AudioEngine/Capture/TapCoordinator.h"
#include "AudioEngine/Realtime/HostTime.h"
#include "Foundation/Product.h"

#include <algorithm>
#include <chrono>
#include <utility>

namespace vello {

using namespace std::chrono_literals;

namespace {

constexpr auto kCheckPeriod = 2s;
constexpr auto kGracePeriod = 5s; ///< after an activation
constexpr auto kStall = 3s;
constexpr std::uint32_t kSilentBuffers = 200;
constexpr int kMissesBeforeRebuild = 3;
constexpr auto kRebuildCooldown = 20s;

/// Time since the last callback; negative if the callback ran after `now` was read.
std::chrono::nanoseconds age(std::uint64_t callbackTime, MainThread::Instant now) {
    return std::chrono::nanoseconds(static_cast<std::int64_t>(hostTime(now) - callbackTime));
}

/// Also skips a tap whose device is not connected: its callback cannot run yet, and a new tap would only have
/// to connect again. The audio system retries by itself.
bool isTooYoung(const ProcessTap& tap, MainThread::Instant now) {
    return !tap.activatedAt() || now - *tap.activatedAt() < kGracePeriod || tap.isStillConnecting();
}

/// Silence is normal for a tap that never carried a signal or whose application does not play.
bool isSuspiciouslySilent(const TapRealtimeContext& context, bool sourceIsAudible) {
    return context.zeroBufferStreak.load(std::memory_order_relaxed) >= kSilentBuffers && sourceIsAudible &&
           context.hasCarriedSignal.load(std::memory_order_relaxed) != 0;
}

} // namespace

TapWatchdog::TapWatchdog(TapCoordinator& coordinator, MainThread& mainThread, SystemLog& log)
    : coordinator_(coordinator), mainThread_(mainThread), logger_(log, kBundleIdentifier, "TapWatchdog") {}

void TapWatchdog::start() {
    if (!timerTask_)
        checkAgain();
}

void TapWatchdog::stop() {
    timerTask_.reset();
    missCounts_.clear();
    cooldownUntil_.clear();
}

void TapWatchdog::checkAgain() {
    timerTask_ = mainThread_.after(kCheckPeriod, [this] {
        checkAgain();
        runChecks();
    });
}

void TapWatchdog::runChecks() {
    const auto now = mainThread_.now();
    coordinator_.checkConnections();
    const auto entries = coordinator_.watchdogEntries();
    std::erase_if(missCounts_, [&](const auto& count) {
        return std::ranges::find(entries, count.first, &TapCoordinator::WatchdogEntry::sourceID) ==
               entries.end();
    });
    for (const auto& [sourceID, tap, sourceIsAudible] : entries) {
        if (judge(*tap, sourceIsAudible, now) == Verdict::failed)
            countMiss(sourceID, now);
        else
            missCounts_[sourceID] = 0;
    }
}

TapWatchdog::Verdict TapWatchdog::judge(const ProcessTap& tap, bool sourceIsAudible,
                                        MainThread::Instant now) {
    if (isTooYoung(tap, now) || !tap.realtimeContext())
        return Verdict::tooEarly;
    const TapRealtimeContext& context = *tap.realtimeContext();
    const std::uint64_t lastCallback = context.lastCallbackHostTime.load(std::memory_order_relaxed);
    const bool isStalled = lastCallback == 0 || age(lastCallback, now) > kStall;
    return isStalled || isSuspiciouslySilent(context, sourceIsAudible) ? Verdict::failed : Verdict::healthy;
}

void TapWatchdog::countMiss(const std::string& sourceID, MainThread::Instant now) {
    if (++missCounts_[sourceID] < kMissesBeforeRebuild)
        return;
    const auto cooldown = cooldownUntil_.find(sourceID);
    if (cooldown == cooldownUntil_.end() || cooldown->second <= now)
        rebuild(sourceID, now);
}

void TapWatchdog::rebuild(const std::string& sourceID, MainThread::Instant now) {
    std::erase_if(cooldownUntil_, [now](const auto& entry) { return entry.second <= now; });
    cooldownUntil_[sourceID] = now + kRebuildCooldown;
    missCounts_[sourceID] = 0;
    logger_.notice("Tap for " + sourceID + " is silent/stalled; full teardown + rebuild");
    coordinator_.destroy(sourceID);
    coordinator_.reconcile();
}

} // namespace vello
