// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Models/AppAudioSource.h"
#include "Models/AudioOutputRoute.h"
#include "Models/EQPreset.h"
#include "Models/EQSettings.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

/// What a running instance tells of itself: the same on both ends of the bus.
namespace vello {

struct MeterReading {
    std::string id;
    double level = 0; ///< 0 to 1
    std::optional<int> beatsPerMinute = {};
    double confidence = 0; ///< of the tempo, 0 to 1

    friend bool operator==(const MeterReading&, const MeterReading&) = default;
};

struct SourceState {
    AppAudioSource source;
    EQSettings settings;                       ///< the source's own
    std::string tapState;                      ///< "none", "starting", "connecting" or "running"
    std::optional<std::string> deviceUID = {}; ///< that it plays on through VELLO
    /// While somebody watches the levels and the source is heard.
    std::optional<MeterReading> meters = {};

    friend bool operator==(const SourceState&, const SourceState&) = default;
};

/// A stream that is left as it is.
struct ExemptStreamState {
    std::string sourceID;   ///< of its application; empty where that is unknown
    std::string name;       ///< of the application, for the user
    std::string streamName; ///< may be empty
    std::optional<std::int32_t> pid = {};
    std::optional<std::string> bundleID = {};
    std::optional<std::string> deviceUID = {}; ///< that it plays on
    bool isPlaying = false;
    std::string reason; ///< see ExemptionWords

    friend bool operator==(const ExemptStreamState&, const ExemptStreamState&) = default;
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
    std::string permission;                ///< "unknown", "authorized" or "denied"
    std::vector<SourceState> sources = {}; ///< the system-wide one first
    std::vector<AudioOutputRoute> outputs = {};
    std::vector<PresetState> presets = {}; ///< the built-in ones first
    /// Where it was asked for.
    std::optional<std::vector<ExemptStreamState>> exemptStreams = {};

    friend bool operator==(const RunningState&, const RunningState&) = default;
};

/// The settings in force: the system-wide ones while the source's own are neutral.
EQSettings effectiveSettings(const RunningState& state, const SourceState& source);

} // namespace vello
