// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Ports/AudioHardware.h"
#include "Ports/SystemLog.h"

#include <functional>
#include <memory>

namespace vello {

/// One property listener, registered from construction until invalidate(). Main thread only.
///
/// Dropping an observer does not unregister it; its action just never runs again. So that the audio system
/// does not collect listeners of nobody, every owner calls invalidate() before it drops or replaces an
/// observer.
class CoreAudioPropertyObserver {
public:
    /// Runs on the main thread after each change, never inside another call.
    using Action = std::function<void()>;

    /// Listens to the main element. A registration that fails is logged; the observer then does nothing.
    CoreAudioPropertyObserver(AudioHardware& hardware, SystemLog& log, AudioObjectID objectID,
                              FourCharCode selector, FourCharCode scope, Action onChange);
    CoreAudioPropertyObserver(const CoreAudioPropertyObserver&) = delete;
    CoreAudioPropertyObserver& operator=(const CoreAudioPropertyObserver&) = delete;

    /// Unregisters; harmless when that was done before, or when the object is gone.
    void invalidate();

    AudioObjectID objectID() const { return objectID_; }
    const AudioObjectPropertyAddress& address() const { return address_; }
    bool isRegistered() const { return listenerBlock_ != nullptr; }

private:
    AudioHardware& hardware_;
    Logger logger_;
    AudioObjectID objectID_;
    AudioObjectPropertyAddress address_;
    /// The action, present exactly while it is registered. The registered listener refers to it weakly.
    std::shared_ptr<const Action> listenerBlock_;
    AudioPropertyListenerID listenerID_ = 0;
};

} // namespace vello
