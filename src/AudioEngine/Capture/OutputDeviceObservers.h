// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "AudioEngine/Capture/CoreAudioPropertyObserver.h"
#include "Ports/AudioHardware.h"
#include "Ports/SystemLog.h"

#include <functional>
#include <memory>

namespace vello {

/// Listens for changes of the output devices. Main thread only.
class OutputDeviceObservers {
public:
    struct Actions {
        std::function<void()> defaultDeviceChanged;
        std::function<void()> sampleRateChanged; ///< of the default device
        std::function<void()> devicesChanged;    ///< a device was added or removed
    };

    /// Does not listen yet. The references must outlive the object.
    OutputDeviceObservers(AudioHardware& hardware, SystemLog& log, Actions actions);
    ~OutputDeviceObservers();
    OutputDeviceObservers(const OutputDeviceObservers&) = delete;
    OutputDeviceObservers& operator=(const OutputDeviceObservers&) = delete;

    void start();
    /// Stops listening.
    void stop();
    /// Listens to the sample rate of the device that is now the default.
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
