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

/// Maintains the list of applications that currently produce output. Main thread only.
///
/// It listens to property changes and also polls once a second, because the audio system does not announce
/// every change.
class AudioProcessMonitor {
public:
    using Groups = std::vector<AudioProcessGroup>;
    using SourceIDs = DownmixedProcesses::SourceIDs;
    using ChangeAction = std::function<void(const Groups&)>;
    using ProcessAction = std::function<void(AudioProcessGroup group)>;
    using Urgency = std::function<bool(const std::string& sourceID)>;

    /// All four must outlive the monitor.
    AudioProcessMonitor(AudioHardware& hardware, MainThread& mainThread, RunningApplications& applications,
                        SystemLog& log);
    ~AudioProcessMonitor();
    AudioProcessMonitor(const AudioProcessMonitor&) = delete;
    AudioProcessMonitor& operator=(const AudioProcessMonitor&) = delete;

    /// `onChange` runs after each change of groups(), the first time inside start().
    void setOnChange(ChangeAction onChange) { onChange_ = std::move(onChange); }
    /// The list is read immediately, at most every 0.25 s, when one of these applications begins to produce
    /// output, so that it is not heard with the wrong settings while further changes are awaited.
    void setUrgency(Urgency isUrgent) { isUrgent_ = std::move(isUrgent); }
    /// `action` runs when a process of an application appears, before the list is read. Its group has this
    /// process alone.
    void setOnProcess(ProcessAction action) { onProcess_ = std::move(action); }
    /// Starts listening and reads the list immediately. A second call does nothing.
    void start();
    /// Sorted by name in the user's language.
    const Groups& groups() const { return groups_; }

    /// Sets the applications, by group id, whose streams with more than two channels are captured as two.
    /// Applies to later processes too. Reads the list again immediately.
    void setDownmixedSources(SourceIDs sourceIDs);

    /// Reads the list immediately.
    void reload();
    /// Reads the list 0.25 s after the last call of this function.
    void scheduleReload();

private:
    class GroupBuilders;

    void pollAgain();
    void listChanged();
    void processAppeared(AudioObjectID process);
    void outputStateChanged(AudioObjectID process);
    void reloadIfUrgent(AudioObjectID process);
    bool isInAGroup(AudioObjectID process) const;
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
    Urgency isUrgent_;
    ProcessAction onProcess_;
    TaskHandle urgentReloadTask_;
    MainThread::Instant nextUrgentReload_{};
    TaskHandle pollingTask_;
};

} // namespace vello
