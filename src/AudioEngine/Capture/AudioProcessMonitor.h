// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "AudioEngine/Capture/ApplicationIdentities.h"
#include "AudioEngine/Capture/AudioProcessGroup.h"
#include "AudioEngine/Capture/CoreAudioPropertyObserver.h"
#include "AudioEngine/Capture/DownmixedProcesses.h"
#include "Ports/AudioHardware.h"
#include "Ports/MainThread.h"
#include "Ports/RunningApplications.h"
#include "Ports/SystemLog.h"

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
    using SourceIDs = DownmixedProcesses::SourceIDs;
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

    /// The applications, by the ids of their groups, whose streams of more than two channels are captured as
    /// two. They hold for processes that come later as well; so the list is read again at once.
    void setDownmixedSources(SourceIDs sourceIDs);

    /// Reads the list now.
    void reload();
    /// Reads the list a quarter of a second after the last such call.
    void scheduleReload();

private:
    class GroupBuilders;

    void pollAgain();
    std::optional<std::vector<AudioObjectID>> readProcessList() const;
    void collect(AudioObjectID process, GroupBuilders& builders);
    void observeOutputState(AudioObjectID process);
    void pruneOutputStateObservers(const std::vector<AudioObjectID>& kept);
    void publish(Groups groups);

    AudioHardware& hardware_;
    MainThread& mainThread_;
    SystemLog& log_;
    Logger logger_;
    ApplicationIdentities identities_;
    DownmixedProcesses downmixed_;
    Groups groups_;
    ChangeAction onChange_;
    std::unique_ptr<CoreAudioPropertyObserver> processListObserver_;
    std::map<AudioObjectID, std::unique_ptr<CoreAudioPropertyObserver>> outputStateObservers_;
    TaskHandle reloadDebounceTask_;
    TaskHandle pollingTask_;
};

} // namespace vello
