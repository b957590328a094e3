// SPDX-License-Identifier: Apache-2.0
#include "Control/State/StateText.h"

#include "Control/State/ExemptionWords.h"
#include "Control/State/StateWords.h"
#include "Control/State/Table.h"
#include "Foundation/Text.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <vector>

namespace vello {
namespace {

constexpr std::size_t kWidestName = 40;
constexpr std::size_t kWidestID = 200; ///< long enough for any id, because a cut id is useless

std::string formatted(const char* format, double value) {
    char text[64];
    std::snprintf(text, sizeof text, format, value);
    return text;
}

std::string decibels(std::span<const double> gains) {
    std::string text;
    for (const double gain : gains)
        text.append(text.empty() ? "" : " ").append(gain == 0 ? "0" : formatted("%+.3g", gain));
    return text;
}

std::string curve(const RunningState& state, const EQSettings& settings) {
    const auto preset = std::ranges::find(state.presets, settings.bandGains, &PresetState::bandGains);
    return preset == state.presets.end() ? decibels(settings.bandGains)
                                         : fittedText(preset->name, kWidestName);
}

std::string curveCell(const RunningState& state, const SourceState& entry) {
    const std::string text = curve(state, effectiveSettings(state, entry));
    return entry.settings.followsSystem(entry.source.id) ? std::string("as System: ").append(text) : text;
}

std::string outputName(const RunningState& state, const std::string& uid) {
    const auto route = std::ranges::find(state.outputs, uid, &AudioOutputRoute::id);
    return fittedText(route == state.outputs.end() ? uid : route->name, kWidestName);
}

std::string outputCell(const RunningState& state, const SourceState& entry) {
    const auto& chosen = entry.settings.outputDeviceUID;
    std::string text = entry.deviceUID ? outputName(state, *entry.deviceUID) : chosen ? "" : "automatic";
    if (chosen && chosen != entry.deviceUID)
        text.append(text.empty() ? "" : ", ").append("chosen: ").append(outputName(state, *chosen));
    return text + (entry.settings.downmixesSurround ? ", downmixed" : "");
}

std::string levelCell(const SourceState& entry) {
    if (!entry.meters || !(entry.meters->level > 0))
        return "-";
    return formatted("%+.1f dB", 20 * std::log10(entry.meters->level));
}

std::string tempoCell(const SourceState& entry) {
    if (!entry.meters || !entry.meters->beatsPerMinute)
        return "-";
    return std::to_string(*entry.meters->beatsPerMinute) + " BPM";
}

std::vector<std::string> row(const RunningState& state, const SourceState& entry) {
    const EQSettings inForce = effectiveSettings(state, entry);
    const bool isSystem = entry.source.id == kSystemSourceID;
    return {fittedText(isSystem ? "system" : entry.source.id, kWidestID),
            fittedText(entry.source.name, kWidestName),
            entry.source.pid ? std::to_string(*entry.source.pid) : "-",
            isSystem ? "-" : std::string(word(entry.tapState)),
            outputCell(state, entry),
            levelCell(entry),
            formatted("%.0f %%", 100 * inForce.volume),
            inForce.isBypassed ? "bypassed" : curveCell(state, entry),
            tempoCell(entry)};
}

std::vector<std::string> row(const RunningState& state, const ExemptStreamState& stream) {
    return {stream.sourceID.empty() ? "-" : fittedText(stream.sourceID, kWidestID),
            fittedText(stream.name, kWidestName),
            stream.streamName.empty() ? "-" : fittedText(stream.streamName, kWidestName),
            stream.pid ? std::to_string(*stream.pid) : "-",
            stream.deviceUID ? outputName(state, *stream.deviceUID) : "-",
            stream.isPlaying ? "yes" : "no",
            exemptionPhrase(stream.reason)};
}

std::string exemptText(const RunningState& state) {
    if (!state.exemptStreams)
        return "";
    if (state.exemptStreams->empty())
        return "\nNo stream is left as it is.\n";
    Table table({"SOURCE", "NAME", "STREAM", "PID", "OUTPUT", "PLAYS", "LEFT AS IT IS BECAUSE"});
    for (const ExemptStreamState& stream : *state.exemptStreams)
        table.add(row(state, stream));
    return "\n" + table.text();
}

std::vector<std::string> row(const RunningState& state, const ReadyApplicationState& application) {
    return {fittedText(application.sourceID, kWidestID), fittedText(application.name, kWidestName),
            application.deviceUID ? outputName(state, *application.deviceUID) : "-"};
}

std::string readyText(const RunningState& state) {
    if (!state.readyApplications)
        return "";
    if (state.readyApplications->empty())
        return "\nNo application is held ready.\n";
    Table table({"SOURCE", "NAME", "HELD READY ON"});
    for (const ReadyApplicationState& application : *state.readyApplications)
        table.add(row(state, application));
    return "\n" + table.text();
}

std::vector<std::string> storedRow(const RunningState& state, const SourceState& entry) {
    const auto& chosen = entry.settings.outputDeviceUID;
    return {fittedText(entry.source.id, kWidestID), formatted("%.0f %%", 100 * entry.settings.volume),
            entry.settings.isBypassed ? "bypassed" : curve(state, entry.settings),
            chosen ? outputName(state, *chosen) : "automatic"};
}

std::string storedText(const RunningState& state) {
    if (!state.storedSources)
        return "";
    if (state.storedSources->empty())
        return "\nNo other source has settings of its own.\n";
    Table table({"DOES NOT PLAY", "VOLUME", "CURVE", "CHOSEN OUTPUT"});
    for (const SourceState& entry : *state.storedSources)
        table.add(storedRow(state, entry));
    return "\n" + table.text();
}

std::string permissionSentence(const RunningState& state) {
    if (state.consent == Consent::allowed)
        return "";
    const std::string answer = state.consent == Consent::denied ? "denied" : "not granted yet";
    return std::string("The capture of what applications play is ") + answer +
           "; vello permission allow grants it.\n";
}

std::string saveSentence(const RunningState& state) {
    return state.saveProblem.empty() ? "" : "Settings: " + terminalText(state.saveProblem) + ".\n";
}

} // namespace

std::string statusText(const RunningState& state) {
    Table table({"SOURCE", "NAME", "PID", "TAP", "OUTPUT", "LEVEL", "VOLUME", "CURVE", "TEMPO"});
    for (const SourceState& entry : state.sources)
        table.add(row(state, entry));
    const std::string power = state.isProcessingEnabled ? "on" : "off";
    return std::string("VELLO ")
               .append(terminalText(state.version))
               .append(" is ")
               .append(power)
               .append(".\n") +
           permissionSentence(state) + saveSentence(state) + "\n" + table.text() + exemptText(state) +
           readyText(state) + storedText(state);
}

std::string presetsText(const RunningState& state) {
    std::vector<std::string> titles{"PRESET", "NAME"};
    for (std::size_t band = 0; band < EQSettings::bandCount; ++band)
        titles.push_back(EQSettings::bandLabel(band));
    Table table(std::move(titles));
    for (const PresetState& preset : state.presets) {
        std::vector<std::string> cells{fittedText(preset.id, kWidestID),
                                       fittedText(preset.name, kWidestName)};
        for (std::size_t band = 0; band < EQSettings::bandCount; ++band)
            cells.push_back(band < preset.bandGains.size() ? decibels({&preset.bandGains[band], 1}) : "-");
        table.add(std::move(cells));
    }
    return table.text();
}

std::string outputsText(const RunningState& state) {
    Table table({"OUTPUT", "NAME", "DEFAULT"});
    for (const AudioOutputRoute& route : state.outputs)
        table.add({fittedText(route.id, kWidestID), fittedText(route.name, kWidestName),
                   route.isDefault ? "yes" : "no"});
    return table.text();
}

} // namespace vello
