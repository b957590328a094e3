// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Ports/SystemFacts.h"

#include <cstdint>
#include <string>

/// What /proc says of a process. Values that cannot be read are empty.
namespace vello {

/// At most 15 bytes, chosen by the process.
std::string processName(std::int32_t pid);
/// Whether a process of this user has that name.
bool isProgramOfUserRunning(const std::string& name);
/// The version of a library that the process has loaded: "0.4.13" of libwireplumber-0.4.so.0.4.13 for the
/// prefix "libwireplumber-".
std::string loadedLibraryVersion(std::int32_t pid, const std::string& prefix);
/// Whether a thread of the process has realtime priority.
RealtimePriority realtimePriority(std::int32_t pid);
/// Whether this process may give realtime priority to its threads by itself.
RealtimePriority ownRealtimePriority();

} // namespace vello
