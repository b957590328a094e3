// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Ports/AudioHardware.h"
#include "Ports/SystemLog.h"

#include <functional>
#include <memory>

namespace vello {

/// A property listener that is registered from construction until invalidate(). Main thread only.
///
/// The destructor does not unregister the listener; the action just never runs again. To avoid leaking the
/// registration, owners call invalidate() before they destroy or replace an observer.
class CoreAudioPropertyObserver {
public:
    /// Runs on the main thread after each change, never inside another call to the audio system.
    using Action = std::function<void()>;

    /// Listens to the main element. If the registration fails, it is logged and the observer does nothing.
    CoreAudioPropertyObserver(AudioHardware& hardware, SystemLog& log, AudioObjectID objectID,
                              FourCharCode selector, FourCharCode scope, Action onChange);
    CoreAudioPropertyObserver(const CoreAudioPropertyObserver&) = delete;
    CoreAudioPropertyObserver& operator=(const CoreAudioPropertyObserver&) = delete;

    /// Unregisters the listener. Harmless when called again or when the object is gone.
    void invalidate();

    AudioObjectID objectID() const { return objectID_; }
    const AudioObjectPropertyAddress& address() const { return address_; }
    bool isRegistered() const { return listenerBlock_ != nullptr; }

private:
    AudioHardware& hardware_;
    Logger logger_;
    AudioObjectID objectID_;
    AudioObjectPropertyAddress address_;
    /// The action; null unless registered. The registered listener holds a weak reference to it.
    std::shared_ptr<const Action> listenerBlock_;
    AudioPropertyListenerID listenerID_ = 0;
};

/// Invalidates and destroys the observer, if there is one.
void drop(std::unique_ptr<CoreAudioPropertyObserver>& observer);

} // namespace vello
