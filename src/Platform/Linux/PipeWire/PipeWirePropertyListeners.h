// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Ports/AudioHardware.h"
#include "Ports/MainThread.h"

#include <memory>

namespace vello {

/// The property listeners, and the way of a change notice to them: changes are told on any thread and reach
/// the listeners on the main thread, several notices of one property at once as one.
class PipeWirePropertyListeners {
public:
    explicit PipeWirePropertyListeners(MainThread& mainThread);

    /// Main thread only.
    AudioPropertyListenerID add(AudioObjectID object, FourCharCode selector, AudioPropertyListener listener);
    /// Main thread only. False when there is no such listener.
    bool remove(AudioObjectID object, FourCharCode selector, AudioPropertyListenerID listenerID);

    /// Any thread.
    void changed(AudioObjectID object, FourCharCode selector);
    /// Forgets the changes that nobody was told of yet, while nobody listens. Any thread.
    void forgetChanges();

private:
    struct State;

    MainThread& mainThread_;
    std::shared_ptr<State> state_;
};

} // namespace vello
