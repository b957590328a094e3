// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <pipewire/version.h>

namespace vello::session {

/// The configuration of PipeWire's clients with a realtime thread: until 0.3 one of its own, since 1.0 every
/// client's, and the library complains of the old name.
inline constexpr const char* clientConfiguration = PW_MAJOR == 0 ? "client-rt.conf" : "client.conf";

} // namespace vello::session
