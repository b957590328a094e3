// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "AudioEngine/Capture/TapTeardownQueue.h"
#include "AudioEngine/Realtime/BlockKernelChoice.h"
#include "Ports/AudioHardware.h"
#include "Ports/MainThread.h"
#include "Ports/SystemLog.h"

namespace vello {

/// Dependencies of a tap. They must outlive the tap, and the queue must be drained before `hardware` is
/// destroyed.
struct TapServices {
    AudioHardware& hardware;
    MainThread& mainThread;
    SystemLog& log;
    TapTeardownQueue& teardownQueue;
    BlockKernel kernel = processBlockKernel().chosen.kernel;
};

} // namespace vello
