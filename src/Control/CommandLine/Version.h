// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace vello {

/// Of the program: "1.2.3".
extern const char kVersion[];

} // namespace vello
