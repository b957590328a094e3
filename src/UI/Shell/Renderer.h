// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace vello {

/// Has windows be drawn by the toolkit's own software renderer where no graphics device is there: an OpenGL
/// that runs on the processor takes several times the time and memory. What the user set in the environment
/// counts. Before the first window.
void chooseRenderer();

} // namespace vello
