// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QImage>
#include <QRect>

namespace vello::session {

/// The smallest rectangle around all pixels that visibly differ from the top left pixel.
QRect drawnOn(const QImage& picture);

} // namespace vello::session
