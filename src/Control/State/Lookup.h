// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Control/State/RunningState.h"

#include <string>

/// What a user means by a word. Each throws std::runtime_error with one line, fit for a terminal, that says
/// why a word means nothing or more than one thing.
namespace vello {

/// `word` is an id, a name that only one source has, or "system" for the system-wide source.
const SourceState& findSource(const RunningState& state, const std::string& word);
/// Its id, or that of an application that has nothing but exempt streams; `word` itself where there is none
/// of either: it may be the id of a source that does not play now.
std::string findSourceID(const RunningState& state, const std::string& word);
/// The id of a preset by its id or its name for the user. Ids come first, built-in presets before the user's.
std::string findPresetID(const RunningState& state, const std::string& word);
/// The UID of an output by its UID or a name that only one output has; empty for "auto".
std::string findOutputUID(const RunningState& state, const std::string& word);

} // namespace vello
