// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "AudioEngine/AudioProcessGroup.h"
#include "AudioEngine/CoreAudioPropertyObserver.h"
#include "Platform/AudioHardware.h"
#include "Platform/MainThread.h"
#include "Platform/RunningApplications.h"
#include "Platform/SystemLog.h"

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace vello {

/// Keeps the list of the applications that produce sound now. Main thread only.
///
/// It listens to the audio system, and also looks once a second for what the audio system does not announce.
class AudioProcessMonitor {
public:
    using Groups = std::vector<AudioProcessGroup>;
    using ChangeAction = std::function<void(const Groups&)>;

    /// All four outlive the monitor.
    AudioProcessMonitor(AudioHardware& hardware, MainThread& mainThread, RunningApplications& applications,
                        SystemLog& log);
    ~AudioProcessMonitor();
    AudioProcessMonitor(const AudioProcessMonitor&) = delete;
    AudioProcessMonitor& operator=(const AudioProcessMonitor&) = delete;

    /// Runs after each change of groups(), the first one inside start().
    void setOnChange(ChangeAction onChange) { onChange_ = std::move(onChange); }
    /// Begins to listen and reads the list at once. A second call does nothing.
    void start();
    /// By name, in the order of the user's language.
    const Groups& groups() const { return groups_; }

    /// Reads the list now.
    void reload();
    /// Reads the list a quarter of a second after the last such call.
    void scheduleReload();

private:
    class GroupBuilders;
    /// What is known of a process that is to be captured.
    struct Identity {
        std::string key;
        std::optional<std::string> bundleID;
        std::optional<std::string> localizedName;
        std::int32_t pid = 0;
    };

    void pollAgain();
    std::optional<std::vector<AudioObjectID>> readProcessList() const;
    void collect(AudioObjectID process, GroupBuilders& builders);
    std::int32_t responsibleProcess(std::int32_t pid) const;
    Identity identify(AudioObjectID process, std::int32_t responsiblePID) const;
    static std::string displayName(const Identity& identity);
    void observeOutputState(AudioObjectID process);
    void pruneOutputStateObservers(const std::vector<AudioObjectID>& kept);
    void publish(Groups groups);

    AudioHardware& hardware_;
    MainThread& mainThread_;
    RunningApplications& applications_;
    SystemLog& log_;
    Logger logger_;
    Groups groups_;
    ChangeAction onChange_;
    std::unique_ptr<CoreAudioPropertyObserver> processListObserver_;
    std::map<AudioObjectID, std::unique_ptr<CoreAudioPropertyObserver>> outputStateObservers_;
    TaskHandle reloadDebounceTask_;
    TaskHandle pollingTask_;
};

} // namespace vello
