// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "AudioEngine/Controller/AudioController.h"
#include "Control/State/RunningState.h"

#include <vector>

namespace vello {

/// What the controller knows at this moment. Meters are there while somebody looks at them; exempt streams
/// are not.
RunningState runningState(AudioController& controller);
/// Reads them from the audio system now.
std::vector<ExemptStreamState> exemptStreams(const AudioController& controller);

} // namespace vello
