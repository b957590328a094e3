// SPDX-License-Identifier: Apache-2.0
#include "AudioEngine/Controller/OutputRoutes.h"

#include "AudioEngine/Capture/CoreAudioSupport.h"

#include <algorithm>

namespace vello {

OutputRoutes::~OutputRoutes() {
    stop();
}

void OutputRoutes::start() {
    devices_ = observe(kAudioObjectSystemObject, kAudioHardwarePropertyDevices);
    defaultDevice_ = observe(kAudioObjectSystemObject, kAudioHardwarePropertyDefaultOutputDevice);
    readAgain();
}

void OutputRoutes::stop() {
    for (Observer* observer : {&devices_, &defaultDevice_})
        if (*observer)
            (*observer)->invalidate();
    keepNamesOf({});
}

OutputRoutes::Observer OutputRoutes::observe(AudioObjectID object, FourCharCode selector) {
    return std::make_unique<CoreAudioPropertyObserver>(
        hardware_, log_, object, selector, kAudioObjectPropertyScopeGlobal, [this] { readAgain(); });
}

/// Updates the name listeners first, because an observer of the routes may call stop().
void OutputRoutes::readAgain() {
    observeNames();
    routes_.set(readOutputRoutes(hardware_));
}

void OutputRoutes::observeNames() {
    const auto devices = attempt([this] {
        return readObjectIDList(hardware_, kAudioObjectSystemObject, kAudioHardwarePropertyDevices,
                                kAudioObjectPropertyScopeGlobal);
    });
    if (!devices)
        return;
    keepNamesOf(*devices);
    for (const AudioObjectID device : *devices)
        if (!names_.contains(device) && !isOwnAggregate(device))
            names_.emplace(device, observe(device, kAudioObjectPropertyName));
}

void OutputRoutes::keepNamesOf(const std::vector<AudioObjectID>& devices) {
    std::erase_if(names_, [&](const auto& entry) {
        const bool isGone = std::ranges::find(devices, entry.first) == devices.end();
        if (isGone)
            entry.second->invalidate();
        return isGone;
    });
}

bool OutputRoutes::isOwnAggregate(AudioObjectID device) const {
    const auto name = attempt([&] { return readString(hardware_, device, kAudioObjectPropertyName); });
    return name && isOwnAggregateName(*name);
}

} // namespace vello
