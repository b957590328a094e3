// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Control/State/RunningState.h"

#include <string>

/// The machine-readable output of the command line. Keys are added, but never removed or changed;
/// docs/control.md lists them.
namespace vello {

/// One object in one line, without the line break.
std::string statusJSON(const RunningState& state);
/// One array in one line, without the line break.
std::string presetsJSON(const RunningState& state);

} // namespace vello
