// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "AudioEngine/Controller/AudioController.h"
#include "Control/State/RunningState.h"

#include <vector>

namespace vello {

/// The current state of the controller, without exempt streams and ready applications. Includes
/// meters only while they are running.
RunningState runningState(AudioController& controller);
/// Reads the exempt streams from the audio system.
std::vector<ExemptStreamState> exemptStreams(const AudioController& controller);
/// The applications that are held ready.
std::vector<ReadyApplicationState> readyApplications(const AudioController& controller);

} // namespace vello
