// SPDX-License-Identifier: Apache-2.0
#include "AppDelegate.h"

namespace vello {
namespace {

/// Without the sources that are known by a process number only: tomorrow that number is another's.
StoredSettings persistable(StoredSettings settings) {
    std::erase_if(settings.sources, [](const auto& entry) { return entry.first.starts_with("pid."); });
    return settings;
}

} // namespace

AppDelegate::AppDelegate(const Platform& platform, const std::filesystem::path& applicationSupportFolder)
    : settingsStore_(applicationSupportFolder, platform.mainThread, platform.systemLog),
      coordinator_(platform.audioHardware, platform.mainThread, platform.systemLog, teardownQueue_,
                   [this](const std::string& sourceID) { return settings(sourceID); }),
      monitor_(platform.audioHardware, platform.mainThread, platform.runningApplications, platform.systemLog),
      events_(platform.applicationEvents) {}

void AppDelegate::start() {
    settings_ = settingsStore_.load();
    coordinator_.start();
    // Whoever starts VELLO without a screen has consented to the capture by doing so.
    coordinator_.setEnabled(true);
    monitor_.setOnChange(
        [this](const AudioProcessMonitor::Groups& groups) { coordinator_.updateGroups(groups); });
    monitor_.start();
    coordinator_.updateGroups(monitor_.groups());
    events_.onWillTerminate([this] { willTerminate(); });
}

EQSettings AppDelegate::settings(const std::string& sourceID) const {
    const auto entry = settings_.sources.find(sourceID);
    return entry == settings_.sources.end() ? EQSettings{} : entry->second;
}

void AppDelegate::willTerminate() {
    coordinator_.teardownAll();
    settingsStore_.flush(persistable(settings_));
}

} // namespace vello
