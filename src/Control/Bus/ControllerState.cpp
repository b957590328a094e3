// SPDX-License-Identifier: Apache-2.0
#include "ControllerState.h"

#include "Control/CommandLine/Version.h"
#include "Control/State/ExemptionWords.h"
#include "Control/State/Lookup.h"

#include <algorithm>

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
                      .deviceUID = controller.outputDeviceUID(source.id),
                      .meters = meters(controller, source.id)};
    const auto& taps = controller.tapStates().value();
    if (const auto tap = taps.find(source.id); tap != taps.end())
        state.tapState = tapStateOf(tap->second.stage);
    return state;
}

} // namespace

std::vector<SourceState> sourceStates(const AudioController& controller) {
    std::vector<SourceState> states;
    for (const AppAudioSource& source : controller.sources().value())
        states.push_back(sourceState(controller, source));
    return states;
}

Consent consent(AudioController& controller) {
    return consentOf(controller.capturePermission().status().value());
}

std::string saveProblem(const AudioController& controller) {
    const auto& problem = controller.saveProblem().value();
    return problem ? sentence(*problem) : "";
}

RunningState runningState(AudioController& controller) {
    return {.version = kVersion,
            .isProcessingEnabled = controller.isProcessingEnabled().value(),
            .consent = consent(controller),
            .saveProblem = saveProblem(controller),
            .sources = sourceStates(controller),
            .outputs = controller.outputRoutes().value(),
            .presets = presetStates(controller.userPresets().value())};
}

std::vector<SourceState> storedSources(const AudioController& controller) {
    const auto& playing = controller.sources().value();
    std::vector<SourceState> states;
    for (const auto& [id, settings] : controller.settingsBySourceID().value())
        if (std::ranges::find(playing, id, &AppAudioSource::id) == playing.end())
            states.push_back(
                {.source = {.id = id, .pid = {}, .name = id, .bundleID = {}}, .settings = settings});
    return states;
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
