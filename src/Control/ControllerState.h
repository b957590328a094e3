// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "AudioEngine/AudioController.h"
#include "Control/RunningState.h"

namespace vello {

/// What the controller knows at this moment. Meters are there while somebody looks at them.
RunningState runningState(AudioController& controller);

} // namespace vello
