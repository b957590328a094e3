// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace vello {

/// Version of the program, such as "1.2.3".
extern const char kVersion[];

} // namespace vello
