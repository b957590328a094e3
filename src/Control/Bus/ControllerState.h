// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "AudioEngine/Controller/AudioController.h"
#include "Control/State/RunningState.h"

#include <string>
#include <vector>

namespace vello {

/// The current state of the controller, without exempt streams and ready applications. Includes
/// meters only while they are running.
RunningState runningState(AudioController& controller);
/// Parts of it.
std::vector<SourceState> sourceStates(const AudioController& controller);
Consent consent(AudioController& controller);
std::string saveProblem(const AudioController& controller);
/// The sources with stored settings that do not play.
std::vector<SourceState> storedSources(const AudioController& controller);
/// Reads the exempt streams from the audio system.
std::vector<ExemptStreamState> exemptStreams(const AudioController& controller);
/// The applications that are held ready.
std::vector<ReadyApplicationState> readyApplications(const AudioController& controller);

} // namespace vello
