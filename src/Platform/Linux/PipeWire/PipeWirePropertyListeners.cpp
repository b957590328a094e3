// SPDX-License-Identifier: Apache-2.0
#include "PipeWirePropertyListeners.h"

#include <algorithm>
#include <map>
#include <mutex>
#include <utility>
#include <vector>

namespace vello {

struct PipeWirePropertyListeners::State {
    using Property = std::pair<AudioObjectID, FourCharCode>;

    // Main thread only.
    std::map<Property, std::map<AudioPropertyListenerID, AudioPropertyListener>> listeners;
    AudioPropertyListenerID lastListenerID = 0;

    std::mutex mutex;
    std::vector<Property> changes; ///< guarded by the mutex

    void deliver() {
        std::vector<Property> current;
        {
            std::lock_guard lock(mutex);
            current.swap(changes);
        }
        for (const Property& property : current)
            notify(property);
    }

    void notify(const Property& property) {
        const auto entry = listeners.find(property);
        if (entry == listeners.end())
            return;
        std::vector<AudioPropertyListenerID> ids;
        for (const auto& [id, listener] : entry->second)
            ids.push_back(id);
        // A listener may remove itself and other listeners.
        for (const AudioPropertyListenerID id : ids) {
            const auto current = listeners.find(property);
            if (current == listeners.end())
                return;
            const auto listener = current->second.find(id);
            if (listener == current->second.end())
                continue;
            const AudioPropertyListener action = listener->second;
            action();
        }
    }
};

PipeWirePropertyListeners::PipeWirePropertyListeners(MainThread& mainThread)
    : mainThread_(mainThread), state_(std::make_shared<State>()) {}

AudioPropertyListenerID PipeWirePropertyListeners::add(AudioObjectID object, FourCharCode selector,
                                                       AudioPropertyListener listener) {
    const AudioPropertyListenerID id = ++state_->lastListenerID;
    state_->listeners[{object, selector}][id] = std::move(listener);
    return id;
}

bool PipeWirePropertyListeners::remove(AudioObjectID object, FourCharCode selector,
                                       AudioPropertyListenerID listenerID) {
    const auto entry = state_->listeners.find({object, selector});
    if (entry == state_->listeners.end() || entry->second.erase(listenerID) == 0)
        return false;
    if (entry->second.empty())
        state_->listeners.erase(entry);
    return true;
}

void PipeWirePropertyListeners::changed(AudioObjectID object, FourCharCode selector) {
    const State::Property property{object, selector};
    bool isFirst = false;
    {
        std::lock_guard lock(state_->mutex);
        isFirst = state_->changes.empty();
        if (std::ranges::find(state_->changes, property) != state_->changes.end())
            return;
        state_->changes.push_back(property);
    }
    if (isFirst)
        mainThread_.post([weak = std::weak_ptr(state_)] {
            if (const auto state = weak.lock())
                state->deliver();
        });
}

void PipeWirePropertyListeners::forgetChanges() {
    std::lock_guard lock(state_->mutex);
    state_->changes.clear();
}

} // namespace vello
