// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Control/State/RunningState.h"

#include <string>

/// The human-readable output of the command line: aligned, without colours, and safe for a terminal even with
/// untrusted names.
namespace vello {

/// The overall state and a table of the sources, followed by tables of the exempt streams, of what is held
/// ready and of the sources with stored settings that do not play, each if present.
std::string statusText(const RunningState& state);
std::string presetsText(const RunningState& state);
std::string outputsText(const RunningState& state);

} // namespace vello
