// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "AudioEngine/Capture/TapTeardownQueue.h"
#include "AudioEngine/Realtime/BlockKernelChoice.h"
#include "Ports/AudioHardware.h"
#include "Ports/MainThread.h"
#include "Ports/SystemLog.h"

namespace vello {

/// What a tap works with. All of it outlives the tap, and the queue is drained before the audio hardware
/// goes.
struct TapServices {
    AudioHardware& hardware;
    MainThread& mainThread;
    SystemLog& log;
    TapTeardownQueue& teardownQueue;
    BlockKernel kernel = processBlockKernel().chosen.kernel;
};

} // namespace vello
