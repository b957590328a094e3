// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "AudioEngine/Capture/AudioProcessGroup.h"
#include "AudioEngine/Capture/OutputDeviceObservers.h"
#include "AudioEngine/Capture/ProcessTap.h"
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

/// Keeps one tap per application that plays, in step with settings and devices, while the master switch is
/// on.
///
/// Main thread only. No failure leaves it: each is logged, and a later rebuild heals it. Taps go by source
/// id, which is the id of the application's group.
class TapCoordinator {
public:
    /// The stored settings of a source; asked for kSystemSourceID too.
    using SettingsProvider = std::function<EQSettings(const std::string& sourceID)>;
    using Taps = std::map<std::string, std::shared_ptr<ProcessTap>>;

    /// How far a tap has come.
    enum class TapStage {
        starting,
        connecting, ///< it would run, but the audio system has not connected it, or refuses to
        running,    ///< it carries its application's sound
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
        bool sourceIsAudible; ///< the application is listed as one that plays
    };

    /// The master switch is off at first. All references outlive the coordinator. `kernel` is what the taps
    /// filter with; start() logs it if that is not the fastest.
    TapCoordinator(AudioHardware& hardware, MainThread& mainThread, SystemLog& log,
                   TapTeardownQueue& teardownQueue, SettingsProvider settingsProvider,
                   const BlockKernelChoice& kernel = processBlockKernel());
    /// Invalidates every tap; their teardown may still be under way on the queue.
    ~TapCoordinator();
    TapCoordinator(const TapCoordinator&) = delete;
    TapCoordinator& operator=(const TapCoordinator&) = delete;

    /// Once, before the first tap: guards against crashes, clears away what an earlier run left, listens to
    /// the devices, begins to watch the taps.
    void start();
    /// Turns the master switch off, takes every tap down and waits until the audio system has no trace of
    /// them.
    void teardownAll();

    bool isEnabled() const { return isEnabled_; }
    /// The master switch. While it is off there is no tap.
    void setEnabled(bool isEnabled);
    /// The applications that play now.
    void updateGroups(const std::vector<AudioProcessGroup>& groups);
    /// Which source the user has open. Every change reconciles; nothing else depends on it.
    void setFocusedSource(std::optional<std::string> sourceID);
    /// The settings provider answers differently for this source now.
    void settingsDidChange(const std::string& sourceID);

    /// Creates, keeps and destroys taps until they are those of the groups. Also the second try of a tap that
    /// could not be activated.
    void reconcile();
    /// Takes one source's tap down, with everything that is pending for it.
    void destroy(const std::string& sourceID);

    const Taps& taps() const { return taps_; }
    /// Of every tap, by source id, as of its last step.
    const Published<TapStates>& tapStates() const { return tapStates_; }
    std::vector<WatchdogEntry> watchdogEntries() const;
    /// Publishes also what the audio system did not announce of the taps' connections.
    void checkConnections();

private:
    void logRefusedKernels() const;
    EQSettings effectiveSettings(const std::string& sourceID) const;
    void publishTapStates();
    void destroyAll();
    void destroyUndesired();
    void reconcileGroup(const AudioProcessGroup& group);
    void create(const std::string& sourceID, ProcessTap::Target target, const std::string& label);
    void startActivation(const std::string& sourceID, const std::shared_ptr<ProcessTap>& tap);
    void activationFailed(const std::string& sourceID, const std::shared_ptr<ProcessTap>& tap,
                          const CoreAudioError& error);
    void applyOrRecreate(const std::string& sourceID);

    void scheduleFullRebuild(std::string reason);
    void performFullRebuild(const std::string& reason);
    void scheduleSourceRebuild(const std::string& sourceID, const std::string& reason);
    void waitForCooldown(const std::string& sourceID, const std::string& reason);
    void performSourceRebuild(std::string sourceID, std::string reason);

    void useChosenOutputs();
    bool chosenOutputHasCome(const ProcessTap& tap) const;
    void rebuildForChosenOutput(const std::string& sourceID);
    void sweepOrphanedAggregates();
    void destroyOrphan(AudioObjectID device, const std::string& name);
    std::vector<std::string> tapKeys() const;

    TapServices services_;
    const BlockKernelChoice& kernel_;
    bool isEnabled_ = false;
    Taps taps_;
    Published<TapStates> tapStates_;
    SettingsProvider settingsProvider_;
    Logger logger_;
    TapWatchdog watchdog_;
    std::map<std::string, AudioProcessGroup> groupsByID_;
    std::optional<std::string> focusedSourceID_;
    std::map<std::string, AudioProcessGroup> tapGroupSnapshots_; ///< the group that each tap was made from
    std::map<std::string, TaskHandle> activationTasks_;
    OutputDeviceObservers deviceObservers_;
    SourceRateLimit chosenOutputRebuilds_;
    TaskHandle rebuildDebounceTask_;
    std::map<std::string, TaskHandle> sourceRebuildTasks_;
    std::map<std::string, MainThread::Instant> sourceRebuildCooldownUntil_;
};

} // namespace vello
