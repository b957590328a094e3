// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <pipewire/version.h>

namespace vello::session {

/// The configuration of PipeWire clients with a realtime thread: a separate file up to 0.3, the file of all
/// clients since 1.0, where the library warns about the old name.
inline constexpr const char* kClientConfiguration = PW_MAJOR == 0 ? "client-rt.conf" : "client.conf";

} // namespace vello::session
