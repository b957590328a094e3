// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>
#include <string>

namespace vello {

/// Looks a variable of the environment up; null when it is not set.
using Environment = std::function<const char*(const char* name)>;

/// The environment of this process.
Environment processEnvironment();

/// Address of the user's session bus: $DBUS_SESSION_BUS_ADDRESS, else the socket "bus" in $XDG_RUNTIME_DIR
/// if it exists; else empty. No bus is started.
std::string sessionBusAddress(const Environment& environment);

} // namespace vello
