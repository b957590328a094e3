// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Control/State/RunningState.h"

#include <string>
#include <string_view>
#include <vector>

/// The machine-readable output of the command line. Keys are added, but never removed or changed;
/// docs/control.md lists them.
namespace vello {

/// One object in one line, without the line break.
std::string statusJSON(const RunningState& state);
/// One array in one line, without the line break.
std::string presetsJSON(const RunningState& state);
/// One object in one line, without the line break.
std::string permissionJSON(Consent consent);
/// One array in one line, without the line break.
std::string outputsJSON(const RunningState& state);

// The lines of a watch: one object each, without the line break, whose "event" names what it is about.

/// "state": like statusJSON(), without levels and tempo.
std::string stateEvent(const RunningState& state);
/// What differs between two states: "processing", "permission", "saveProblem", and "sources", "outputs" and
/// "presets" with the entries that are new or changed and the ids of those that have gone. Levels and tempo
/// do not count.
std::vector<std::string> changeEvents(const RunningState& before, const RunningState& now);
/// "levels": level and tempo of the sources with a running tap.
std::string levelsEvent(const RunningState& state);

/// One object in one line, without the line break. `kind` is a word for programs.
std::string errorJSON(std::string_view kind, std::string_view sentence, int exitCode);
/// One object in one line, without the line break.
std::string hintJSON(std::string_view sentence);

} // namespace vello
