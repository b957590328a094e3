// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "AudioEngine/Capture/AudioProcessMonitor.h"
#include "AudioEngine/Capture/ExemptStreams.h"
#include "AudioEngine/Capture/TapCoordinator.h"
#include "AudioEngine/Capture/TapTeardownQueue.h"
#include "AudioEngine/Controller/AudioCapturePermission.h"
#include "AudioEngine/Controller/OutputRoutes.h"
#include "AudioEngine/Controller/SettingsHistory.h"
#include "AudioEngine/Controller/SourceMeters.h"
#include "Foundation/Published.h"
#include "Models/AppAudioSource.h"
#include "Models/AudioOutputRoute.h"
#include "Models/EQPreset.h"
#include "Models/EQSettings.h"
#include "Persistence/PresetCloudStore.h"
#include "Persistence/SettingsStore.h"
#include "Persistence/UserPresetList.h"
#include "Ports/ApplicationEvents.h"
#include "Ports/AudioHardware.h"
#include "Ports/CaptureAuthorization.h"
#include "Ports/KeyValueStore.h"
#include "Ports/MainThread.h"
#include "Ports/RunningApplications.h"
#include "Ports/SystemLog.h"

#include <filesystem>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace vello {

/// The controller's dependencies: one adapter per port. All of them must outlive it.
struct AudioControllerPorts {
    AudioHardware& audioHardware;
    MainThread& mainThread;
    RunningApplications& runningApplications;
    ApplicationEvents& applicationEvents;
    CaptureAuthorization& captureAuthorization;
    KeyValueStore& keyValueStore;
    SystemLog& systemLog;
};

inline constexpr double kUsualSampleRate = 48000; ///< Hz

/// An application that has stopped playing and whose tap waits for its next sound.
struct ReadyApplication {
    std::string sourceID;
    std::string name;                          ///< for the user, never empty
    std::optional<std::string> deviceUID = {}; ///< the device that its tap plays on

    friend bool operator==(const ReadyApplication&, const ReadyApplication&) = default;
};

/// The application's observable model: the sources with their settings, levels and tempo, the user's presets,
/// the outputs and the master switch. It is the only interface for the panel and the command line. Main
/// thread only; an observer may call any member.
class AudioController {
public:
    using Levels = SourceMeters::Levels;
    using TempoEstimates = SourceMeters::TempoEstimates;

    /// Loads the stored settings and starts equalizing, if the user allows the capture. When the application
    /// exits, it destroys all taps and saves. `applicationSupportFolder` is the user's folder for the data of
    /// all applications.
    AudioController(const AudioControllerPorts& ports, const std::filesystem::path& applicationSupportFolder);
    ~AudioController();
    AudioController(const AudioController&) = delete;
    AudioController& operator=(const AudioController&) = delete;

    /// The system-wide source, then one for each application that plays.
    const Published<std::vector<AppAudioSource>>& sources() const { return sources_; }
    /// 0 to 1, for audible sources only; a source without an entry is silent.
    const Published<Levels>& levels() const { return meters_.levels(); }
    /// Of the active source.
    const Published<SpectrumAnalyzer::Levels>& spectrum() const { return meters_.spectrum(); }
    const Published<TempoEstimates>& tempoEstimates() const { return meters_.tempoEstimates(); }
    /// The sources whose processed sound was louder than full scale within the last 3 s.
    const Published<SourceMeters::SourceIDs>& clippingSources() const { return meters_.clippingSources(); }
    /// When levels, spectrum and tempo were last read; changes with every reading, also if they do not.
    const Published<MainThread::Instant>& metersUpdatedAt() const { return meters_.updatedAt(); }
    /// The outputs that the user can choose, the default first.
    const Published<std::vector<AudioOutputRoute>>& outputRoutes() const { return outputRoutes_.routes(); }
    /// For every source ever configured, even if it does not currently play.
    const Published<SettingsBySourceID>& settingsBySourceID() const { return settingsBySourceID_; }
    /// In the order in which menus show them.
    const Published<std::vector<UserEQPreset>>& userPresets() const { return userPresets_.presets(); }
    /// The source that the user has open.
    const Published<std::optional<std::string>>& activeSourceID() const { return activeSourceID_; }
    /// The master switch; initially on.
    const Published<bool>& isProcessingEnabled() const { return isProcessingEnabled_; }
    AudioCapturePermission& capturePermission() { return capturePermission_; }
    /// Why something that the user changed is not on disk; nullopt while all is well. Goes by itself, because
    /// what failed is tried again.
    const Published<std::optional<SaveProblem>>& saveProblem() const { return saveProblem_; }

    void setProcessingEnabled(bool isEnabled);
    /// The stored settings, or neutral settings if there are none.
    EQSettings settings(std::string_view sourceID) const;
    /// What is applied to the source: its own settings, or those of the system-wide entry that it follows.
    EQSettings settingsInForce(std::string_view sourceID) const;
    /// The sample rate in Hz of the source's filters; kUsualSampleRate while it has none.
    double sampleRate(std::string_view sourceID) const;
    std::optional<float> level(std::string_view sourceID) const;
    std::optional<TempoEstimate> tempo(std::string_view sourceID) const;
    /// Applies `settings` and schedules a save. The caller must have checked the values: eight gains, all
    /// numbers finite.
    void updateSettings(EQSettings settings, std::string sourceID);
    /// Saves a curve under the trimmed `name` at the end of the list and removes any other with that name.
    /// Does nothing if the name is blank or there is not exactly one gain per band. The caller must have
    /// checked that the name is valid UTF-8 and the gains are finite.
    void saveUserPreset(std::string_view name, std::span<const double> gains);
    /// Deletes every preset with exactly this name. Sources that use its gains keep them. Returns false if
    /// there is no such preset.
    bool deleteUserPreset(std::string_view name);
    /// Gives the first preset called `name` the trimmed `newName`; it keeps its place in the list. Every
    /// other preset of either name is removed. Returns false if there is no such preset or the new name is
    /// blank. The caller must have checked that the new name is valid UTF-8.
    bool renameUserPreset(std::string_view name, std::string_view newName);
    /// Puts a deleted preset back at `position` of the list, or at its end if the list has become shorter.
    /// Any other preset of its name is removed.
    void restoreUserPreset(UserEQPreset preset, std::size_t position);
    /// Takes back the last change of a source's settings; a second call makes it again. Changes that follow
    /// each other within a second, as while a slider is dragged, are one. Returns false if nothing has
    /// changed since the start.
    bool undoSettings(std::string_view sourceID);
    /// Drops the stored settings of a source. Returns false if it has none.
    bool forgetSource(std::string_view sourceID);
    /// Saves what is pending now instead of within 0.5 s. Returns the save problem that is left. Blocks on
    /// disk I/O.
    std::optional<SaveProblem> save();
    void setActiveSource(std::optional<std::string> sourceID);
    /// The streams that are currently not captured. Changes are not published.
    std::vector<ExemptStream> exemptStreams() const { return exemptStreams_.read(); }
    /// The applications that are currently held ready, sorted by name in the user's language. Changes are not
    /// published.
    std::vector<ReadyApplication> readyApplications() const;
    /// The device that the source is heard on now: that of its tap, or without one the device that its
    /// application plays on by itself. nullopt if it does not play, and for the system-wide source.
    std::optional<std::string> outputDeviceUID(std::string_view sourceID) const;
    /// Localized name for the user; nullopt means that the output is chosen automatically.
    std::string outputRouteName(const std::optional<std::string>& uid) const;

    /// Start and stop reading levels, spectrum and tempo every 33 ms. Use a MeterAudience if there may be
    /// several users of the meters.
    void startMeterUpdates();
    void stopMeterUpdates();
    /// Creates or destroys taps according to the permission's status. The controller observes the status
    /// itself; additional calls are harmless.
    void permissionStatusChanged();

    /// The current taps by source id, for displaying their state.
    const TapCoordinator::Taps& taps() const { return tapCoordinator_.taps(); }
    const Published<TapCoordinator::TapStates>& tapStates() const { return tapCoordinator_.tapStates(); }

private:
    void loadStored();
    void observeProcesses();
    void willTerminate();

    void syncCoordinatorEnabled();
    void publishSettings(SettingsBySourceID changed, const std::string& sourceID);
    void syncSaveProblem();
    void syncDownmixedSources();
    void syncExpectedApplications();
    void applyProcessGroups(const AudioProcessMonitor::Groups& groups);
    void scheduleMeterTick();
    StoredSettings persistable() const;

    AudioHardware& audioHardware_;
    MainThread& mainThread_;
    ApplicationEvents& applicationEvents_;

    Published<std::vector<AppAudioSource>> sources_;
    Published<SettingsBySourceID> settingsBySourceID_;
    SettingsHistory settingsHistory_;
    Published<std::optional<std::string>> activeSourceID_;
    Published<bool> isProcessingEnabled_{true};
    AudioCapturePermission capturePermission_;

    AudioProcessMonitor processMonitor_;
    ExemptStreams exemptStreams_;
    OutputRoutes outputRoutes_;
    SettingsStore settingsStore_;
    PresetCloudStore presetCloudStore_;
    Published<std::optional<SaveProblem>> saveProblem_;
    UserPresetList userPresets_;
    SourceMeters meters_;
    TapTeardownQueue teardownQueue_; ///< must outlive the coordinator
    TapCoordinator tapCoordinator_;
    TaskHandle meterUpdateTask_;
    Observation permissionObservation_;
    Observation saveObservation_;
    Observation shareObservation_;
    bool isTerminating_ = false;
};

} // namespace vello
