// SPDX-License-Identifier: Apache-2.0
#include "Control/State/Lookup.h"

#include "Foundation/Text.h"

#include <algorithm>
#include <functional>
#include <stdexcept>

namespace vello {
namespace {

constexpr std::size_t kLongestQuote = 60; ///< columns

std::string quoted(const std::string& word) {
    return std::string("\"").append(fittedText(word, kLongestQuote)).append("\"");
}

[[noreturn]] void failAbsent(const std::string& kind, const std::string& word, const std::string& command) {
    throw std::runtime_error(std::string("there is no ").append(kind).append(" ").append(quoted(word)) +
                             "; " + command + " lists the available ones");
}

/// The entry with this id, or else the only entry with this name; null if there is no such entry.
template <class Entry, class ID, class Name>
const Entry* findUnique(const std::vector<Entry>& entries, const std::string& word, ID id, Name name,
                        const std::string& kind) {
    const auto byID = std::ranges::find(entries, word, id);
    if (byID != entries.end())
        return &*byID;
    std::vector<const Entry*> named;
    for (const Entry& entry : entries)
        if (std::invoke(name, entry) == word)
            named.push_back(&entry);
    if (named.size() <= 1)
        return named.empty() ? nullptr : named.front();
    std::string message =
        std::string("more than one ").append(kind).append(" has the name ").append(quoted(word));
    message += "; name one by its id: ";
    for (const Entry* entry : named)
        message.append(entry == named.front() ? "" : ", ").append(terminalText(std::invoke(id, *entry)));
    throw std::runtime_error(message);
}

const SourceState* findSourceOrNone(const RunningState& state, const std::string& word) {
    const auto idOf = [](const SourceState& entry) { return entry.source.id; };
    const auto nameOf = [](const SourceState& entry) { return entry.source.name; };
    return findUnique(state.sources, word == "system" ? std::string(kSystemSourceID) : word, idOf, nameOf,
                      "source");
}

/// One stream for each application that has exempt streams.
std::vector<ExemptStreamState> exemptApplications(const RunningState& state) {
    std::vector<ExemptStreamState> applications;
    for (const ExemptStreamState& stream : state.exemptStreams.value_or(std::vector<ExemptStreamState>{})) {
        const bool isKnown = std::ranges::find(applications, stream.sourceID, &ExemptStreamState::sourceID) !=
                             applications.end();
        if (!stream.sourceID.empty() && !isKnown)
            applications.push_back(stream);
    }
    return applications;
}

} // namespace

const SourceState& findSource(const RunningState& state, const std::string& word) {
    const SourceState* found = findSourceOrNone(state, word);
    if (found == nullptr)
        failAbsent("source", word, "vello status");
    return *found;
}

std::string findSourceID(const RunningState& state, const std::string& word) {
    if (const SourceState* found = findSourceOrNone(state, word))
        return found->source.id;
    const auto exempt = exemptApplications(state);
    const ExemptStreamState* found =
        findUnique(exempt, word, &ExemptStreamState::sourceID, &ExemptStreamState::name, "source");
    return found == nullptr ? word : found->sourceID;
}

std::string findPresetID(const RunningState& state, const std::string& word) {
    const PresetState* found =
        findUnique(state.presets, word, &PresetState::id, &PresetState::name, "preset");
    if (found == nullptr)
        failAbsent("preset", word, "vello presets");
    return found->id;
}

std::string findOutputUID(const RunningState& state, const std::string& word) {
    if (word == "auto")
        return {};
    const AudioOutputRoute* found =
        findUnique(state.outputs, word, &AudioOutputRoute::id, &AudioOutputRoute::name, "output");
    if (found == nullptr)
        failAbsent("output", word, "vello status --json");
    return found->id;
}

EQSettings effectiveSettings(const RunningState& state, const SourceState& source) {
    const auto system = std::ranges::find(state.sources, kSystemSourceID,
                                          [](const SourceState& entry) { return entry.source.id; });
    return EQSettings::effective(source.settings,
                                 system == state.sources.end() ? source.settings : system->settings,
                                 source.source.id == kSystemSourceID);
}

} // namespace vello
