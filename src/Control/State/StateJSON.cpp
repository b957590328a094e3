// SPDX-License-Identifier: Apache-2.0
#include "Control/State/StateJSON.h"

#include "Control/State/ExemptionWords.h"
#include "Control/State/StateWords.h"
#include "Models/SettingsCoding.h"

#include <cmath>
#include <map>
#include <nlohmann/json.hpp>
#include <utility>

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

JSON settingsOf(const SourceState& entry) {
    JSON settings = vello::encode(entry.settings);
    settings["outputDeviceUID"] = orNull(entry.settings.outputDeviceUID);
    settings["downmixesSurround"] = entry.settings.downmixesSurround;
    return settings;
}

JSON encode(const SourceState& entry) {
    return {{"id", entry.source.id},           {"name", entry.source.name},
            {"pid", orNull(entry.source.pid)}, {"bundleID", orNull(entry.source.bundleID)},
            {"tap", word(entry.tapState)},     {"device", orNull(entry.deviceUID)},
            {"level", levelOf(entry)},         {"tempo", tempoOf(entry)},
            {"settings", settingsOf(entry)}};
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

JSON storedList(const std::vector<SourceState>& entries) {
    JSON result = JSON::array();
    for (const SourceState& entry : entries)
        result.push_back({{"id", entry.source.id}, {"settings", settingsOf(entry)}});
    return result;
}

JSON saveProblemOf(const RunningState& state) {
    return state.saveProblem.empty() ? JSON(nullptr) : JSON(state.saveProblem);
}

JSON statusOf(const RunningState& state) {
    JSON status;
    status["version"] = state.version;
    status["isProcessingEnabled"] = state.isProcessingEnabled;
    status["permission"] = word(state.consent);
    status["saveProblem"] = saveProblemOf(state);
    status["sources"] = list(state.sources);
    status["outputs"] = list(state.outputs);
    if (state.readyApplications)
        status["readyApplications"] = list(*state.readyApplications);
    if (state.storedSources)
        status["storedSources"] = storedList(*state.storedSources);
    if (state.exemptStreams)
        status["exemptStreams"] = list(*state.exemptStreams);
    return status;
}

/// The level and the tempo are no part of the events, because they change all the time.
JSON eventEntry(const SourceState& entry) {
    JSON value = encode(entry);
    value.erase("level");
    value.erase("tempo");
    return value;
}

JSON eventEntry(const AudioOutputRoute& route) {
    return encode(route);
}

JSON eventEntry(const PresetState& preset) {
    return encode(preset);
}

const std::string& idOf(const SourceState& entry) {
    return entry.source.id;
}

template <class Entry> const std::string& idOf(const Entry& entry) {
    return entry.id;
}

bool isSame(SourceState first, SourceState second) {
    first.meters.reset();
    second.meters.reset();
    return first == second;
}

template <class Entry> bool isSame(const Entry& first, const Entry& second) {
    return first == second;
}

template <class Entry>
JSON changesOf(const char* event, const std::vector<Entry>& before, const std::vector<Entry>& now) {
    std::map<std::pair<std::string_view, int>, const Entry*>
        earlier; // a built-in and a saved preset may share an id
    std::map<std::string_view, int> copies;
    for (const Entry& entry : before)
        earlier.emplace(std::pair(std::string_view(idOf(entry)), copies[idOf(entry)]++), &entry);
    copies.clear();
    JSON changed = JSON::array();
    for (const Entry& entry : now) {
        const auto same = earlier.extract(std::pair(std::string_view(idOf(entry)), copies[idOf(entry)]++));
        if (!same || !isSame(*same.mapped(), entry))
            changed.push_back(eventEntry(entry));
    }
    JSON removed = JSON::array();
    for (const auto& [key, entry] : earlier)
        removed.push_back(key.first);
    return {{"event", event}, {"changed", changed}, {"removed", removed}};
}

JSON levelOfEvent(const SourceState& entry) {
    return {{"id", entry.source.id}, {"level", levelOf(entry)}, {"tempo", tempoOf(entry)}};
}

/// Non-finite numbers become null and invalid UTF-8 is replaced, so that the rest of the line is still
/// usable.
std::string line(const JSON& value) {
    return value.dump(-1, ' ', false, JSON::error_handler_t::replace);
}

} // namespace

std::string statusJSON(const RunningState& state) {
    return line(statusOf(state));
}

std::string presetsJSON(const RunningState& state) {
    return line(list(state.presets));
}

std::string permissionJSON(Consent consent) {
    return line({{"permission", word(consent)}});
}

std::string outputsJSON(const RunningState& state) {
    return line(list(state.outputs));
}

std::string stateEvent(const RunningState& state) {
    JSON sources = JSON::array();
    for (const SourceState& entry : state.sources)
        sources.push_back(eventEntry(entry));
    JSON event{{"event", "state"}};
    event.update(statusOf(state));
    event["sources"] = std::move(sources);
    return line(event);
}

std::vector<std::string> changeEvents(const RunningState& before, const RunningState& now) {
    std::vector<std::string> lines;
    const auto add = [&lines](const JSON& event) {
        if (!event.contains("changed") || !event["changed"].empty() || !event["removed"].empty())
            lines.push_back(line(event));
    };
    if (before.isProcessingEnabled != now.isProcessingEnabled)
        add({{"event", "processing"}, {"isProcessingEnabled", now.isProcessingEnabled}});
    if (before.consent != now.consent)
        add({{"event", "permission"}, {"permission", word(now.consent)}});
    if (before.saveProblem != now.saveProblem)
        add({{"event", "saveProblem"}, {"saveProblem", saveProblemOf(now)}});
    add(changesOf("sources", before.sources, now.sources));
    add(changesOf("outputs", before.outputs, now.outputs));
    add(changesOf("presets", before.presets, now.presets));
    return lines;
}

std::string levelsEvent(const RunningState& state) {
    JSON levels = JSON::array();
    for (const SourceState& entry : state.sources)
        if (entry.tapState == TapState::running)
            levels.push_back(levelOfEvent(entry));
    return line({{"event", "levels"}, {"levels", levels}});
}

std::string errorJSON(std::string_view kind, std::string_view sentence, int exitCode) {
    return line({{"error", {{"kind", kind}, {"message", sentence}, {"exitCode", exitCode}}}});
}

std::string hintJSON(std::string_view sentence) {
    return line({{"hint", sentence}});
}

} // namespace vello
