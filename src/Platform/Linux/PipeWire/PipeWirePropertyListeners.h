// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Ports/AudioHardware.h"
#include "Ports/MainThread.h"

#include <memory>

namespace vello {

/// The property listeners and the queue of change notices. Changes are reported on any thread. Listeners are
/// called on the main thread; pending notices of the same property are merged.
class PipeWirePropertyListeners {
public:
    explicit PipeWirePropertyListeners(MainThread& mainThread);

    /// Main thread only.
    AudioPropertyListenerID add(AudioObjectID object, FourCharCode selector, AudioPropertyListener listener);
    /// Main thread only. Returns false for an unknown listener.
    bool remove(AudioObjectID object, FourCharCode selector, AudioPropertyListenerID listenerID);

    /// Any thread.
    void changed(AudioObjectID object, FourCharCode selector);
    /// Drops the pending changes. Call while there are no listeners. Any thread.
    void forgetChanges();

private:
    struct State;

    MainThread& mainThread_;
    std::shared_ptr<State> state_;
};

} // namespace vello
