// SPDX-License-Identifier: Apache-2.0
#include "AudioEngine/Controller/MeterAudience.h"

#include "AudioEngine/Controller/AudioController.h"

namespace vello {

MeterAudience::Seat MeterAudience::join() {
    if (Seat shared = everybody_.lock())
        return shared;
    controller_.startMeterUpdates();
    const Seat first(&controller_, [](AudioController* controller) { controller->stopMeterUpdates(); });
    everybody_ = first;
    return first;
}

} // namespace vello
