// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "AudioEngine/Capture/CoreAudioPropertyObserver.h"
#include "Ports/AudioHardware.h"
#include "Ports/SystemLog.h"

#include <functional>
#include <memory>

namespace vello {

/// Listens for what happens to the output devices. Main thread only.
class OutputDeviceObservers {
public:
    struct Actions {
        std::function<void()> defaultDeviceChanged;
        std::function<void()> sampleRateChanged; ///< of the default device
        std::function<void()> devicesChanged;    ///< one came or went
    };

    /// Listens to nothing yet. The references outlive the object.
    OutputDeviceObservers(AudioHardware& hardware, SystemLog& log, Actions actions);
    ~OutputDeviceObservers();
    OutputDeviceObservers(const OutputDeviceObservers&) = delete;
    OutputDeviceObservers& operator=(const OutputDeviceObservers&) = delete;

    void start();
    /// Listens to nothing any more.
    void stop();
    /// The sample rate listened to is that of the device that is the default now.
    void followDefaultDevice();

private:
    using Observer = std::unique_ptr<CoreAudioPropertyObserver>;

    Observer observe(AudioObjectID object, FourCharCode selector, const std::function<void()>& action);

    AudioHardware& hardware_;
    SystemLog& log_;
    const Actions actions_;
    Observer defaultDevice_;
    Observer sampleRate_;
    Observer devices_;
};

} // namespace vello
