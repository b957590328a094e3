// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>

namespace vello::session {

/// How long a test waits for what has to come, however busy the machine is. It costs nothing where it comes,
/// and is never a measure: what has to be fast is measured with a clock.
inline constexpr std::chrono::milliseconds kLongEnough = std::chrono::seconds(20);

} // namespace vello::session
