// SPDX-License-Identifier: Apache-2.0
#include "ControllerState.h"

#include "Control/CommandLine/Version.h"
#include "Control/State/ExemptionWords.h"

namespace vello {
namespace {

Consent consentOf(AudioCapturePermission::Status status) {
    switch (status) {
    case AudioCapturePermission::Status::authorized:
        return Consent::allowed;
    case AudioCapturePermission::Status::denied:
        return Consent::denied;
    case AudioCapturePermission::Status::unknown:
        break;
    }
    return Consent::undecided;
}

TapState tapStateOf(TapCoordinator::TapStage stage) {
    switch (stage) {
    case TapCoordinator::TapStage::starting:
        return TapState::starting;
    case TapCoordinator::TapStage::connecting:
        return TapState::connecting;
    case TapCoordinator::TapStage::running:
        break;
    }
    return TapState::running;
}

std::optional<MeterReading> meters(const AudioController& controller, const std::string& id) {
    const auto level = controller.level(id);
    if (!level)
        return std::nullopt;
    MeterReading reading{.id = id, .level = *level};
    if (const auto tempo = controller.tempo(id)) {
        reading.beatsPerMinute = tempo->beatsPerMinute;
        reading.confidence = tempo->confidence;
    }
    return reading;
}

SourceState sourceState(const AudioController& controller, const AppAudioSource& source) {
    SourceState state{.source = source,
                      .settings = controller.settings(source.id),
                      .meters = meters(controller, source.id)};
    const auto& taps = controller.tapStates().value();
    if (const auto tap = taps.find(source.id); tap != taps.end()) {
        state.tapState = tapStateOf(tap->second.stage);
        state.deviceUID = tap->second.outputDeviceUID;
    }
    return state;
}

std::vector<PresetState> presets(const AudioController& controller) {
    std::vector<PresetState> all;
    for (const EQPreset preset : EQPreset::allCases())
        all.push_back({.id = std::string(preset.id()),
                       .name = preset.displayName(),
                       .isBuiltIn = true,
                       .bandGains = {preset.bandGains().begin(), preset.bandGains().end()}});
    for (const UserEQPreset& preset : controller.userPresets().value())
        all.push_back({.id = preset.id(), .name = preset.name, .bandGains = preset.bandGains});
    return all;
}

std::string saveProblem(const AudioController& controller) {
    const auto& problem = controller.saveProblem().value();
    return problem ? sentence(*problem) : "";
}

} // namespace

RunningState runningState(AudioController& controller) {
    RunningState state{.version = kVersion,
                       .isProcessingEnabled = controller.isProcessingEnabled().value(),
                       .consent = consentOf(controller.capturePermission().status().value()),
                       .saveProblem = saveProblem(controller),
                       .outputs = controller.outputRoutes().value(),
                       .presets = presets(controller)};
    for (const AppAudioSource& source : controller.sources().value())
        state.sources.push_back(sourceState(controller, source));
    return state;
}

std::vector<ExemptStreamState> exemptStreams(const AudioController& controller) {
    std::vector<ExemptStreamState> states;
    for (const ExemptStream& stream : controller.exemptStreams())
        states.push_back({.sourceID = stream.sourceID.value_or(""),
                          .name = stream.name,
                          .streamName = stream.streamName,
                          .pid = stream.pid,
                          .bundleID = stream.bundleID,
                          .deviceUID = stream.deviceUID,
                          .isPlaying = stream.isPlaying,
                          .reason = std::string(exemptionWord(stream.reason))});
    return states;
}

std::vector<ReadyApplicationState> readyApplications(const AudioController& controller) {
    std::vector<ReadyApplicationState> states;
    for (const ReadyApplication& application : controller.readyApplications())
        states.push_back(
            {.sourceID = application.sourceID, .name = application.name, .deviceUID = application.deviceUID});
    return states;
}

} // namespace vello
