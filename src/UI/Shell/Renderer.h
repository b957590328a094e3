// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace vello {

/// Selects the crispest rendering of texts, and Qt's software renderer when there is no graphics device,
/// because OpenGL on the CPU takes several times the time and memory. The user's environment variables take
/// precedence. Call before the first window is created.
void chooseRenderer();

} // namespace vello
