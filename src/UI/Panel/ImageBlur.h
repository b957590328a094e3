// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QImage>

namespace vello {

/// Blurs a premultiplied 32-bit image in place. Approximates a Gaussian with the standard deviation `radius`,
/// in pixels of the image. Content that moves beyond the edges is lost. Runs on the CPU, so that the result
/// is the same on every renderer.
void blur(QImage& image, double radius);

} // namespace vello
