// SPDX-License-Identifier: Apache-2.0
#include "AudioEngine/Capture/SpareDevice.h"

#include "AudioEngine/Capture/CoreAudioSupport.h"
#include "Foundation/Product.h"

#include <cstdint>
#include <string>
#include <utility>

namespace vello {

SpareDevice::SpareDevice(AudioHardware& hardware, SystemLog& log, std::function<void()> onReady)
    : hardware_(hardware), log_(log), logger_(log, kBundleIdentifier, "SpareDevice"),
      onReady_(std::move(onReady)) {}

SpareDevice::~SpareDevice() {
    drop(observer_);
}

void SpareDevice::setWanted(bool isWanted) {
    if (isWanted == this->isWanted())
        return;
    drop(observer_);
    if (isWanted)
        observer_ = std::make_unique<CoreAudioPropertyObserver>(
            hardware_, log_, kAudioObjectSystemObject, kAudioHardwarePropertySpareDevice,
            kAudioObjectPropertyScopeGlobal, [this] { changed(); });
    write(isWanted);
}

void SpareDevice::request() {
    if (isWanted())
        write(true);
}

bool SpareDevice::isReady() const {
    const auto ready = attempt([this] {
        return readProperty<std::uint32_t>(hardware_, kAudioObjectSystemObject,
                                           kAudioHardwarePropertySpareDevice);
    });
    return isWanted() && ready.value_or(0) != 0;
}

void SpareDevice::changed() {
    if (isReady())
        onReady_();
}

void SpareDevice::write(bool isWanted) {
    const OSStatus status =
        writeNumber(hardware_, kAudioObjectSystemObject, kAudioHardwarePropertySpareDevice, isWanted ? 1 : 0);
    if (status != kAudioHardwareNoError)
        logger_.error("Failed to switch the spare device: " + std::to_string(status));
}

} // namespace vello
