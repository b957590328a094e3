// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Control/State/OutsideValues.h"
#include "Control/State/RunningState.h"

#include <string>
#include <vector>

namespace vello {

/// Why a change that was accepted is not heard: one sentence for each reason, with the remedy. Empty when
/// nothing stands in its way. `state` and the source's own settings `own` are those after the change.
std::vector<std::string> reasonsNotHeard(const RunningState& state, const SourceState& own,
                                         const SettingsChange& change);

} // namespace vello
