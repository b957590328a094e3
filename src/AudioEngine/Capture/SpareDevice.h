// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "AudioEngine/Capture/CoreAudioPropertyObserver.h"
#include "Ports/AudioHardware.h"
#include "Ports/SystemLog.h"

#include <functional>
#include <memory>

namespace vello {

/// The device that the audio system makes in advance for the next tap. Main thread only.
class SpareDevice {
public:
    /// `onReady` runs when the device has become ready. The references must outlive the object.
    SpareDevice(AudioHardware& hardware, SystemLog& log, std::function<void()> onReady);
    ~SpareDevice();
    SpareDevice(const SpareDevice&) = delete;
    SpareDevice& operator=(const SpareDevice&) = delete;

    /// Initially not wanted.
    void setWanted(bool isWanted);
    bool isWanted() const { return observer_ != nullptr; }
    /// Asks for it immediately, if it is wanted and not ready. Otherwise the audio system takes its time.
    void request();
    /// Whether a tap that is activated now runs at once.
    bool isReady() const;

private:
    void changed();
    void write(bool isWanted);

    AudioHardware& hardware_;
    SystemLog& log_;
    const Logger logger_;
    const std::function<void()> onReady_;
    std::unique_ptr<CoreAudioPropertyObserver> observer_;
};

} // namespace vello
