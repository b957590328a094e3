// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Control/State/RunningState.h"

#include <string>

/// The output of the command line for people: aligned, without colours, safe for a terminal whatever the
/// names hold.
namespace vello {

/// A line about the whole and a table of the sources; below it one of the exempt streams, where there are any
/// told.
std::string statusText(const RunningState& state);
std::string presetsText(const RunningState& state);

} // namespace vello
