// SPDX-License-Identifier: Apache-2.0
#include "AudioEngine/Capture/OutputDeviceObservers.h"

#include "AudioEngine/Capture/CoreAudioSupport.h"

#include <utility>

namespace vello {
OutputDeviceObservers::OutputDeviceObservers(AudioHardware& hardware, SystemLog& log, Actions actions)
    : hardware_(hardware), log_(log), actions_(std::move(actions)) {}

OutputDeviceObservers::~OutputDeviceObservers() {
    stop();
}

void OutputDeviceObservers::stop() {
    for (Observer* observer : {&defaultDevice_, &sampleRate_, &devices_})
        drop(*observer);
}

void OutputDeviceObservers::start() {
    defaultDevice_ = observe(kAudioObjectSystemObject, kAudioHardwarePropertyDefaultOutputDevice,
                             actions_.defaultDeviceChanged);
    devices_ = observe(kAudioObjectSystemObject, kAudioHardwarePropertyDevices, actions_.devicesChanged);
    followDefaultDevice();
}

void OutputDeviceObservers::followDefaultDevice() {
    drop(sampleRate_);
    const auto device = attempt([this] { return readDefaultOutputDevice(hardware_); });
    if (device.value_or(kAudioObjectUnknown) != kAudioObjectUnknown)
        sampleRate_ = observe(*device, kAudioDevicePropertyNominalSampleRate, actions_.sampleRateChanged);
}

OutputDeviceObservers::Observer OutputDeviceObservers::observe(AudioObjectID object, FourCharCode selector,
                                                               const std::function<void()>& action) {
    return std::make_unique<CoreAudioPropertyObserver>(hardware_, log_, object, selector,
                                                       kAudioObjectPropertyScopeGlobal, action);
}

} // namespace vello
