// SPDX-License-Identifier: Apache-2.0
#include "Control/State/StateText.h"

#include "Control/State/ExemptionWords.h"
#include "Control/State/StateWords.h"
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

/// A table whose first row holds the titles. Every column is as wide as its widest cell.
class Table {
public:
    void add(std::vector<std::string> cells) { rows_.push_back(std::move(cells)); }

    std::string text() const {
        std::string result;
        for (const auto& row : rows_) {
            std::string line;
            for (std::size_t column = 0; column < row.size(); ++column) {
                line += row[column];
                line.append(widthOf(column) - terminalWidth(row[column]) + 2, ' ');
            }
            result.append(line, 0, line.find_last_not_of(' ') + 1).append("\n");
        }
        return result;
    }

private:
    std::size_t widthOf(std::size_t column) const {
        std::size_t widest = 0;
        for (const auto& row : rows_)
            widest = std::max(widest, terminalWidth(row[column]));
        return widest;
    }

    std::vector<std::vector<std::string>> rows_;
};

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
    const bool isFollowing = entry.settings.isNeutral() && entry.source.id != kSystemSourceID;
    const std::string text = curve(state, effectiveSettings(state, entry));
    return isFollowing ? std::string("as System: ").append(text) : text;
}

std::string outputName(const RunningState& state, const std::string& uid) {
    const auto route = std::ranges::find(state.outputs, uid, &AudioOutputRoute::id);
    return fittedText(route == state.outputs.end() ? uid : route->name, kWidestName);
}

std::string outputCell(const RunningState& state, const SourceState& entry) {
    const auto uid = entry.deviceUID ? entry.deviceUID : entry.settings.outputDeviceUID;
    return (uid ? outputName(state, *uid) : "automatic") +
           (entry.settings.downmixesSurround ? ", downmixed" : "");
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
    Table table;
    table.add({"SOURCE", "NAME", "STREAM", "PID", "OUTPUT", "PLAYS", "LEFT AS IT IS BECAUSE"});
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
    Table table;
    table.add({"SOURCE", "NAME", "HELD READY ON"});
    for (const ReadyApplicationState& application : *state.readyApplications)
        table.add(row(state, application));
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
    Table table;
    table.add({"SOURCE", "NAME", "PID", "TAP", "OUTPUT", "LEVEL", "VOLUME", "CURVE", "TEMPO"});
    for (const SourceState& entry : state.sources)
        table.add(row(state, entry));
    const std::string power = state.isProcessingEnabled ? "on" : "off";
    return std::string("VELLO ")
               .append(terminalText(state.version))
               .append(" is ")
               .append(power)
               .append(".\n") +
           permissionSentence(state) + saveSentence(state) + "\n" + table.text() + exemptText(state) +
           readyText(state);
}

std::string presetsText(const RunningState& state) {
    Table table;
    std::vector<std::string> titles{"PRESET", "NAME"};
    for (std::size_t band = 0; band < EQSettings::bandCount; ++band)
        titles.push_back(EQSettings::bandLabel(band));
    table.add(std::move(titles));
    for (const PresetState& preset : state.presets) {
        std::vector<std::string> cells{fittedText(preset.id, kWidestID),
                                       fittedText(preset.name, kWidestName)};
        for (std::size_t band = 0; band < EQSettings::bandCount; ++band)
            cells.push_back(band < preset.bandGains.size() ? decibels({&preset.bandGains[band], 1}) : "-");
        table.add(std::move(cells));
    }
    return table.text();
}

} // namespace vello
