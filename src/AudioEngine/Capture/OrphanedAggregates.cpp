// SPDX-License-Identifier: Apache-2.0
#include "AudioEngine/Capture/OrphanedAggregates.h"

#include "AudioEngine/Capture/CoreAudioSupport.h"
#include "Foundation/Product.h"

#include <string>
#include <vector>

namespace vello {

namespace {

void destroyOrphan(AudioHardware& hardware, const Logger& logger, AudioObjectID device,
                   const std::string& name) {
    logger.notice("Destroying orphaned aggregate from a previous run: " + name);
    const OSStatus status = hardware.destroyAggregateDevice(device);
    if (status != kAudioHardwareNoError)
        logger.error("Failed to destroy orphaned aggregate " + name + ": " + std::to_string(status));
}

} // namespace

void destroyOrphanedAggregates(AudioHardware& hardware, const Logger& logger) {
    const auto devices = attempt([&] {
        return readObjectIDList(hardware, kAudioObjectSystemObject, kAudioHardwarePropertyDevices,
                                kAudioObjectPropertyScopeGlobal);
    });
    for (const AudioObjectID device : devices.value_or(std::vector<AudioObjectID>{})) {
        const auto name = attempt([&] { return readString(hardware, device, kAudioObjectPropertyName); });
        if (name && isOwnAggregateName(*name))
            destroyOrphan(hardware, logger, device, *name);
    }
}

} // namespace vello
