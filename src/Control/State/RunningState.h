// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Models/AppAudioSource.h"
#include "Models/AudioOutputRoute.h"
#include "Models/EQPreset.h"
#include "Models/EQSettings.h"
#include "Ports/ConsentStore.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

/// The state that a running instance publishes, as used on both ends of the bus.
namespace vello {

struct MeterReading {
    std::string id;
    double level = 0; ///< 0 to 1
    std::optional<int> beatsPerMinute = {};
    double confidence = 0; ///< of the tempo, 0 to 1

    friend bool operator==(const MeterReading&, const MeterReading&) = default;
};

/// How far the capture of a source has come.
enum class TapState {
    none,
    starting,
    connecting, ///< the audio system has not linked it yet
    running,
};

struct SourceState {
    AppAudioSource source;
    EQSettings settings; ///< the source's own settings
    TapState tapState = TapState::none;
    std::optional<std::string> deviceUID = {}; ///< the device that it is heard on now
    /// Present while the meters are running and the source is audible.
    std::optional<MeterReading> meters = {};

    friend bool operator==(const SourceState&, const SourceState&) = default;
};

/// A stream that is not captured.
struct ExemptStreamState {
    std::string sourceID;   ///< of its application; empty if unknown
    std::string name;       ///< of the application, for the user
    std::string streamName; ///< may be empty
    std::optional<std::int32_t> pid = {};
    std::optional<std::string> bundleID = {};
    std::optional<std::string> deviceUID = {}; ///< the device that it plays on
    bool isPlaying = false;
    std::string reason; ///< see ExemptionWords

    friend bool operator==(const ExemptStreamState&, const ExemptStreamState&) = default;
};

/// An application that has stopped playing and whose tap waits for its next sound.
struct ReadyApplicationState {
    std::string sourceID;
    std::string name;                          ///< for the user
    std::optional<std::string> deviceUID = {}; ///< the device that its tap plays on

    friend bool operator==(const ReadyApplicationState&, const ReadyApplicationState&) = default;
};

struct PresetState {
    std::string id;
    std::string name; ///< for the user
    bool isBuiltIn = false;
    std::vector<double> bandGains = {}; ///< dB

    friend bool operator==(const PresetState&, const PresetState&) = default;
};

struct RunningState {
    std::string version;
    bool isProcessingEnabled = true;
    Consent consent = Consent::undecided;  ///< to the capture
    std::string saveProblem = {};          ///< why a change is not on disk, for the user; else empty
    std::vector<SourceState> sources = {}; ///< the system-wide source first
    std::vector<AudioOutputRoute> outputs = {};
    std::vector<PresetState> presets = {}; ///< the built-in ones first
    /// Only present if requested.
    std::optional<std::vector<ExemptStreamState>> exemptStreams = {};
    /// Only present if requested.
    std::optional<std::vector<ReadyApplicationState>> readyApplications = {};
    /// Sources with stored settings that do not play. Only present if requested.
    std::optional<std::vector<SourceState>> storedSources = {};

    friend bool operator==(const RunningState&, const RunningState&) = default;
};

/// The settings in effect: the system-wide ones while the source's own are neutral.
EQSettings effectiveSettings(const RunningState& state, const SourceState& source);

} // namespace vello
