// SPDX-License-Identifier: Apache-2.0
#include "AudioEngine/Capture/TapCoordinator.h"

#include "AudioEngine/Capture/CoreAudioSupport.h"
#include "AudioEngine/Capture/CrashGuard.h"
#include "AudioEngine/Capture/OrphanedAggregates.h"
#include "Foundation/Product.h"

#include <algorithm>
#include <chrono>
#include <ranges>
#include <utility>

namespace vello {

using namespace std::chrono_literals;

namespace {

constexpr auto kFullRebuildDebounce = 300ms;
constexpr auto kSourceRebuildDebounce = 300ms;
constexpr auto kSourceRebuildCooldown = 5s;
constexpr auto kChosenOutputPeriod = 1s; ///< limits rebuilds when a device keeps appearing and disappearing

TapCoordinator::TapStage stageOf(const ProcessTap& tap) {
    if (!tap.realtimeContext())
        return TapCoordinator::TapStage::starting;
    return tap.isStillConnecting() ? TapCoordinator::TapStage::connecting : TapCoordinator::TapStage::running;
}

} // namespace

TapCoordinator::TapCoordinator(AudioHardware& hardware, MainThread& mainThread, SystemLog& log,
                               TapTeardownQueue& teardownQueue, SettingsProvider settingsProvider,
                               const BlockKernelChoice& kernel)
    : services_{hardware, mainThread, log, teardownQueue, kernel.chosen.kernel}, kernel_(kernel),
      settingsProvider_(std::move(settingsProvider)), logger_(log, kBundleIdentifier, "TapCoordinator"),
      watchdog_(*this, mainThread, log),
      deviceObservers_(hardware, log,
                       {[this] { scheduleFullRebuild("default output device changed"); },
                        [this] { scheduleFullRebuild("output sample rate changed"); },
                        [this] { useChosenOutputs(); }}),
      chosenOutputRebuilds_(mainThread, kChosenOutputPeriod,
                            [this](const std::string& sourceID) { rebuildForChosenOutput(sourceID); }),
      readyTaps_(services_, [this](const std::string& sourceID) { return effectiveSettings(sourceID); }) {}

TapCoordinator::~TapCoordinator() {
    destroyAll();
}

void TapCoordinator::start() {
    CrashGuard::install(services_.hardware);
    logRefusedKernels();
    destroyOrphanedAggregates(services_.hardware, logger_);
    deviceObservers_.start();
    watchdog_.start();
}

void TapCoordinator::logRefusedKernels() const {
    if (!kernel_.refused.empty())
        logger_.error(kernel_.complaint());
}

void TapCoordinator::teardownAll() {
    // Late reports of the monitor or a device must not create a tap again.
    isEnabled_ = false;
    readyTaps_.setExpectsApplications(false);
    watchdog_.stop();
    deviceObservers_.stop();
    rebuildDebounceTask_.reset();
    readyRenewalTask_.reset();
    sourceRebuildTasks_.clear();
    sourceRebuildCooldownUntil_.clear();
    chosenOutputRebuilds_.clear();
    destroyAll();
    services_.teardownQueue.drain();
}

// Input from the owner

void TapCoordinator::setEnabled(bool isEnabled) {
    if (isEnabled == isEnabled_)
        return;
    isEnabled_ = isEnabled;
    reconcile();
    readyTaps_.setExpectsApplications(isEnabled_ && expectsApplications_);
}

void TapCoordinator::setExpectsApplications(bool expectsApplications) {
    expectsApplications_ = expectsApplications;
    readyTaps_.setExpectsApplications(isEnabled_ && expectsApplications_);
}

void TapCoordinator::processAppeared(AudioProcessGroup group) {
    if (isEnabled_ && !taps_.contains(group.id))
        readyTaps_.processAppeared(std::move(group));
}

void TapCoordinator::updateGroups(const std::vector<AudioProcessGroup>& groups) {
    groupsByID_.clear();
    for (const AudioProcessGroup& group : groups)
        groupsByID_.insert_or_assign(group.id, group);
    reconcile();
}

void TapCoordinator::setFocusedSource(std::optional<std::string> sourceID) {
    if (sourceID == focusedSourceID_)
        return;
    focusedSourceID_ = std::move(sourceID);
    reconcile();
}

void TapCoordinator::settingsDidChange(const std::string& sourceID) {
    // A change of the system-wide settings may affect every application.
    const auto changed = sourceID == kSystemSourceID ? tapKeys() : std::vector{sourceID};
    for (const std::string& changedID : changed)
        applyOrRecreate(changedID);
    readyTaps_.settingsDidChange(sourceID);
    reconcile(); // also where nothing was recreated: a tap that failed is tried again
}

void TapCoordinator::applyOrRecreate(const std::string& sourceID) {
    const auto found = taps_.find(sourceID);
    if (found == taps_.end())
        return;
    const EQSettings effective = effectiveSettings(sourceID);
    if (found->second->outputDeviceUID() == effective.outputDeviceUID)
        return found->second->applySettings(effective);
    // An aggregate device is built around its output device, so this needs a new tap.
    destroyForSuccessor(sourceID);
    reconcile();
}

EQSettings TapCoordinator::effectiveSettings(const std::string& sourceID) const {
    const EQSettings own = settingsProvider_(sourceID);
    const bool isSystem = sourceID == kSystemSourceID;
    const EQSettings system = isSystem ? own : settingsProvider_(std::string(kSystemSourceID));
    return EQSettings::effective(own, system, isSystem);
}

void TapCoordinator::publishTapStates() {
    TapStates states;
    for (const auto& [sourceID, tap] : taps_)
        states[sourceID] = {stageOf(*tap), tap->resolvedOutputDeviceUID()};
    tapStates_.set(std::move(states));
}

void TapCoordinator::checkConnections() {
    for (const auto& [sourceID, tap] : taps_)
        tap->checkConnection();
    publishTapStates();
}

std::vector<TapCoordinator::WatchdogEntry> TapCoordinator::watchdogEntries() const {
    std::vector<WatchdogEntry> entries;
    for (const auto& [sourceID, tap] : taps_)
        entries.push_back({sourceID, tap, groupsByID_.contains(sourceID)});
    return entries;
}

// Creation and destruction of taps

std::vector<std::string> TapCoordinator::tapKeys() const {
    const auto keys = std::views::keys(taps_);
    return {keys.begin(), keys.end()};
}

void TapCoordinator::reconcile() {
    if (!isEnabled_)
        return destroyAll();
    readyTaps_.dropDead();
    destroyUndesired();
    for (const auto& [sourceID, group] : groupsByID_)
        reconcileGroup(group);
    successions_.clear();
}

void TapCoordinator::destroyUndesired() {
    for (const std::string& sourceID : tapKeys())
        if (!groupsByID_.contains(sourceID))
            setAside(sourceID);
}

void TapCoordinator::reconcileGroup(const AudioProcessGroup& group) {
    const bool hasTap = taps_.contains(group.id);
    const auto snapshot = tapGroupSnapshots_.find(group.id);
    if (hasTap && snapshot != tapGroupSnapshots_.end() && snapshot->second == group)
        return;
    if (hasTap)
        destroyForSuccessor(group.id);
    if (hasTap || !bringBack(group))
        create(group.id, ProcessTap::Processes{group.objectIDs}, group.displayName);
    tapGroupSnapshots_.insert_or_assign(group.id, group);
}

void TapCoordinator::destroyAll() {
    readyTaps_.clear();
    for (const std::string& sourceID : tapKeys())
        destroy(sourceID);
}

void TapCoordinator::destroy(const std::string& sourceID) {
    if (const auto tap = extract(sourceID))
        tap->invalidate();
    publishTapStates();
}

std::shared_ptr<ProcessTap> TapCoordinator::extract(const std::string& sourceID) {
    activationTasks_.erase(sourceID);
    sourceRebuildTasks_.erase(sourceID);
    tapGroupSnapshots_.erase(sourceID);
    watchdog_.forgetMisses(sourceID);
    const auto tap = taps_.extract(sourceID);
    return tap ? tap.mapped() : nullptr;
}

void TapCoordinator::destroyForSuccessor(const std::string& sourceID) {
    if (const auto found = taps_.find(sourceID); found != taps_.end())
        keepSuccession(sourceID, *found->second);
    destroy(sourceID);
}

void TapCoordinator::keepSuccession(const std::string& sourceID, const ProcessTap& tap) {
    if (auto succession = tap.succession())
        successions_.insert_or_assign(sourceID, std::move(*succession));
}

void TapCoordinator::create(const std::string& sourceID, ProcessTap::Target target,
                            const std::string& label) {
    const auto predecessor = successions_.find(sourceID);
    const auto tap = std::make_shared<ProcessTap>(
        services_, std::move(target), label, effectiveSettings(sourceID),
        predecessor != successions_.end() ? std::optional(predecessor->second) : std::nullopt);
    observe(sourceID, *tap);
    taps_.insert_or_assign(sourceID, tap);
    startActivation(sourceID, tap);
    publishTapStates();
}

void TapCoordinator::observe(const std::string& sourceID, ProcessTap& tap) {
    tap.setOnStreamFormatChange([this, sourceID] { scheduleSourceRebuild(sourceID, "tap format changed"); });
    tap.setOnAppOutputDeviceChange(
        [this, sourceID] { scheduleSourceRebuild(sourceID, "app moved its output device"); });
    tap.setOnConnectionChange([this] { publishTapStates(); });
}

/// Capturing `this` is safe: the destructor invalidates every tap, and an invalidated tap reports no failure.
void TapCoordinator::startActivation(const std::string& sourceID, const std::shared_ptr<ProcessTap>& tap) {
    activationTasks_[sourceID] =
        services_.mainThread.after(0ms, [this, sourceID, weakTap = std::weak_ptr(tap)] {
            const auto activating = weakTap.lock();
            if (!activating)
                return;
            activating->activate([this, sourceID, weakTap](const std::optional<CoreAudioError>& error) {
                if (error)
                    activationFailed(sourceID, weakTap.lock(), *error);
                else if (const auto activated = weakTap.lock(); activated && !activated->isInvalidated())
                    publishTapStates();
            });
        });
}

void TapCoordinator::activationFailed(const std::string& sourceID, const std::shared_ptr<ProcessTap>& tap,
                                      const CoreAudioError& error) {
    logger_.error("Tap activation failed for " + tap->label() + ": " + error.description());
    tap->invalidate();
    const auto current = taps_.find(sourceID);
    if (current == taps_.end() || current->second != tap)
        return;
    taps_.erase(current);
    tapGroupSnapshots_.erase(sourceID);
    publishTapStates();
}

// Applications that have stopped playing

void TapCoordinator::setAside(const std::string& sourceID) {
    const auto group = tapGroupSnapshots_.at(sourceID);
    readyTaps_.keep(sourceID, {extract(sourceID), group});
    publishTapStates();
}

/// Uses the ready tap of the application again, or lets the next one continue it.
bool TapCoordinator::bringBack(const AudioProcessGroup& group) {
    auto ready = readyTaps_.take(group.id);
    if (!ready)
        return false;
    ProcessTap& tap = *ready->tap;
    if (ready->group.objectIDs == group.objectIDs && !tap.automaticRouteWouldChangeDevice()) {
        observe(group.id, tap);
        taps_.insert_or_assign(group.id, std::move(ready->tap));
        publishTapStates();
        return true;
    }
    keepSuccession(group.id, tap);
    tap.invalidate();
    return false;
}

// Rebuilds

void TapCoordinator::scheduleFullRebuild(std::string reason) {
    rebuildDebounceTask_ = services_.mainThread.after(
        kFullRebuildDebounce, [this, reason = std::move(reason)] { performFullRebuild(reason); });
}

void TapCoordinator::performFullRebuild(const std::string& reason) {
    logger_.notice("Full tap rebuild: " + reason);
    for (const std::string& sourceID : tapKeys())
        destroyForSuccessor(sourceID);
    deviceObservers_.followDefaultDevice();
    reconcile();
    // After the activations that have just begun, because those are heard.
    readyRenewalTask_ = services_.mainThread.after(0ms, [this] { readyTaps_.renewAll(); });
}

void TapCoordinator::scheduleSourceRebuild(const std::string& sourceID, const std::string& reason) {
    sourceRebuildTasks_[sourceID] = services_.mainThread.after(
        kSourceRebuildDebounce, [this, sourceID, reason] { waitForCooldown(sourceID, reason); });
}

void TapCoordinator::waitForCooldown(const std::string& sourceID, const std::string& reason) {
    const auto cooldown = sourceRebuildCooldownUntil_.find(sourceID);
    const auto now = services_.mainThread.now();
    if (cooldown == sourceRebuildCooldownUntil_.end() || cooldown->second <= now)
        return performSourceRebuild(sourceID, reason);
    sourceRebuildTasks_[sourceID] = services_.mainThread.after(
        cooldown->second - now, [this, sourceID, reason] { performSourceRebuild(sourceID, reason); });
}

/// Takes the strings by value, because destroy() deletes the task that owns them.
void TapCoordinator::performSourceRebuild(std::string sourceID, std::string reason) {
    const auto now = services_.mainThread.now();
    std::erase_if(sourceRebuildCooldownUntil_, [now](const auto& entry) { return entry.second <= now; });
    sourceRebuildCooldownUntil_[sourceID] = now + kSourceRebuildCooldown;
    logger_.notice("Rebuilding tap for " + sourceID + ": " + reason);
    destroyForSuccessor(sourceID);
    reconcile();
}

// Devices

void TapCoordinator::useChosenOutputs() {
    for (const std::string& sourceID : tapKeys()) {
        const auto found = taps_.find(sourceID);
        if (found != taps_.end() && chosenOutputHasCome(*found->second))
            chosenOutputRebuilds_.request(sourceID);
    }
}

/// Whether the tap started on another device because the chosen one was missing, and the chosen one is now
/// available.
bool TapCoordinator::chosenOutputHasCome(const ProcessTap& tap) const {
    const auto& chosen = tap.outputDeviceUID();
    const auto& used = tap.resolvedOutputDeviceUID();
    return chosen && used && chosen != used &&
           attempt([&] { return readOutputDevice(services_.hardware, *chosen); }).has_value();
}

/// The device may have disappeared again by the time this runs.
void TapCoordinator::rebuildForChosenOutput(const std::string& sourceID) {
    const auto found = taps_.find(sourceID);
    if (found == taps_.end() || !chosenOutputHasCome(*found->second))
        return;
    logger_.notice("Rebuilding tap for " + sourceID + ": its chosen output is there");
    destroyForSuccessor(sourceID);
    reconcile();
}

} // namespace vello
