// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "PrivateAudioSession.h"

#include <string>

namespace vello::session {

/// Configuration of a PipeWire server that has only the virtual outputs.
std::string serverConfiguration(const SessionOptions& options);
/// Configuration of its PulseAudio server.
std::string pulseServerConfiguration();
/// A drop-in that keeps a session manager with Lua configuration away from hardware.
std::string sessionManagerLua();
/// The same for its Bluetooth configuration files.
std::string sessionManagerBluetoothLua();
/// The same for a session manager that is configured with profiles.
std::string sessionManagerProfile();

} // namespace vello::session
