// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "AudioEngine/Capture/CoreAudioPropertyObserver.h"
#include "AudioEngine/Capture/TapServices.h"

#include <functional>
#include <string>

namespace vello {

/// Monitors whether the audio system has linked a tap's started aggregate device to its inputs and output.
/// This can take seconds when many taps start at once, and it can fail permanently. The tap then carries no
/// audio, which is logged once. Main thread only.
class TapConnection {
public:
    using Action = std::function<void()>;

    /// `label` is the source's name for the log. `onChange` runs after each announced change and may destroy
    /// this object.
    TapConnection(const TapServices& services, AudioObjectID device, std::string label, Action onChange);
    ~TapConnection();
    TapConnection(const TapConnection&) = delete;
    TapConnection& operator=(const TapConnection&) = delete;

    /// True also when the property cannot be read.
    bool isConnected() const;
    /// Polls for a change that was not announced. Only needed for the log: isConnected() is always current.
    void check();

private:
    void complain();

    TapServices services_;
    const AudioObjectID device_;
    const std::string label_;
    const Logger logger_;
    TaskHandle complaintTask_;
    bool hasComplained_ = false;
    CoreAudioPropertyObserver observer_;
};

} // namespace vello
