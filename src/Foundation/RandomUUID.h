// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

namespace vello {

/// A new random UUID (RFC 9562, version 4) from the system's random source, in lower case.
std::string randomUUID();

} // namespace vello
