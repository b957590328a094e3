// SPDX-License-Identifier: Apache-2.0
#include "AudioEngine/Capture/ReadyTaps.h"

#include "AudioEngine/Capture/CoreAudioSupport.h"

#include <algorithm>
#include <chrono>
#include <ranges>
#include <utility>

namespace vello {

using namespace std::chrono_literals;

namespace {

constexpr auto kReadyTime = 10min;
/// More would make the graph and the session manager slow for everything else.
constexpr std::size_t kMostReady = 8;
constexpr auto kRenewalDebounce = 300ms; ///< changes of a format come in bursts

} // namespace

ReadyTaps::ReadyTaps(const TapServices& services, SettingsProvider settingsInForce)
    : services_(services), settingsInForce_(std::move(settingsInForce)),
      spare_(services.hardware, services.log, [this] { spareIsReady(); }) {}

void ReadyTaps::keep(const std::string& sourceID, Entry entry) {
    if (!entry.tap->activatedAt() || !entry.tap->isDeviceAlive() || settingsInForce_(sourceID).isNeutral())
        return entry.tap->invalidate();
    entry.tap->setOnStreamFormatChange([this, sourceID] { renewSoon(sourceID); });
    // What an application without a stream plays to is not known.
    entry.tap->setOnAppOutputDeviceChange(nullptr);
    entry.tap->setOnConnectionChange(nullptr);
    auto expiry = services_.mainThread.after(kReadyTime, [this, sourceID] { drop(sourceID); });
    entry.tap->realtimeContext()->ringBuffer.rest();
    ready_.insert_or_assign(sourceID, Ready{std::move(entry), services_.mainThread.now(), std::move(expiry)});
    if (ready_.size() > kMostReady)
        dropOldest();
}

void ReadyTaps::dropOldest() {
    const auto oldest =
        std::ranges::min_element(ready_, {}, [](const auto& ready) { return ready.second.since; });
    drop(std::string(oldest->first));
}

std::optional<ReadyTaps::Entry> ReadyTaps::take(const std::string& sourceID) {
    if (awaitingSpare_ && awaitingSpare_->id == sourceID)
        awaitingSpare_.reset();
    dropDead();
    auto ready = ready_.extract(sourceID);
    if (!ready)
        return std::nullopt;
    ready.mapped().entry.tap->realtimeContext()->ringBuffer.endRest();
    return std::move(ready.mapped().entry);
}

std::vector<const ReadyTaps::Entry*> ReadyTaps::entries() const {
    std::vector<const Entry*> entries;
    for (const Ready& ready : std::views::values(ready_))
        entries.push_back(&ready.entry);
    return entries;
}

std::vector<std::string> ReadyTaps::sourceIDs() const {
    const auto keys = std::views::keys(ready_);
    return {keys.begin(), keys.end()};
}

void ReadyTaps::setExpectsApplications(bool expectsApplications) {
    if (!expectsApplications)
        awaitingSpare_.reset();
    spare_.setWanted(expectsApplications);
}

void ReadyTaps::processAppeared(AudioProcessGroup group) {
    const auto found = ready_.find(group.id);
    if (found == ready_.end())
        return prepare(std::move(group));
    const AudioObjectID process = group.objectIDs.front();
    AudioProcessGroup extended = found->second.entry.group;
    if (std::ranges::find(extended.objectIDs, process) != extended.objectIDs.end())
        return;
    extended.objectIDs.push_back(process);
    renew(group.id, std::move(extended));
}

/// Only with the spare device. Any other would be alive too late, and dozens of applications that begin
/// together would replace each other's taps here before they play.
void ReadyTaps::prepare(AudioProcessGroup group) {
    const EQSettings settings = settingsInForce_(group.id);
    if (settings.isNeutral() || !spare_.isWanted())
        return;
    if (!spare_.isReady()) {
        awaitingSpare_ = std::move(group);
        return spare_.request();
    }
    const auto tap = std::make_shared<ProcessTap>(services_, ProcessTap::Processes{group.objectIDs},
                                                  group.displayName, settings);
    activate(tap, std::move(group));
}

void ReadyTaps::spareIsReady() {
    if (auto group = std::exchange(awaitingSpare_, std::nullopt);
        group && isProcess(group->objectIDs.front()))
        prepare(std::move(*group));
}

bool ReadyTaps::isProcess(AudioObjectID object) const {
    return attempt([&] {
               return readProperty<std::int32_t>(services_.hardware, object, kAudioProcessPropertyPID);
           })
        .has_value();
}

void ReadyTaps::settingsDidChange(const std::string& sourceID) {
    for (const std::string& readyID : sourceIDs())
        if (readyID == sourceID || sourceID == kSystemSourceID)
            applySettings(readyID);
}

void ReadyTaps::applySettings(const std::string& sourceID) {
    const auto found = ready_.find(sourceID);
    if (found == ready_.end())
        return;
    ProcessTap& tap = *found->second.entry.tap;
    const EQSettings settings = settingsInForce_(sourceID);
    if (settings.isNeutral())
        drop(sourceID);
    else if (tap.outputDeviceUID() == settings.outputDeviceUID)
        tap.applySettings(settings);
    else
        renew(sourceID, found->second.entry.group);
}

void ReadyTaps::renewAll() {
    for (const std::string& sourceID : sourceIDs())
        renew(sourceID, ready_.at(sourceID).entry.group);
}

void ReadyTaps::dropDead() {
    for (const std::string& sourceID : sourceIDs())
        if (!ready_.at(sourceID).entry.tap->isDeviceAlive())
            drop(sourceID);
}

void ReadyTaps::clear() {
    for (const std::string& sourceID : sourceIDs())
        drop(sourceID);
}

void ReadyTaps::drop(const std::string& sourceID) {
    if (const auto dropped = ready_.extract(sourceID))
        dropped.mapped().entry.tap->invalidate();
}

/// Not inside the call, because the observer that makes the call belongs to the tap.
void ReadyTaps::renewSoon(const std::string& sourceID) {
    const auto found = ready_.find(sourceID);
    if (found != ready_.end())
        found->second.renewal = services_.mainThread.after(
            kRenewalDebounce, [this, sourceID] { renew(sourceID, ready_.at(sourceID).entry.group); });
}

/// The new tap is made for the processes, settings, devices and formats of now, and continues the old one.
void ReadyTaps::renew(const std::string& sourceID, AudioProcessGroup group) {
    std::erase_if(group.objectIDs, [this](AudioObjectID object) { return !isProcess(object); });
    const auto old = ready_.extract(sourceID);
    ProcessTap& replaced = *old.mapped().entry.tap;
    const auto tap =
        std::make_shared<ProcessTap>(services_, ProcessTap::Processes{group.objectIDs}, replaced.label(),
                                     settingsInForce_(sourceID), replaced.succession());
    activate(tap, std::move(group));
    replaced.invalidate();
}

/// Keeps the tap if its device is alive at once, and lets go of it otherwise.
void ReadyTaps::activate(const std::shared_ptr<ProcessTap>& tap, AudioProcessGroup group) {
    tap->activate([this, group = std::move(group),
                   weakTap = std::weak_ptr(tap)](const std::optional<CoreAudioError>& error) {
        if (const auto activated = weakTap.lock(); activated && !error)
            keep(group.id, {activated, group});
    });
}

} // namespace vello
