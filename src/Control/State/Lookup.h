// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Control/State/RunningState.h"

#include <functional>
#include <optional>
#include <span>
#include <string>
#include <string_view>

/// Resolves a user's word to an id. The functions throw OutsideValueError when the word is unknown or
/// ambiguous, with one line that is safe for a terminal and names the nearest known word.
namespace vello {

/// `word` is an id, a unique name, or "system" for the system-wide source.
const SourceState& findSource(const RunningState& state, const std::string& word);
/// The id of a source, of an application that is held ready or has only exempt streams, or of a source with
/// stored settings; the last only by its id. Looks at what `state` has of these, in this order.
std::string findSourceID(const RunningState& state, const std::string& word);
/// The same, or nullopt for an unknown word; still throws for an ambiguous one.
std::optional<std::string> findKnownSourceID(const RunningState& state, const std::string& word);

/// The built-in presets, then the user's.
std::vector<PresetState> presetStates(std::span<const UserEQPreset> userPresets);

/// Receives a sentence about a word that has two meanings and which of them was taken.
using TellChoice = std::function<void(const std::string& sentence)>;
/// The id of a preset. A word stands for the built-in preset with this id, else for the user's with exactly
/// this name, else for the built-in one with this title. Where more than one of these exist, `tell` is
/// called.
std::string findPresetID(const std::vector<PresetState>& presets, const std::string& word,
                         const TellChoice& tell);
/// The id of a preset of the user's by exactly its name.
std::string findUserPresetID(const std::vector<PresetState>& presets, const std::string& word);

/// The UID of an output by its UID or unique name; empty for "auto".
std::string findOutputUID(const RunningState& state, const std::string& word);

} // namespace vello
