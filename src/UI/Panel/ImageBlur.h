// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QImage>

namespace vello {

/// Blurs a premultiplied 32-bit image in place, close to a Gaussian of the standard deviation `radius` in
/// pixels of the image. What moves beyond its edges is lost. Runs on the processor, so that it looks alike on
/// every renderer.
void blur(QImage& image, double radius);

} // namespace vello
