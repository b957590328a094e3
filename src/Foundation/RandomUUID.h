// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

namespace vello {

/// A fresh random UUID (RFC 9562, version 4) from the system's source of randomness, in lower case.
std::string randomUUID();

} // namespace vello
