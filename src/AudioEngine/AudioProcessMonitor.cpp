// SPDX-License-Identifier: Apache-2.0
#include "AudioEngine/AudioProcessMonitor.h"

#include "AudioEngine/CoreAudioSupport.h"
#include "AudioEngine/DisplayText.h"
#include "AudioEngine/LocalizedOrder.h"
#include "Models/EQSettings.h"
#include "Models/Localization.h"
#include "Models/Product.h"

#include <algorithm>
#include <chrono>
#include <utility>

namespace vello {

using namespace std::chrono_literals;

namespace {

constexpr auto kReloadDebounce = 250ms;
constexpr auto kPollingPeriod = 1s;

/// The last part of a dotted name that is not empty.
std::string_view lastComponent(std::string_view dotted) {
    const auto end = dotted.find_last_not_of('.');
    if (end == std::string_view::npos)
        return {};
    const auto dot = dotted.find_last_of('.', end);
    const auto begin = dot == std::string_view::npos ? 0 : dot + 1;
    return dotted.substr(begin, end + 1 - begin);
}

/// A bundle identifier is a stranger's word: it may be empty, and nobody passes for the system-wide entry.
bool isUsable(const std::optional<std::string>& bundleID) {
    return bundleID && !bundleID->empty() && *bundleID != kSystemSourceID;
}

std::string joined(const AudioProcessMonitor::Groups& groups) {
    std::string text;
    for (const AudioProcessGroup& group : groups)
        text += (text.empty() ? "" : ", ") + group.displayName;
    return text;
}

} // namespace

/// The groups of one reload while they grow.
class AudioProcessMonitor::GroupBuilders {
public:
    void add(AudioObjectID process, Identity identity) {
        const auto [entry, isNew] = indexByKey_.try_emplace(identity.key, groups_.size());
        if (isNew)
            groups_.push_back(
                {identity.key, displayName(identity), std::move(identity.bundleID), identity.pid, {}});
        groups_[entry->second].objectIDs.push_back(process);
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
    Groups groups_; ///< in the order in which they appeared
    std::map<std::string, std::size_t> indexByKey_;
};

AudioProcessMonitor::AudioProcessMonitor(AudioHardware& hardware, MainThread& mainThread,
                                         RunningApplications& applications, SystemLog& log)
    : hardware_(hardware), mainThread_(mainThread), applications_(applications), log_(log),
      logger_(log, kBundleIdentifier, "AudioProcessMonitor") {}

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
        kAudioObjectPropertyScopeGlobal, [this] { scheduleReload(); });
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

void AudioProcessMonitor::reload() {
    const auto processes = readProcessList();
    if (!processes)
        return;
    GroupBuilders builders;
    for (const AudioObjectID process : *processes)
        collect(process, builders);
    pruneOutputStateObservers(*processes);
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

/// A process of which something cannot be read is left out.
void AudioProcessMonitor::collect(AudioObjectID process, GroupBuilders& builders) try {
    const auto pid = readProperty<std::int32_t>(hardware_, process, kAudioProcessPropertyPID);
    if (pid == applications_.ownProcess())
        return;
    observeOutputState(process);
    if (readProperty<std::uint32_t>(hardware_, process, kAudioProcessPropertyIsRunningOutput) == 0)
        return;
    const std::int32_t responsible = responsibleProcess(pid);
    if (responsible != applications_.ownProcess())
        builders.add(process, identify(process, responsible));
} catch (const CoreAudioError&) {
}

std::int32_t AudioProcessMonitor::responsibleProcess(std::int32_t pid) const {
    const std::int32_t responsible = applications_.responsibleProcess(pid);
    return responsible > 1 ? responsible : pid;
}

AudioProcessMonitor::Identity AudioProcessMonitor::identify(AudioObjectID process,
                                                            std::int32_t responsiblePID) const {
    auto application = applications_.runningApplication(responsiblePID).value_or(RunningApplication{});
    Identity identity{
        {}, std::move(application.bundleIdentifier), std::move(application.localizedName), responsiblePID};
    if (!isUsable(identity.bundleID))
        identity.bundleID =
            attempt([&] { return readString(hardware_, process, kAudioProcessPropertyBundleID); });
    if (!isUsable(identity.bundleID))
        identity.bundleID.reset();
    identity.key = identity.bundleID.value_or("pid." + std::to_string(responsiblePID));
    return identity;
}

std::string AudioProcessMonitor::displayName(const Identity& identity) {
    if (identity.localizedName && hasVisibleText(*identity.localizedName))
        return boundedName(*identity.localizedName);
    const auto component = lastComponent(identity.bundleID ? *identity.bundleID : std::string_view{});
    if (hasVisibleText(component))
        return boundedName(component);
    return localized("Process %1", std::to_string(identity.pid));
}

void AudioProcessMonitor::observeOutputState(AudioObjectID process) {
    auto& observer = outputStateObservers_[process];
    if (!observer)
        observer = std::make_unique<CoreAudioPropertyObserver>(
            hardware_, log_, process, kAudioProcessPropertyIsRunningOutput, kAudioObjectPropertyScopeGlobal,
            [this] { scheduleReload(); });
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
