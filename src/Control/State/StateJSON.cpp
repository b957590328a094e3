// SPDX-License-Identifier: Apache-2.0
#include "Control/State/StateJSON.h"

#include "Control/State/ExemptionWords.h"
#include "Control/State/StateWords.h"
#include "Models/SettingsCoding.h"

#include <cmath>
#include <nlohmann/json.hpp>

namespace vello {
namespace {

using JSON = nlohmann::ordered_json;

template <class Value> JSON orNull(const std::optional<Value>& value) {
    return value ? JSON(*value) : JSON(nullptr);
}

/// Four decimals; further digits are only noise of the conversion from float.
double rounded(double value) {
    return std::round(value * 10000) / 10000;
}

JSON levelOf(const SourceState& entry) {
    if (entry.tapState != TapState::running)
        return nullptr;
    return entry.meters ? rounded(entry.meters->level) : 0.0;
}

JSON tempoOf(const SourceState& entry) {
    if (!entry.meters || !entry.meters->beatsPerMinute)
        return nullptr;
    return {{"beatsPerMinute", *entry.meters->beatsPerMinute},
            {"confidence", rounded(entry.meters->confidence)}};
}

JSON encode(const SourceState& entry) {
    JSON settings = vello::encode(entry.settings);
    settings["outputDeviceUID"] = orNull(entry.settings.outputDeviceUID);
    settings["downmixesSurround"] = entry.settings.downmixesSurround;
    return {{"id", entry.source.id},
            {"name", entry.source.name},
            {"pid", orNull(entry.source.pid)},
            {"bundleID", orNull(entry.source.bundleID)},
            {"tap", word(entry.tapState)},
            {"device", orNull(entry.deviceUID)},
            {"level", levelOf(entry)},
            {"tempo", tempoOf(entry)},
            {"settings", settings}};
}

JSON encode(const ExemptStreamState& stream) {
    return {{"id", stream.sourceID.empty() ? JSON(nullptr) : JSON(stream.sourceID)},
            {"name", stream.name},
            {"stream", stream.streamName},
            {"pid", orNull(stream.pid)},
            {"bundleID", orNull(stream.bundleID)},
            {"device", orNull(stream.deviceUID)},
            {"isPlaying", stream.isPlaying},
            {"reason", stream.reason},
            {"explanation", exemptionPhrase(stream.reason)}};
}

JSON encode(const ReadyApplicationState& application) {
    return {
        {"id", application.sourceID}, {"name", application.name}, {"device", orNull(application.deviceUID)}};
}

JSON encode(const AudioOutputRoute& route) {
    return {{"id", route.id}, {"name", route.name}, {"isDefault", route.isDefault}};
}

JSON encode(const PresetState& preset) {
    return {{"id", preset.id},
            {"name", preset.name},
            {"isBuiltIn", preset.isBuiltIn},
            {"bandGains", preset.bandGains}};
}

template <class Entry> JSON list(const std::vector<Entry>& entries) {
    JSON result = JSON::array();
    for (const Entry& entry : entries)
        result.push_back(encode(entry));
    return result;
}

/// Non-finite numbers become null and invalid UTF-8 is replaced, so that the rest of the line is still
/// usable.
std::string line(const JSON& value) {
    return value.dump(-1, ' ', false, JSON::error_handler_t::replace);
}

} // namespace

std::string statusJSON(const RunningState& state) {
    JSON status{{"version", state.version},
                {"isProcessingEnabled", state.isProcessingEnabled},
                {"permission", word(state.consent)},
                {"saveProblem", state.saveProblem.empty() ? JSON(nullptr) : JSON(state.saveProblem)},
                {"sources", list(state.sources)},
                {"outputs", list(state.outputs)}};
    if (state.readyApplications)
        status["readyApplications"] = list(*state.readyApplications);
    // The last key, because the completion of the shell reads the line from here to its end.
    if (state.exemptStreams)
        status["exemptStreams"] = list(*state.exemptStreams);
    return line(status);
}

std::string presetsJSON(const RunningState& state) {
    return line(list(state.presets));
}

} // namespace vello
