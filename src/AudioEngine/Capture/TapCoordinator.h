// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "AudioEngine/Capture/AudioProcessGroup.h"
#include "AudioEngine/Capture/OutputDeviceObservers.h"
#include "AudioEngine/Capture/ProcessTap.h"
#include "AudioEngine/Capture/ReadyTaps.h"
#include "AudioEngine/Capture/SourceRateLimit.h"
#include "AudioEngine/Capture/TapServices.h"
#include "AudioEngine/Capture/TapWatchdog.h"
#include "Foundation/Published.h"
#include "Models/EQSettings.h"

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace vello {

/// Maintains one tap per playing application while the master switch is on, and updates it when settings or
/// devices change. Hands the taps of applications that have stopped to ReadyTaps, and takes them back.
///
/// Main thread only. Failures are logged, not reported; a later rebuild recovers. Taps are keyed by source
/// id, which is the id of the application's group.
class TapCoordinator {
public:
    /// Returns the stored settings of a source; also called with kSystemSourceID.
    using SettingsProvider = std::function<EQSettings(const std::string& sourceID)>;
    using Taps = std::map<std::string, std::shared_ptr<ProcessTap>>;

    /// Progress of a tap.
    enum class TapStage {
        starting,
        connecting, ///< started, but the audio system has not connected it (yet)
        running,    ///< it carries its application's audio
    };
    struct TapState {
        TapStage stage = TapStage::starting;
        std::optional<std::string> outputDeviceUID = {}; ///< the device in use

        friend bool operator==(const TapState&, const TapState&) = default;
    };
    using TapStates = std::map<std::string, TapState>;

    struct WatchdogEntry {
        std::string sourceID;
        std::shared_ptr<ProcessTap> tap;
        bool sourceIsAudible; ///< the application is listed as playing
    };

    /// The master switch is initially off. All references must outlive the coordinator. The taps filter with
    /// `kernel`; start() logs if a faster one was rejected.
    TapCoordinator(AudioHardware& hardware, MainThread& mainThread, SystemLog& log,
                   TapTeardownQueue& teardownQueue, SettingsProvider settingsProvider,
                   const BlockKernelChoice& kernel = processBlockKernel());
    /// Invalidates every tap; their teardown may still be running on the queue.
    ~TapCoordinator();
    TapCoordinator(const TapCoordinator&) = delete;
    TapCoordinator& operator=(const TapCoordinator&) = delete;

    /// Call once, before the first tap. Installs the crash guard, destroys aggregate devices of an earlier
    /// run, starts listening to the devices and starts the watchdog.
    void start();
    /// Turns the master switch off, destroys every tap and blocks until the platform objects are gone.
    void teardownAll();

    bool isEnabled() const { return isEnabled_; }
    /// The master switch. While it is off, no tap exists.
    void setEnabled(bool isEnabled);
    /// Sets the applications that currently play.
    void updateGroups(const std::vector<AudioProcessGroup>& groups);
    /// Whether an application may begin to play that has settings in force, and no tap yet. Initially not.
    void setExpectsApplications(bool expectsApplications);
    /// Call when a process of an application appears, before it plays; the group has this process alone. If
    /// the application does not play, the process is captured at once where that is possible.
    void processAppeared(AudioProcessGroup group);
    /// Sets the source that the user has open. A change only triggers reconcile().
    void setFocusedSource(std::optional<std::string> sourceID);
    /// Call after the settings of this source have changed.
    void settingsDidChange(const std::string& sourceID);

    /// Creates and destroys taps to match the groups. Also retries taps whose activation failed.
    void reconcile();
    /// Destroys one source's tap and cancels everything pending for it.
    void destroy(const std::string& sourceID);

    const Taps& taps() const { return taps_; }
    /// The taps that are held ready for applications that have stopped playing.
    const ReadyTaps& readyTaps() const { return readyTaps_; }
    /// The state of every tap by source id, as last published.
    const Published<TapStates>& tapStates() const { return tapStates_; }
    std::vector<WatchdogEntry> watchdogEntries() const;
    /// Polls the connections of the taps, for changes that the audio system did not announce, and publishes
    /// them.
    void checkConnections();

private:
    void logRefusedKernels() const;
    EQSettings effectiveSettings(const std::string& sourceID) const;
    void publishTapStates();
    void destroyAll();
    void destroyUndesired();
    /// The tap that the next reconcile() creates for the source continues the sound of the destroyed one.
    void destroyForSuccessor(const std::string& sourceID);
    void reconcileGroup(const AudioProcessGroup& group);
    /// Removes a source's tap without invalidating it, and cancels everything pending for it.
    std::shared_ptr<ProcessTap> extract(const std::string& sourceID);
    void create(const std::string& sourceID, ProcessTap::Target target, const std::string& label);
    void observe(const std::string& sourceID, ProcessTap& tap);
    void startActivation(const std::string& sourceID, const std::shared_ptr<ProcessTap>& tap);
    void activationFailed(const std::string& sourceID, const std::shared_ptr<ProcessTap>& tap,
                          const CoreAudioError& error);
    void applyOrRecreate(const std::string& sourceID);

    void setAside(const std::string& sourceID);
    bool bringBack(const AudioProcessGroup& group);
    void keepSuccession(const std::string& sourceID, const ProcessTap& tap);

    void scheduleFullRebuild(std::string reason);
    void performFullRebuild(const std::string& reason);
    void scheduleSourceRebuild(const std::string& sourceID, const std::string& reason);
    void waitForCooldown(const std::string& sourceID, const std::string& reason);
    void performSourceRebuild(std::string sourceID, std::string reason);

    void useChosenOutputs();
    bool chosenOutputHasCome(const ProcessTap& tap) const;
    void rebuildForChosenOutput(const std::string& sourceID);
    std::vector<std::string> tapKeys() const;

    TapServices services_;
    const BlockKernelChoice& kernel_;
    bool isEnabled_ = false;
    bool expectsApplications_ = false;
    Taps taps_;
    Published<TapStates> tapStates_;
    SettingsProvider settingsProvider_;
    Logger logger_;
    TapWatchdog watchdog_;
    std::map<std::string, AudioProcessGroup> groupsByID_;
    std::optional<std::string> focusedSourceID_;
    std::map<std::string, AudioProcessGroup> tapGroupSnapshots_; ///< the group that each tap was created for
    std::map<std::string, ProcessTap::Succession> successions_;  ///< empty outside of a rebuild
    std::map<std::string, TaskHandle> activationTasks_;
    OutputDeviceObservers deviceObservers_;
    SourceRateLimit chosenOutputRebuilds_;
    ReadyTaps readyTaps_;
    TaskHandle rebuildDebounceTask_;
    TaskHandle readyRenewalTask_;
    std::map<std::string, TaskHandle> sourceRebuildTasks_;
    std::map<std::string, MainThread::Instant> sourceRebuildCooldownUntil_;
};

} // namespace vello
