// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Ports/AudioHardware.h"
#include "Ports/SystemLog.h"

namespace vello {

/// Destroys the aggregate devices that an earlier run has left, and logs each. Main thread only.
void destroyOrphanedAggregates(AudioHardware& hardware, const Logger& logger);

} // namespace vello
