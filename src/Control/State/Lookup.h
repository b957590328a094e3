// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Control/State/RunningState.h"

#include <string>

/// Resolves a user's word to an id. The functions throw std::runtime_error when the word is unknown or
/// ambiguous, with one line that is safe for a terminal.
namespace vello {

/// `word` is an id, a unique name, or "system" for the system-wide source.
const SourceState& findSource(const RunningState& state, const std::string& word);
/// The id of a source, or of an application with only exempt streams. Returns `word` itself if neither
/// exists, because it may be the id of a source that does not currently play.
std::string findSourceID(const RunningState& state, const std::string& word);
/// The id of a preset by its id or unique display name. Ids take precedence, and built-in presets over the
/// user's.
std::string findPresetID(const RunningState& state, const std::string& word);
/// The UID of an output by its UID or unique name; empty for "auto".
std::string findOutputUID(const RunningState& state, const std::string& word);

} // namespace vello
