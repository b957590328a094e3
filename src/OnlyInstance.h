// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Platform/Linux/PipeWireRedirectGuard.h"
#include "Platform/Linux/SingleInstance.h"

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

private:
    std::filesystem::path runtimeFolder_;
    /// Before the proof of being the only instance, which the guard must not inherit.
    PipeWireRedirectGuard guard_;
    SingleInstance instance_;
};

} // namespace vello
