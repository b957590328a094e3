// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Platform/Linux/PipeWire/PipeWireRedirectGuard.h"
#include "Platform/Linux/System/SingleInstance.h"

#include <filesystem>
#include <stdexcept>

namespace vello {

/// Another VELLO runs in this session. `what` is a sentence for the user.
class AlreadyRunning : public std::runtime_error {
public:
    AlreadyRunning();
};

/// This process as the session's only VELLO, from the construction to the end. Made on the main thread while
/// that is the only one, and destroyed there.
class OnlyInstance {
public:
    /// Throws AlreadyRunning, and std::runtime_error with a sentence where there is no session.
    OnlyInstance();

    /// Gives the applications' streams back when this process cannot.
    PipeWireRedirectGuard& guard() { return guard_; }

private:
    std::filesystem::path runtimeFolder_;
    SingleInstance instance_;
    PipeWireRedirectGuard guard_;
};

} // namespace vello
