// SPDX-License-Identifier: Apache-2.0
#include "Control/State/Lookup.h"

#include "Control/State/Nearest.h"
#include "Control/State/OutsideValues.h"
#include "Foundation/Text.h"

#include <algorithm>
#include <functional>

namespace vello {
namespace {

constexpr std::size_t kLongestQuote = 60; ///< columns

std::string quoted(const std::string& word) {
    return std::string("\"").append(fittedText(word, kLongestQuote)).append("\"");
}

using Kind = OutsideValueError::Kind;

[[noreturn]] void failAbsent(Kind kind, const std::string& what, const std::string& word,
                             const std::vector<std::string>& known, const std::string& command) {
    throw OutsideValueError(kind, std::string("there is no ").append(what).append(" ").append(quoted(word)) +
                                      "; " + didYouMean(word, known) + command + " lists the available ones");
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
    throw OutsideValueError(Kind::invalidValue, message);
}

const SourceState* findSourceOrNone(const RunningState& state, const std::string& word) {
    const auto idOf = [](const SourceState& entry) { return entry.source.id; };
    const auto nameOf = [](const SourceState& entry) { return entry.source.name; };
    return findUnique(state.sources, word == "system" ? std::string(kSystemSourceID) : word, idOf, nameOf,
                      "source");
}

/// An application that is no source now.
struct OtherApplication {
    std::string id, name;
};

/// The applications that are held ready or have exempt streams, each once.
std::vector<OtherApplication> otherApplications(const RunningState& state) {
    std::vector<OtherApplication> all;
    const auto add = [&all](const std::string& id, const std::string& name) {
        if (!id.empty() && std::ranges::find(all, id, &OtherApplication::id) == all.end())
            all.push_back({id, name});
    };
    for (const auto& application : state.readyApplications.value_or(std::vector<ReadyApplicationState>{}))
        add(application.sourceID, application.name);
    for (const auto& stream : state.exemptStreams.value_or(std::vector<ExemptStreamState>{}))
        add(stream.sourceID, stream.name);
    return all;
}

std::vector<std::string> storedIDs(const RunningState& state) {
    std::vector<std::string> ids;
    for (const SourceState& stored : state.storedSources.value_or(std::vector<SourceState>{}))
        ids.push_back(stored.source.id);
    return ids;
}

std::vector<std::string> sourceWords(const RunningState& state) {
    std::vector<std::string> words{"system"};
    for (const SourceState& entry : state.sources)
        words.insert(words.end(), {entry.source.id, entry.source.name});
    return words;
}

std::vector<std::string> allSourceWords(const RunningState& state) {
    std::vector<std::string> words = sourceWords(state);
    for (const OtherApplication& application : otherApplications(state))
        words.insert(words.end(), {application.id, application.name});
    std::ranges::copy(storedIDs(state), std::back_inserter(words));
    return words;
}

template <class Entry, class ID, class Name>
std::vector<std::string> idsAndNames(const std::vector<Entry>& entries, ID id, Name name) {
    std::vector<std::string> words;
    for (const Entry& entry : entries)
        words.insert(words.end(), {std::invoke(id, entry), std::invoke(name, entry)});
    return words;
}

/// The meanings of a word for a preset, the one that counts first.
std::vector<const PresetState*> presetsMeant(const std::vector<PresetState>& presets,
                                             const std::string& word) {
    std::vector<const PresetState*> meant;
    const auto add = [&](bool isBuiltIn, auto nameOf) {
        for (const PresetState& preset : presets)
            if (preset.isBuiltIn == isBuiltIn && std::invoke(nameOf, preset) == word)
                return meant.push_back(&preset);
    };
    add(true, &PresetState::id);
    add(false, &PresetState::id);
    add(true, &PresetState::name);
    return meant;
}

std::string described(const PresetState& preset) {
    return preset.isBuiltIn ? "the built-in preset " + terminalText(preset.id)
                            : "your saved preset " + quoted(preset.name);
}

} // namespace

const SourceState& findSource(const RunningState& state, const std::string& word) {
    const SourceState* found = findSourceOrNone(state, word);
    if (found == nullptr)
        failAbsent(Kind::unknownSource, "source", word, sourceWords(state), "vello status");
    return *found;
}

std::optional<std::string> findKnownSourceID(const RunningState& state, const std::string& word) {
    if (const SourceState* found = findSourceOrNone(state, word))
        return found->source.id;
    const auto others = otherApplications(state);
    if (const auto* found =
            findUnique(others, word, &OtherApplication::id, &OtherApplication::name, "source"))
        return found->id;
    const auto stored = storedIDs(state);
    const bool isStored = std::ranges::find(stored, word) != stored.end();
    return isStored ? std::optional(word) : std::nullopt;
}

std::string findSourceID(const RunningState& state, const std::string& word) {
    if (auto known = findKnownSourceID(state, word))
        return *std::move(known);
    failAbsent(Kind::unknownSource, "source", word, allSourceWords(state), "vello status --all");
}

std::vector<PresetState> presetStates(std::span<const UserEQPreset> userPresets) {
    std::vector<PresetState> all;
    all.reserve(EQPreset::allCases().size() + userPresets.size());
    for (const EQPreset preset : EQPreset::allCases())
        all.push_back({.id = std::string(preset.id()),
                       .name = preset.displayName(),
                       .isBuiltIn = true,
                       .bandGains = {preset.bandGains().begin(), preset.bandGains().end()}});
    for (const UserEQPreset& preset : userPresets)
        all.push_back({.id = preset.id(), .name = preset.name, .bandGains = preset.bandGains});
    return all;
}

std::string findPresetID(const std::vector<PresetState>& presets, const std::string& word,
                         const TellChoice& tell) {
    const auto meant = presetsMeant(presets, word);
    if (meant.empty())
        failAbsent(Kind::unknownPreset, "preset", word,
                   idsAndNames(presets, &PresetState::id, &PresetState::name), "vello presets");
    for (const PresetState* other : meant)
        if (other->isBuiltIn != meant.front()->isBuiltIn || other->id != meant.front()->id)
            tell(quoted(word) + " is taken for " + described(*meant.front()) + ", not for " +
                 described(*other));
    return meant.front()->id;
}

std::string findUserPresetID(const std::vector<PresetState>& presets, const std::string& word) {
    std::vector<std::string> names;
    for (const PresetState& preset : presets)
        if (!preset.isBuiltIn)
            names.push_back(preset.id);
    if (std::ranges::find(names, word) == names.end())
        failAbsent(Kind::unknownPreset, "saved preset", word, names, "vello presets");
    return word;
}

std::string findOutputUID(const RunningState& state, const std::string& word) {
    if (word == "auto")
        return {};
    const AudioOutputRoute* found =
        findUnique(state.outputs, word, &AudioOutputRoute::id, &AudioOutputRoute::name, "output");
    if (found == nullptr)
        failAbsent(Kind::unknownOutput, "output", word,
                   idsAndNames(state.outputs, &AudioOutputRoute::id, &AudioOutputRoute::name),
                   "vello outputs");
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
