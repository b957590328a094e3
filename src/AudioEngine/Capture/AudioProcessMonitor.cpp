// SPDX-License-Identifier: Apache-2.0
#include "AudioEngine/Capture/AudioProcessMonitor.h"

#include "AudioEngine/Capture/CoreAudioSupport.h"
#include "Foundation/LocalizedOrder.h"
#include "Foundation/Product.h"

#include <algorithm>
#include <chrono>
#include <utility>

namespace vello {

using namespace std::chrono_literals;

namespace {

constexpr auto kReloadDebounce = 250ms;
constexpr auto kPollingPeriod = 1s;

std::string joined(const AudioProcessMonitor::Groups& groups) {
    std::string text;
    for (const AudioProcessGroup& group : groups)
        text += (text.empty() ? "" : ", ") + group.displayName;
    return text;
}

/// With the process alone.
AudioProcessGroup groupOf(ApplicationIdentity identity, AudioObjectID process) {
    return {std::move(identity.key),
            std::move(identity.displayName),
            std::move(identity.bundleID),
            identity.pid,
            {process}};
}

} // namespace

/// Builds the groups of one reload.
class AudioProcessMonitor::GroupBuilders {
public:
    void add(AudioObjectID process, ApplicationIdentity identity) {
        const auto [entry, isNew] = indexByKey_.try_emplace(identity.key, groups_.size());
        if (isNew) {
            groups_.push_back(groupOf(std::move(identity), process));
            return;
        }
        AudioProcessGroup& group = groups_[entry->second];
        group.objectIDs.push_back(process);
        if (group.representativePID == 0)
            group.representativePID = identity.pid;
    }

    Groups sorted() && {
        const LocalizedOrder order;
        std::ranges::stable_sort(groups_,
                                 [&](const AudioProcessGroup& first, const AudioProcessGroup& second) {
                                     return order.isBefore(first.displayName, second.displayName);
                                 });
        return std::move(groups_);
    }

private:
    Groups groups_; ///< in order of appearance
    std::map<std::string, std::size_t> indexByKey_;
};

AudioProcessMonitor::AudioProcessMonitor(AudioHardware& hardware, MainThread& mainThread,
                                         RunningApplications& applications, SystemLog& log)
    : hardware_(hardware), mainThread_(mainThread), log_(log),
      logger_(log, kBundleIdentifier, "AudioProcessMonitor"), identities_(hardware, applications),
      downmixed_(hardware, log) {}

AudioProcessMonitor::~AudioProcessMonitor() {
    if (processListObserver_)
        processListObserver_->invalidate();
    pruneOutputStateObservers({});
}

void AudioProcessMonitor::start() {
    if (processListObserver_)
        return;
    processListObserver_ = std::make_unique<CoreAudioPropertyObserver>(
        hardware_, log_, kAudioObjectSystemObject, kAudioHardwarePropertyProcessObjectList,
        kAudioObjectPropertyScopeGlobal, [this] { listChanged(); });
    pollAgain();
    reload();
}

void AudioProcessMonitor::pollAgain() {
    pollingTask_ = mainThread_.after(kPollingPeriod, [this] {
        pollAgain();
        reload();
    });
}

void AudioProcessMonitor::scheduleReload() {
    reloadDebounceTask_ = mainThread_.after(kReloadDebounce, [this] { reload(); });
}

void AudioProcessMonitor::listChanged() {
    scheduleReload();
    for (const AudioObjectID process : readProcessList().value_or(std::vector<AudioObjectID>{}))
        if (!outputStateObservers_.contains(process))
            processAppeared(process);
}

/// Listens before the next reload, because the process may begin to produce output before it.
void AudioProcessMonitor::processAppeared(AudioObjectID process) try {
    const std::int32_t pid = identities_.processOf(process);
    if (identities_.isOwn(pid))
        return;
    observeOutputState(process);
    if (auto identity = identities_.identify(process, pid); identity && onProcess_)
        onProcess_(groupOf(std::move(*identity), process));
    reloadIfUrgent(process);
} catch (const CoreAudioError&) {
}

void AudioProcessMonitor::outputStateChanged(AudioObjectID process) {
    scheduleReload();
    reloadIfUrgent(process);
}

/// Not inside the call, because a reload may remove the observer that makes the call.
void AudioProcessMonitor::reloadIfUrgent(AudioObjectID process) try {
    if (!isUrgent_ || urgentReloadTask_ || isInAGroup(process) ||
        readProperty<std::uint32_t>(hardware_, process, kAudioProcessPropertyIsRunningOutput) == 0)
        return;
    const auto identity = identities_.identify(process, identities_.processOf(process));
    if (!identity || !isUrgent_(identity->key))
        return;
    const auto now = mainThread_.now();
    urgentReloadTask_ = mainThread_.after(std::max(nextUrgentReload_, now) - now, [this] {
        nextUrgentReload_ = mainThread_.now() + kReloadDebounce;
        urgentReloadTask_.reset();
        reload();
    });
} catch (const CoreAudioError&) {
}

bool AudioProcessMonitor::isInAGroup(AudioObjectID process) const {
    return std::ranges::any_of(groups_, [process](const AudioProcessGroup& group) {
        return std::ranges::find(group.objectIDs, process) != group.objectIDs.end();
    });
}

void AudioProcessMonitor::reload() {
    const auto processes = readProcessList();
    if (!processes)
        return;
    GroupBuilders builders;
    for (const AudioObjectID process : *processes)
        collect(process, builders);
    pruneOutputStateObservers(*processes);
    downmixed_.keepOnly(*processes);
    publish(std::move(builders).sorted());
}

std::optional<std::vector<AudioObjectID>> AudioProcessMonitor::readProcessList() const {
    try {
        return readObjectIDList(hardware_, kAudioObjectSystemObject, kAudioHardwarePropertyProcessObjectList,
                                kAudioObjectPropertyScopeGlobal);
    } catch (const CoreAudioError& error) {
        logger_.error("Process list read failed: " + error.description());
        return std::nullopt;
    }
}

void AudioProcessMonitor::setDownmixedSources(SourceIDs sourceIDs) {
    if (sourceIDs == downmixed_.sources())
        return;
    downmixed_.setSources(std::move(sourceIDs));
    if (processListObserver_)
        reload();
}

/// Skips a process with an unreadable property. The downmix is switched first, because a process with only
/// multichannel streams counts as producing output only when it is downmixed.
void AudioProcessMonitor::collect(AudioObjectID process, GroupBuilders& builders) try {
    const std::int32_t pid = identities_.processOf(process);
    if (identities_.isOwn(pid))
        return;
    observeOutputState(process);
    std::optional<ApplicationIdentity> identity;
    if (downmixed_.isBusy() && (identity = identities_.identify(process, pid)))
        downmixed_.update(process, identity->key);
    if (readProperty<std::uint32_t>(hardware_, process, kAudioProcessPropertyIsRunningOutput) == 0)
        return;
    if (!identity)
        identity = identities_.identify(process, pid);
    if (identity)
        builders.add(process, std::move(*identity));
} catch (const CoreAudioError&) {
}

void AudioProcessMonitor::observeOutputState(AudioObjectID process) {
    auto& observer = outputStateObservers_[process];
    if (!observer)
        observer = std::make_unique<CoreAudioPropertyObserver>(
            hardware_, log_, process, kAudioProcessPropertyIsRunningOutput, kAudioObjectPropertyScopeGlobal,
            [this, process] { outputStateChanged(process); });
}

void AudioProcessMonitor::pruneOutputStateObservers(const std::vector<AudioObjectID>& kept) {
    std::erase_if(outputStateObservers_, [&](const auto& entry) {
        const bool isGone = std::ranges::find(kept, entry.first) == kept.end();
        if (isGone)
            entry.second->invalidate();
        return isGone;
    });
}

void AudioProcessMonitor::publish(Groups groups) {
    if (groups == groups_)
        return;
    groups_ = std::move(groups);
    logger_.notice("Audio-producing apps: " + joined(groups_));
    if (onChange_)
        onChange_(groups_);
}

} // namespace vello
