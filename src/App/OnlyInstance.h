// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Platform/Linux/PipeWire/PipeWireRedirectGuard.h"
#include "Platform/Linux/System/SingleInstance.h"

#include <filesystem>
#include <stdexcept>

namespace vello {

/// Another VELLO runs in this session. `what()` is a sentence for the user.
class AlreadyRunning : public std::runtime_error {
public:
    AlreadyRunning();
};

/// Whether a service manager started this process. If so, tells it that there is nothing to do: the process
/// should then end with success, since a failure would be repeated.
bool leavesTheSessionTo(const AlreadyRunning& other);

/// Makes this process the session's only VELLO for the lifetime of the object. Constructed on the main thread
/// before other threads start, and destroyed on the main thread.
class OnlyInstance {
public:
    /// Throws AlreadyRunning, or std::runtime_error with a sentence for the user when there is no session.
    OnlyInstance();

    /// Restores the applications' streams when this process cannot.
    PipeWireRedirectGuard& guard() { return guard_; }

private:
    std::filesystem::path runtimeFolder_;
    SingleInstance instance_;
    PipeWireRedirectGuard guard_;
};

} // namespace vello
