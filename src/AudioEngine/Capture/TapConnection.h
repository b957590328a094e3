// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "AudioEngine/Capture/CoreAudioPropertyObserver.h"
#include "AudioEngine/Capture/TapServices.h"

#include <functional>
#include <string>

namespace vello {

/// Whether the audio system has connected the started aggregate device of a tap to what it captures and plays
/// to. It can take seconds when many taps begin at once, and it can be refused for good: then the tap carries
/// nothing, and that is logged once. Main thread only.
class TapConnection {
public:
    using Action = std::function<void()>;

    /// `label` names the source for people. `onChange` runs after each change that the audio system
    /// announces, and may drop this object.
    TapConnection(const TapServices& services, AudioObjectID device, std::string label, Action onChange);
    ~TapConnection();
    TapConnection(const TapConnection&) = delete;
    TapConnection& operator=(const TapConnection&) = delete;

    /// A system that does not tell has connected it.
    bool isConnected() const;
    /// Looks for a change that was not announced. For the log only: isConnected() always looks.
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
