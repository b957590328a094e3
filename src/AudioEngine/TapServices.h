// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "AudioEngine/BlockKernelChoice.h"
#include "AudioEngine/TapTeardownQueue.h"
#include "Platform/AudioHardware.h"
#include "Platform/MainThread.h"
#include "Platform/SystemLog.h"

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
