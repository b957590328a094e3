// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "PipeWireCalls.h"

namespace vello {

/// A proxy bound to one of the server's objects, with a listener on it. The destructor unbinds it.
class PipeWireBinding {
public:
    PipeWireBinding() = default;
    ~PipeWireBinding() { reset(); }
    PipeWireBinding(const PipeWireBinding&) = delete;
    PipeWireBinding& operator=(const PipeWireBinding&) = delete;

    /// Takes ownership of `proxy`; null when the object is already gone.
    void bind(void* proxy) {
        reset();
        proxy_ = static_cast<pw_proxy*>(proxy);
    }
    void reset() {
        if (proxy_ == nullptr)
            return;
        if (hook_.link.next != nullptr)
            spa_hook_remove(&hook_);
        hook_ = {};
        pw_proxy_destroy(proxy_);
        proxy_ = nullptr;
    }
    template <class Interface> Interface* as() const { return reinterpret_cast<Interface*>(proxy_); }
    spa_hook* hook() { return &hook_; }

private:
    pw_proxy* proxy_ = nullptr;
    spa_hook hook_{};
};

} // namespace vello
